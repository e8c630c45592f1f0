// The VLANs of a kernel whose bridges and counts a test makes up.
#include "agent/kernel_vlans.h"

#include "agent/control_request.h"
#include "agent/vlan_clearing.h"

#include <gmock/gmock.h>

#include "tests/hardware/linux/helper_stand_ins.h"
#include "tests/hardware/linux/vlan_stand_ins.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"

namespace Agent {
namespace {

using Bridging::VlanId;
using Hardware::Linux::Bridge;
using Hardware::Linux::StoredOffsets;
using Hardware::Linux::VlanCountersHelper;
using Hardware::Linux::Test::vlanSet;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kBridge = 5, kPort = 7, kPort2 = 8;
constexpr std::uint64_t kKindsOfPackets = 0b11001100;  // multicast and broadcast, both ways

class KernelVlansTest : public testing::Test {
 protected:
  explicit KernelVlansTest(std::uint32_t maxRows = 16)
      : tables(place.directory().string(), {.maxRows = maxRows}) {}

  // Another agent, over the tables as they stand; the kernel and its bridges are the same.
  void agentComes(VlanOptions const& options = {}) {
    sut.reset();
    loop.emplace();
    vlans = std::make_unique<Vlans>(tables, time.clock(), 2.0);
    auto stand = std::make_unique<Hardware::Linux::Test::BridgesStandIn>(options.bridge);
    bridges = stand.get();
    auto store = std::make_unique<Hardware::Linux::Test::SharedStore<StoredOffsets>>(offsets);
    offsetStore = store.get();
    auto const rows = tables.vlanCounters();
    auto const helper = Kel::make<VlanCountersHelper>(
        Kel::Name("test"),
        VlanCountersHelper::Parts{
            .stats = std::make_unique<Hardware::Linux::Test::VlanStatsStandIn>(kernel),
            .offsets = std::move(store),
            .publishedRow = [rows](VlanId vlanId) -> std::optional<Glim::Bridging::VlanCounter> {
              return rows->contains(vlanId) ? std::optional(rows->vlanCounter(vlanId))
                                            : std::nullopt;
            },
            .now = [this] { return time.now(); },
            .generation = 1,
            .say = [](auto const&) {}});
    sut.emplace(options, KernelVlans::Parts{std::move(stand), helper}, *vlans);
  }
  // As the host does.
  void starts() {
    sut->start(*loop);
    startVlans();
  }
  void turn() {
    sut->turn();
    startVlans();
    vlans->pollNews();
  }
  void startVlans() {
    if (sut->areTold() && !vlans->counters()) vlans->start(sut->helper());
  }
  void bridgeIs(std::string const& name = "br0", bool counts = true, bool perPort = false) {
    bridges->all.bridgeIs({.ifindex = kBridge,
                           .name = name,
                           .filters = true,
                           .counts = counts,
                           .countsPerPort = perPort});
  }
  void portIsIn(std::initializer_list<std::size_t> ids, int port = kPort) {
    bridges->all.memberIs(port, kBridge, vlanSet(ids));
  }
  // Its news is read.
  void news() {
    loop->run([this] {
      loop->stop();
      turn();
      return 0.0;
    });
  }
  void kernelCounts(std::uint16_t vlan, std::uint64_t octets, int bridge = kBridge) {
    kernel.counts[{bridge, vlan}] = {.rxOctets = octets, .rxPkts = 1, .txOctets = 0, .txPkts = 0};
  }
  std::uint64_t octets(std::uint64_t id) {
    return tables.vlanCounters()->vlanCounter(VlanId(id)).counts.inOctets;
  }
  std::vector<std::uint64_t> counted() {
    std::vector<std::uint64_t> all;
    for (VlanId const vlanId : vlans->withRows()) all.push_back(vlanId.value());
    std::sort(all.begin(), all.end());
    return all;
  }
  std::uint64_t unsupported(std::uint64_t id) {
    return tables.vlanDescriptions()->lookup(VlanId(id)).unsupported;
  }
  std::vector<std::uint64_t> kept() {
    std::vector<std::uint64_t> all;
    sut->helper()->forEachKept([&](VlanId vlanId) { all.push_back(vlanId.value()); });
    std::sort(all.begin(), all.end());
    return all;
  }
  // VLANs 10 and 20 of br0, 100 and 200 octets of which are in the rows.
  void agentWithTwoVlans() {
    agentComes();
    bridgeIs();
    portIsIn({10, 20});
    kernelCounts(10, 100);
    kernelCounts(20, 200);
    starts();
    turn();
  }
  static std::string said(std::function<void()> const& when) {
    testing::internal::CaptureStderr();
    when();
    return testing::internal::GetCapturedStderr();
  }

