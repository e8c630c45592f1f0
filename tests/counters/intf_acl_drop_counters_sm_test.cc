#include "counters/pollers/intf_acl_drop_counters_sm.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "counters/pollers/unit.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Glim::Interface::DropCounter;
using Support::Calls;
using Support::eth1;
using Support::VirtualTime;

class IntfAclDropCountersSm : public Support::CountersFixture {
 public:
  using Poller = Oru::Counters::IntfAclDropCountersSm;

  IntfAclDropCountersSm() { withQueuesAndDrops(); }

  Kel::Ptr<Poller> make() {
    return Poller::IntfAclDropCountersSmIs(eth1, time.clock(), record, intfAclDropCountersDir,
                                           helper);
  }
  std::uint64_t published() { return intfAclDropCountersDir->counter(eth1).aclDropPkts; }
  std::size_t polls() const { return log.count("getIntfAclDropCounters Ethernet1"); }
  static std::size_t alive() { return Kel::AllocTrackTypeInfo::live(Poller::_kelType).objects; }

  DropCounter const record;
  Kel::Ptr<Poller> sut;
};

TEST_F(IntfAclDropCountersSm, PollsOnceInItsConstructionInOrder) {
  sut = make();
  EXPECT_EQ(log.calls(), (Calls{"getIntfAclDropCounters Ethernet1", "drops.directWrite Ethernet1",
                                "drops.counterCommit Ethernet1"}));
}

TEST_F(IntfAclDropCountersSm, HasWrittenAValueAndSetItsNextWakeUpWhenConstructed) {
  helper->aclDrops = 7;
  sut = make();
  EXPECT_EQ(published(), 7u);
  EXPECT_EQ(sut->prevCounters(), 7u);
  EXPECT_EQ(time.clock()->nextWakeUp(), VirtualTime::kStart + 2.0);
  EXPECT_TRUE(sut->initialized());
  EXPECT_EQ(sut->pollInterval(), 2.0);
  EXPECT_TRUE(sut->hasNotificationActive());
}

TEST_F(IntfAclDropCountersSm, SaysOnceThatItIsNotInitializedYet) {
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut = make();
  time.runFor(20.0);
  EXPECT_EQ(trace.lines(), (Calls{"8 IntfAclDropCountersSm::Not Initialized yet"}));
}

TEST_F(IntfAclDropCountersSm, PollsEveryTwoSeconds) {
  sut = make();
  time.runFor(3600.0);
  EXPECT_EQ(polls(), 1u + 1800u);
}

TEST_F(IntfAclDropCountersSm, SetsTheNextWakeUpFromTheTimeAfterThePoll) {
  sut = make();
  helper->duringGetIntfAclDropCounters = [&] { time.nowIs(time.now() + 1.5); };
  time.runFor(2.0);
  EXPECT_EQ(time.clock()->nextWakeUp(), VirtualTime::kStart + 2.0 + 1.5 + 2.0);
}

TEST_F(IntfAclDropCountersSm, IntervalZeroNeitherPollsNorSetsAnotherWakeUp) {
  sut = make();
  Kel::set(*sut, "pollInterval", "0");
  EXPECT_EQ(time.clock()->nextWakeUp(), VirtualTime::kStart + 2.0);
  time.runFor(60.0);
  EXPECT_EQ(polls(), 1u);
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
  Kel::set(*sut, "pollInterval", "2");  // for good
  time.runFor(60.0);
  EXPECT_EQ(polls(), 1u);
}

TEST_F(IntfAclDropCountersSm, ANewIntervalTakesEffectAfterTheNextWakeUp) {
  sut = make();
  sut->pollIntervalIs(5.0);
  time.runFor(2.0);
  EXPECT_EQ(polls(), 2u);
  EXPECT_EQ(time.clock()->nextWakeUp(), VirtualTime::kStart + 2.0 + 5.0);
}

TEST_F(IntfAclDropCountersSm, RefusesWhatIsNoInterval) {
  sut = make();
  for (double const interval : {-1.0, std::nan(""), std::numeric_limits<double>::infinity()})
    EXPECT_THROW(sut->pollIntervalIs(interval), Kel::RangeException) << interval;
  EXPECT_EQ(sut->pollInterval(), 2.0);
}

TEST_F(IntfAclDropCountersSm, ALowerCountIsPublishedAsItIs) {
  helper->aclDrops = 100;
  sut = make();
  helper->aclDrops = 3;
  time.runFor(2.0);
  EXPECT_EQ(published(), 3u);
  EXPECT_EQ(sut->prevCounters(), 3u);
}

