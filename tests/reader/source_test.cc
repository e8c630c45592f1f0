#include "reader/source.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "platform/kel/system.h"
#include "tests/reader/published_tables.h"

namespace Show {
namespace {

using State = Glim::TableStatus::State;

AgentState stateOf(State state, double heartbeatAge, bool processExists) {
  return agentStatus({.state = state, .writerPid = 1, .heartbeatAge = heartbeatAge}, processExists)
      .state;
}

TEST(AgentStatus, AFreshHeartbeatIsARunningAgent) {
  EXPECT_EQ(stateOf(State::ready, 1.0, true), AgentState::running);
}

TEST(AgentStatus, AnAgentInAnotherProcessNamespaceRunsWhileItsHeartbeatIsFresh) {
  EXPECT_EQ(stateOf(State::ready, 1.0, false), AgentState::running);
}

TEST(AgentStatus, AnOldHeartbeatWithoutAProcessIsADeadAgent) {
  EXPECT_EQ(stateOf(State::ready, 3.0, false), AgentState::notRunning);
}

TEST(AgentStatus, AnOldHeartbeatWithAProcessIsASilentAgent) {
  EXPECT_EQ(stateOf(State::ready, 4.9, true), AgentState::running);
  EXPECT_EQ(stateOf(State::ready, 5.1, true), AgentState::silent);
}

TEST(AgentStatus, AnAgentThatLetGoOfItsTablesDoesNotRun) {
  EXPECT_EQ(stateOf(State::detached, 0.0, true), AgentState::notRunning);
}

class SourceOfTables : public testing::Test {
 protected:
  Snapshot take() { return sut.take(Kel::System::currentTime()); }
  PublishedTables tables;
  // The directory and all in it come to belong to a user who is neither this one nor the superuser.
  void giveAway() const {
    for (auto const& file : std::filesystem::directory_iterator(tables.directory()))
      ASSERT_EQ(::chown(file.path().c_str(), kStranger, kStranger), 0);
    ASSERT_EQ(::chown(tables.directory().c_str(), kStranger, kStranger), 0);
  }
  static constexpr uid_t kStranger = 54321;
  inline static std::vector<Table> const kOfInterfaces{Table::counters, Table::clearCounters,
                                                       Table::descriptions};
  Source sut{tables.directory(), Trust::directoryOwner, kOfInterfaces};
  Source unnamed{tables.directory(), Trust::ownTables, kOfInterfaces};
};

TEST_F(SourceOfTables, ReadsAllThreeTables) {
  tables.start();
  tables.writeTwo();
  Interface::EthIntfCounterGlim clear;
  clear.intfId = "Ethernet1";
  clear.statistics.inOctets = 600;
  tables.writeClear(clear);
  Snapshot const snapshot = take();
  for (auto const& [table, read] : snapshot.tables) EXPECT_EQ(read.answer, Glim::Answer::ok);
  ASSERT_EQ(snapshot.interfaces.size(), 2u);
  EXPECT_EQ(snapshot.interfaces[0].intfId, Pekt::IntfId("Ethernet1"));
  EXPECT_EQ(snapshot.interfaces[0].counters->statistics.inOctets, 1000u);
  EXPECT_EQ(snapshot.interfaces[0].atLastClear->statistics.inOctets, 600u);
  EXPECT_EQ(snapshot.interfaces[0].kernelName(), "eth0");
  EXPECT_FALSE(snapshot.interfaces[1].atLastClear);
  EXPECT_EQ(snapshot.agent.state, AgentState::running);
  EXPECT_EQ(snapshot.agent.pid, static_cast<std::uint64_t>(::getpid()));
}

TEST_F(SourceOfTables, InterfacesComeInNaturalOrder) {
  tables.start();
  for (auto const name : {"Ethernet10", "Ethernet2", "Ethernet1"}) {
    Interface::EthIntfCounterGlim row;
    row.intfId = name;
    tables.write(row);
  }
  Snapshot const snapshot = take();
  ASSERT_EQ(snapshot.interfaces.size(), 3u);
  EXPECT_EQ(snapshot.interfaces[1].intfId, Pekt::IntfId("Ethernet2"));
  EXPECT_EQ(snapshot.interfaces[2].intfId, Pekt::IntfId("Ethernet10"));
}

TEST_F(SourceOfTables, ADescriptionAloneMakesAnIntf) {
  tables.start();
  Interface::IntfDescription description;
  description.intfId = "Ethernet3";
  tables.write(description);
  ASSERT_EQ(take().interfaces.size(), 1u);
  EXPECT_FALSE(take().interfaces[0].counters);
}

TEST_F(SourceOfTables, AClearAloneMakesNone) {
  tables.start();
  Interface::EthIntfCounterGlim clear;
  clear.intfId = "Ethernet3";
  tables.writeClear(clear);
  EXPECT_TRUE(take().interfaces.empty());
}

TEST_F(SourceOfTables, ReadsTheTablesOfQueuesAndDropsWhenAskedTo) {
  tables.start();
  tables.startQueuesAndDrops();
  tables.writeTwo();
  PublishedTables::Queues queues;
  queues.intfId = "Ethernet1";
  queues.statistics.sizeIs(3);
  tables.write(queues);
  queues.statistics.sizeIs(2);
  tables.writeClear(queues);
  tables.write(Glim::Interface::DropCounter{"Ethernet3", 12});
  Source all(
      tables.directory(), Trust::directoryOwner,
      {Table::counters, Table::queueCounters, Table::clearQueueCounters, Table::aclDropCounters});
  Snapshot const snapshot = all.take(0.0);
  EXPECT_EQ(snapshot.tables.size(), 4u);
  ASSERT_EQ(snapshot.interfaces.size(), 3u);
  EXPECT_EQ(snapshot.interfaces[0].queues->statistics.size(), 3u);
  EXPECT_EQ(snapshot.interfaces[0].queuesAtLastClear->statistics.size(), 2u);
  EXPECT_FALSE(snapshot.interfaces[1].queues);
  EXPECT_EQ(snapshot.interfaces[2].drops->aclDropPkts, 12u);
  EXPECT_FALSE(snapshot.interfaces[0].description) << "was not asked for";
}

TEST_F(SourceOfTables, SnapshotsHaveTheIntfsOfOneKindOrOfAll) {
  tables.start();
  tables.startVlansAndCopp();
  tables.writeTwo();
  Interface::IntfDescription description;
  for (auto const name : {"Vlan7", "Cpu"}) {
    description.intfId = name;
    tables.write(description);
  }
  Interface::VlanIntfCounterGlim row;
  row.intfId = "Vlan7";
  row.statistics.inOctets = 42;
  tables.write(row);
  auto const namesOf = [&](std::optional<IntfKind> kind) {
    Source source(tables.directory(), Trust::directoryOwner,
                  {Table::counters, Table::descriptions, Table::vlanIntfCounters}, kind);
    std::vector<std::string> names;
    for (Intf const& intf : source.take(0.0).interfaces) names.emplace_back(intf.intfId.view());
    return names;
  };
  using Names = std::vector<std::string>;
  EXPECT_EQ(namesOf(IntfKind::ethernet), (Names{"Ethernet1", "Ethernet2"}));
  EXPECT_EQ(namesOf(IntfKind::vlan), Names{"Vlan7"});
  EXPECT_EQ(namesOf(std::nullopt), (Names{"Cpu", "Ethernet1", "Ethernet2", "Vlan7"}));
  EXPECT_EQ(take().interfaces.size(), 2u);
}

TEST_F(SourceOfTables, ReadsClassesWhenAskedToInTheOrderOfTheirNames) {
  tables.start();
  tables.startVlansAndCopp();
  Qos::CoppClassCounter row;
  for (auto const name : {"copp-ospf", "copp-arp", "copp-bgp"}) {
    row.className = name;
    tables.write(row);
  }
  Source source(tables.directory(), Trust::directoryOwner, {Table::coppCounters});
  Snapshot const snapshot = source.take(0.0);
  EXPECT_EQ(snapshot.tables.at(Table::coppCounters).rows, 3u);
  ASSERT_EQ(snapshot.classes.size(), 3u);
  EXPECT_EQ(snapshot.classes[0].className, Qos::CoppClassName("copp-arp"));
  EXPECT_EQ(snapshot.classes[2].className, Qos::CoppClassName("copp-ospf"));
  EXPECT_TRUE(take().classes.empty());
}

TEST_F(SourceOfTables, TablesThatAreNotAskedForAreNotTold) {
  tables.start();
  tables.startQueuesAndDrops();
  tables.write(Glim::Interface::DropCounter{"Ethernet3", 12});
  Snapshot const snapshot = take();
  EXPECT_EQ(snapshot.tables.size(), 3u);
  EXPECT_FALSE(snapshot.tables.contains(Table::aclDropCounters));
  EXPECT_TRUE(snapshot.interfaces.empty());
}

TEST_F(SourceOfTables, WithoutTablesTheAgentIsUnknown) {
  Snapshot const snapshot = take();
  for (auto const& [table, read] : snapshot.tables) EXPECT_EQ(read.answer, Glim::Answer::missing);
  EXPECT_EQ(snapshot.agent.state, AgentState::unknown);
}

TEST_F(SourceOfTables, FindsTablesThatAppearLater) {
  take();
  tables.start();
  tables.writeTwo();
  EXPECT_EQ(take().interfaces.size(), 2u);
}

TEST_F(SourceOfTables, KeepsTheRowsOfAnAgentThatEnded) {
  tables.start();
  tables.writeTwo();
  take();
  tables.stop();
  Snapshot const snapshot = take();
  EXPECT_EQ(snapshot.agent.state, AgentState::notRunning);
  ASSERT_EQ(snapshot.interfaces.size(), 2u);
  EXPECT_EQ(snapshot.interfaces[0].counters->statistics.inOctets, 1000u);
}

TEST_F(SourceOfTables, FollowsTheNextAgent) {
  tables.start();
  tables.writeTwo();
  take();
  tables.stop();
  tables.start();
  Interface::EthIntfCounterGlim row;
  row.intfId = "Ethernet3";
  tables.write(row);
  Snapshot const snapshot = take();
  EXPECT_EQ(snapshot.agent.state, AgentState::running);
  EXPECT_EQ(snapshot.interfaces.size(), 3u);
}

TEST_F(SourceOfTables, FollowsATableThatWasReplaced) {
  tables.start(64);
  tables.writeTwo();
  take();
  tables.stop();
  tables.start(4096);  // too large for the file in place
  Interface::EthIntfCounterGlim row;
  row.intfId = "Ethernet3";
  tables.write(row);
  Snapshot const snapshot = take();
  EXPECT_EQ(snapshot.tables.at(Table::counters).answer, Glim::Answer::ok);
  EXPECT_EQ(snapshot.interfaces.size(), 3u);
}

TEST_F(SourceOfTables, OfADirectoryThatNobodyNamedShowsThisUsersTables) {
  tables.start();
  tables.writeTwo();
  EXPECT_EQ(unnamed.take(0.0).interfaces.size(), 2u);
  EXPECT_FALSE(unnamed.take(0.0).directoryNamed);
}

TEST_F(SourceOfTables, OfADirectoryThatNobodyNamedShowsNoOtherUsersTables) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can give files away";
  tables.start();
  tables.writeTwo();
  tables.stop();
  giveAway();
  Snapshot const refused = unnamed.take(0.0);
  EXPECT_TRUE(refused.interfaces.empty());
  EXPECT_EQ(refused.agent.state, AgentState::unknown);
  for (auto const& [table, read] : refused.tables) {
    EXPECT_EQ(read.answer, Glim::Answer::unsafe);
    EXPECT_EQ(read.stranger, "user 54321");
  }
  EXPECT_EQ(take().interfaces.size(), 2u) << "of one that was named, the owner's";
}

TEST_F(SourceOfTables, OfADirectoryThatNobodyNamedLetsGoOfTablesThatAreGivenAway) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can give files away";
  tables.start();
  tables.writeTwo();
  EXPECT_EQ(unnamed.take(0.0).interfaces.size(), 2u);
  giveAway();
  EXPECT_TRUE(unnamed.take(0.0).interfaces.empty());
}

