// The agent with a simulated chip, in virtual time.
#include "agent/host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "counters/pollers/counter_records.h"
#include "hardware/linux/glim_offset_store.h"
#include "hardware/simulated/counters_helper.h"
#include "hardware/simulated/script.h"
#include "platform/glim/reader.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"

namespace Agent {
namespace {

class HostTest : public ::testing::Test {
 protected:
  HostTest() {
    options.tables = place.directory().string();
    options.chip = ChipKind::simulated;
    options.ports = 3;
    options.vlanInterfaces = 2;
    options.seed = 11;
  }
  void start(Glim::TableLimits const& limits = {}) {
    sut = std::make_unique<Host>(
        options, [this] { return time.now() - set; }, limits);
    sut->start(loop);
    sut->turn();
  }
  // Turns as the event loop would take them.
  void turnsFor(Kel::Seconds span) {
    for (Kel::Seconds const end = time.now() + span; time.now() < end;) {
      time.nowIs(time.now() + 0.1);
      sut->turn();
    }
  }
  std::optional<Interface::EthIntfCounterGlim> row(char const* id) {
    Glim::Reader<Interface::EthIntfCounterGlim> reader(options.tables + "/" +
                                                       std::string(Interface::kIntfCounters));
    EXPECT_EQ(reader.attach(), Glim::Answer::ok);
    Interface::EthIntfCounterGlim row;
    return reader.lookup(Pekt::IntfId(id), row) == Glim::Answer::ok ? std::optional(row)
                                                                    : std::nullopt;
  }
  template <class Row>
  std::optional<Row> rowOf(std::string_view table,
                           typename Glim::RecordTraits<Row>::Key const& id) {
    Glim::Reader<Row> reader(options.tables + "/" + std::string(table));
    EXPECT_EQ(reader.attach(), Glim::Answer::ok);
    Row row;
    return reader.lookup(id, row) == Glim::Answer::ok ? std::optional(row) : std::nullopt;
  }
  std::optional<Interface::QueueCounter::IntfQueueCounter> queues(char const* id) {
    return rowOf<Interface::QueueCounter::IntfQueueCounter>(Interface::kIntfQueueCounters, id);
  }
  // The offsets that an agent of this machine's links kept.
  void addOffsets(char const* id) {
    Hardware::Linux::OffsetRow offsets;
    offsets.intfId = id;
    place.table<Hardware::Linux::GlimOffsetStore::Table>(Hardware::Linux::kLinkOffsets)
        ->write(offsets);
  }
  bool hasOffsets(char const* id) {
    Glim::Reader<Hardware::Linux::OffsetRow> reader(options.tables + "/" +
                                                    std::string(Hardware::Linux::kLinkOffsets));
    EXPECT_EQ(reader.attach(), Glim::Answer::ok);
    Hardware::Linux::OffsetRow row;
    return reader.lookup(Pekt::IntfId(id), row) == Glim::Answer::ok;
  }
  std::uint64_t simulatedOctets(char const* id, Kel::Seconds seconds) {
    return Hardware::Simulated::Chip::seeded(3, 11)
        .find(Pekt::IntfId(id))
        ->sample(seconds)
        .inOctets;
  }

  // The wall clock is set; no time passes.
  void setClockBy(Kel::Seconds step) {
    set += step;
    time.nowIs(time.now() + step);
  }

