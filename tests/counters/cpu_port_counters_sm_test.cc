#include "counters/pollers/cpu_port_counters_sm.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "counters/pollers/unit.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Support::Calls;
using Support::cpu;
using Support::VirtualTime;

class CpuPortCountersSm : public Support::CountersFixture {
 public:
  using Poller = Oru::Counters::CpuPortCountersSm;

  CpuPortCountersSm() { sut = make(); }
  Kel::Ptr<Poller> make(Kel::Seconds period = 5.0) {
    return Poller::CpuPortCountersSmIs(ocsd, cpu, period, time.clock(), helper);
  }
  std::size_t polls() const { return log.count("getCoppCounters"); }

  Kel::Ptr<Poller> sut;
};
using CpuPortCountersSmDeathTest = CpuPortCountersSm;

TEST_F(CpuPortCountersSm, DoesNothingWhenConstructed) {
  sut->updateCounters();
  sut->handleTime();
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
  EXPECT_TRUE(sut->hasNotificationActive());
}

TEST_F(CpuPortCountersSm, TellsTheHelperItsNameOnceAndBeforeTheFirstPoll) {
  sut->initializedIs(true);
  EXPECT_EQ(log.calls(), Calls{"initializeCpuPort Cpu"});
  sut->initializedIs(true);
  time.runFor(11.0);
  EXPECT_EQ(log.calls(), (Calls{"initializeCpuPort Cpu", "getCoppCounters", "getCoppCounters"}));
}

TEST_F(CpuPortCountersSm, TracesItsStart) {
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->initializedIs(true);
  time.runFor(60.0);
  EXPECT_EQ(trace.lines(),
            Calls{"8 virtual void Oru::Counters::CpuPortCountersSm::handleInitialized() Cpu"});
}

TEST_F(CpuPortCountersSmDeathTest, StartingWithoutTheFlagEndsTheProcess) {
  EXPECT_DEATH(sut->handleInitialized(),
               "OruCountersSm:[0-9]+: .*CpuPortCountersSm::handleInitialized\\(\\).*"
               "Assertion `initialized\\(\\)' failed");
}

TEST_F(CpuPortCountersSm, PollsFirstAfterTheLargerOfSyncDelayAndPeriod) {
  auto const first = [this](Kel::Seconds syncDelay, Kel::Seconds period) {
    helper->firstSync = syncDelay;
    sut = make(period);
    sut->initializedIs(true);
    return time.clock()->nextWakeUp() - VirtualTime::kStart;
  };
  EXPECT_EQ(first(30.0, 5.0), 30.0);
  EXPECT_EQ(first(3.0, 5.0), 5.0);
}

TEST_F(CpuPortCountersSm, TheFirstWakeUpCountsFromTheSystemsTimeAndNotTheClocks) {
  time.nowIs(VirtualTime::kStart + 100.0);  // the clock stands still
  sut->initializedIs(true);
  EXPECT_EQ(time.clock()->nextWakeUp(), VirtualTime::kStart + 100.0 + 5.0);
}

TEST_F(CpuPortCountersSm, AStartThatFailsSetsNoWakeUp) {
  helper->duringInitializeCpuPort = [] { throw std::runtime_error("the chip is away"); };
  EXPECT_THROW(sut->initializedIs(true), std::runtime_error);
  EXPECT_FALSE(sut->initialized());
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(CpuPortCountersSm, PollsEveryPeriod) {
  sut->initializedIs(true);
  time.runFor(3600.0);
  EXPECT_EQ(polls(), 720u);
}

TEST_F(CpuPortCountersSm, SetsTheNextWakeUpFromTheEndOfThePoll) {
  sut->initializedIs(true);
  helper->duringGetCoppCounters = [&] { time.nowIs(time.now() + 1.5); };
  time.runFor(5.0);
  EXPECT_EQ(time.clock()->nextWakeUp(), VirtualTime::kStart + 5.0 + 1.5 + 5.0);
}

TEST_F(CpuPortCountersSm, PeriodZeroNeverPolls) {
  helper->firstSync = 3.0;
  sut = make(0.0);
  sut->initializedIs(true);
  EXPECT_EQ(time.clock()->nextWakeUp(), VirtualTime::kStart + 3.0);
  time.runFor(600.0);
  EXPECT_EQ(polls(), 0u);
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(CpuPortCountersSm, APollThatFailsIsNotTheLast) {
  sut->initializedIs(true);
  Kel::frameworkTraceHandle().levelsIs(0);
  helper->duringGetCoppCounters = [] { throw std::runtime_error("the chip is away"); };
  time.runFor(12.0);
  EXPECT_EQ(polls(), 2u);
}

TEST_F(CpuPortCountersSm, IsNotWokenOnceItIsGone) {
  sut->initializedIs(true);
  sut = nullptr;
  log.clear();
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(CpuPortCountersSm, AClockAttachedLaterIsAWakeUp) {
  sut->initializedIs(true);
  EXPECT_EQ(sut->clockDel(), time.clock());
  time.runFor(60.0);
  EXPECT_EQ(polls(), 0u);
  sut->clockIs(time.clock());
  EXPECT_EQ(polls(), 1u);
}

TEST_F(CpuPortCountersSm, RefusesWhatIsNoPeriod) { EXPECT_THROW(make(-1.0), Kel::RangeException); }

}  // namespace
