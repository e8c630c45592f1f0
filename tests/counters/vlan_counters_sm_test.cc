#include "counters/vlan/vlan_counters_sm.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <stdexcept>

#include "counters/pollers/unit.h"
#include "counters/vlan/helper.h"
#include "platform/bridging/config.h"
#include "platform/bridging/vlan_counter_tables.h"
#include "platform/bridging/vlan_counters_cli_req.h"
#include "platform/kel/type_node.h"
#include "platform/wib/timer_wheel.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/slot.h"
#include "tests/support/trace_capture.h"

namespace {

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

VlanId const v1(1), v10(10), v20(20);

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

// --- the start ---

TEST_F(VlanCountersSm, StartsWithRowsForEachVlanAndWithoutThoseOfVlansThatWent) {
  live->vlanCounterIs(row(v20, counts(100), 7.0));
  snapshot->vlanCounterSnapshotIs(row(v20, counts(50), 6.0));
  config->vlanConfigIs({v10});
  config->vlanConfigIs({v1});
  log.clear();
  make();
  EXPECT_EQ(log.calls(), (Calls{"live.vlanCounterIs 1", "snapshot.vlanCounterSnapshotIs 1",
                                "initializeVlanCounters 1", "live.vlanCounterIs 10",
                                "snapshot.vlanCounterSnapshotIs 10", "initializeVlanCounters 10",
                                "live.vlanCounterDel 20", "snapshot.vlanCounterSnapshotDel 20",
                                "minimumPollInterval"}));
  EXPECT_EQ(live->vlanCounter(v1), VlanCounter(v1));
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v10), VlanCounter(v10));
  EXPECT_FALSE(live->contains(v20));
  EXPECT_FALSE(snapshot->contains(v20));
  EXPECT_TRUE(sut->initialized());
  EXPECT_TRUE(sut->hasNotificationActive());
  EXPECT_EQ(sut->pollInterval(), 2.0);
}

TEST_F(VlanCountersSm, TracesItsStart) {
  live->vlanCounterIs(row(v20, counts(100), 7.0));
  live->vlanCounterIs(row(v10, counts(100), 7.0));
  config->vlanConfigIs({v1});
  config->vlanConfigIs({v10});
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  make();
  EXPECT_EQ(trace.lines(), (Calls{"8 OruVlanCountersSm::handleInitialized",
                                  "8 OruVlanCountersSm::handleVlanConfig",
                                  "8 OruVlanCountersSm::handleVlanConfig VLAN1", "7 Adding VLAN1",
                                  "6 Adding VLAN counter glim collections",
                                  "6 Adding VLAN counter snapshot glim collections",
                                  "8 OruVlanCountersSm::handleVlanConfig VLAN10", "7 Adding VLAN10",
                                  "6 Adding VLAN counter snapshot glim collections",
                                  "8 OruVlanCountersSm::removeGlimCollections Deleting VLAN20"}));
}

TEST_F(VlanCountersSm, StartsWithAllVlansThatThereCanBe) {
  for (std::uint64_t id = 1; id <= 4094; ++id) {
    if (id % 3 != 0) config->vlanConfigIs({VlanId(id), id % 7 == 0});
    if (id % 2 == 0) live->vlanCounterIs(row(VlanId(id), counts(id), 7.0));
  }
  make();
  for (std::uint64_t id = 1; id <= 4094; ++id) {
    bool const there = id % 3 != 0 && id % 7 != 0;
    ASSERT_EQ(live->contains(VlanId(id)), there) << id;
    ASSERT_EQ(snapshot->contains(VlanId(id)), there) << id;
    ASSERT_EQ(log.count("initializeVlanCounters " + std::to_string(id)), there) << id;
    if (!there) continue;
    ASSERT_EQ(live->vlanCounter(VlanId(id)),
              id % 2 == 0 ? row(VlanId(id), counts(id), 7.0) : VlanCounter(VlanId(id)));
  }
}