  using QueueIndex = Interface::QueueCounter::QueueIndex;
  Support::VirtualTime time;
  Kel::Seconds set = 0.0;
  Support::TemporaryTables place;
  Options options;
  EventLoop loop;
  std::unique_ptr<Host> sut;
};

TEST_F(HostTest, EveryPortHasARowFromTheStart) {
  start();
  for (char const* const id : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
    ASSERT_TRUE(row(id)) << id;
    EXPECT_EQ(row(id)->statistics.lastUpdate, time.now());
  }
  EXPECT_FALSE(row("Ethernet4"));
}

TEST_F(HostTest, RowsGrowEachPeriod) {
  options.period = 2.0;
  start();
  time.nowIs(time.now() + 2.0);
  sut->turn();
  EXPECT_EQ(row("Ethernet1")->statistics.inOctets, simulatedOctets("Ethernet1", 2.0));
  EXPECT_EQ(row("Ethernet1")->statistics.lastUpdate, time.now());
}

TEST_F(HostTest, EveryPortHasItsQueuesAndDropsFromTheStart) {
  options.period = 2.0;
  start();
  ASSERT_TRUE(queues("Ethernet1"));
  EXPECT_EQ(queues("Ethernet1")->statistics.size(), 8u);
  EXPECT_TRUE(rowOf<Glim::Interface::DropCounter>(Interface::kAclDropCounters, "Ethernet1"));
  time.nowIs(time.now() + 2.0);
  sut->turn();
  Pekt::IntfId const id("Ethernet1");
  auto const chip = Hardware::Simulated::Chip::seeded(3, 11);
  auto const told = chip.find(id)->queues(2.0);
  auto const row = queues("Ethernet1").value();
  std::uint64_t pkts = 0;
  for (std::uint32_t i = 0; i < 8; ++i) {
    auto const& counts = row.statistics[QueueIndex(i)].counts;
    EXPECT_EQ(counts.pkts, told[i].pkts) << i;
    pkts += counts.pkts;
  }
  EXPECT_GT(pkts, 0u);
  EXPECT_EQ(row.intfCounts.pkts, pkts);
}

TEST_F(HostTest, EveryVlanInterfaceHasARowFromTheStartThatGrowsEachPeriod) {
  using Row = Interface::VlanIntfCounterGlim;
  options.period = 2.0;
  start();
  auto const vlan = [this](char const* id) { return rowOf<Row>(Interface::kVlanIntfCounters, id); };
  ASSERT_TRUE(vlan("Vlan10"));
  ASSERT_TRUE(vlan("Vlan11"));
  EXPECT_FALSE(vlan("Vlan12"));
  EXPECT_FALSE(row("Vlan10"));
  EXPECT_EQ(vlan("Vlan10")->statistics.lastUpdate, time.now());
  turnsFor(2.05);
  auto const chip = Hardware::Simulated::Chip::seeded(3, 11, 2);
  std::uint64_t const atPoll = vlan("Vlan10")->statistics.inOctets;
  EXPECT_GE(atPoll, chip.find("Vlan10")->sample(2.0).inOctets);
  EXPECT_LE(atPoll, chip.find("Vlan10")->sample(2.1).inOctets);
  EXPECT_GT(atPoll, 0u);
}

TEST_F(HostTest, ClassesOfTheCpuPortArePolledEachPeriod) {
  options.period = 2.0;
  start();
  auto const copp = [this] {
    Glim::Reader<Qos::CoppClassCounter> reader(options.tables + "/" +
                                               std::string(Qos::kCoppCounters));
    EXPECT_EQ(reader.attach(), Glim::Answer::ok);
    Qos::CoppClassCounter row;
    EXPECT_EQ(reader.lookup("copp-bgp", row), Glim::Answer::ok);
    return row;
  };
  EXPECT_EQ(copp().lastUpdate, time.now());
  EXPECT_EQ(copp().lastReset, 0.0);
  turnsFor(20.05);
  EXPECT_GT(copp().pkts, 0u);
  EXPECT_GE(copp().lastUpdate, time.now() - 2.0);
}

TEST_F(HostTest, WallClockThatIsSetBackLeavesNoSampleOfVlanInterfacesInTheFuture) {
  options.period = 2.0;
  start();
  turnsFor(4.0);
  setClockBy(-3600.0);
  turnsFor(4.0);
  auto const row = rowOf<Interface::VlanIntfCounterGlim>(Interface::kVlanIntfCounters, "Vlan10");
  EXPECT_LE(row->statistics.lastUpdate, time.now());
  EXPECT_GE(row->statistics.lastUpdate, time.now() - 2.1);
}

TEST_F(HostTest, TheQueuesOfEveryPortAreDescribed) {
  start();
  auto const described =
      rowOf<Interface::IntfDescription>(Interface::kIntfDescriptions, "Ethernet1");
  EXPECT_EQ(described->txQueues, 8u);
  EXPECT_EQ(described->unsupportedQueue, 0u);
}

TEST_F(HostTest, QueuesOfASimulatedChipBeginAnewToo) {
  start();
  turnsFor(10.0);
  ASSERT_GT(queues("Ethernet2")->intfCounts.pkts, 0u);
  sut.reset();
  start();
  EXPECT_EQ(queues("Ethernet2")->intfCounts.pkts, 0u);
}

TEST_F(HostTest, BetweenThePeriodsRowsStand) {
  options.period = 2.0;
  start();
  time.nowIs(time.now() + 1.9);
  sut->turn();
  EXPECT_EQ(row("Ethernet1")->statistics.inOctets, 0u);
}

// Its counts begin anew with each agent: rows that went on would be of something else.
TEST_F(HostTest, PortsOfAScriptComeAndGo) {
  auto const chip = std::make_shared<Hardware::Simulated::Chip>();
  std::istringstream script(
      "at 0 port Ethernet1 inUcastPkts 10pps 100B\n"
      "at 0 port Vlan7 inUcastPkts 10pps 100B\n"
      "at 0 port Ethernet2 vanish\n"
      "at 2 port Ethernet2 appear\n"
      "at 5 port Ethernet1 vanish\n");
  Hardware::Simulated::readScript(script, *chip);
  options.scripted = chip;
  options.period = 0.5;
  start();
  EXPECT_EQ(sut->counting(), "2 interfaces into " + options.tables + ", every 0.5 s");
  turnsFor(1.0);
  EXPECT_TRUE(row("Ethernet1"));
  EXPECT_FALSE(row("Ethernet2"));
  EXPECT_GE(row("Ethernet1")->statistics.inOctets, 500u);
  turnsFor(1.5);
  EXPECT_TRUE(row("Ethernet2"));
  turnsFor(3.0);
  EXPECT_FALSE(row("Ethernet1"));
  EXPECT_EQ(sut->counting(), "2 interfaces into " + options.tables + ", every 0.5 s");
}

TEST_F(HostTest, WithoutAnyInterfaceItCountsNothing) {
  options.scripted = std::make_shared<Hardware::Simulated::Chip const>();
  start();
  EXPECT_TRUE(sut->countsNothing());
  EXPECT_EQ(sut->counting(), "0 interfaces into " + options.tables + ", every 2 s");
}

TEST_F(HostTest, TheNextAgentOfASimulatedChipBeginsAnew) {
  options.keepCounters = true;
  addOffsets("Ethernet2");
  start();
  turnsFor(10.0);
  ASSERT_GT(row("Ethernet2")->statistics.inOctets, 0u);
  EXPECT_FALSE(hasOffsets("Ethernet2"));
  sut.reset();
  start();
  EXPECT_EQ(row("Ethernet2")->statistics.inOctets, 0u);
  EXPECT_EQ(row("Ethernet2")->rates.inBitsRate, 0.0);
}

TEST_F(HostTest, InterfacesWithoutRoomAreToldOnceAndServedWhenThereIsRoom) {
  options.ports = 20;
  options.vlanInterfaces = 0;
  ::testing::internal::CaptureStderr();
  start({.maxRows = 16});
  turnsFor(20.0);
  EXPECT_TRUE(row("Ethernet16"));
  EXPECT_FALSE(row("Ethernet17"));
  EXPECT_GT(row("Ethernet16")->statistics.inOctets, 0u);
  EXPECT_THAT(::testing::internal::GetCapturedStderr(),
              ::testing::MatchesRegex("oru-agentd: policy map[^\n]*\n"
                                      "oru-agentd: 4 interfaces are not counted[^\n]*\n"));
}

// Three ports, of which one cannot be read.
class ChipWithAFault : public Chip {
 public:
  explicit ChipWithAFault(Interfaces& interfaces) : _interfaces(interfaces) {}
  Kel::Ptr<OruHelper::OruHelperCountersSm> helper() const override { return _helper; }
  Kel::Ptr<OruHelper::OruVlanCountersHelper> vlanHelper() const override { return _vlans; }
  void start(EventLoop&) override { retellRefused(); }
  void retellRefused() override {
    for (char const* const id : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
      Interface::IntfDescription description;
      description.intfId = id;
      _interfaces.interfaceIs(description);
    }
  }

