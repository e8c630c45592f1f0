// The rows of policing classes: over restarts, without room, and in damaged tables.
#include <gmock/gmock.h>

#include "tests/hardware/linux/copp_classes_fixture.h"
#include "tests/platform/glim/table_fixture.h"
#include "tests/support/published_schema.h"

namespace Hardware::Linux {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(PublishedSchema, OfCoppOffsetsIsTodaysOrCarriedOver) {
  Support::expectPublishedSchema<CoppOffsetRow>(ORU_SOURCE_DIR "/tests/hardware/linux/schemas");
}

TEST_F(CoppClassesTest, RowsOfAnotherNetworkNamespaceBeginAnew) {
  for (bool const keeps : {false, true}) {
    counter("icmp").pkts = 500;
    poll();
    ++generation;
    counter("icmp").pkts = 3;
    startAgent(keeps);
    poll();
    EXPECT_EQ(row("icmp").pkts, 3u);
  }
}

TEST_F(CoppClassesTest, NewRulesetExtendsTheTotals) {
  counter("icmp").pkts = 5;
  poll();
  kernel.table.table.handle = 41;
  counter("icmp").pkts = 8;
  poll();
  EXPECT_EQ(row("icmp").pkts, 13u);
  EXPECT_EQ(row("icmp").lastReset, 0.0);
}

TEST_F(CoppClassesTest, RestartDoublesNothingAndLosesNothing) {
  counter("icmp").pkts = 5;
  poll();
  sut->reset("icmp");
  counter("icmp").pkts = 2;
  startAgent();
  poll();
  EXPECT_EQ(row("icmp").pkts, 7u);
  EXPECT_EQ(row("icmp").resetPkts, 5u);
}

TEST_F(CoppClassesTest, RestartUnderANewRulesetExtendsTheTotals) {
  counter("icmp").pkts = 5;
  poll();
  kernel.table.table.handle = 41;
  counter("icmp").pkts = 8;
  startAgent();
  poll();
  EXPECT_EQ(row("icmp").pkts, 13u);
}

TEST_F(CoppClassesTest, RowWithoutOffsetsBeginsAnew) {
  counter("icmp").pkts = 5;
  poll();
  sut->reset("icmp");
  offsets->remove("icmp");
  counter("icmp").pkts = 2;
  startAgent();
  poll();
  EXPECT_EQ(row("icmp").pkts, 2u);
  EXPECT_EQ(row("icmp").resetPkts, 0u);
}

TEST_F(CoppClassesTest, RowOfAClassThatWentStaysForAMomentAndGoesOnWithIt) {
  counter("icmp").pkts = 5;
  poll();
  removeCounter("icmp");
  poll();
  EXPECT_THAT(classes(), IsEmpty());
  EXPECT_TRUE(rows->contains("icmp"));
  counter("icmp") = {.name = "icmp", .handle = 9, .pkts = 6};
  poll();
  EXPECT_EQ(row("icmp").pkts, 11u);
  removeCounter("icmp");
  poll();
  poll(CoppRows::kReloadGrace - 1.0);
  EXPECT_TRUE(rows->contains("icmp"));  // the first absence is forgotten
}

TEST_F(CoppClassesTest, RowOfAClassThatStaysAwayIsRemovedWithItsOffsets) {
  counter("icmp").pkts = 5;
  poll();
  removeCounter("icmp");
  poll();
  poll(CoppRows::kReloadGrace);
  EXPECT_FALSE(rows->contains("icmp"));
  EXPECT_FALSE(offsets->contains("icmp"));
  counter("icmp").pkts = 6;
  poll();
  EXPECT_EQ(row("icmp").pkts, 6u);
}

TEST_F(CoppClassesTest, ClockThatIsSetChangesNothingOfHowLongARowStays) {
  for (double const step : {3600.0, -3600.0}) {
    counter("icmp");
    poll();
    removeCounter("icmp");
    poll();
    now += step;
    poll(CoppRows::kReloadGrace - 1.0);
    EXPECT_TRUE(rows->contains("icmp"));
    poll(1.0);
    EXPECT_FALSE(rows->contains("icmp"));
  }
}

TEST_F(CoppClassesTest, RowsGoWithTheTable) {
  counter("icmp").pkts = 5;
  poll();
  fails(std::errc::no_such_file_or_directory);
  poll();
  poll(CoppRows::kReloadGrace);
  EXPECT_FALSE(rows->contains("icmp"));
}

TEST_F(CoppClassesTest, RowsThatAnAgentBeforeLeftGoAtTheFirstReading) {
  counter("icmp");
  counter("bgp");
  poll();
  removeCounter("icmp");
  offsets->write({.className = "ospf"});
  startAgent();
  poll();
  EXPECT_FALSE(rows->contains("icmp"));
  EXPECT_TRUE(rows->contains("bgp"));
  EXPECT_FALSE(offsets->contains("ospf"));
}

TEST_F(CoppClassesTest, RowsThatAreKeptGoOnWhenTheClassComesBack) {
  startAgent(true);
  counter("icmp").pkts = 5;
  poll();
  removeCounter("icmp");
  poll();
  startAgent(true);
  poll(1000.0);
  poll(1000.0);
  EXPECT_EQ(row("icmp").pkts, 5u);
  counter("icmp") = {.name = "icmp", .handle = 9, .pkts = 6};
  poll();
  EXPECT_EQ(row("icmp").pkts, 11u);
}

class FullCoppTables : public CoppClassesTest {
 protected:
  static constexpr int kRoom = 1024;  // of these tables
  void fill(auto const& table) {
    for (int i = 0; table->members() < kRoom; ++i) {
      typename std::remove_cvref_t<decltype(*table)>::Record row;
      row.className = Qos::CoppClassName("other" + std::to_string(i));
      table->write(row);
    }
  }
};

TEST_F(FullCoppTables, ClassWithoutRoomForItsRowIsToldOnceAndCountedWhenThereIs) {
  startAgent(true);
  for (int i = 0; i < kRoom; ++i) counter("other" + std::to_string(i));
  counter("icmp").pkts = 5;
  poll();
  poll();
  EXPECT_EQ(classes().size(), std::size_t{kRoom});
  EXPECT_THAT(said, ElementsAre(HasSubstr("class icmp is not counted")));
  removeCounter("other1");
  poll();
  EXPECT_EQ(row("icmp").pkts, 5u);
  EXPECT_TRUE(sut->classes()->contains("icmp"));
  EXPECT_EQ(said.size(), 1u);
}

TEST_F(FullCoppTables, ClassesWithoutRoomAreToldInOneLineAndAgainWhenTheyGrowMore) {
  for (int i = 0; i < kRoom + 88; ++i) counter("class" + std::to_string(i));
  poll();
  poll();
  EXPECT_THAT(said, ElementsAre(HasSubstr("88 policing classes are not counted; class1024 is")));
  counter("another");
  poll();
  EXPECT_EQ(said.size(), 2u);
}

TEST_F(FullCoppTables, ClassesThatWentGiveTheirRoomToThoseThatAreThereTheFirstGoneFirst) {
  for (bool const keeps : {false, true}) {
    startAgent(keeps);
    kernel.table.table.counters.clear();
    for (int i = 0; i < kRoom; ++i) counter("old" + std::to_string(i));
    poll();
    removeCounter("old7");
    poll();
    kernel.table.table.counters.clear();
    counter("new");
    poll();
    EXPECT_THAT(classes(), ElementsAre("new"));
    EXPECT_FALSE(rows->contains("old7"));
    EXPECT_TRUE(rows->contains("old8"));
    EXPECT_THAT(said, IsEmpty());
  }
}

TEST_F(FullCoppTables, RowsThatAnAgentBeforeLeftHoldNoRoomAtTheFirstReading) {
  for (int i = 0; i < kRoom; ++i) counter("old" + std::to_string(i));
  poll();
  kernel.table.table.counters.clear();
  for (int i = 0; i < kRoom; ++i) counter("new" + std::to_string(i));
  startAgent();
  poll();
  EXPECT_EQ(classes().size(), std::size_t{kRoom});
  EXPECT_THAT(said, IsEmpty());
}

TEST_F(FullCoppTables, ClassWithoutRoomForItsOffsetsIsNotCounted) {
  poll();
  fill(offsets);
  counter("icmp").pkts = 5;
  poll();
  EXPECT_THAT(classes(), IsEmpty());
  EXPECT_FALSE(rows->contains("icmp"));
  EXPECT_THAT(said, ElementsAre(HasSubstr("no room for its offsets")));
}

class DamagedCoppTables : public CoppClassesTest {
 protected:
  // A row that its writer cannot have stored so.
  void damage(char const* table) {
    GlimTest::Vandal((tables.directory() / table).string() + ".glim").slotWord(0, 0) += 2;
  }
};

TEST_F(DamagedCoppTables, OffsetsThatAreDamagedAreGivenUpAndTheRowsAreNot) {
  counter("icmp").pkts = 5;
  poll();
  damage("coppOffsets");
  counter("icmp").handle = 99;  // another counter, whose offsets are to be kept
  counter("icmp").pkts = 3;
  poll();
  EXPECT_FALSE(offsets->attached());
  EXPECT_TRUE(rows->attached());
  EXPECT_EQ(row("icmp").pkts, 8u);
}

TEST_F(DamagedCoppTables, RowsThatAreDamagedAreGivenUpAndTheOffsetsAreNot) {
  counter("icmp").pkts = 5;
  poll();
  damage("coppCounters");
  poll();
  EXPECT_FALSE(rows->attached());
  EXPECT_TRUE(offsets->attached());
}

TEST_F(DamagedCoppTables, OffsetsThatAreDamagedHoldUpNoOtherClass) {
  counter("icmp").pkts = 5;
  poll();
  damage("coppOffsets");
  counter("icmp").handle = 99;
  counter("ospf").pkts = 7;
  poll();
  EXPECT_EQ(row("ospf").pkts, 7u);
}

TEST_F(DamagedCoppTables, OffsetsThatAreDamagedHoldUpNoRemoval) {
  counter("icmp");
  poll();
  damage("coppOffsets");
  removeCounter("icmp");
  poll();
  poll(CoppRows::kReloadGrace);
  EXPECT_FALSE(offsets->attached());
  EXPECT_FALSE(rows->contains("icmp"));
}

}  // namespace
}  // namespace Hardware::Linux