TEST_F(IntfAclDropCountersSm, TheRecordThatItWasMadeFromStays) {
  sut = Poller::IntfAclDropCountersSmIs(eth1, time.clock(),
                                        DropCounter{.intfId = eth1, .aclDropPkts = 8},
                                        intfAclDropCountersDir, helper);
  helper->aclDrops = 100;
  sut->updateCounters();
  EXPECT_EQ(sut->intfAclDropCounter(), (DropCounter{.intfId = eth1, .aclDropPkts = 8}));
}

TEST_F(IntfAclDropCountersSm, BeforeItIsInitializedAPollOnlySaysSo) {
  sut = make();
  sut->initializedIs(false);
  log.clear();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->updateCounters();
  EXPECT_EQ(trace.lines(), (Calls{"8 IntfAclDropCountersSm::Not Initialized yet"}));
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(IntfAclDropCountersSm, WakeUpsGoOnWhileItIsNotInitialized) {
  sut = make();
  sut->initializedIs(false);
  time.runFor(2.0);
  EXPECT_EQ(polls(), 1u);
  EXPECT_EQ(time.clock()->nextWakeUp(), VirtualTime::kStart + 4.0);
}

TEST_F(IntfAclDropCountersSm, ANullTableIsRefusedWithNothingHalfDone) {
  intfAclDropCountersDir = nullptr;
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  try {
    make();
    FAIL() << "not refused";
  } catch (Kel::RangeException const& e) {
    EXPECT_STREQ(e.what(), "null ValidPtr");
  }
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(trace.lines(), Calls{});
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
  EXPECT_EQ(alive(), 0u);
}

TEST_F(IntfAclDropCountersSm, WithoutAClockItPollsWhenForcedOnly) {
  sut = Poller::IntfAclDropCountersSmIs(eth1, nullptr, record, intfAclDropCountersDir, helper);
  time.runFor(60.0);
  EXPECT_EQ(polls(), 1u);
  sut->updateCounters();
  EXPECT_EQ(polls(), 2u);
}

TEST_F(IntfAclDropCountersSm, AWriteThatIsAbandonedLeavesTheRowAndTheNextPollWritesAgain) {
  helper->aclDrops = 5;
  sut = make();
  helper->aclDrops = 6;
  intfAclDropCountersDir->full = true;
  EXPECT_THROW(sut->updateCounters(), Dov::ResourceException);
  EXPECT_EQ(published(), 5u);
  EXPECT_EQ(sut->prevCounters(), 5u);
  intfAclDropCountersDir->full = false;
  helper->aclDrops = 7;
  time.runFor(2.0);
  EXPECT_EQ(published(), 7u);
}

TEST_F(IntfAclDropCountersSm, APollThatFailsIsNotTheLast) {
  sut = make();
  Kel::frameworkTraceHandle().levelsIs(0);
  intfAclDropCountersDir->full = true;
  time.runFor(6.0);
  EXPECT_EQ(polls(), 1u + 3u);
}

TEST_F(IntfAclDropCountersSm, AConstructionWhoseFirstPollFailsLeavesNothingBehind) {
  intfAclDropCountersDir->full = true;
  EXPECT_THROW(make(), Dov::ResourceException);
  EXPECT_EQ(alive(), 0u);
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(IntfAclDropCountersSm, ATableThatIsLostIsNoMansLand) {
  sut = make();
  intfAclDropCountersDir->detach();
  try {
    sut->updateCounters();
    FAIL() << "written";
  } catch (Dov::AssertException const& e) {
    EXPECT_NE(e.msg().find("GlimMap::directWrite() in no man's land"), std::string::npos)
        << e.msg();
  }
}

TEST_F(IntfAclDropCountersSm, IsNotWokenOnceItIsGone) {
  sut = make();
  sut = nullptr;
  EXPECT_EQ(alive(), 0u);
  log.clear();
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(IntfAclDropCountersSm, IsNotWokenWhileItsNotificationsAreOff) {
  sut = make();
  sut->hasNotificationActiveIs(false);
  time.runFor(60.0);
  EXPECT_EQ(polls(), 1u);
  sut->hasNotificationActiveIs(true);
  time.clock()->timeIs(time.now());
  EXPECT_EQ(polls(), 2u);
}

TEST_F(IntfAclDropCountersSm, TheSameClockAgainIsNoWakeUp) {
  sut = make();
  sut->clockIs(time.clock());
  EXPECT_EQ(polls(), 1u);
}

TEST_F(IntfAclDropCountersSm, AnotherClockIsAWakeUpAndLeavesTheOldOneBehind) {
  sut = make();
  auto const other = Kel::make<Kel::Clock>();
  sut->clockIs(other);
  EXPECT_EQ(polls(), 2u);
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
  EXPECT_EQ(other->nextWakeUp(), VirtualTime::kStart + 2.0);
}

}  // namespace
