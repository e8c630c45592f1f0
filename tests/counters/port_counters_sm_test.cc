#include "counters/pollers/port_counters_sm.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "counters/pollers/unit.h"
#include "platform/glim/reader.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Interface::EthCounter;
using Support::Calls;
using Support::eth1;

class PortCountersSm : public Support::CountersFixture {
 public:
  using Poller = Oru::Counters::PortCountersSm;

  PortCountersSm() { sut = make(); }

  Kel::Ptr<Poller> make() {
    auto const poller =
        Poller::PortCountersSmIs(ocsd, eth1, cliCounterConfig, time.clock(), config, status, helper,
                                 globalIntfConfig, allIntfCounters, allIntfClearCounters);
    poller->counterPollPeriodIs(5.0);
    return poller;
  }
  void start() {
    sut->initializedIs(true);
    log.clear();
  }
  Interface::IntfStatistics& chip() { return helper->sample->intfStats(); }
  Interface::EthStatistics& mac() { return helper->sample->ethStats(); }
  std::size_t polls() const { return log.count("getCounters Ethernet1"); }

  Kel::Ptr<Interface::EthPhyIntfConfig> config = Kel::make<Interface::EthPhyIntfConfig>();
  Kel::Ptr<Interface::EthPhyIntfStatus> status = Kel::make<Interface::EthPhyIntfStatus>();
  Kel::Ptr<Poller> sut;
};