TEST_F(VlanCountersSm, HasItsInputs) {
  make();
  EXPECT_EQ(sut->bridgingConfig(), config);
  EXPECT_EQ(sut->vlanCountersCliReq(), requests);
  EXPECT_EQ(sut->vlanCounterDir(), live);
  EXPECT_EQ(sut->vlanCounterSnapshotDir(), snapshot);
  EXPECT_EQ(sut->clock(), wheel);
  EXPECT_EQ(sut->platformHelper(), helper);
}

TEST_F(VlanCountersSmDeathTest, WithoutAConfigurationItsStartEndsTheProcess) {
  config = nullptr;
  EXPECT_DEATH(make(),
               "OruCountersSm:[0-9]+: .*VlanCountersSm::handleVlanConfig\\(\\).*"
               "Assertion `bridgingConfig\\(\\)' failed");
}

TEST_F(VlanCountersSmDeathTest, WithoutAConfigurationAKeyEndsTheProcess) {
  makeWithTwo();
  sut->bridgingConfigDel();
  EXPECT_DEATH(sut->handleVlanConfig(v1),
               "OruCountersSm:[0-9]+: .*VlanCountersSm::handleVlanConfig\\(Bridging::VlanId\\).*"
               "Assertion `bridgingConfig\\(\\)' failed");
}

TEST_F(VlanCountersSm, IsInitializedOnlyOnceItsRowsAreThere) {
  config->vlanConfigIs({v10});
  make();
  sut->initializedIs(false);
  helper->duringInitialize = [&](VlanId) { log("initialized", sut->initialized()); };
  log.clear();
  sut->handleInitialized();
  EXPECT_EQ(log.count("initialized 0"), 1u);
}

TEST_F(VlanCountersSm, AClockThatGoesDuringAPollIsNotSet) {
  makeWithTwo();
  helper->duringGet = [&](VlanId) { sut->clockDel(); };
  auto const before = Kel::notificationExceptions();
  Kel::frameworkTraceHandle().levelsIs(0);
  runTo(kStart + 2.0);
  EXPECT_EQ(Kel::notificationExceptions(), before + 1);  // the next VLAN's time could not be told
  EXPECT_EQ(live->vlanCounter(v1).lastUpdate, kStart + 2.0);
}

TEST_F(VlanCountersSm, WithoutAClockItStartsAndPollsOnceItHasOne) {
  auto const late = wheel;
  wheel = nullptr;
  config->vlanConfigIs({v10});
  make();
  EXPECT_TRUE(sut->initialized());
  EXPECT_EQ(polls(), 0u);
  sut->clockIs(late);
  EXPECT_EQ(polls(), 1u);
  wheel = late;
  runTo(kStart + 2.0);
  EXPECT_EQ(polls(), 2u);
}

TEST_F(VlanCountersSm, RequestsThatStandAtTheStartAreNotTaken) {
  requests->clearCountersRequestIs(v10, true);
  config->vlanConfigIs({v10});
  make();
  EXPECT_EQ(log.count("snapshot.directWrite 10"), 0u);
}

TEST_F(VlanCountersSm, ItsEndLeavesTheRows) {
  makeWithTwo();
  sut = nullptr;
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_TRUE(live->contains(v10));
  runTo(kStart + 100.0);
  config->vlanConfigDel(v10);
  requests->clearCountersRequestIs(v1, true);
  EXPECT_EQ(log.calls(), Calls{});
}

// --- VLANs that come and go ---

TEST_F(VlanCountersSm, AVlanThatComesGetsItsRowsAndIsPrepared) {
  makeWithTwo();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  config->vlanConfigIs({v20});
  EXPECT_EQ(log.calls(), (Calls{"live.vlanCounterIs 20", "snapshot.vlanCounterSnapshotIs 20",
                                "initializeVlanCounters 20"}));
  EXPECT_EQ(trace.lines(), (Calls{"8 OruVlanCountersSm::handleVlanConfig VLAN20", "7 Adding VLAN20",
                                  "6 Adding VLAN counter glim collections",
                                  "6 Adding VLAN counter snapshot glim collections"}));
}

