// The surroundings of the VLAN counters' state machine: a configuration, requests, tables in shared
// memory, a timer wheel in virtual time, and a helper that tells what it was asked.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "counters/pollers/unit.h"
#include "counters/vlan/helper.h"
#include "counters/vlan/vlan_counters_sm.h"
#include "platform/bridging/config.h"
#include "platform/bridging/vlan_counter_tables.h"
#include "platform/bridging/vlan_counters_cli_req.h"
#include "platform/wib/timer_wheel.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace VlanTest {

using Bridging::VlanCounts;
using Bridging::VlanId;
using Glim::Bridging::VlanCounter;
using Support::Calls;

// Records every operation; keeps the previous sample, as a platform does.
class RecordingVlanHelper : public OruHelper::OruVlanCountersHelper {
 public:
  explicit RecordingVlanHelper(Support::CallLog& log) : OruVlanCountersHelper("vlans"), _log(log) {}

  void initializeVlanCounters(VlanId vlanId) override {
    _log("initializeVlanCounters", vlanId);
    if (duringInitialize) duringInitialize(vlanId);
  }
  Kel::Seconds minimumPollInterval() override {
    _log("minimumPollInterval");
    return minimum;
  }
  void getVlanCounters(VlanId vlanId, Kel::Ptr<OruTypes::VlanCounters> newCounters,
                       Kel::Ptr<OruTypes::VlanCounters> prevCounters) override {
    _log("getVlanCounters", vlanId);
    EXPECT_EQ(newCounters->vlanId(), vlanId);
    EXPECT_EQ(prevCounters->vlanId(), vlanId);
    EXPECT_NE(newCounters, prevCounters);
    EXPECT_EQ(newCounters->counts(), VlanCounts{});
    EXPECT_EQ(prevCounters->counts(), VlanCounts{});
    if (duringGet) duringGet(vlanId);
    newCounters->countsIs(now[vlanId]);
    prevCounters->countsIs(before[vlanId]);
    before[vlanId] = now[vlanId];
  }

  Kel::Seconds minimum = 0.0;
  std::map<VlanId, VlanCounts> now, before;
  std::function<void(VlanId)> duringInitialize, duringGet;

 private:
  Support::CallLog& _log;
};

using LiveTable = Support::Recording<Glim::Bridging::VlanCounterDir>;
using SnapshotTable = Support::Recording<Glim::Bridging::VlanCounterSnapshotDir>;

inline VlanId const v1(1), v10(10), v20(20);

class VlanCountersSm : public testing::Test {
 public:
  static constexpr Kel::Seconds kStart = 1000.0;

  VlanCountersSm() { wheel->timeIs(kStart); }

  void make() {
    sut = Oru::Counters::vlanCountersSmFactory(config, requests, live, snapshot, wheel, helper);
  }
  // With VLANs 1 and 10; what the start did is forgotten.
  void makeWithTwo() {
    config->vlanConfigIs({v1});
    config->vlanConfigIs({v10});
    make();
    log.clear();
  }
  void runTo(Kel::Seconds until) {
    while (wheel->nextRun() <= until) wheel->timeIs(wheel->nextRun());
    wheel->timeIs(until);
  }
  std::size_t polls() const { return log.count("getVlanCounters 10"); }
  static VlanCounter row(VlanId vlanId, VlanCounts const& counts, double lastUpdate) {
    VlanCounter made(vlanId);
    made.counts = counts;
    made.lastUpdate = lastUpdate;
    return made;
  }
  // Each counter another number.
  static VlanCounts counts(std::uint64_t n) {
    return {n + 1, n + 2, n + 3, n + 4, n + 5, n + 6, n + 7, n + 8};
  }

  Support::CallLog log;
  Support::TemporaryTables tables;
  Kel::Ptr<Bridging::Config> config = Kel::make<Bridging::Config>();
  Kel::Ptr<Bridging::VlanCountersCliReq> requests = Kel::make<Bridging::VlanCountersCliReq>();
  Kel::Ptr<LiveTable> live =
      tables.table<LiveTable>(Glim::TableLimits{.maxRows = 4094}, "live", log, "vlanCounter");
  Kel::Ptr<SnapshotTable> snapshot = tables.table<SnapshotTable>(
      Glim::TableLimits{.maxRows = 4094}, "snapshot", log, "vlanCounterSnapshot");
  Kel::Ptr<Wib::TimerWheel> wheel = Kel::make<Wib::TimerWheel>();
  Kel::Ptr<RecordingVlanHelper> helper = Kel::make<RecordingVlanHelper>(log);
  Kel::Ptr<Oru::Counters::VlanCountersSm> sut;
};
using VlanCountersSmDeathTest = VlanCountersSm;

}  // namespace VlanTest