 private:
  class Helper : public Hardware::Simulated::CountersHelper {
   public:
    using CountersHelper::CountersHelper;
    void getCounters(Pekt::IntfId intfId, Kel::Ptr<OruTypes::IntfCounters> newCounters,
                     Kel::Ptr<OruTypes::IntfCounters> prevCounters) override {
      if (intfId == Pekt::IntfId("Ethernet2")) throw std::runtime_error("it is away");
      CountersHelper::getCounters(intfId, newCounters, prevCounters);
    }
  };
  Interfaces& _interfaces;
  Kel::Ptr<Helper> const _helper = Kel::make<Helper>(
      Kel::Name("faulty"),
      std::make_shared<Hardware::Simulated::Chip const>(Hardware::Simulated::Chip::seeded(3, 11)));
  Kel::Ptr<OruHelper::OruVlanCountersHelper> const _vlans =
      Kel::make<OruHelper::OruVlanCountersHelper>(Kel::Name("none"));
};

TEST_F(HostTest, ANewPortThatCannotBePolledIsToldAndTheOthersArePolled) {
  sut = std::make_unique<Host>(
      options, [this] { return time.now(); }, Glim::TableLimits(),
      [](Tables&, Interfaces& interfaces, Vlans&) {
        return std::make_unique<ChipWithAFault>(interfaces);
      });
  sut->start(loop);
  ::testing::internal::CaptureStderr();
  EXPECT_NO_THROW(sut->turn());
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "oru-agentd: Ethernet2 could not be polled: it is away\n");
  EXPECT_EQ(row("Ethernet1")->statistics.lastUpdate, time.now());
  EXPECT_EQ(row("Ethernet2")->statistics.lastUpdate, 0.0);
  EXPECT_EQ(row("Ethernet3")->statistics.lastUpdate, time.now());
}

TEST_F(HostTest, RowsStayWhenTheAgentEnds) {
  start();
  turnsFor(10.0);
  auto const before = row("Ethernet2");
  sut.reset();
  EXPECT_EQ(row("Ethernet2"), before);
}

TEST_F(HostTest, PortsThatTheNextAgentDoesNotHaveAreRemoved) {
  start();
  sut.reset();
  options.ports = 2;
  start();
  EXPECT_TRUE(row("Ethernet2"));
  EXPECT_FALSE(row("Ethernet3"));
}

TEST_F(HostTest, TablesThatAreRemovedEndTheAgentWithinSeconds) {
  start();
  turnsFor(5.0);
  std::filesystem::remove_all(options.tables);
  EXPECT_THROW(turnsFor(3.0), TableLost);
}

TEST_F(HostTest, RatesConverge) {
  options.period = 1.0;
  options.loadInterval = Interface::LoadInterval(5.0);
  start();
  turnsFor(60.0);
  auto const rates = row("Ethernet1")->rates;
  EXPECT_GT(rates.inBitsRate, 0.0);
  EXPECT_GT(rates.inPktsRate, 0.0);
}

TEST_F(HostTest, AClockThatIsSetStopsNeitherPollsNorRates) {
  options.period = 1.0;
  for (Kel::Seconds const step : {-500.0, 86400.0}) {
    start();
    turnsFor(60.0);
    setClockBy(step);
    for (int i = 0; i < 3; ++i) {
      turnsFor(1.2);
      EXPECT_NEAR(row("Ethernet1")->statistics.lastUpdate, time.now(), 1.1) << step;
      EXPECT_NEAR(row("Ethernet1")->rates.lastUpdate, time.now(), 1.1) << step;
    }
    sut.reset();
  }
}

class VlansOfTheHost : public HostTest {
 protected:
  static constexpr std::uint64_t kFirst = 10;
  std::optional<Glim::Bridging::VlanCounter> vlan(std::uint64_t id) {
    return rowOf<Glim::Bridging::VlanCounter>(Bridging::kVlanCounters, Bridging::VlanId(id));
  }
};

TEST_F(VlansOfTheHost, HaveRowsADescriptionAndAllTheirCountersAtOnce) {
  options.period = 600.0;
  time.nowIs(time.now() + 10.0);
  start();
  turnsFor(0.2);
  ASSERT_TRUE(vlan(kFirst));
  ASSERT_TRUE(vlan(kFirst + 1));
  EXPECT_FALSE(vlan(kFirst + 2));
  EXPECT_GT(vlan(kFirst)->lastUpdate, 0.0);
  auto const described =
      rowOf<Bridging::VlanDescription>(Bridging::kVlanDescriptions, Bridging::VlanId(kFirst));
  ASSERT_TRUE(described);
  EXPECT_EQ(described->bridge.view(), "simulated");
  EXPECT_EQ(described->unsupported, 0u);
}

TEST_F(VlansOfTheHost, ArePolledWithTheirPeriodFromTheStart) {
  options.period = 0.5;
  start();
  for (int i = 0; i < 6; ++i) {
    turnsFor(0.5);
    EXPECT_NEAR(vlan(kFirst)->lastUpdate, time.now(), 0.7);
  }
  Bridging::VlanCounts const counts = vlan(kFirst)->counts;
  EXPECT_GT(counts.inUcastPkts, 0u);
  EXPECT_GT(counts.outUcastPkts, 0u);
  EXPECT_GT(counts.inOctets, 64 * counts.inUcastPkts);
  EXPECT_GT(counts.inMulticastPkts, 0u);
  EXPECT_GT(counts.outBroadcastPkts, 0u);
}

TEST_F(VlansOfTheHost, ArePolledOnAndStampedTrulyWhenTheClockIsSet) {
  options.period = 1.0;
  for (Kel::Seconds const step : {-500.0, 86400.0}) {
    start();
    turnsFor(10.0);
    auto const before = vlan(kFirst)->counts.inOctets;
    setClockBy(step);
    turnsFor(0.2);
    EXPECT_NEAR(vlan(kFirst)->lastUpdate, time.now(), 0.3) << step;
    turnsFor(2.0);
    EXPECT_NEAR(vlan(kFirst)->lastUpdate, time.now(), 1.2) << step;
    if (step > 0.0) {
      EXPECT_GT(vlan(kFirst)->counts.inOctets, before);
    }
    sut.reset();
  }
}

TEST_F(VlansOfTheHost, RowsOfVlansThatWentWhileNoAgentRanGo) {
  options.vlanInterfaces = 3;
  start();
  ASSERT_TRUE(vlan(kFirst + 2));
  sut.reset();
  options.vlanInterfaces = 2;
  start();
  EXPECT_TRUE(vlan(kFirst + 1));
  EXPECT_FALSE(vlan(kFirst + 2));
  EXPECT_FALSE(rowOf<Glim::Bridging::VlanCounter>(Bridging::kVlanCounterSnapshots,
                                                  Bridging::VlanId(kFirst + 2)));
  EXPECT_FALSE(
      rowOf<Bridging::VlanDescription>(Bridging::kVlanDescriptions, Bridging::VlanId(kFirst + 2)));
}

TEST_F(VlansOfTheHost, WithoutRoomAreNotCountedWhileTheOthersAre) {
  options.vlanInterfaces = 5;
  testing::internal::CaptureStderr();
  start({.maxRows = 3});
  turnsFor(12.0);
  EXPECT_TRUE(vlan(kFirst));
  EXPECT_TRUE(vlan(kFirst + 2));
  EXPECT_FALSE(vlan(kFirst + 3));
  EXPECT_NEAR(vlan(kFirst + 2)->lastUpdate, time.now(), options.period + 0.2);
  std::string const said = testing::internal::GetCapturedStderr();
  // The only one of its kind.
  auto const line = [&](std::string const& kind) {
    auto const at = said.find(kind + " are not counted for want of room, the first is ");
    EXPECT_NE(at, std::string::npos) << kind << " in " << said;
    if (at == std::string::npos) return std::string();
    EXPECT_EQ(said.find(kind + " are", at + 1), std::string::npos) << said;
    return said.substr(at, said.find('\n', at) - at);
  };
  EXPECT_THAT(line("2 VLANs"), testing::HasSubstr("VLAN 13: "));
  EXPECT_THAT(line("2 VLANs"), testing::HasSubstr("tried again every few seconds"));
  EXPECT_THAT(line("5 interfaces"), testing::HasSubstr("Vlan10: "));
  EXPECT_THAT(line("3 policing classes"), testing::HasSubstr("copp-ospf: "));
}

}  // namespace
}  // namespace Agent
