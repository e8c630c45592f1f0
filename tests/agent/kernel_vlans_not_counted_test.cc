// VLANs that are not counted or cannot be read, and what the operator hears of it.
#include "agent/control_request.h"
#include "agent/vlan_clearing.h"
#include "tests/agent/kernel_vlans_fixture.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint64_t kKindsOfPackets = 0b11001100;  // multicast and broadcast, both ways

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

}  // namespace
}  // namespace Agent
