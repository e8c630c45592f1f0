// The interfaces and classes of an agent with a simulated chip.
#include <sstream>

#include "hardware/simulated/script.h"
#include "tests/agent/host_fixture.h"

namespace Agent {
namespace {

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

}  // namespace
}  // namespace Agent
