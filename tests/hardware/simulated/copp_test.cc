// The simulated chip's policing classes and VLAN interfaces.
#include <gtest/gtest.h>

#include "hardware/simulated/counters_helper.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"

namespace Hardware::Simulated {
namespace {

class SimulatedCopp : public testing::Test {
 protected:
  SimulatedCopp() {
    chip->coppClass("bgp").add({.fate = Fate::inUcastPkts, .framesPerSecond = 10, .octets = 100});
    chip->coppClass("quiet");
    sut = Kel::make<CountersHelper>(Kel::Name("simulated"), chip);
    sut->coppTableIs(rows, "policy");
  }
  Support::VirtualTime time;
  Support::TemporaryTables tables;
  Kel::Ptr<Qos::AllCoppClassCounter> rows = tables.table<Qos::AllCoppClassCounter>("coppCounters");
  std::shared_ptr<Chip> const chip = std::make_shared<Chip>();
  Kel::Ptr<CountersHelper> sut;
};

TEST_F(SimulatedCopp, PollPublishesEveryClass) {
  time.nowIs(time.now() + 3.0);
  sut->getCoppCounters();
  auto const row = rows->lookup("bgp");
  EXPECT_EQ(row.pkts, 30u);
  EXPECT_EQ(row.octets, 3000u);
  EXPECT_EQ(row.lastUpdate, time.now());
  EXPECT_EQ(row.policyMap.view(), "policy");
  EXPECT_TRUE(rows->contains("quiet"));
}

TEST_F(SimulatedCopp, ResetKeepsTheTotalsAndWhereTheyStood) {
  time.nowIs(time.now() + 3.0);
  sut->resetCpuQueueCounters(Kel::Name("bgp"));
  EXPECT_EQ(rows->lookup("bgp").resetPkts, 30u);
  EXPECT_EQ(rows->lookup("bgp").lastReset, time.now());
  time.nowIs(time.now() + 1.0);
  sut->getCoppCounters();
  EXPECT_EQ(rows->lookup("bgp").pkts, 40u);
  EXPECT_EQ(rows->lookup("bgp").resetPkts, 30u);
}

TEST_F(SimulatedCopp, ResetOfWhatIsNoClassMakesNone) {
  sut->resetCpuQueueCounters(Kel::Name("ospf"));
  EXPECT_EQ(rows->members(), 0u);
}

TEST_F(SimulatedCopp, ClassesThatHaveNoRoomAreKnownAndTheOthersPublished) {
  auto const small = tables.table<Qos::AllCoppClassCounter>({.maxRows = 1}, "small");
  sut->coppTableIs(small, "policy");
  sut->getCoppCounters();
  EXPECT_TRUE(small->contains("bgp"));
  EXPECT_EQ(sut->coppClasses(), std::set<Qos::CoppClassName>{"bgp"});
  ASSERT_EQ(sut->coppWithoutRoom().size(), 1u);
  EXPECT_EQ(sut->coppWithoutRoom().begin()->first, Qos::CoppClassName("quiet"));
  EXPECT_NE(sut->coppWithoutRoom().begin()->second, "");
}

TEST_F(SimulatedCopp, WhereRoomComesAClassIsPublished) {
  auto const small = tables.table<Qos::AllCoppClassCounter>({.maxRows = 2}, "small");
  sut->coppTableIs(small, "policy");
  Qos::CoppClassCounter other;
  other.className = "other";
  small->counterIs(other);
  sut->getCoppCounters();
  EXPECT_EQ(sut->coppWithoutRoom().size(), 1u);
  small->counterDel("other");
  sut->getCoppCounters();
  EXPECT_TRUE(sut->coppWithoutRoom().empty());
  EXPECT_EQ(sut->coppClasses().size(), 2u);
}

TEST_F(SimulatedCopp, HelperWithoutATablePublishesNothing) {
  auto const other = Kel::make<CountersHelper>(Kel::Name("simulated"), chip);
  other->getCoppCounters();
  other->resetCpuQueueCounters(Kel::Name("bgp"));
  EXPECT_EQ(rows->members(), 0u);
}

TEST(SeededChip, ItsPortsDoNotDependOnItsVlanInterfaces) {
  Chip const with = Chip::seeded(2, 7, 3);
  EXPECT_EQ(with.find("Ethernet2")->sample(50), Chip::seeded(2, 7).find("Ethernet2")->sample(50));
  EXPECT_EQ(with.portsAt(0),
            (std::vector<Pekt::IntfId>{"Ethernet1", "Ethernet2", "Vlan10", "Vlan11", "Vlan12"}));
  EXPECT_FALSE(with.find("Vlan10")->sample(50) == with.find("Ethernet1")->sample(50));
}

}  // namespace
}  // namespace Hardware::Simulated
