#include "counters/pollers/vlan_intf_counters_sm.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

#include "counters/pollers/unit.h"
#include "tests/counters/counters_fixture.h"
#include "tests/platform/glim/table_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Support::Calls;
using Support::VirtualTime;
using Support::vlan7;

class VlanIntfCountersSm : public Support::CountersFixture {
 public:
  using Poller = Oru::Counters::VlanIntfCountersSm;

  VlanIntfCountersSm() { sut = make(); }
  Kel::Ptr<Poller> make(Kel::Seconds period = 5.0) {
    return Poller::VlanIntfCountersSmIs(ocsd, vlan7, period, time.clock(), helper, globalIntfConfig,
                                        config, status, table);
  }
  void start() {
    sut->initializedIs(true);
    log.clear();
  }
  // Behind the table's back.
  void corruptTheRow() {
    GlimTest::Vandal((tables.directory() / "vlans.glim").string()).rowWord(0, 1) ^= 1;
  }
  Interface::VlanIntfCounterGlim row() { return table->counter(vlan7); }
  std::size_t polls() const { return log.count("getVlanIntfCounters Vlan7"); }

  Kel::Ptr<Interface::VlanIntfConfig> config = Kel::make<Interface::VlanIntfConfig>();
  Kel::Ptr<Interface::VlanIntfStatus> status = Kel::make<Interface::VlanIntfStatus>();
  Kel::Ptr<Support::RecordingVlanTable> table =
      tables.table<Support::RecordingVlanTable>("vlans", log, "counter");
  Kel::Ptr<Poller> sut;
};
using VlanIntfCountersSmDeathTest = VlanIntfCountersSm;

// --- the start ---