TEST_F(VlanCountersSm, ASecondNotificationLeavesRowsThatCountAndPreparesAgain) {
  makeWithTwo();
  live->vlanCounterIs(row(v10, counts(100), 7.0));
  snapshot->vlanCounterSnapshotIs(row(v10, counts(50), 6.0));
  log.clear();
  sut->handleVlanConfig(v10);
  EXPECT_EQ(log.calls(), Calls{"initializeVlanCounters 10"});
  EXPECT_EQ(live->vlanCounter(v10), row(v10, counts(100), 7.0));
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v10), row(v10, counts(50), 6.0));
}

TEST_F(VlanCountersSm, ASecondNotificationWritesRowsThatAreStillEmptyOnceMore) {
  makeWithTwo();
  snapshot->vlanCounterSnapshotIs(row(v10, {}, 6.0));  // a clear of nothing is no empty record
  log.clear();
  sut->handleVlanConfig(v10);
  EXPECT_EQ(log.calls(), (Calls{"live.vlanCounterIs 10", "initializeVlanCounters 10"}));
  EXPECT_EQ(live->vlanCounter(v10), VlanCounter(v10));
}

TEST_F(VlanCountersSm, ARowOfZerosThatWasPolledIsNoEmptyRecord) {
  makeWithTwo();
  live->vlanCounterIs(row(v10, {}, 7.0));
  sut->handleVlanConfig(v10);
  EXPECT_EQ(live->vlanCounter(v10), row(v10, {}, 7.0));
}

TEST_F(VlanCountersSm, AVlanThatGoesLosesItsRowsAndTheHelperIsNotAsked) {
  makeWithTwo();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  config->vlanConfigDel(v10);
  EXPECT_EQ(log.calls(), (Calls{"live.vlanCounterDel 10", "snapshot.vlanCounterSnapshotDel 10"}));
  EXPECT_EQ(trace.lines(), (Calls{"8 OruVlanCountersSm::handleVlanConfig VLAN10",
                                  "8 OruVlanCountersSm::removeGlimCollections Deleting VLAN10"}));
}

TEST_F(VlanCountersSm, AVlanThatIsFlaggedCountsAsAbsent) {
  makeWithTwo();
  config->vlanConfigIs({v20, true});
  config->vlanConfigIs({v10, true});
  EXPECT_EQ(log.calls(), (Calls{"live.vlanCounterDel 20", "snapshot.vlanCounterSnapshotDel 20",
                                "live.vlanCounterDel 10", "snapshot.vlanCounterSnapshotDel 10"}));
}

TEST_F(VlanCountersSm, AVlanThatReturnsBeginsAnew) {
  makeWithTwo();
  helper->now[v10] = counts(100);
  sut->updateCounters();
  config->vlanConfigDel(v10);
  config->vlanConfigIs({v10});
  EXPECT_EQ(live->vlanCounter(v10), VlanCounter(v10));
}

TEST_F(VlanCountersSm, AllVlansThatGoAtOnceLoseTheirRows) {
  makeWithTwo();
  config->vlanConfigDelAll();
  EXPECT_EQ(live->members(), 0u);
  EXPECT_EQ(snapshot->members(), 0u);
}

TEST_F(VlanCountersSm, AnotherConfigurationIsFollowedFromThenOn) {
  makeWithTwo();
  auto const other = Kel::make<Bridging::Config>();
  other->vlanConfigIs({v20});
  sut->bridgingConfigIs(other);
  EXPECT_EQ(live->members(), 1u);
  EXPECT_TRUE(live->contains(v20));
  config->vlanConfigIs({VlanId(30)});
  EXPECT_FALSE(live->contains(VlanId(30)));
  other->vlanConfigIs({v1});
  EXPECT_TRUE(live->contains(v1));
}

