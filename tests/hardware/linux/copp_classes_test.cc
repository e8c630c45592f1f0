#include "hardware/linux/copp_classes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/hardware/linux/helper_stand_ins.h"
#include "tests/support/published_schema.h"
#include "tests/support/temporary_tables.h"

namespace Hardware::Linux {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(PublishedSchema, OfCoppOffsetsIsTodaysOrCarriedOver) {
  Support::expectPublishedSchema<CoppOffsetRow>(ORU_SOURCE_DIR "/tests/hardware/linux/schemas");
}

class CoppClassesTest : public ::testing::Test {
 protected:
  CoppClassesTest() {
    kernel.table.table.handle = 40;
    startAgent();
  }
  // Over the same tables and the same kernel.
  void startAgent(bool keeps = false) {
    sut.emplace(
        CoppClasses::Parts{rows, offsets, "copp-system-policy", keeps, [this] { return steady; }},
        kernel, generation, [this] { return now; },
        [this](std::string const& text) { said.push_back(text); });
  }
  NftCounter& counter(std::string const& name) {
    auto& all = kernel.table.table.counters;
    for (NftCounter& each : all)
      if (each.name == name) return each;
    all.push_back({.name = name, .handle = 7 + all.size()});
    return all.back();
  }
  void removeCounter(std::string const& name) {
    std::erase_if(kernel.table.table.counters,
                  [&](NftCounter const& each) { return each.name == name; });
  }
  void fails(std::errc error) {
    kernel.table = {.table = {}, .error = std::make_error_code(error)};
  }
  void poll(Kel::Seconds later = 2.0) {
    now += later;
    steady += later;
    sut->refresh();
  }
  Qos::CoppClassCounter row(char const* name) { return rows->lookup(name); }
  std::vector<std::string> classes() {
    std::vector<std::string> names;
    for (auto const& name : sut->classes().value_or(CoppClasses::Names()))
      names.emplace_back(name.view());
    return names;
  }

