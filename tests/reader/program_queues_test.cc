// `show queues` and `show drops` as their users start them.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <utility>

#include "tests/reader/program.h"

namespace Show {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// Two interfaces, of which the first has two queues and ACL drops; its counters were cleared.
class ProgramOfQueues : public Program {
 protected:
  void SetUp() override {
    tables.start();
    tables.startQueuesAndDrops();
    tables.writeTwo();
    PublishedTables::Queues queues;
    queues.intfId = "Ethernet1";
    queues.statistics.sizeIs(2);
    tables.writeClear(queues);
    queues.statistics[Index(1)].counts = {
        .pkts = 70, .octets = 7000, .dropPkts = 5, .dropOctets = 500};
    tables.write(queues);
    queues.statistics[Index(1)].counts.pkts = 60;
    tables.writeClear(queues);
    Interface::EthIntfCounterGlim clear;
    clear.intfId = "Ethernet1";
    clear.statistics.lastUpdate = 12.5;
    tables.writeClear(clear);
    tables.write(Glim::Interface::DropCounter{"Ethernet1", 12});
  }
  using Index = Interface::QueueCounter::QueueIndex;
};

TEST_F(ProgramOfQueues, ShowsQueues) {
  Result const result = run({"show", "queues"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, StartsWith("Agent running, process " + std::to_string(::getpid())));
  EXPECT_THAT(result.out, HasSubstr("\nCounters were cleared; --since-clear shows"));
  EXPECT_THAT(result.out, HasSubstr("\nEthernet1  eth0        1  unicast       70    7000"));
  EXPECT_THAT(result.out, HasSubstr("\nEthernet2  eth1     none  n/a          n/a"));
  EXPECT_THAT(result.err, IsEmpty());
}

TEST_F(ProgramOfQueues, ShowsQueuesSinceTheirClear) {
  Result const result = run({"show", "queues", "eth0", "--since-clear"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, HasSubstr("\nEthernet1  eth0        1  unicast       10       0"));
  EXPECT_THAT(result.out, HasSubstr("Age              Cleared\n"));
}

TEST_F(ProgramOfQueues, PrintsQueuesAsJsonThatParses) {
  Result const result = run({"show", "queues", "--json"});
  EXPECT_EQ(result.exitCode, 0);
  auto const json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["interfaces"][0]["queues"][1]["counters"]["pkts"], 70);
  EXPECT_EQ(json["interfaces"][0]["queues"][1]["sinceClear"]["pkts"], 10);
  EXPECT_EQ(json["interfaces"][0]["cleared"], 12.5);
  EXPECT_TRUE(json["interfaces"][1]["queues"].is_null());
  EXPECT_TRUE(json["interfaces"][1]["cleared"].is_null());
}

TEST_F(ProgramOfQueues, ShowsDrops) {
  Result const result = run({"show", "drops"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, HasSubstr("\nEthernet1  eth0    up                      12  current\n"));
  EXPECT_THAT(result.out, HasSubstr("\nEthernet2  eth1    down                   n/a  n/a\n"));
  auto const json = nlohmann::json::parse(run({"show", "drops", "--json"}).out);
  EXPECT_EQ(json["interfaces"][0]["aclDropPkts"], 12);
}

TEST_F(ProgramOfQueues, NamesAnUnknownIntf) {
  for (std::string const what : {"queues", "drops"}) {
    Result const result = run({"show", what, "Ethernet7"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.err, "oru-counters: there is no interface Ethernet7\n");
    EXPECT_THAT(result.out, IsEmpty());
  }
}

TEST_F(ProgramOfQueues, ShowsThoseOfADeadAgentAsStale) {
  tables.stop();
  EXPECT_THAT(run({"show", "queues"}).out, ContainsRegex("stale [0-9]"));
  EXPECT_THAT(run({"show", "drops"}).out, HasSubstr("  12  stale\n"));
}

TEST_F(ProgramOfQueues, LeavesACorruptRowOutAndSaysSo) {
  tables.stop();
  for (auto const& [what, table] : {std::pair("queues", Interface::kIntfQueueCounters),
                                    {"drops", Interface::kAclDropCounters}}) {
    tables.damageRow(table, 0);
    Result const result = run({"show", what});
    EXPECT_EQ(result.exitCode, 9);
    EXPECT_EQ(result.err,
              "oru-counters: 1 corrupt row of " + tables.file(table) + " was left out\n");
    EXPECT_THAT(result.out, HasSubstr("Ethernet1  eth0"));
  }
}

TEST_F(ProgramOfQueues, SaysWhatAMissingTableMeansAndStillShowsTheIntfs) {
  tables.stop();
  for (auto const table : {Interface::kIntfQueueCounters, Interface::kIntfClearQueueCounters,
                           Interface::kAclDropCounters})
    std::filesystem::remove(tables.file(table));
  Result const queues = run({"show", "queues"});
  EXPECT_EQ(queues.exitCode, 4);
  EXPECT_THAT(queues.err, HasSubstr("the agent counts no queues"));
  Result const drops = run({"show", "drops"});
  EXPECT_EQ(drops.exitCode, 4);
  EXPECT_THAT(drops.err, HasSubstr("the agent's chip counts no ACL drops"));
  Result const interfaces = run({"show", "interfaces"});
  EXPECT_EQ(interfaces.exitCode, 0);
  EXPECT_THAT(interfaces.err, IsEmpty());
}

TEST_F(ProgramOfQueues, DoesNotOpenTheTablesOfOtherCommands) {
  tables.stop();
  for (auto const table : {Interface::kIntfQueueCounters, Interface::kIntfClearQueueCounters,
                           Interface::kAclDropCounters})
    tables.write(table, "not a table at all\n");
  EXPECT_EQ(run({"show", "interfaces"}).exitCode, 0);
  EXPECT_EQ(run({"show", "queues"}).exitCode, 6);
  EXPECT_EQ(run({"show", "drops"}).exitCode, 6);
}

}  // namespace
}  // namespace Show