TEST_F(VlanCountersSm, AWalkEndsWithTheConfigurationThatItWalks) {
  makeWithTwo();
  auto const other = Kel::make<Bridging::Config>();
  other->vlanConfigIs({v20});
  helper->duringInitialize = [&](VlanId vlanId) {
    if (vlanId == v1) sut->bridgingConfigIs(other);
  };
  sut->handleVlanConfig();
  EXPECT_EQ(log.count("initializeVlanCounters 10"), 0u);
  EXPECT_EQ(live->members(), 1u);
  EXPECT_TRUE(live->contains(v20));
  helper->duringInitialize = [&](VlanId) { sut->bridgingConfigDel(); };
  sut->handleVlanConfig();
  EXPECT_EQ(sut->bridgingConfig(), nullptr);
}

TEST_F(VlanCountersSm, AWalkSurvivesVlansThatGoMeanwhile) {
  makeWithTwo();
  config->vlanConfigIs({v20});
  helper->duringInitialize = [&](VlanId vlanId) {
    if (vlanId == v1) config->vlanConfigDel(v10);
  };
  log.clear();
  sut->handleVlanConfig();
  EXPECT_EQ(log.count("initializeVlanCounters 10"), 0u);
  EXPECT_EQ(log.count("initializeVlanCounters 20"), 1u);
}

TEST_F(VlanCountersSm, WithNotificationsOffNothingIsHandled) {
  makeWithTwo();
  sut->hasNotificationActiveIs(false);
  config->vlanConfigIs({v20});
  requests->clearCountersRequestIs(v10, true);
  runTo(kStart + 10.0);
  EXPECT_EQ(log.calls(), Calls{});
}

// --- when it polls ---

TEST_F(VlanCountersSm, PollsFirstAfterTheLargerOfMinimumAndIntervalThenEachInterval) {
  helper->minimum = 5.0;
  config->vlanConfigIs({v10});
  make();
  runTo(kStart + 4.99);
  EXPECT_EQ(polls(), 0u);
  runTo(kStart + 5.0);
  EXPECT_EQ(polls(), 1u);
  runTo(kStart + 6.99);
  EXPECT_EQ(polls(), 1u);
  runTo(kStart + 7.0);
  EXPECT_EQ(polls(), 2u);
  runTo(kStart + 5.0 + 7200.0);
  EXPECT_EQ(polls(), 3601u);
  EXPECT_EQ(log.count("minimumPollInterval"), 1u);
}

TEST_F(VlanCountersSm, ASmallerMinimumDoesNotMatter) {
  helper->minimum = 1.0;
  config->vlanConfigIs({v10});
  make();
  runTo(kStart + 1.99);
  EXPECT_EQ(polls(), 0u);
  runTo(kStart + 2.0);
  EXPECT_EQ(polls(), 1u);
}

TEST_F(VlanCountersSm, IntervalZeroAtTheStartSetsNoWakeUpAndAsksNothing) {
  makeWithTwo();
  sut->clockDel();
  sut->pollIntervalIs(0.0);
  sut->clockIs(wheel);
  sut->initializedIs(false);
  sut->handleInitialized();
  EXPECT_TRUE(sut->initialized());
  EXPECT_EQ(log.count("minimumPollInterval"), 0u);
  EXPECT_EQ(wheel->nextRun(), Wib::TimerWheel::kNever);
  runTo(kStart + 600.0);
  EXPECT_EQ(polls(), 0u);
}

TEST_F(VlanCountersSm, AnotherIntervalHoldsFromTheNextWakeUp) {
  makeWithTwo();
  sut->pollIntervalIs(10.0);
  runTo(kStart + 2.0);
  EXPECT_EQ(polls(), 1u);
  runTo(kStart + 11.99);
  EXPECT_EQ(polls(), 1u);
  runTo(kStart + 12.0);
  EXPECT_EQ(polls(), 2u);
}