TEST_F(PortCountersSm, HasNoPeriodAndNoSampleWhenConstructed) {
  auto const fresh =
      Poller::PortCountersSmIs(ocsd, eth1, cliCounterConfig, time.clock(), config, status, helper,
                               globalIntfConfig, allIntfCounters, allIntfClearCounters);
  EXPECT_EQ(fresh->counterPollPeriod(), 0.0);
  EXPECT_EQ(fresh->prevCounters(), nullptr);
  EXPECT_FALSE(fresh->initialized());
  EXPECT_TRUE(fresh->hasNotificationActive());
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(PortCountersSm, PreparesThePortAndTakesAZeroSampleWhenInitialized) {
  sut->initializedIs(true);
  EXPECT_EQ(log.calls(), (Calls{"initialize Ethernet1"}));
  ASSERT_NE(sut->prevCounters(), nullptr);
  EXPECT_EQ(sut->prevCounters()->intfStats(), Interface::IntfStatistics{});
}

TEST_F(PortCountersSm, PollsFirstAfterTheSyncDelayWhenThatIsLonger) {
  helper->firstSync = 30.0;
  start();
  time.runFor(29.9);
  EXPECT_EQ(polls(), 0u);
  time.runFor(0.1);
  EXPECT_EQ(polls(), 1u);
}

TEST_F(PortCountersSm, PollsFirstAfterThePeriodWhenThatIsLonger) {
  start();
  time.runFor(4.9);
  EXPECT_EQ(polls(), 0u);
  time.runFor(0.1);
  EXPECT_EQ(polls(), 1u);
}

TEST_F(PortCountersSm, PollsEveryPeriod) {
  start();
  time.runFor(3600.0);
  EXPECT_EQ(polls(), 720u);
}

TEST_F(PortCountersSm, SetsTheNextWakeUpFromTheEndOfThePoll) {
  start();
  helper->duringGetCounters = [&] { time.nowIs(time.now() + 1.5); };
  time.runFor(5.0);
  EXPECT_EQ(time.clock()->nextWakeUp(), Support::VirtualTime::kStart + 5.0 + 1.5 + 5.0);
}

TEST_F(PortCountersSm, BeingInitializedAgainKeepsItsSampleAndSchedule) {
  start();
  chip().inOctets = 7;
  time.runFor(6.0);
  auto const sample = sut->prevCounters();
  sut->initializedIs(true);
  EXPECT_EQ(sut->prevCounters(), sample);
  EXPECT_EQ(time.clock()->nextWakeUp(), Support::VirtualTime::kStart + 10.0);
  EXPECT_EQ(log.count("initialize Ethernet1"), 0u);
}

TEST_F(PortCountersSm, PeriodZeroAtAWakeUpStopsForGood) {
  start();
  sut->counterPollPeriodIs(0.0);
  time.runFor(5.0);
  EXPECT_EQ(polls(), 0u);
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
  sut->counterPollPeriodIs(5.0);
  time.runFor(60.0);
  EXPECT_EQ(polls(), 0u);
}

TEST_F(PortCountersSm, TakesANewPeriodAfterTheNextWakeUp) {
  start();
  cliCounterConfig->periodPollIs(1.0);
  EXPECT_EQ(sut->counterPollPeriod(), 1.0);
  time.runFor(4.9);
  EXPECT_EQ(polls(), 0u);
  time.runFor(2.1);
  EXPECT_EQ(polls(), 3u);  // at 5, 6 and 7
}

TEST_F(PortCountersSm, IgnoresTheConfiguredPeriodBeforeItIsInitialized) {
  cliCounterConfig->periodPollIs(1.0);
  EXPECT_EQ(sut->counterPollPeriod(), 5.0);
}

TEST_F(PortCountersSm, TakesThePeriodOfAConfigurationAttachedLater) {
  start();
  auto const other = Kel::make<Oru::Counters::CliConfig>();
  other->periodPollIs(2.0);
  sut->cliCounterConfigIs(other);
  EXPECT_EQ(sut->counterPollPeriod(), 2.0);
  EXPECT_EQ(sut->cliCounterConfigDel(), other);
  EXPECT_EQ(sut->cliCounterConfig(), nullptr);
}

TEST_F(PortCountersSm, AddsTheWholeCountsAtTheFirstPoll) {
  Interface::EthIntfCounterGlim row;
  row.intfId = eth1;
  row.statistics.inOctets = 1000;
  row.ethStatistics[EthCounter::inPauseFrames] = 5;
  allIntfCounters->counterIs(row);
  chip().inOctets = 77;
  mac()[EthCounter::inPauseFrames] = 2;
  start();
  time.runFor(5.0);
  EXPECT_EQ(this->row(eth1).statistics.inOctets, 1077u);
  EXPECT_EQ(this->row(eth1).ethStatistics[EthCounter::inPauseFrames], 7u);
}

TEST_F(PortCountersSm, AddsWhatPassedSinceThePreviousSample) {
  start();
  chip().inOctets = 100;
  time.runFor(5.0);
  chip().inOctets = 130;
  time.runFor(5.0);
  EXPECT_EQ(helper->prevInOctets, 100u);
  EXPECT_EQ(row(eth1).statistics.inOctets, 130u);
}

TEST_F(PortCountersSm, AnAbsentRowIsMadeForThePort) {
  start();
  time.runFor(5.0);
  EXPECT_TRUE(allIntfCounters->contains(eth1));
  EXPECT_EQ(row(eth1).intfId, eth1);
}

TEST_F(PortCountersSm, ACountThatGoesBackwardsAddsItsComplement) {
  start();
  chip().inOctets = 100;
  time.runFor(5.0);
  chip().inOctets = 40;
  time.runFor(5.0);
  EXPECT_EQ(row(eth1).statistics.inOctets, 40u);  // 100 + (2^64 - 60)
  EXPECT_EQ(row(eth1).statistics.inOctets - 100u, ~std::uint64_t{0} - 60u + 1u);
}

TEST_F(PortCountersSm, APollerMadeAgainKeepsThePublishedTotals) {
  start();
  chip().outOctets = 50;
  time.runFor(5.0);
  sut = make();
  sut->initializedIs(true);
  time.runFor(5.0);
  EXPECT_EQ(row(eth1).statistics.outOctets, 100u);
}

TEST_F(PortCountersSm, StoresTheMovingAverages) {
  start();
  time.runFor(5.0);  // seeds
  chip().inOctets = 5000;
  chip().inUcastPkts = 50;
  time.runFor(5.0);  // counts whole
  EXPECT_DOUBLE_EQ(row(eth1).rates.inBitsRate, 8000.0);
  EXPECT_DOUBLE_EQ(row(eth1).rates.inPktsRate, 10.0);
  time.runFor(5.0);  // idle, averaged over the 5 s so far
  EXPECT_NEAR(row(eth1).rates.inBitsRate, 8000.0 * std::exp(-1.0), 1e-6);
  EXPECT_EQ(row(eth1).rates.lastUpdate, time.now());
}

TEST_F(PortCountersSm, ThePortsOwnLoadIntervalCountsBeforeTheGlobalOne) {
  globalIntfConfig->loadIntervalIs(Interface::LoadInterval(600.0));
  config->loadIntervalIs(Interface::LoadInterval(1.0));
  start();
  time.runFor(5.0);
  chip().inOctets = 5000;
  time.runFor(5.0);
  time.runFor(5.0);  // idle
  EXPECT_NEAR(row(eth1).rates.inBitsRate, 8000.0 * std::exp(-5.0), 1e-6);
}

TEST_F(PortCountersSm, PollsThenWritesItsRowAndNothingElse) {
  start();
  time.runFor(5.0);
  EXPECT_EQ(log.calls(), (Calls{"getCounters Ethernet1", "live.counterIs Ethernet1"}));
}

TEST_F(PortCountersSm, UpdateCountersPollsAtOnce) {
  start();
  sut->updateCounters();
  EXPECT_EQ(polls(), 1u);
  EXPECT_EQ(time.clock()->nextWakeUp(), Support::VirtualTime::kStart + 5.0);
}

TEST_F(PortCountersSm, UpdateCountersBeforeItIsInitializedDoesNothing) {
  sut->updateCounters();
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(PortCountersSm, WithoutATableItPollsNothing) {
  allIntfCounters = nullptr;
  sut = make();
  start();
  time.runFor(5.0);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(PortCountersSm, WithoutAClockAForcedPollIsARangeError) {
  start();
  EXPECT_EQ(sut->clockDel(), time.clock());
  try {
    sut->updateCounters();
    FAIL() << "no exception";
  } catch (Kel::RangeException const& e) {
    EXPECT_STREQ(e.what(), "null ValidPtr");
  }
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(PortCountersSm, NotificationsOffKeepTheWakeUpPending) {
  start();
  sut->hasNotificationActiveIs(false);
  time.runFor(60.0);
  EXPECT_EQ(polls(), 0u);
  sut->hasNotificationActiveIs(true);
  time.runFor(0.0);
  EXPECT_EQ(polls(), 1u);
}

TEST_F(PortCountersSm, HandleExitReleasesThePortAndLeavesTheRow) {
  start();
  time.runFor(5.0);
  log.clear();
  sut->handleExit();
  EXPECT_EQ(log.calls(), (Calls{"deinitialize Ethernet1"}));
  EXPECT_TRUE(allIntfCounters->contains(eth1));
}

TEST_F(PortCountersSm, TracesItsWork) {
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->initializedIs(true);
  chip().inOctets = 3;
  time.runFor(5.0);
  sut->handleExit();
  std::string const zero =
      " inUcastPkts 0 inMulticastPkts 0 inBroadcastPkts 0 outOctets 0 outUcastPkts 0 "
      "outMulticastPkts 0 outBroadcastPkts 0 inDiscards 0 outDiscards 0 inErrors 0 "
      "inUnknownProtos 0 outErrors 0 lastUpdate 0";
  EXPECT_EQ(trace.lines(),
            (Calls{"8 virtual void Oru::Counters::PortCountersSm::handleInitialized() Ethernet1",
                   "8 void Oru::Counters::PortCountersSm::updateCounters() Ethernet1",
                   "8 updateCounters Ethernet1 intfStatsDelta is inOctets 3" + zero,
                   "8 updateCounters Ethernet1 old intfCounter.statistics is inOctets 0" + zero,
                   "8 updateCounters Ethernet1 new intfStat is inOctets 3" + zero,
                   "8 void Oru::Counters::PortCountersSm::handleExit() Ethernet1"}));
}

using PortCountersSmDeathTest = PortCountersSm;

TEST_F(PortCountersSmDeathTest, AWrongReceiveErrorTotalEndsTheProcess) {
  start();
  mac()[EthCounter::fcsErrors] = 2;
  helper->completeSample();
  ++chip().inErrors;
  EXPECT_DEATH(sut->updateCounters(),
               "OruCountersSm:[0-9]+: .*PortCountersSm::updateCounters\\(\\).*"
               "newCounters->intfStats\\(\\)\\.inErrors\\(\\) == \\( "
               "newCounters->ethStats\\(\\)\\.alignmentErrors\\(\\) \\+ "
               "newCounters->ethStats\\(\\)\\.fcsErrors\\(\\) \\+ "
               "newCounters->ethStats\\(\\)\\.frameTooLongs\\(\\) \\+ "
               "newCounters->ethStats\\(\\)\\.frameTooShorts\\(\\) \\+ "
               "newCounters->ethStats\\(\\)\\.internalMacReceiveErrors\\(\\) \\)");
}

TEST_F(PortCountersSmDeathTest, AWrongTransmitErrorTotalEndsTheProcess) {
  start();
  mac()[EthCounter::lateCollisions] = 2;
  helper->completeSample();
  --chip().outErrors;
  EXPECT_DEATH(sut->updateCounters(),
               "newCounters->intfStats\\(\\)\\.outErrors\\(\\) == \\( "
               "newCounters->ethStats\\(\\)\\.sqeTestErrors\\(\\) \\+ "
               "newCounters->ethStats\\(\\)\\.lateCollisions\\(\\) \\+ "
               "newCounters->ethStats\\(\\)\\.excessiveCollisions\\(\\) \\+ "
               "newCounters->ethStats\\(\\)\\.internalMacTransmitErrors\\(\\) \\+ "
               "newCounters->ethStats\\(\\)\\.carrierSenseErrors\\(\\) \\)");
}

TEST_F(PortCountersSmDeathTest, TheReceiveTotalIsTestedFirst) {
  start();
  ++chip().inErrors;
  ++chip().outErrors;
  EXPECT_DEATH(sut->updateCounters(), "inErrors\\(\\) ==");
}

TEST_F(PortCountersSmDeathTest, ABrokenSampleIsNotPublished) {
  start();
  chip().inOctets = 9;
  sut->updateCounters();
  chip().inOctets = 11;
  ++chip().inErrors;
  EXPECT_DEATH(sut->updateCounters(), "inErrors");
  // The dead process wrote into the same file, if it wrote: seen through a mapping of one's own.
  Glim::Reader<Interface::EthIntfCounterGlim> reader(allIntfCounters->rootPath().path());
  ASSERT_EQ(reader.attach(), Glim::Answer::ok);
  Interface::EthIntfCounterGlim row;
  ASSERT_EQ(reader.lookup(eth1, row), Glim::Answer::ok);
  EXPECT_EQ(row.statistics.inOctets, 9u);
}

TEST_F(PortCountersSmDeathTest, StartingWithoutTheFlagEndsTheProcess) {
  EXPECT_DEATH(sut->handleInitialized(), "Assertion `initialized\\(\\)' failed");
}

TEST_F(PortCountersSm, AFailedPollIsTriedAgainAPeriodLater) {
  start();
  Kel::frameworkTraceHandle().levelsIs(0);
  helper->duringGetCounters = [] { throw std::runtime_error("the chip is away"); };
  time.runFor(12.0);
  EXPECT_EQ(polls(), 2u);
  helper->duringGetCounters = nullptr;
  chip().inOctets = 6;
  time.runFor(5.0);
  EXPECT_EQ(row(eth1).statistics.inOctets, 6u);
}

TEST_F(PortCountersSm, ARowThatTheTableRefusesLosesNothing) {
  start();
  chip().inOctets = 100;
  auto& table = static_cast<Support::RecordingTable&>(*allIntfCounters);
  table.full = true;
  EXPECT_THROW(sut->updateCounters(), Dov::ResourceException);
  table.full = false;
  chip().inOctets = 130;
  sut->updateCounters();
  EXPECT_EQ(row(eth1).statistics.inOctets, 130u);
}

TEST_F(PortCountersSm, PeriodZeroAtTheStartNeverPolls) {
  sut->counterPollPeriodIs(0.0);
  helper->firstSync = 3.0;
  start();
  EXPECT_EQ(time.clock()->nextWakeUp(), Support::VirtualTime::kStart + 3.0);
  time.runFor(600.0);
  EXPECT_EQ(polls(), 0u);
}

TEST_F(PortCountersSm, AConfigurationThatStopsItStopsItForGood) {
  start();
  cliCounterConfig->periodPollIs(0.0);
  time.runFor(5.0);
  cliCounterConfig->periodPollIs(5.0);
  EXPECT_EQ(sut->counterPollPeriod(), 5.0);
  time.runFor(60.0);
  EXPECT_EQ(polls(), 0u);
}

TEST_F(PortCountersSm, RefusesWhatIsNoPeriod) {
  for (double const period : {-1.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
    EXPECT_THROW(sut->counterPollPeriodIs(period), Kel::RangeException) << period;
    EXPECT_THROW(cliCounterConfig->periodPollIs(period), Kel::RangeException) << period;
  }
  EXPECT_EQ(sut->counterPollPeriod(), 5.0);
}

TEST_F(PortCountersSm, ForgetsItsPreviousSampleWhenTold) {
  start();
  sut->prevCountersDel();
  EXPECT_EQ(sut->prevCounters(), nullptr);
}

TEST_F(PortCountersSm, AveragesOverTheDefaultWhereNothingIsConfigured) {
  start();
  globalIntfConfig->loadIntervalIs(Interface::LoadInterval(10.0));
  EXPECT_EQ(sut->globalIntfConfigDel(), globalIntfConfig);
  time.runFor(600.0);  // the average covers more than any interval
  chip().inOctets = 1'000'000;
  time.runFor(5.0);
  double const rate = row(eth1).rates.inBitsRate;
  EXPECT_GT(rate, 0.0);
  time.runFor(300.0);
  EXPECT_NEAR(row(eth1).rates.inBitsRate / rate, std::exp(-1.0), 1e-9);
  sut->globalIntfConfigIs(globalIntfConfig);
  EXPECT_EQ(sut->globalIntfConfig(), globalIntfConfig);
}

TEST_F(PortCountersSm, EveryErrorClassCountsTowardsItsTotal) {
  start();
  using enum EthCounter;
  for (auto const c : {alignmentErrors, fcsErrors, frameTooLongs, frameTooShorts,
                       internalMacReceiveErrors, sqeTestErrors, lateCollisions, excessiveCollisions,
                       internalMacTransmitErrors, carrierSenseErrors})
    mac()[c] = 1;
  chip().inErrors = chip().outErrors = 5;
  sut->updateCounters();
  EXPECT_EQ(row(eth1).statistics.inErrors, 5u);
  EXPECT_EQ(row(eth1).statistics.outErrors, 5u);
}

}  // namespace