  Support::VirtualTime time;
  Support::TemporaryTables place;
  Tables tables;
  std::optional<EventLoop> loop;
  Hardware::Linux::Test::VlanKernel kernel;
  Hardware::Linux::MemoryOffsetStore offsets;
  std::unique_ptr<Vlans> vlans;
  Hardware::Linux::Test::BridgesStandIn* bridges = nullptr;
  Hardware::Linux::Test::SharedStore<StoredOffsets>* offsetStore = nullptr;
  std::optional<KernelVlans> sut;
};

TEST_F(KernelVlansTest, VlansOfTheBridgeAreCountedAndDescribed) {
  agentWithTwoVlans();
  EXPECT_THAT(counted(), ElementsAre(10, 20));
  EXPECT_EQ(octets(10), 100u);
  EXPECT_EQ(octets(20), 200u);
  auto const described = tables.vlanDescriptions()->lookup(VlanId(10u));
  EXPECT_EQ(described.bridge.view(), "br0");
  EXPECT_EQ(described.unsupported, kKindsOfPackets);
}

TEST_F(KernelVlansTest, TheFirstVlanAndTheLastAreCounted) {
  agentComes();
  bridgeIs();
  portIsIn({1, 4094});
  starts();
  EXPECT_THAT(counted(), ElementsAre(1, 4094));
  bridges->all.vlansDel(kPort, vlanSet({1, 4094}));
  news();
  EXPECT_THAT(counted(), IsEmpty());
}

TEST_F(KernelVlansTest, VlansComeAndGoWithTheNews) {
  agentWithTwoVlans();
  portIsIn({20, 30});
  news();
  EXPECT_THAT(counted(), ElementsAre(20, 30));
  EXPECT_THAT(kept(), ElementsAre(20));
}

TEST_F(KernelVlansTest, NewsIsReadWhenTheLoopSaysSo) {
  agentWithTwoVlans();
  turn();
  EXPECT_EQ(bridges->polls, 0);
  news();
  EXPECT_EQ(bridges->polls, 1);
  EXPECT_EQ(bridges->starts, 1);
}

TEST_F(KernelVlansTest, AVlanThatIsRemovedAndAddedBeginsAnew) {
  agentWithTwoVlans();
  bridges->all.vlansDel(kPort, vlanSet({10}));
  bridges->all.vlansAdd(kPort, vlanSet({10}));
  kernelCounts(10, 3);
  news();
  EXPECT_THAT(counted(), ElementsAre(10, 20));
  EXPECT_EQ(octets(10), 3u);
  EXPECT_EQ(octets(20), 200u);
}

TEST_F(KernelVlansTest, ABridgeThatIsRenamedKeepsItsCounts) {
  agentWithTwoVlans();
  kernelCounts(10, 3);
  vlans->poll();
  ASSERT_EQ(octets(10), 103u);
  bridgeIs("lan0");
  news();
  EXPECT_EQ(tables.vlanDescriptions()->lookup(VlanId(10u)).bridge.view(), "lan0");
  vlans->poll();
  EXPECT_EQ(octets(10), 103u);
}

TEST_F(KernelVlansTest, ABridgeThatGoesTakesItsVlansAlong) {
  agentWithTwoVlans();
  bridges->all.linkDel(kBridge);
  news();
  EXPECT_THAT(counted(), IsEmpty());
  EXPECT_THAT(kept(), IsEmpty());
}

TEST_F(KernelVlansTest, VlansOfAnotherBridgeAreOthers) {
  agentWithTwoVlans();
  kernelCounts(10, 7, kBridge + 1);
  bridges->all.linkDel(kBridge);
  bridges->all.bridgeIs({.ifindex = kBridge + 1, .name = "br1", .filters = true, .counts = true});
  bridges->all.memberIs(kPort, kBridge + 1, vlanSet({10}));
  news();
  EXPECT_THAT(counted(), ElementsAre(10));
  EXPECT_EQ(octets(10), 7u);
}

// --- Restarts ---

TEST_F(KernelVlansTest, RowsOfTheSameBridgeGoOn) {
  agentWithTwoVlans();
  kernelCounts(10, 3);
  vlans->poll();
  ASSERT_EQ(octets(10), 103u);
  agentComes();
  bridgeIs();
  portIsIn({10, 20});
  starts();
  turn();
  EXPECT_EQ(octets(10), 103u);
  kernelCounts(10, 50);
  vlans->poll();
  EXPECT_EQ(octets(10), 150u);
}

TEST_F(KernelVlansTest, ACountThatBeganAnewWhileNoAgentRanGoesOn) {
  agentWithTwoVlans();
  agentComes();
  bridgeIs();
  portIsIn({10, 20});
  kernelCounts(10, 3);
  starts();
  turn();
  EXPECT_EQ(octets(10), 103u);
}

TEST_F(KernelVlansTest, RowsOfAnotherBridgeBeginAnew) {
  agentWithTwoVlans();
  agentComes();
  bridges->all.bridgeIs({.ifindex = 6, .name = "br1", .filters = true, .counts = true});
  bridges->all.memberIs(kPort, 6, vlanSet({10}));
  kernelCounts(10, 3, 6);
  starts();
  turn();
  EXPECT_THAT(counted(), ElementsAre(10));
  EXPECT_EQ(octets(10), 3u);
  EXPECT_THAT(kept(), ElementsAre(10));
}

TEST_F(KernelVlansTest, OffsetsWithoutARowAreOfNothingThatGoesOn) {
  agentWithTwoVlans();
  kernelCounts(10, 50);
  vlans->poll();
  ASSERT_EQ(octets(10), 150u);
  vlans->dropRows(VlanId(10u));
  agentComes();
  bridgeIs();
  portIsIn({10, 20});
  kernelCounts(10, 60);
  sut->start(*loop);
  EXPECT_THAT(kept(), ElementsAre(20));
  turn();
  EXPECT_EQ(octets(10), 60u);
  EXPECT_EQ(octets(20), 200u);
}

TEST_F(KernelVlansTest, OfVlansThatWentWhileNoAgentRanNothingIsKept) {
  agentWithTwoVlans();
  agentComes();
  bridgeIs();
  portIsIn({20});
  starts();
  EXPECT_THAT(counted(), ElementsAre(20));
  EXPECT_THAT(kept(), ElementsAre(20));
}

// --- Bridges that cannot be listed ---

TEST_F(KernelVlansTest, WhileBridgesCannotBeListedAtTheStartRowsAndOffsetsStay) {
  agentWithTwoVlans();
  agentComes();
  bridges->error = std::make_error_code(std::errc::timed_out);
  std::string const told = said([&] {
    starts();
    turn();
    turn();
  });
  EXPECT_EQ(told, "oru-agentd: cannot read news of bridges, trying on: Connection timed out\n");
  EXPECT_FALSE(sut->areTold());
  EXPECT_FALSE(vlans->counters());
  EXPECT_THAT(counted(), ElementsAre(10, 20));
  EXPECT_THAT(kept(), ElementsAre(10, 20));
  sut->retellRefused();
  EXPECT_FALSE(sut->areTold());

  bridges->error = {};
  bridgeIs();
  portIsIn({10});
  kernelCounts(10, 150);
  turn();
  EXPECT_TRUE(sut->areTold());
  EXPECT_THAT(counted(), ElementsAre(10));
  EXPECT_EQ(octets(10), 150u);
  EXPECT_EQ(bridges->starts, 4);  // it was never open
}

TEST_F(KernelVlansTest, WhereTheListAloneFailedItIsAskedForByItsNews) {
  agentComes();
  bridges->error = std::make_error_code(std::errc::timed_out);
  bridges->opensAllTheSame = true;
  said([&] { starts(); });
  bridges->error = {};
  bridgeIs();
  portIsIn({10});
  turn();
  EXPECT_EQ(bridges->starts, 1);
  EXPECT_EQ(bridges->polls, 1);
  EXPECT_THAT(counted(), ElementsAre(10));
  turn();
  EXPECT_EQ(bridges->polls, 1);
}

TEST_F(KernelVlansTest, NewsThatCannotBeReadChangesNothing) {
  agentWithTwoVlans();
  bridges->error = std::make_error_code(std::errc::timed_out);
  portIsIn({20});
  std::string const told = said([&] {
    news();
    turn();
  });
  EXPECT_EQ(bridges->polls, 3);
  EXPECT_EQ(told, "oru-agentd: cannot read news of bridges, trying on: Connection timed out\n");
  EXPECT_THAT(counted(), ElementsAre(10, 20));
  sut->retellRefused();
  EXPECT_THAT(counted(), ElementsAre(10, 20));
}

// --- Clears ---

// The state machine stamps a row that nobody could read.
TEST_F(KernelVlansTest, AClearOfWhatCannotBeReadIsRefusedAndNothingIsLost) {
  agentWithTwoVlans();
  VlanClearing clearing(vlans->counters(), vlans->requests(),
                        [this](VlanId vlanId) { return sut->helper()->couldRead(vlanId); });
  auto const clear = [&] {
    try {
      clearing.these({"10", "20"});
      return std::string("cleared");
    } catch (ControlError const& error) {
      return std::string(error.what());
    }
  };
  auto const cleared = [this](std::uint64_t id) {
    return tables.vlanCounterSnapshots()->vlanCounterSnapshot(VlanId(id));
  };
  kernelCounts(10, 150);
  kernel.error = std::make_error_code(std::errc::no_buffer_space);
  EXPECT_EQ(clear(), "nothing was cleared: VLAN 10 could not be read just now; try again");
  kernel.error = {};
  auto const of20 = kernel.counts.extract({kBridge, 20});
  EXPECT_EQ(clear(), "nothing was cleared: VLAN 20 could not be read just now; try again");
  EXPECT_EQ(cleared(10), Glim::Bridging::VlanCounter(VlanId(10u)));
  kernelCounts(20, 250);
  EXPECT_EQ(clear(), "cleared");
  EXPECT_EQ(cleared(10).counts.inOctets, 150u);
  EXPECT_EQ(cleared(20).counts.inOctets, 250u);
}

// --- What is not counted ---

TEST_F(KernelVlansTest, ABridgeThatDoesNotCountIsToldOnceAndDescribed) {
  agentComes();
  bridgeIs("br0", false);
  portIsIn({10});
  std::string const told = said([&] {
    starts();
    portIsIn({10, 20});
    news();
  });
  EXPECT_THAT(told, HasSubstr("the VLANs of bridge br0 are not counted: that is switched off"));
  EXPECT_EQ(told.find("switched off"), told.rfind("switched off"));
  EXPECT_EQ(unsupported(10), Bridging::kNoVlanCounters);
  EXPECT_EQ(unsupported(20), Bridging::kNoVlanCounters);
  EXPECT_THAT(bridges->switched, IsEmpty());
  bridgeIs();
  news();
  EXPECT_EQ(unsupported(10), kKindsOfPackets);
}

TEST_F(KernelVlansTest, ItsCountingIsSwitchedOnWhereTheAgentMay) {
  agentComes({.bridge = {}, .statistics = true});
  bridgeIs("br0", false);
  portIsIn({10});
  EXPECT_THAT(said([&] { starts(); }),
              HasSubstr("switched the counting of the VLANs of bridge br0 on"));
  EXPECT_THAT(bridges->switched, ElementsAre(kBridge));
  EXPECT_EQ(unsupported(10), kKindsOfPackets);
}

TEST_F(KernelVlansTest, WhereThatFailsItIsTold) {
  agentComes({.bridge = {}, .statistics = true});
  bridges->switchError = std::make_error_code(std::errc::operation_not_permitted);
  bridgeIs("br0", false);
  portIsIn({10});
  EXPECT_THAT(said([&] { starts(); }), HasSubstr("cannot be switched on: Operation not permitted"));
  EXPECT_EQ(unsupported(10), Bridging::kNoVlanCounters);
}

TEST_F(KernelVlansTest, ABridgeThatCountsAtItsPortsIsToldAndNotSwitched) {
  agentComes({.bridge = {}, .statistics = true});
  bridgeIs("br0", true, true);
  portIsIn({10});
  EXPECT_THAT(said([&] { starts(); }), HasSubstr("vlan_stats_per_port"));
  EXPECT_EQ(unsupported(10), Bridging::kNoVlanCounters);
  EXPECT_THAT(bridges->switched, IsEmpty());
}

TEST_F(KernelVlansTest, ANamedBridgeThatIsNotThereIsTold) {
  agentComes({.bridge = "br7", .statistics = false});
  bridgeIs();
  portIsIn({10});
  EXPECT_EQ(said([&] { starts(); }),
            "oru-agentd: VLANs are not counted: there is no bridge br7 that filters by VLANs\n");
  EXPECT_THAT(counted(), IsEmpty());
}

TEST_F(KernelVlansTest, WithoutAnyBridgeNothingIsTold) {
  agentComes();
  EXPECT_EQ(said([&] {
              starts();
              turn();
            }),
            "");
  EXPECT_TRUE(sut->areTold());
}

TEST_F(KernelVlansTest, OffsetsThatCannotBeKeptAreToldOnce) {
  agentComes();
  bridgeIs();
  portIsIn({10});
  kernelCounts(10, 100);
  offsetStore->full = true;
  starts();
  vlans->poll();
  std::string const told = said([&] {
    turn();
    turn();
  });
  EXPECT_EQ(told.find("the offsets of VLANs could not be kept"),
            told.rfind("the offsets of VLANs could not be kept"));
  EXPECT_THAT(told, HasSubstr("the offsets of VLANs could not be kept"));
}

// --- Full tables ---

class FullKernelVlans : public KernelVlansTest {
 protected:
  FullKernelVlans() : KernelVlansTest(2) {}
};

TEST_F(FullKernelVlans, ThoseWithoutRoomAreKnownAndToldAgainWhenTheyAreAskedFor) {
  agentWithTwoVlans();
  portIsIn({10, 20, 30, 40});
  news();
  EXPECT_THAT(counted(), ElementsAre(10, 20));
  EXPECT_EQ(vlans->withoutRoom(), 2u);
  EXPECT_THAT(vlans->whyNoRoom(), HasSubstr("VLAN 30: "));
  vlans->vlanDel(VlanId(20u));  // behind its back: room, of which there is no news
  turn();
  EXPECT_THAT(counted(), ElementsAre(10));
  sut->retellRefused();
  EXPECT_THAT(counted(), ElementsAre(10, 30));
  EXPECT_EQ(vlans->withoutRoom(), 1u);
}

TEST_F(FullKernelVlans, OneThatGoesIsNoLongerWithoutRoom) {
  agentWithTwoVlans();
  portIsIn({10, 20, 30});
  news();
  portIsIn({10, 20});
  news();
  EXPECT_EQ(vlans->withoutRoom(), 0u);
}

}  // namespace
}  // namespace Agent