TEST_F(VlanCountersSm, IntervalZeroStopsItForGood) {
  makeWithTwo();
  sut->pollIntervalIs(0.0);
  runTo(kStart + 600.0);
  sut->pollIntervalIs(2.0);
  runTo(kStart + 1200.0);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(VlanCountersSm, WhatIsNoIntervalIsRefused) {
  makeWithTwo();
  for (Kel::Seconds const none :
       {-1.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()})
    EXPECT_THROW(sut->pollIntervalIs(none), Kel::RangeException) << none;
  EXPECT_EQ(sut->pollInterval(), 2.0);
}

TEST_F(VlanCountersSm, UninitializedAWakeUpDoesNothing) {
  makeWithTwo();
  sut->initializedIs(false);
  runTo(kStart + 600.0);
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(wheel->nextRun(), Wib::TimerWheel::kNever);
}

TEST_F(VlanCountersSm, APollThatFailsIsNotTheLast) {
  makeWithTwo();
  Kel::frameworkTraceHandle().levelsIs(0);
  helper->duringGet = [](VlanId) { throw std::runtime_error("the chip is away"); };
  runTo(kStart + 2.0);
  helper->duringGet = nullptr;
  helper->now[v10] = counts(100);
  runTo(kStart + 4.0);
  EXPECT_EQ(live->vlanCounter(v10), row(v10, counts(100), kStart + 4.0));
}

// --- a poll ---

TEST_F(VlanCountersSm, APollAsksForEachRowAndWritesItInPlace) {
  makeWithTwo();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  helper->now[v10] = counts(100);
  wheel->timeIs(kStart + 1.5);
  sut->updateCounters();
  EXPECT_EQ(log.calls(),
            (Calls{"getVlanCounters 1", "live.directWrite 1", "live.vlanCounterCommit 1",
                   "getVlanCounters 10", "live.directWrite 10", "live.vlanCounterCommit 10"}));
  EXPECT_EQ(trace.lines(), Calls{"8 OruVlanCountersSm::updateCounters"});
  EXPECT_EQ(live->vlanCounter(v1), row(v1, {}, kStart + 1.5));
  EXPECT_EQ(live->vlanCounter(v10), row(v10, counts(100), kStart + 1.5));
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v10), VlanCounter(v10));
}

TEST_F(VlanCountersSm, PollsAddWhatWasCountedBetweenTheSamples) {
  makeWithTwo();
  live->vlanCounterIs(row(v10, counts(1000), 7.0));
  helper->before[v10] = counts(100);
  helper->now[v10] = counts(130);
  sut->updateCounters();
  VlanCounts expected = counts(1000);
  for (auto* counter : {&expected.inOctets, &expected.inUcastPkts, &expected.inMulticastPkts,
                        &expected.inBroadcastPkts, &expected.outOctets, &expected.outUcastPkts,
                        &expected.outMulticastPkts, &expected.outBroadcastPkts})
    *counter += 30;
  EXPECT_EQ(live->vlanCounter(v10), row(v10, expected, kStart));
  sut->updateCounters();  // nothing was counted since
  EXPECT_EQ(live->vlanCounter(v10), row(v10, expected, kStart));
}

TEST_F(VlanCountersSm, CountersWrapAt64Bits) {
  makeWithTwo();
  VlanCounts most;
  most.inOctets = ~std::uint64_t{0} - 1;
  live->vlanCounterIs(row(v10, most, 7.0));
  helper->before[v10].inOctets = ~std::uint64_t{0};  // the chip's counter wrapped, and the row does
  helper->now[v10].inOctets = 4;
  helper->before[v10].outOctets = 5;  // this one went back
  helper->now[v10].outOctets = 3;
  sut->updateCounters();
  EXPECT_EQ(live->vlanCounter(v10).counts.inOctets, 3u);
  EXPECT_EQ(live->vlanCounter(v10).counts.outOctets, ~std::uint64_t{0} - 1);
}