// As this user the superuser's, and as this user its own, whichever comes first.
TEST_F(SourceOfTables, OfADirectoryThatNobodyNamedAUserReadsItsOwnAndTheSuperusers) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can become another user";
  tables.start();
  tables.writeTwo();
  ASSERT_EQ(::seteuid(kStranger), 0);
  auto const ofTheSuperuser = unnamed.take(0.0).interfaces.size();
  ASSERT_EQ(::seteuid(0), 0);
  giveAway();
  ASSERT_EQ(::seteuid(kStranger), 0);
  auto const itsOwn = unnamed.take(0.0).interfaces.size();
  ASSERT_EQ(::seteuid(0), 0);
  EXPECT_EQ(ofTheSuperuser, 2u);
  EXPECT_EQ(itsOwn, 2u);
}

TEST_F(SourceOfTables, LeavesACorruptRowOut) {
  tables.start();
  tables.writeTwo();
  tables.stop();
  tables.damageRow(Interface::kIntfCounters, 0);
  Snapshot const snapshot = take();
  EXPECT_EQ(snapshot.tables.at(Table::counters).corruptRows, 1u);
  EXPECT_EQ(snapshot.tables.at(Table::counters).rows, 1u);
  ASSERT_EQ(snapshot.interfaces.size(), 2u);  // both are described
  EXPECT_NE(snapshot.interfaces[0].counters.has_value(),
            snapshot.interfaces[1].counters.has_value());
}

}  // namespace
}  // namespace Show