  double now = 1000.0, steady = 20.0;
  std::uint64_t generation = 1;
  Support::TemporaryTables tables;
  Kel::Ptr<CoppRows::Table> rows = tables.table<CoppRows::Table>("coppCounters");
  Kel::Ptr<CoppOffsetTable> offsets = tables.table<CoppOffsetTable>("coppOffsets");
  Linux::Test::FakeNftCounters kernel;
  std::vector<std::string> said;
  std::optional<CoppClasses> sut;
};

TEST_F(CoppClassesTest, EveryCounterOfTheTableIsAClass) {
  counter("icmp") = {.name = "icmp", .handle = 7, .pkts = 5, .octets = 500};
  counter("bgp");
  poll();
  EXPECT_THAT(classes(), ElementsAre("bgp", "icmp"));
  EXPECT_EQ(row("icmp").pkts, 5u);
  EXPECT_EQ(row("icmp").octets, 500u);
  EXPECT_EQ(row("icmp").policyMap.view(), "copp-system-policy");
  EXPECT_EQ(row("icmp").lastUpdate, now);
  EXPECT_EQ(row("icmp").lastReset, 0.0);
  EXPECT_THAT(kernel.asked, ElementsAre("inet copp"));
}

TEST_F(CoppClassesTest, AreReadOnceATick) {
  poll();
  sut->refresh();
  EXPECT_EQ(kernel.asked.size(), 1u);
}

TEST_F(CoppClassesTest, TableWithoutCountersIsACpuPortWithoutClasses) {
  poll();
  ASSERT_TRUE(sut->classes());
  EXPECT_THAT(*sut->classes(), IsEmpty());
}

TEST_F(CoppClassesTest, WithoutTheTableThereIsNoCpuPortAndNothingIsSaid) {
  for (auto const error : {std::errc::no_such_file_or_directory, std::errc::invalid_argument,
                           std::errc::protocol_not_supported}) {
    fails(error);
    poll();
    EXPECT_FALSE(sut->classes());
  }
  EXPECT_THAT(said, IsEmpty());
}

TEST_F(CoppClassesTest, TableMayComeLaterAndGo) {
  NftCounterSource::TableReading const there = kernel.table;
  fails(std::errc::no_such_file_or_directory);
  poll();
  kernel.table = there;
  counter("icmp");
  poll();
  EXPECT_THAT(classes(), ElementsAre("icmp"));
  fails(std::errc::no_such_file_or_directory);
  poll();
  EXPECT_FALSE(sut->classes());
}

TEST_F(CoppClassesTest, LackOfPermissionIsToldOnce) {
  fails(std::errc::operation_not_permitted);
  poll();
  poll();
  EXPECT_FALSE(sut->classes());
  EXPECT_THAT(said, ElementsAre(HasSubstr("CAP_NET_ADMIN")));
}

TEST_F(CoppClassesTest, FailedReadingKeepsEverythingAndIsToldOnce) {
  counter("icmp").pkts = 5;
  poll();
  auto const there = kernel.table;
  fails(std::errc::no_buffer_space);
  poll();
  poll(CoppRows::kReloadGrace);
  EXPECT_THAT(classes(), ElementsAre("icmp"));
  EXPECT_EQ(row("icmp").pkts, 5u);
  EXPECT_EQ(said.size(), 1u);
  kernel.table = there;
  poll();
  fails(std::errc::no_buffer_space);
  poll();
  EXPECT_EQ(said.size(), 2u);  // it had worked again
}

TEST_F(CoppClassesTest, ResetKeepsTheTotalsAndWhereTheyStood) {
  counter("icmp") = {.name = "icmp", .handle = 7, .pkts = 5, .octets = 500};
  poll();
  counter("icmp").pkts = 6;  // since the poll
  counter("icmp").octets = 600;
  now += 1.0;
  sut->reset("icmp");
  EXPECT_EQ(counter("icmp").pkts, 0u);
  EXPECT_EQ(row("icmp").pkts, 6u);
  EXPECT_EQ(row("icmp").octets, 600u);
  EXPECT_EQ(row("icmp").resetPkts, 6u);
  EXPECT_EQ(row("icmp").resetOctets, 600u);
  EXPECT_EQ(row("icmp").lastReset, now);
  counter("icmp").pkts = 9;
  counter("icmp").octets = 900;
  poll();
  EXPECT_EQ(row("icmp").pkts, 15u);
  EXPECT_EQ(row("icmp").resetPkts, 6u);
}

TEST_F(CoppClassesTest, ResetIsOfOneClass) {
  counter("icmp").pkts = 5;
  counter("bgp").pkts = 3;
  poll();
  sut->reset("icmp");
  EXPECT_EQ(counter("bgp").pkts, 3u);
  EXPECT_EQ(row("bgp").lastReset, 0.0);
  EXPECT_THAT(kernel.asked, ElementsAre("inet copp", "reset inet copp icmp"));
}

TEST_F(CoppClassesTest, ResetOfWhatIsNoClassDoesNothing) {
  poll();
  sut->reset("icmp");
  sut->reset(std::string(100, 'x'));
  EXPECT_THAT(kernel.asked, ElementsAre("inet copp"));
}

TEST_F(CoppClassesTest, ResetThatFailsIsToldAndChangesNothing) {
  counter("icmp").pkts = 5;
  poll();
  kernel.resetError = std::make_error_code(std::errc::no_buffer_space);
  sut->reset("icmp");
  EXPECT_EQ(row("icmp").lastReset, 0.0);
  EXPECT_THAT(said, ElementsAre(HasSubstr("icmp cannot be reset")));
}

TEST_F(CoppClassesTest, ResetUnderARulesetThatReplacedTheLastOneLosesNothing) {
  counter("icmp").pkts = 5;
  poll();
  kernel.table.table.handle = 41;  // its counters have the handles of the old ones
  counter("icmp").pkts = 8;
  now += 1.0;
  sut->reset("icmp");
  EXPECT_EQ(row("icmp").pkts, 13u);
  EXPECT_EQ(row("icmp").resetPkts, 13u);
}

TEST_F(CoppClassesTest, ResetOfAClassThatWentWithItsTableDoesNothing) {
  counter("icmp").pkts = 5;
  poll();
  fails(std::errc::no_such_file_or_directory);
  now += 1.0;
  sut->reset("icmp");
  EXPECT_FALSE(sut->classes());
  EXPECT_EQ(row("icmp").lastReset, 0.0);
}

TEST_F(CoppClassesTest, ResetsOfOneTickReadTheTableOnce) {
  counter("bgp");
  counter("icmp");
  poll();
  kernel.asked.clear();
  now += 1.0;
  sut->reset("bgp");
  sut->reset("icmp");
  EXPECT_THAT(kernel.asked,
              ElementsAre("inet copp", "reset inet copp bgp", "reset inet copp icmp"));
}

// An agent that was killed between the two.
TEST_F(CoppClassesTest, ResetWhoseOffsetsWereKeptAndWhoseRowWasNotPublishedLosesNothing) {
  counter("icmp").pkts = 5;
  poll();
  auto const published = row("icmp");
  counter("icmp").pkts = 6;
  sut->reset("icmp");
  rows->counterIs(published);
  counter("icmp").pkts = 2;
  startAgent();
  poll();
  EXPECT_EQ(row("icmp").pkts, 8u);
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

TEST_F(CoppClassesTest, NamesThatAreNoClassesAreToldOnceAndNotCounted) {
  counter(std::string(64, 'x'));
  counter("a b");
  counter("icmp");
  poll();
  poll();
  EXPECT_THAT(classes(), ElementsAre("icmp"));
  EXPECT_EQ(said.size(), 2u);
  EXPECT_EQ(rows->members(), 1u);
}

TEST_F(CoppClassesTest, CounterThatIsNoClassIsToldAgainWhenItComesBack) {
  counter("a b");
  poll();
  removeCounter("a b");
  poll();
  counter("a b");
  poll();
  EXPECT_EQ(said.size(), 2u);
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

}  // namespace
}  // namespace Hardware::Linux