TEST_F(VlanCountersSm, UninitializedAPollOnlyTraces) {
  makeWithTwo();
  sut->initializedIs(false);
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->updateCounters();
  EXPECT_EQ(trace.lines(), Calls{"8 OruVlanCountersSm::updateCounters"});
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(VlanCountersSm, AVlanThatGoesDuringItsPollLeavesNoRow) {
  makeWithTwo();
  helper->duringGet = [&](VlanId vlanId) {
    if (vlanId == v1) config->vlanConfigDelAll();
  };
  sut->updateCounters();
  EXPECT_EQ(live->members(), 0u);
  EXPECT_EQ(log.count("getVlanCounters 10"), 0u);
}

TEST_F(VlanCountersSm, ARowThatTheTableRefusesIsAsItWas) {
  makeWithTwo();
  helper->now[v1] = counts(100);
  live->full = true;
  EXPECT_THROW(sut->updateCounters(), Dov::ResourceException);
  live->full = false;
  EXPECT_EQ(live->vlanCounter(v1), VlanCounter(v1));
}

TEST_F(VlanCountersSm, WithoutAClockAPollIsRefusedBeforeTheChipIsAsked) {
  makeWithTwo();
  sut->clockDel();
  EXPECT_THROW(sut->updateCounters(), Kel::RangeException);
  EXPECT_EQ(log.calls(), Calls{});
}

// --- requests to clear ---

TEST_F(VlanCountersSm, AClearCopiesTheLiveRowBesideItWithTheTimeOfNow) {
  makeWithTwo();
  config->vlanConfigIs({v20});
  live->vlanCounterIs(row(v10, counts(100), 7.0));
  auto const before20 = snapshot->vlanCounterSnapshot(v20);
  wheel->timeIs(kStart + 1.25);
  log.clear();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  requests->clearCountersRequestIs(v10, true);
  EXPECT_EQ(trace.lines(), (Calls{"8 OruVlanCountersSm::handleClearCountersRequest VLAN10",
                                  "8 OruVlanCountersSm::doTakeSnapshot"}));
  EXPECT_EQ(log.calls(),
            (Calls{"snapshot.directWrite 10", "snapshot.vlanCounterSnapshotCommit 10"}));
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v10), row(v10, counts(100), kStart + 1.25));
  EXPECT_EQ(live->vlanCounter(v10), row(v10, counts(100), 7.0));
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v20), before20);
}

TEST_F(VlanCountersSm, ARequestThatIsChangedTakesAnotherSnapshotWhateverItsFlag) {
  makeWithTwo();
  requests->clearCountersRequestIs(v10, false);
  live->vlanCounterIs(row(v10, counts(100), 7.0));
  requests->clearCountersRequestIs(v10, true);
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 10"), 2u);
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v10).counts, counts(100));
  requests->clearCountersRequestIs(v10, true);  // no change
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 10"), 2u);
}

TEST_F(VlanCountersSm, ARequestThatIsRemovedIsTracedAndChangesNothing) {
  makeWithTwo();
  requests->clearCountersRequestIs(v10, true);
  log.clear();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  requests->clearCountersRequestDel(v10);
  EXPECT_EQ(trace.lines(),
            (Calls{"8 OruVlanCountersSm::handleClearCountersRequest VLAN10", "4 VLAN10 deleted"}));
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(VlanCountersSm, ASnapshotOfAVlanWithoutRowsIsEmptyButForItsTime) {
  makeWithTwo();
  sut->doTakeSnapshot(v20);
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v20), row(v20, {}, kStart));
  EXPECT_FALSE(live->contains(v20));
}

TEST_F(VlanCountersSm, OtherRequestsAreTakenAtOnceAndFollowed) {
  makeWithTwo();
  auto const other = Kel::make<Bridging::VlanCountersCliReq>();
  other->clearCountersRequestIs(v1, true);
  sut->vlanCountersCliReqIs(other);
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 1"), 1u);
  other->clearCountersRequestIs(v10, true);
  requests->clearCountersRequestIs(v10, true);
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 10"), 1u);
}

TEST_F(VlanCountersSm, AllRequestsRemovedAtOnceChangeNothing) {
  makeWithTwo();
  requests->clearCountersRequestIs(v10, true);
  log.clear();
  requests->clearCountersRequestDelAll();
  EXPECT_EQ(log.calls(), Calls{});
}

