// What the classes of control-plane policing are, and their resets.
#include <gmock/gmock.h>

#include "tests/hardware/linux/copp_classes_fixture.h"

namespace Hardware::Linux {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

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

}  // namespace
}  // namespace Hardware::Linux
