// `show vlan-interfaces` as a whole.
#include <gmock/gmock.h>

#include "tests/reader/shown.h"

namespace Show {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

Intf vlan(std::string_view name, std::string_view kernelName) {
  Intf made = intf(name, kernelName);
  made.counters.reset();
  made.vlanCounters.emplace();
  made.vlanCounters->intfId = made.intfId;
  made.vlanCounters->statistics.lastUpdate = kNow - 0.4;
  return made;
}

class ShowVlanInterfaces : public Shown {
 protected:
  ShowVlanInterfaces() {
    snapshot.interfaces = {vlan("Vlan7", "eth0.7"), vlan("Vlan30", "br0.30")};
    snapshot.tables = {{Table::counters, {.answer = Glim::Answer::ok, .rows = 1}},
                       {Table::descriptions, {.answer = Glim::Answer::ok, .rows = 3}},
                       {Table::vlanIntfCounters, {.answer = Glim::Answer::ok, .rows = 2}}};
    Interface::IntfStatistics& counts = first().vlanCounters->statistics;
    counts.inOctets = 18446744073709551615u;
    counts.inUcastPkts = 40;
    counts.inMulticastPkts = 2;
    counts.inDiscards = 3;
    counts.outOctets = 5000;
    counts.outUcastPkts = 70;
    counts.outErrors = 1;
    Interface::CounterSet unsupported;
    for (auto const name : {"inErrors", "inUnknownProtos", "outBroadcastPkts"})
      unsupported.insert(name);
    for (Intf& intf : snapshot.interfaces) intf.description->unsupported = unsupported.word();
    first().vlanCounters->rates = {.inBitsRate = 1.25e6,
                                   .inPktsRate = 840.0,
                                   .outBitsRate = 2e3,
                                   .outPktsRate = 1.0,
                                   .lastUpdate = kNow,
                                   .seeded = kNow - 100.0};
    snapshot.interfaces[1].description->operState = Interface::OperState::down;
    snapshot.interfaces[1].vlanCounters->statistics.lastUpdate = 0.0;
  }
  Intf& first() { return snapshot.interfaces[0]; }
  ExitCode show() { return Shown::show(kShowVlanInterfaces); }
};

TEST_F(ShowVlanInterfaces, TakesItsOwnTable) {
  EXPECT_THAT(kShowVlanInterfaces.tables,
              ElementsAre(Table::counters, Table::descriptions, Table::vlanIntfCounters));
  EXPECT_EQ(kShowVlanInterfaces.intfKind, IntfKind::vlan);
  for (ShowCommand const* const other : {&kShowInterfaces, &kShowQueues, &kShowDrops}) {
    EXPECT_THAT(other->tables, Not(testing::Contains(Table::vlanIntfCounters)));
    EXPECT_EQ(other->intfKind, IntfKind::ethernet);
  }
}

TEST_F(ShowVlanInterfaces, ShowsCounts) {
  EXPECT_EQ(show(), ExitCode::ok);
  EXPECT_EQ("\n" + out.str(), R"(
Agent running, process 4711, heartbeat 0.4 s ago

Interface  Device  State             In octets  In packets  In discards  In errors  Out octets  Out packets  Out discards  Out errors    Age  Alias
Vlan7      eth0.7  up     18446744073709551615          42            3        n/a        5000           70             0           1  0.4 s  n/a
Vlan30     br0.30  down                    n/a         n/a          n/a        n/a         n/a          n/a           n/a         n/a  never  n/a
)");
  EXPECT_EQ(err.str(), "");
}

TEST_F(ShowVlanInterfaces, ShowsRates) {
  options.rates = true;
  EXPECT_EQ(show(), ExitCode::ok);
  EXPECT_EQ("\n" + out.str(), R"(
Agent running, process 4711, heartbeat 0.4 s ago
Rates are the agent's averages over each interface's load interval.

Interface  Device  State  Speed         In  In use  In packets        Out  Out use  Out packets    Age
Vlan7      eth0.7  up       n/a  1.25 Mb/s     n/a     840 p/s  2.00 kb/s      n/a      1.0 p/s  0.4 s
Vlan30     br0.30  down     n/a        n/a     n/a         n/a        n/a      n/a          n/a  never
)");
}

TEST_F(ShowVlanInterfaces, OfADeadAgentTheyAreStale) {
  killAgent(snapshot);
  show();
  EXPECT_THAT(out.str(), HasSubstr("  stale 0.4 s  n/a\n"));
}

TEST_F(ShowVlanInterfaces, IsSelectedByNameKernelNameOrPattern) {
  for (char const* const name : {"Vlan7", "eth0.7", "eth*", "Vlan?"}) {
    auto const all = snapshot;
    options.names = {name};
    EXPECT_EQ(show(), ExitCode::ok) << name;
    EXPECT_THAT(out.str(), HasSubstr("\nVlan7 "));
    EXPECT_THAT(out.str(), Not(HasSubstr("\nVlan30 ")));
    snapshot = all;
  }
  options.names = {"Vlan8"};
  EXPECT_EQ(show(), ExitCode::unknownName);
  EXPECT_EQ(err.str(), "oru-counters: there is no VLAN interface Vlan8\n");
}

TEST_F(ShowVlanInterfaces, AsJsonEverythingIsThere) {
  first().description->ifIndex = 12;
  first().vlanCounters->statistics.lastUpdate = kNow - 0.5;
  EXPECT_EQ(json(kShowVlanInterfaces), Json::parse(R"({
    "format": 1,
    "time": 1000000.0,
    "directory": "/tables",
    "agent": {"state": "running", "pid": 4711, "heartbeatAge": 0.4},
    "tables": {
      "intfCounters": {"status": "ok", "rows": 1, "corruptRows": 0, "busyRows": 0},
      "intfDescriptions": {"status": "ok", "rows": 3, "corruptRows": 0, "busyRows": 0},
      "vlanIntfCounters": {"status": "ok", "rows": 2, "corruptRows": 0, "busyRows": 0}
    },
    "problems": [],
    "interfaces": [
      {"name": "Vlan7", "kernelName": "eth0.7", "ifIndex": 12, "alias": null, "adminState": "up",
       "operState": "up", "speed": null, "lastChange": null, "stale": false,
       "lastUpdate": 999999.5, "age": 0.5,
       "rates": {"inBitsRate": 1250000.0, "inPktsRate": 840.0, "outBitsRate": 2000.0,
                 "outPktsRate": 1.0, "lastUpdate": 1000000.0},
       "counters": {"inOctets": 18446744073709551615, "inUcastPkts": 40, "inMulticastPkts": 2,
                    "inBroadcastPkts": 0, "outOctets": 5000, "outUcastPkts": 70,
                    "outMulticastPkts": 0, "outBroadcastPkts": null, "inDiscards": 3,
                    "outDiscards": 0, "inErrors": null, "inUnknownProtos": null, "outErrors": 1}},
      {"name": "Vlan30", "kernelName": "br0.30", "ifIndex": null, "alias": null,
       "adminState": "up", "operState": "down", "speed": null, "lastChange": null, "stale": false,
       "lastUpdate": null, "age": null,
       "rates": {"inBitsRate": null, "inPktsRate": null, "outBitsRate": null, "outPktsRate": null,
                 "lastUpdate": null},
       "counters": {"inOctets": null, "inUcastPkts": null, "inMulticastPkts": null,
                    "inBroadcastPkts": null, "outOctets": null, "outUcastPkts": null,
                    "outMulticastPkts": null, "outBroadcastPkts": null, "inDiscards": null,
                    "outDiscards": null, "inErrors": null, "inUnknownProtos": null,
                    "outErrors": null}}
    ]})"));
}

TEST_F(ShowVlanInterfaces, WithoutItsTableItSaysWhatThatMeans) {
  snapshot.tables[Table::vlanIntfCounters].answer = Glim::Answer::missing;
  EXPECT_EQ(show(), ExitCode::tableMissing);
  EXPECT_THAT(out.str(), IsEmpty());
  EXPECT_EQ(err.str(),
            "oru-counters: there is no table /tables/vlanIntfCounters.glim: the agent counts no "
            "VLAN interfaces; it may be of an older version\n");
}

TEST_F(ShowVlanInterfaces, WithoutAnyItSaysSo) {
  snapshot.interfaces.clear();
  EXPECT_EQ(show(), ExitCode::ok);
  EXPECT_EQ(out.str(), "Agent running, process 4711, heartbeat 0.4 s ago\n\nNo VLAN interfaces.\n");
}

TEST_F(ShowVlanInterfaces, OtherCommandsPointToIt) {
  snapshot.interfaces = {intf("Ethernet1", "eth0")};
  options.names = {"Vlan7"};
  EXPECT_EQ(Shown::show(kShowInterfaces), ExitCode::unknownName);
  EXPECT_EQ(err.str(),
            "oru-counters: there is no interface Vlan7 here; of VLAN interfaces, see: oru-counters "
            "show vlan-interfaces\n");
}

}  // namespace
}  // namespace Show
