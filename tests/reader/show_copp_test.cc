// `show copp` as a whole.
#include <gmock/gmock.h>

#include "reader/copp_view.h"
#include "tests/reader/shown.h"

namespace Show {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

Qos::CoppClassCounter row(char const* name, std::uint64_t pkts, std::uint64_t octets) {
  Qos::CoppClassCounter made;
  made.className = name;
  made.pkts = pkts;
  made.octets = octets;
  made.lastUpdate = kNow - 0.4;
  made.policyMap = std::string_view("copp-system-policy");
  return made;
}

class ShowCopp : public Shown {
 protected:
  ShowCopp() {
    snapshot.classes = {row("copp-arp", 12, 720), row("copp-bgp", 18446744073709551615u, 4200),
                        row("copp-new", 0, 0)};
    snapshot.classes[1].resetPkts = 18446744073709551600u;
    snapshot.classes[1].resetOctets = 4000;
    snapshot.classes[1].lastReset = kNow - 60.0;
    snapshot.classes[2].lastUpdate = 0.0;
    snapshot.classes[2].policyMap = {};
    snapshot.tables = {{Table::counters, {.answer = Glim::Answer::ok, .rows = 2}},
                       {Table::coppCounters, {.answer = Glim::Answer::ok, .rows = 3}}};
  }
  ExitCode show() { return Shown::show(kShowCopp); }
};

TEST_F(ShowCopp, TakesItsOwnTableAndTheOneThatTellsOfTheAgent) {
  EXPECT_THAT(kShowCopp.tables, ElementsAre(Table::counters, Table::coppCounters));
}

TEST_F(ShowCopp, ShowsTotalsAndPacketsSinceTheReset) {
  EXPECT_EQ(show(), ExitCode::ok);
  EXPECT_EQ("\n" + out.str(), R"(
Agent running, process 4711, heartbeat 0.4 s ago

Class     Policy map                       Packets  Octets  Packets since reset  Last reset    Age
copp-arp  copp-system-policy                    12     720                   12       never  0.4 s
copp-bgp  copp-system-policy  18446744073709551615    4200                   15    13:45:40  0.4 s
copp-new  n/a                                  n/a     n/a                  n/a       never  never
)");
  EXPECT_EQ(err.str(), "");
}

TEST_F(ShowCopp, ShowsCountsSinceTheResetAlone) {
  options.sinceReset = true;
  EXPECT_EQ(show(), ExitCode::ok);
  EXPECT_EQ("\n" + out.str(), R"(
Agent running, process 4711, heartbeat 0.4 s ago

Class     Policy map          Packets  Octets  Last reset    Age
copp-arp  copp-system-policy       12     720       never  0.4 s
copp-bgp  copp-system-policy       15     200    13:45:40  0.4 s
copp-new  n/a                     n/a     n/a       never  never
)");
}

TEST_F(ShowCopp, ANarrowTerminalKeepsClassesAndPackets) {
  width = 40;
  show();
  EXPECT_THAT(out.str(), HasSubstr("\nClass                  Packets    Age\n"
                                   "copp-arp                    12  0.4 s\n"));
  EXPECT_THAT(out.str(), HasSubstr("\n4 columns hidden: the terminal is too narrow\n"));
}

TEST_F(ShowCopp, OfADeadAgentTheyAreStale) {
  killAgent(snapshot);
  show();
  EXPECT_THAT(out.str(), HasSubstr("  13:45:40  stale 0.4 s\n"));
  EXPECT_EQ(json(kShowCopp)["classes"][0]["stale"], true);
}

// A row of another chip's counts, say.
TEST_F(ShowCopp, AResetThatIsAheadOfTheTotalsSaysNothing) {
  snapshot.classes[0].resetPkts = 500;
  EXPECT_EQ(sinceReset(snapshot.classes[0]).pkts, 12u);
}

TEST_F(ShowCopp, ClassesAreSelectedByNameOrPattern) {
  options.names = {"copp-[ab]*", "nope", "eth0"};
  EXPECT_EQ(show(), ExitCode::unknownName);
  EXPECT_THAT(out.str(), HasSubstr("\ncopp-arp "));
  EXPECT_THAT(out.str(), HasSubstr("\ncopp-bgp "));
  EXPECT_THAT(out.str(), testing::Not(HasSubstr("\ncopp-new ")));
  EXPECT_EQ(err.str(),
            "oru-counters: there is no class nope\noru-counters: there is no class eth0\n");
}

TEST_F(ShowCopp, AsJsonEverythingIsThere) {
  for (auto& row : snapshot.classes)
    if (row.lastUpdate > 0.0) row.lastUpdate = kNow - 0.5;
  EXPECT_EQ(json(kShowCopp), Json::parse(R"({
    "format": 1,
    "time": 1000000.0,
    "directory": "/tables",
    "agent": {"state": "running", "pid": 4711, "heartbeatAge": 0.4},
    "tables": {
      "intfCounters": {"status": "ok", "rows": 2, "corruptRows": 0, "busyRows": 0},
      "coppCounters": {"status": "ok", "rows": 3, "corruptRows": 0, "busyRows": 0}
    },
    "problems": [],
    "classes": [
      {"name": "copp-arp", "policyMap": "copp-system-policy", "stale": false,
       "lastUpdate": 999999.5, "age": 0.5, "lastReset": null,
       "counters": {"pkts": 12, "octets": 720}, "sinceReset": {"pkts": 12, "octets": 720}},
      {"name": "copp-bgp", "policyMap": "copp-system-policy", "stale": false,
       "lastUpdate": 999999.5, "age": 0.5, "lastReset": 999940.0,
       "counters": {"pkts": 18446744073709551615, "octets": 4200},
       "sinceReset": {"pkts": 15, "octets": 200}},
      {"name": "copp-new", "policyMap": null, "stale": false,
       "lastUpdate": null, "age": null, "lastReset": null,
       "counters": {"pkts": null, "octets": null}, "sinceReset": {"pkts": null, "octets": null}}
    ]})"));
}

TEST_F(ShowCopp, WithoutItsTableItSaysWhatThatMeans) {
  snapshot.tables[Table::coppCounters].answer = Glim::Answer::missing;
  EXPECT_EQ(show(), ExitCode::tableMissing);
  EXPECT_THAT(out.str(), IsEmpty());
  EXPECT_EQ(err.str(),
            "oru-counters: there is no table /tables/coppCounters.glim: the agent's chip has no "
            "control-plane policing, or the agent is of an older version or has not started in "
            "full yet\n");
}

TEST_F(ShowCopp, WithoutAnyItSaysSo) {
  snapshot.classes.clear();
  EXPECT_EQ(show(), ExitCode::ok);
  EXPECT_EQ(out.str(), "Agent running, process 4711, heartbeat 0.4 s ago\n\nNo classes.\n");
}

}  // namespace
}  // namespace Show