TEST_F(VlanIntfCountersSm, DoesNothingWhenConstructed) {
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->updateCounters();
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(trace.lines(), Calls{});
  EXPECT_EQ(sut->prevCounters(), nullptr);
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(VlanIntfCountersSm, MakesAZeroRowWhereThereIsNone) {
  sut->initializedIs(true);
  EXPECT_EQ(log.calls(), Calls{"vlans.counterIs Vlan7"});
  Interface::VlanIntfCounterGlim zero;
  zero.intfId = vlan7;
  EXPECT_EQ(row(), zero);
  ASSERT_NE(sut->prevCounters(), nullptr);
  EXPECT_EQ(sut->prevCounters()->intfStats(), Interface::IntfStatistics{});
}

TEST_F(VlanIntfCountersSm, TracesItsStartWithoutAName) {
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->initializedIs(true);
  EXPECT_EQ(trace.lines(),
            Calls{"8 virtual void Oru::Counters::VlanIntfCountersSm::handleInitialized()"});
}

TEST_F(VlanIntfCountersSm, StartedDirectlyItMarksItselfAndStartsOnce) {
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->handleInitialized();
  EXPECT_TRUE(sut->initialized());
  EXPECT_EQ(trace.lines().size(), 1u);
  EXPECT_EQ(log.calls(), Calls{"vlans.counterIs Vlan7"});
}

TEST_F(VlanIntfCountersSmDeathTest, StartingWithoutItsTableEndsTheProcess) {
  table = nullptr;
  sut = make();
  EXPECT_DEATH(sut->initializedIs(true),
               "OruCountersSm:[0-9]+: .*VlanIntfCountersSm::handleInitialized\\(\\).*"
               "Assertion `allVlanIntfCounters\\(\\)' failed");
}

TEST_F(VlanIntfCountersSm, GoesOnFromARowThatExists) {
  Interface::VlanIntfCounterGlim before;
  before.intfId = vlan7;
  before.statistics.inOctets = 99;
  table->counterIs(before);
  start();
  EXPECT_EQ(row(), before);
  helper->vlanSample.inOctets = 7;
  sut->updateCounters();
  EXPECT_EQ(row().statistics.inOctets, 106u);  // the first poll adds the chip's whole count
}

// --- wake-ups ---

TEST_F(VlanIntfCountersSm, PollsFirstAfterTheLargerOfSyncDelayAndPeriod) {
  auto const first = [this](Kel::Seconds syncDelay, Kel::Seconds period) {
    helper->firstSync = syncDelay;
    sut = make(period);
    sut->initializedIs(true);
    return time.clock()->nextWakeUp() - VirtualTime::kStart;
  };
  EXPECT_EQ(first(30.0, 5.0), 30.0);
  EXPECT_EQ(first(3.0, 5.0), 5.0);
}

TEST_F(VlanIntfCountersSm, TheFirstWakeUpCountsFromTheSystemsTimeAndNotTheClocks) {
  time.nowIs(VirtualTime::kStart + 100.0);  // the clock stands still
  start();
  EXPECT_EQ(time.clock()->nextWakeUp(), VirtualTime::kStart + 100.0 + 5.0);
}

TEST_F(VlanIntfCountersSm, PollsEveryPeriod) {
  start();
  time.runFor(3600.0);
  EXPECT_EQ(polls(), 720u);
}

TEST_F(VlanIntfCountersSm, SetsTheNextWakeUpFromTheEndOfThePoll) {
  start();
  helper->duringGetVlanIntfCounters = [&] { time.nowIs(time.now() + 1.5); };
  time.runFor(5.0);
  EXPECT_EQ(time.clock()->nextWakeUp(), VirtualTime::kStart + 5.0 + 1.5 + 5.0);
}

TEST_F(VlanIntfCountersSm, PeriodZeroNeverPolls) {
  sut = make(0.0);
  helper->firstSync = 3.0;
  start();
  time.runFor(600.0);
  EXPECT_EQ(polls(), 0u);
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(VlanIntfCountersSm, AWakeUpBeforeTheStartPollsNothingAndSetsTheNext) {
  sut->handleTime();
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(time.clock()->nextWakeUp(), VirtualTime::kStart + 5.0);
}

TEST_F(VlanIntfCountersSm, APollThatFailsIsNotTheLast) {
  start();
  Kel::frameworkTraceHandle().levelsIs(0);
  helper->duringGetVlanIntfCounters = [] { throw std::runtime_error("the chip is away"); };
  time.runFor(12.0);
  EXPECT_EQ(polls(), 2u);
}

TEST_F(VlanIntfCountersSm, IsNotWokenOnceItIsGone) {
  start();
  sut = nullptr;
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
}

// --- a poll ---

TEST_F(VlanIntfCountersSm, APollReadsTheChipAndWritesTheRow) {
  start();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->updateCounters();
  EXPECT_EQ(log.calls(), (Calls{"getVlanIntfCounters Vlan7", "vlans.counterIs Vlan7"}));
  EXPECT_EQ(trace.lines(), Calls{"8 void Oru::Counters::VlanIntfCountersSm::updateCounters()"});
}

TEST_F(VlanIntfCountersSm, AddsWhatPassedSinceThePreviousSample) {
  start();
  helper->vlanSample.inOctets = 100;
  helper->vlanSample.outUcastPkts = 10;
  sut->updateCounters();
  helper->vlanSample.inOctets = 150;
  helper->vlanSample.outUcastPkts = 11;
  helper->vlanSample.lastUpdate = 1234.5;
  sut->updateCounters();
  EXPECT_EQ(row().statistics.inOctets, 150u);
  EXPECT_EQ(row().statistics.outUcastPkts, 11u);
  EXPECT_EQ(row().statistics.lastUpdate, 1234.5);
  EXPECT_EQ(helper->prevInOctets, 100u);
  EXPECT_EQ(sut->prevCounters()->intfStats(), helper->vlanSample);
}

TEST_F(VlanIntfCountersSm, ACountThatWentBackwardsAddsItsWrappedDifference) {
  start();
  helper->vlanSample.inOctets = 100;
  sut->updateCounters();
  helper->vlanSample.inOctets = 40;
  sut->updateCounters();
  EXPECT_EQ(row().statistics.inOctets, 40u);  // 100 + (40 - 100), modulo 2^64
}

TEST_F(VlanIntfCountersSm, RatesFollowTheInterfacesOwnIntervalBeforeTheGlobalOne) {
  auto const rateAfter = [this](double own, double global) {
    config->loadIntervalIs(Interface::LoadInterval(own));
    globalIntfConfig->loadIntervalIs(Interface::LoadInterval(global));
    table->counterDel(vlan7);
    helper->vlanSample = {};
    sut = make();
    sut->initializedIs(true);
    for (int poll = 0; poll < 10; ++poll) {
      helper->vlanSample.inOctets += poll < 5 ? 1000 : 9000;
      time.runFor(5.0);
    }
    return row().rates.inBitsRate;
  };
  double const bothShort = rateAfter(1.0, 1.0);
  EXPECT_GT(bothShort, 0.0);
  EXPECT_EQ(rateAfter(1.0, 600.0), bothShort);
  EXPECT_NE(rateAfter(600.0, 1.0), bothShort);
}

TEST_F(VlanIntfCountersSm, ARowThatTheTableRefusesLosesNothing) {
  start();
  helper->vlanSample.inOctets = 100;
  table->full = true;
  EXPECT_THROW(sut->updateCounters(), Dov::ResourceException);
  table->full = false;
  helper->vlanSample.inOctets = 130;
  sut->updateCounters();
  EXPECT_EQ(row().statistics.inOctets, 130u);
}

TEST_F(VlanIntfCountersSm, MissingConfigurationsAreDefaultIntervals) {
  auto const exceptions = Kel::notificationExceptions();
  sut = Poller::VlanIntfCountersSmIs(ocsd, vlan7, 5.0, time.clock(), helper, nullptr, nullptr,
                                     nullptr, table);
  sut->initializedIs(true);
  time.runFor(600.0);  // the average covers more than any interval
  helper->vlanSample.inOctets = 50'000;
  time.runFor(5.0);
  EXPECT_EQ(row().statistics.inOctets, 50'000u);
  double const rate = row().rates.inBitsRate;
  EXPECT_GT(rate, 0.0);
  time.runFor(300.0);
  EXPECT_NEAR(row().rates.inBitsRate / rate, std::exp(-1.0), 1e-9);
  EXPECT_EQ(Kel::notificationExceptions(), exceptions);
}

TEST_F(VlanIntfCountersSm, RatesCountUpToWhenTheChipWasAsked) {
  start();
  helper->duringGetVlanIntfCounters = [&] { time.runFor(1.5); };
  sut->updateCounters();
  EXPECT_EQ(row().rates.lastUpdate, VirtualTime::kStart);
}

TEST_F(VlanIntfCountersSm, AddsToTheRowAsItStoodBeforeTheChipWasRead) {
  start();
  helper->vlanSample.inOctets = 7;
  helper->duringGetVlanIntfCounters = [&] {
    Interface::VlanIntfCounterGlim other = row();
    other.statistics.inOctets = 1000;
    table->counterIs(other);
  };
  sut->updateCounters();
  EXPECT_EQ(row().statistics.inOctets, 7u);
}

// --- a corrupt row ---

TEST_F(VlanIntfCountersSm, ARowThatIsCorruptAtTheStartDetachesTheTableAndNoMore) {
  Interface::VlanIntfCounterGlim before;
  before.intfId = vlan7;
  table->counterIs(before);
  corruptTheRow();
  start();
  EXPECT_FALSE(table->attached());
  EXPECT_TRUE(sut->initialized());
  time.runFor(5.0);
  EXPECT_EQ(polls(), 1u);
}

TEST_F(VlanIntfCountersSm, ARowThatIsCorruptAtAPollDetachesTheTableAndPollsGoOn) {
  start();
  auto const exceptions = Kel::notificationExceptions();
  corruptTheRow();
  time.runFor(60.0);
  EXPECT_FALSE(table->attached());
  EXPECT_EQ(polls(), 12u);
  EXPECT_EQ(Kel::notificationExceptions(), exceptions);
}

TEST_F(VlanIntfCountersSm, TheGlobalConfigurationCanBeReplaced) {
  start();
  auto const other = Kel::make<Interface::GlobalIntfConfig>();
  sut->globalIntfConfigIs(other);
  EXPECT_EQ(sut->globalIntfConfig(), other);
  EXPECT_EQ(sut->globalIntfConfigDel(), other);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(VlanIntfCountersSm, RefusesWhatIsNoPeriod) { EXPECT_THROW(make(-1.0), Kel::RangeException); }

}  // namespace
