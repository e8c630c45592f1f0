// `show vlans` as a whole.
#include <gmock/gmock.h>

#include "tests/reader/shown.h"

namespace Show {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class ShowVlans : public Shown {
 protected:
  // VLAN 10 with all that there is, 20 on a chip that tells no packets apart, 4094 just made.
  ShowVlans() {
    snapshot.tables = {{Table::counters, {.answer = Glim::Answer::ok, .rows = 2}},
                       {Table::vlanCounters, {.answer = Glim::Answer::ok, .rows = 3}},
                       {Table::vlanCounterSnapshots, {.answer = Glim::Answer::ok, .rows = 3}},
                       {Table::vlanDescriptions, {.answer = Glim::Answer::ok, .rows = 3}}};
    snapshot.vlans = {vlan(10, {18446744073709551615u, 40, 2, 1, 5000, 70, 4, 3}),
                      vlan(20, {1000, 10, 0, 0, 2000, 20, 0, 0}), vlan(4094, {})};
    first().atLastClear->counts = {18446744073709551600u, 30, 2, 0, 4000, 70, 3, 1};
    first().atLastClear->lastUpdate = kNow - 60.0;
    first().description->name = std::string_view("guests");
    for (char const* const name :
         {"inMulticastPkts", "inBroadcastPkts", "outMulticastPkts", "outBroadcastPkts"})
      second().description->unsupported |= Bridging::vlanCounterBit(name);
    last().counters->lastUpdate = 0.0;
    last().description.reset();
  }
  static Vlan vlan(std::uint64_t id, Bridging::VlanCounts const& counts) {
    Vlan made;
    made.vlanId = Bridging::VlanId(id);
    made.counters.emplace(made.vlanId).counts = counts;
    made.counters->lastUpdate = kNow - 0.5;
    made.atLastClear.emplace(made.vlanId);
    made.description.emplace().bridge = std::string_view("br0");
    return made;
  }
  Vlan& first() { return snapshot.vlans[0]; }
  Vlan& second() { return snapshot.vlans[1]; }
  Vlan& last() { return snapshot.vlans[2]; }
  ExitCode show() { return Shown::show(kShowVlans); }
};

TEST_F(ShowVlans, TakesItsOwnTablesAndTheOneThatTellsOfTheAgent) {
  EXPECT_THAT(kShowVlans.tables, ElementsAre(Table::counters, Table::vlanCounters,
                                             Table::vlanCounterSnapshots, Table::vlanDescriptions));
  for (ShowCommand const* const other : {&kShowInterfaces, &kShowVlanInterfaces})
    EXPECT_THAT(other->tables, Not(testing::Contains(Table::vlanCounters)));
}

TEST_F(ShowVlans, ShowsTotals) {
  EXPECT_EQ(show(), ExitCode::ok);
  EXPECT_EQ("\n" + out.str(), R"(
Agent running, process 4711, heartbeat 0.4 s ago
Counters were cleared; --since-clear shows the counts since then.

VLAN  Bridge             In octets  In packets  In multicast  In broadcast  Out octets  Out packets  Out multicast  Out broadcast    Age  Name
  10  br0     18446744073709551615          43             2             1        5000           77              4              3  0.5 s  guests
  20  br0                     1000          10           n/a           n/a        2000           20            n/a            n/a  0.5 s  n/a
4094  n/a                      n/a         n/a           n/a           n/a         n/a          n/a            n/a            n/a  never  n/a
)");
  EXPECT_EQ(err.str(), "");
}

TEST_F(ShowVlans, ShowsCountsSinceTheClear) {
  options.sinceClear = true;
  EXPECT_EQ(show(), ExitCode::ok);
  EXPECT_EQ("\n" + out.str(), R"(
Agent running, process 4711, heartbeat 0.4 s ago

VLAN  Bridge  In octets  In packets  In multicast  In broadcast  Out octets  Out packets  Out multicast  Out broadcast    Age   Cleared  Name
  10  br0            15          11             0             1        1000            3              1              2  0.5 s  13:45:40  guests
  20  br0          1000          10           n/a           n/a        2000           20            n/a            n/a  0.5 s     never  n/a
4094  n/a           n/a         n/a           n/a           n/a         n/a          n/a            n/a            n/a  never     never  n/a
)");
}

// Totals are modulo 2^64.
TEST_F(ShowVlans, ATotalThatWentRoundSinceTheClearIsNoHugeDifference) {
  options.sinceClear = true;
  first().counters->counts.inOctets = 4;
  show();
  EXPECT_THAT(out.str(), HasSubstr("\n  10  br0            20 "));
}

TEST_F(ShowVlans, AClearThatIsAheadOfTheTotalsSaysNothing) {
  options.sinceClear = true;
  first().counters->counts.outOctets = 3999;
  show();
  EXPECT_THAT(out.str(), HasSubstr("  3999  "));
}

TEST_F(ShowVlans, ASnapshotRowWithoutATimeIsNoClear) {
  options.sinceClear = true;
  second().atLastClear->counts = second().counters->counts;
  show();
  EXPECT_THAT(out.str(), HasSubstr("\n  20  br0          1000 "));
  first().atLastClear->lastUpdate = 0.0;
  options.sinceClear = false;
  show();
  EXPECT_THAT(out.str(), Not(HasSubstr("Counters were cleared")));
}

TEST_F(ShowVlans, OfADeadAgentTheyAreStale) {
  killAgent(snapshot);
  show();
  EXPECT_THAT(out.str(), HasSubstr("  stale 0.5 s  guests\n"));
  EXPECT_EQ(json(kShowVlans)["vlans"][0]["stale"], true);
}

TEST_F(ShowVlans, ANarrowTerminalKeepsVlansAndPackets) {
  width = 40;
  show();
  EXPECT_THAT(out.str(), HasSubstr("\nVLAN  In packets  Out packets    Age\n"
                                   "  10          43           77  0.5 s\n"));
  EXPECT_THAT(out.str(), HasSubstr("\n8 columns hidden: the terminal is too narrow\n"));
}

TEST_F(ShowVlans, AreSelectedByIdsRangesAndLists) {
  options.names = {"1-15,4094", "30", "21-29,20"};
  EXPECT_EQ(show(), ExitCode::unknownName);
  for (char const* const line : {"\n  10 ", "\n  20 ", "\n4094 "})
    EXPECT_THAT(out.str(), HasSubstr(line));
  EXPECT_EQ(err.str(), "oru-counters: there is no VLAN 30\noru-counters: there is no VLAN 21-29\n");
  options.names = {"11-30"};
  EXPECT_EQ(show(), ExitCode::ok);
  EXPECT_THAT(out.str(), Not(HasSubstr("\n  10 ")));
  EXPECT_THAT(out.str(), HasSubstr("\n  20 "));
}

TEST_F(ShowVlans, AsJsonEverythingIsThere) {
  EXPECT_EQ(json(kShowVlans), Json::parse(R"({
    "format": 1,
    "time": 1000000.0,
    "directory": "/tables",
    "agent": {"state": "running", "pid": 4711, "heartbeatAge": 0.4},
    "tables": {
      "intfCounters": {"status": "ok", "rows": 2, "corruptRows": 0, "busyRows": 0},
      "vlanCounters": {"status": "ok", "rows": 3, "corruptRows": 0, "busyRows": 0},
      "vlanCounterSnapshots": {"status": "ok", "rows": 3, "corruptRows": 0, "busyRows": 0},
      "vlanDescriptions": {"status": "ok", "rows": 3, "corruptRows": 0, "busyRows": 0}
    },
    "problems": [],
    "vlans": [
      {"vlanId": 10, "bridge": "br0", "name": "guests", "stale": false,
       "lastUpdate": 999999.5, "age": 0.5, "cleared": 999940.0,
       "counters": {"inOctets": 18446744073709551615, "inUcastPkts": 40, "inMulticastPkts": 2,
                    "inBroadcastPkts": 1, "outOctets": 5000, "outUcastPkts": 70,
                    "outMulticastPkts": 4, "outBroadcastPkts": 3},
       "sinceClear": {"inOctets": 15, "inUcastPkts": 10, "inMulticastPkts": 0,
                      "inBroadcastPkts": 1, "outOctets": 1000, "outUcastPkts": 0,
                      "outMulticastPkts": 1, "outBroadcastPkts": 2}},
      {"vlanId": 20, "bridge": "br0", "name": null, "stale": false,
       "lastUpdate": 999999.5, "age": 0.5, "cleared": null,
       "counters": {"inOctets": 1000, "inUcastPkts": 10, "inMulticastPkts": null,
                    "inBroadcastPkts": null, "outOctets": 2000, "outUcastPkts": 20,
                    "outMulticastPkts": null, "outBroadcastPkts": null},
       "sinceClear": {"inOctets": 1000, "inUcastPkts": 10, "inMulticastPkts": null,
                      "inBroadcastPkts": null, "outOctets": 2000, "outUcastPkts": 20,
                      "outMulticastPkts": null, "outBroadcastPkts": null}},
      {"vlanId": 4094, "bridge": null, "name": null, "stale": false,
       "lastUpdate": null, "age": null, "cleared": null,
       "counters": {"inOctets": null, "inUcastPkts": null, "inMulticastPkts": null,
                    "inBroadcastPkts": null, "outOctets": null, "outUcastPkts": null,
                    "outMulticastPkts": null, "outBroadcastPkts": null},
       "sinceClear": {"inOctets": null, "inUcastPkts": null, "inMulticastPkts": null,
                      "inBroadcastPkts": null, "outOctets": null, "outUcastPkts": null,
                      "outMulticastPkts": null, "outBroadcastPkts": null}}
    ]})"));
}

TEST_F(ShowVlans, WithoutItsTableItSaysWhatThatMeans) {
  snapshot.tables[Table::vlanCounters].answer = Glim::Answer::missing;
  EXPECT_EQ(show(), ExitCode::tableMissing);
  EXPECT_THAT(out.str(), IsEmpty());
  EXPECT_EQ(err.str(),
            "oru-counters: there is no table /tables/vlanCounters.glim: the agent counts no VLANs; "
            "it may be of an older version\n");
}

TEST_F(ShowVlans, WithoutAnyItSaysSo) {
  snapshot.vlans.clear();
  EXPECT_EQ(show(), ExitCode::ok);
  EXPECT_EQ(out.str(), "Agent running, process 4711, heartbeat 0.4 s ago\n\nNo VLANs.\n");
}

}  // namespace
}  // namespace Show