// Requests that change as a whole, with some that stand afterwards.
class Requests : public Bridging::VlanCountersCliReq {
 public:
  void changeAsAWhole() { notify(&NotifieeConst::onClearCountersRequestkelImmediate); }
};

TEST_F(VlanCountersSm, AChangeOfAllRequestsTakesEachThatStandsWhateverItsFlag) {
  auto const whole = Kel::make<Requests>();
  requests = whole;
  makeWithTwo();
  requests->clearCountersRequestIs(v1, false);
  requests->clearCountersRequestIs(v10, true);
  log.clear();
  whole->changeAsAWhole();
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 1"), 1u);
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 10"), 1u);
}

TEST_F(VlanCountersSm, WithoutRequestsAKeyIsAsOneThatWasRemoved) {
  requests = nullptr;
  makeWithTwo();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->handleClearCountersRequest(v10);
  EXPECT_EQ(trace.lines().back(), "4 VLAN10 deleted");
  sut->handleClearCountersRequest();
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(VlanCountersSmDeathTest, ARequestBeforeTheStartEndsTheProcess) {
  makeWithTwo();
  sut->initializedIs(false);
  EXPECT_DEATH(requests->clearCountersRequestIs(v10, true),
               "OruCountersSm:[0-9]+: .*VlanCountersSm::handleClearCountersRequest.*"
               "Assertion `initialized\\(\\)' failed");
}

// --- by name ---

TEST_F(VlanCountersSm, IsReachedByName) {
  makeWithTwo();
  EXPECT_EQ(Kel::read(*sut, "pollInterval"), "2");
  Kel::set(*sut, "pollInterval", "0.5");
  EXPECT_EQ(sut->pollInterval(), 0.5);
  EXPECT_EQ(Kel::read(*sut, "initialized"), "true");
  Kel::invoke(*sut, "handleVlanConfig", {"10"});
  EXPECT_EQ(log.count("initializeVlanCounters 10"), 1u);
  Kel::invoke(*sut, "handleTime", {});
  EXPECT_EQ(polls(), 1u);
  Kel::invoke(*sut, "doTakeSnapshot", {"10"});
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 10"), 1u);
  requests->clearCountersRequestIs(v1, true);
  Kel::invoke(*sut, "handleClearCountersRequest", {"1"});
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 1"), 2u);
  Kel::invoke(*sut, "removeGlimCollections", {"10"});
  EXPECT_FALSE(live->contains(v10));
  Kel::invoke(*sut, "handleInitialized", {});
  EXPECT_TRUE(live->contains(v10));
  for (auto const* noVlan : {"0", "4095", "ten", ""})
    EXPECT_THROW(Kel::invoke(*sut, "handleVlanConfig", {noVlan}), Kel::RangeException) << noVlan;
}

TEST_F(VlanCountersSm, ByNameWhatWouldEndTheProcessIsRefused) {
  makeWithTwo();
  sut->initializedIs(false);
  EXPECT_THROW(Kel::invoke(*sut, "handleClearCountersRequest", {"1"}), Kel::RangeException);
  sut->bridgingConfigDel();
  EXPECT_THROW(Kel::invoke(*sut, "handleVlanConfig", {"1"}), Kel::RangeException);
  EXPECT_THROW(Kel::invoke(*sut, "handleInitialized", {}), Kel::RangeException);
}

TEST(VlanCountersSlots, AreInContractOrder) {
  using Sm = Oru::Counters::VlanCountersSm;
  EXPECT_EQ(Support::slot(&Sm::kelDoZombieReactors),
            Support::slot(&Kel::PtrInterface::fwkType) + 3);
  using H = OruHelper::OruVlanCountersHelper;
  std::size_t const first = Support::slot(&Kel::PtrInterface::fwkType) + 3;
  EXPECT_EQ(Support::slot(&H::initializeVlanCounters), first);
  EXPECT_EQ(Support::slot(&H::minimumPollInterval), first + 1);
  EXPECT_EQ(Support::slot(&H::getVlanCounters), first + 2);
}

}  // namespace
