// CPU ports as they come and go.
#include <gtest/gtest.h>

#include <stdexcept>

#include "counters/pollers/cpu_port_counters_sm.h"
#include "counters/pollers/unit.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Support::Calls;
using Support::cpu;

using HandleCpuIntf = Support::CountersFixture;

TEST_F(HandleCpuIntf, BeforeTheStartWritesNothing) {
  make();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  ocsd->cpuIntfIs(cpu, true);
  sut->handleCpuIntf(cpu);
  sut->handleCpuIntf();
  EXPECT_EQ(trace.lines(), Calls{});
  EXPECT_EQ(sut->cpuPortCountersSm().size(), 0u);
}

TEST_F(HandleCpuIntf, AServedPortGetsItsPollerMadeOfTheInputs) {
  makeInitialized();
  log.clear();
  ocsd->cpuIntfIs(cpu, true);
  EXPECT_EQ(log.calls(), Calls{"initializeCpuPort Cpu"});
  auto const poller = sut->cpuPortCountersSm(cpu);
  ASSERT_NE(poller, nullptr);
  EXPECT_EQ(poller->ocsd(), ocsd);
  EXPECT_EQ(poller->intfId(), cpu);
  EXPECT_EQ(poller->counterPollPeriod(), 5.0);
  EXPECT_EQ(poller->clock(), time.clock());
  EXPECT_EQ(poller->platformHelper(), helper);
  EXPECT_TRUE(poller->initialized());
  EXPECT_TRUE(poller->hasNotificationActive());
}

TEST_F(HandleCpuIntf, ASecondCallKeepsThePollerAndGivesTheFlagAgain) {
  makeInitialized();
  ocsd->cpuIntfIs(cpu, true);
  auto const poller = sut->cpuPortCountersSm(cpu);
  poller->initializedIs(false);
  log.clear();
  sut->handleCpuIntf(cpu);
  EXPECT_EQ(sut->cpuPortCountersSm(cpu), poller);
  EXPECT_TRUE(poller->initialized());
  EXPECT_EQ(log.calls(), Calls{"initializeCpuPort Cpu"});
}

TEST_F(HandleCpuIntf, AnEntryThatTurnsFalseDeletesThePoller) {
  makeInitialized();
  ocsd->cpuIntfIs(cpu, true);
  ocsd->cpuIntfIs(cpu, false);
  EXPECT_EQ(sut->cpuPortCountersSm().size(), 0u);
}

TEST_F(HandleCpuIntf, AnEntryThatGoesDeletesThePoller) {
  makeInitialized();
  ocsd->cpuIntfIs(cpu, true);
  ocsd->cpuIntfDel(cpu);
  EXPECT_EQ(sut->cpuPortCountersSm().size(), 0u);
}

TEST_F(HandleCpuIntf, ANewPeriodIsRefusedByName) {
  makeInitialized();
  ocsd->cpuIntfIs(cpu, true);
  sut->counterPollPeriodIs(7.0);
  try {
    sut->handleCpuIntf(cpu);
    FAIL() << "not refused";
  } catch (Kel::NameInUseException const& e) {
    EXPECT_STREQ(e.what(),
                 "Reinstantiating the pointer interface where constructor parameter attribute "
                 "_counterPollPeriod has a different value of 7 than the current value of 5 not "
                 "allowed");
  }
}

TEST_F(HandleCpuIntf, APortThatEndsWhileItIsPolledIsPolledNoMore) {
  makeInitialized();
  ocsd->cpuIntfIs(cpu, true);
  helper->duringGetCoppCounters = [&] { ocsd->cpuIntfDel(cpu); };
  time.runFor(60.0);
  EXPECT_EQ(log.count("getCoppCounters"), 1u);
}

TEST_F(HandleCpuIntf, APollerThatSomebodyHoldsIsNotWokenAfterItsEnd) {
  makeInitialized();
  ocsd->cpuIntfIs(cpu, true);
  auto const held = sut->cpuPortCountersSm(cpu);
  ocsd->cpuIntfDel(cpu);
  log.clear();
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(HandleCpuIntf, APortThatEndsWhileItIsAnnouncedIsNeverPolled) {
  makeInitialized();
  helper->duringInitializeCpuPort = [&] { ocsd->cpuIntfDel(cpu); };
  ocsd->cpuIntfIs(cpu, true);
  log.clear();
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(HandleCpuIntf, AStartThatFailsIsTriedAgain) {
  makeInitialized();
  Kel::frameworkTraceHandle().levelsIs(0);
  helper->duringInitializeCpuPort = [] { throw std::runtime_error("the chip is away"); };
  ocsd->cpuIntfIs(cpu, true);
  helper->duringInitializeCpuPort = nullptr;
  log.clear();
  sut->handleCpuIntf(cpu);
  EXPECT_EQ(log.calls(), Calls{"initializeCpuPort Cpu"});
  EXPECT_TRUE(sut->cpuPortCountersSm(cpu)->initialized());
}

TEST_F(HandleCpuIntf, NotificationsOffReachThePoller) {
  makeInitialized();
  ocsd->cpuIntfIs(cpu, true);
  sut->hasNotificationActiveIs(false);
  EXPECT_FALSE(sut->cpuPortCountersSm(cpu)->hasNotificationActive());
  log.clear();
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
}

}  // namespace
