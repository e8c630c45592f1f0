#include "counters/pollers/intf_queue_counters_sm.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <stdexcept>

#include "counters/pollers/unit.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Interface::QueueCounter::IntfQueueCounter;
using Interface::QueueCounter::IntfQueueStats;
using Interface::QueueCounter::QueueCounts;
using Interface::QueueCounter::QueueIndex;
using OruTypes::QueueType;
using Support::Calls;
using Support::eth1;

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();

class IntfQueueCountersSm : public Support::CountersFixture {
 public:
  using Poller = Oru::Counters::IntfQueueCountersSm;

  IntfQueueCountersSm() {
    withQueuesAndDrops();
    sut = make();
  }

  Kel::Ptr<Poller> make(Kel::Seconds period = 5.0) {
    return Poller::IntfQueueCountersSmIs(ocsd, eth1, period, time.clock(), helper,
                                         allIntfQueueCounters, allIntfClearQueueCounters);
  }
  void start() {
    sut->initializedIs(true);
    log.clear();
  }
  // From now on the helper tells these counts of these queues.
  void chipSays(std::map<std::uint32_t, QueueCounts> const& queues) {
    helper->fillQueueCounters = [queues](OruTypes::IntfQueueCounters& sample) {
      for (auto const& [index, counts] : queues) sample.queueCountsIs(QueueIndex(index), counts);
    };
  }
  void chipIsSilent() { helper->fillQueueCounters = nullptr; }

  IntfQueueCounter row() { return allIntfQueueCounters->intfQueueCounter(eth1); }
  QueueCounts queue(std::uint32_t index) { return row().statistics[QueueIndex(index)].counts; }
  std::size_t polls() const { return log.count("getIntfQueueCounters Ethernet1"); }

  Kel::Ptr<Poller> sut;
};
using IntfQueueCountersSmDeathTest = IntfQueueCountersSm;

// --- the start ---

TEST_F(IntfQueueCountersSm, DoesNothingWhenConstructed) {
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(sut->prevCounters(), nullptr);
  EXPECT_FALSE(sut->initialized());
  EXPECT_TRUE(sut->hasNotificationActive());
  EXPECT_EQ(sut->counterPollPeriod(), 5.0);
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(IntfQueueCountersSm, MakesItsRowsInBothTablesInOrderWhenInitialized) {
  sut->initializedIs(true);
  EXPECT_EQ(log.calls(), (Calls{"getIntfQueueType Ethernet1", "queues.intfQueueCounterIs Ethernet1",
                                "clearQueues.intfQueueCounterIs Ethernet1"}));
  EXPECT_NE(sut->prevCounters(), nullptr);
}

TEST_F(IntfQueueCountersSm, TracesItsStart) {
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->initializedIs(true);
  EXPECT_EQ(
      trace.lines(),
      (Calls{"8 virtual void Oru::Counters::IntfQueueCountersSm::handleInitialized() Ethernet1",
             "8 void Oru::Counters::IntfQueueCountersSm::addQueues() Ethernet1"}));
}

TEST_F(IntfQueueCountersSmDeathTest, StartingWithoutTheFlagEndsTheProcess) {
  EXPECT_DEATH(sut->handleInitialized(),
               "OruCountersSm:[0-9]+: .*IntfQueueCountersSm::handleInitialized\\(\\).*"
               "Assertion `initialized\\(\\)' failed");
}

TEST_F(IntfQueueCountersSm, TheQueuesComeBeforeThatAssertion) {
  helper->queueTypes = {{17, QueueType::unicast}};
  EXPECT_THROW(sut->handleInitialized(), Kel::RangeException);  // and not the end of the process
}

TEST_F(IntfQueueCountersSm, GapsBelowTheHighestQueueAreZeroSlots) {
  helper->queueTypes = {
      {0, QueueType::multicast}, {1, QueueType::unicast}, {7, QueueType::multicast}};
  start();
  IntfQueueCounter expected;
  expected.intfId = eth1;
  expected.statistics.sizeIs(8);
  expected.statistics[QueueIndex(0)].queueType = QueueType::multicast;
  expected.statistics[QueueIndex(7)].queueType = QueueType::multicast;
  EXPECT_EQ(row(), expected);
  EXPECT_EQ(allIntfClearQueueCounters->intfQueueCounter(eth1), expected);
}

TEST_F(IntfQueueCountersSm, AnInterfaceWithoutQueuesHasARowOfNone) {
  helper->queueTypes.clear();
  start();
  EXPECT_TRUE(allIntfQueueCounters->contains(eth1));
  EXPECT_EQ(row().statistics.size(), 0u);
}

TEST_F(IntfQueueCountersSm, QueueIndex16IsTheLast) {
  helper->queueTypes = {{16, QueueType::multicast}};
  start();
  EXPECT_EQ(row().statistics.size(), 17u);
  EXPECT_EQ(row().statistics[QueueIndex(16)].queueType, QueueType::multicast);
}

TEST_F(IntfQueueCountersSm, QueueIndex17IsRefusedToTheLetter) {
  helper->queueTypes = {{0, QueueType::unicast}, {17, QueueType::unicast}};
  try {
    sut->initializedIs(true);
    FAIL() << "not refused";
  } catch (Kel::RangeException const& e) {
    EXPECT_STREQ(e.what(), "QueueIndex::value < QueueIndex::min or > QueueIndex::max not allowed");
  }
  EXPECT_EQ(log.calls(), (Calls{"getIntfQueueType Ethernet1"}));
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
  EXPECT_FALSE(sut->initialized());  // so that the start can be tried again
}

TEST_F(IntfQueueCountersSm, AnInterfaceThatHasItsRowsKeepsThem) {
  start();
  chipSays({{0, {.pkts = 9}}});
  sut->updateCounters();
  IntfQueueCounter const before = row();
  log.clear();
  sut = make();
  sut->initializedIs(true);
  EXPECT_EQ(log.calls(), (Calls{"getIntfQueueType Ethernet1"}));
  EXPECT_EQ(row(), before);
}

TEST_F(IntfQueueCountersSm, WithoutATableTheQueuesAreAskedAndNothingIsWritten) {
  sut = Poller::IntfQueueCountersSmIs(ocsd, eth1, 5.0, time.clock(), helper, nullptr, nullptr);
  sut->initializedIs(true);
  time.runFor(5.0);
  EXPECT_EQ(log.calls(), (Calls{"getIntfQueueType Ethernet1", "getIntfQueueCounters Ethernet1"}));
}

TEST_F(IntfQueueCountersSm, WithoutATableAQueueIndexAbove16IsRefusedToo) {
  helper->queueTypes = {{255, QueueType::unicast}};
  sut = Poller::IntfQueueCountersSmIs(ocsd, eth1, 5.0, time.clock(), helper, nullptr, nullptr);
  EXPECT_THROW(sut->initializedIs(true), Kel::RangeException);
}

// --- wake-ups ---

TEST_F(IntfQueueCountersSm, PollsFirstAfterTheLargerOfSyncDelayAndPeriod) {
  auto const first = [this](Kel::Seconds syncDelay, Kel::Seconds period) {
    helper->firstSync = syncDelay;
    sut = make(period);
    sut->initializedIs(true);
    return time.clock()->nextWakeUp() - Support::VirtualTime::kStart;
  };
  EXPECT_EQ(first(30.0, 5.0), 30.0);
  EXPECT_EQ(first(3.0, 5.0), 5.0);
}

TEST_F(IntfQueueCountersSm, RefusesWhatIsNoPeriod) {
  EXPECT_THROW(make(-1.0), Kel::RangeException);
  EXPECT_THROW(make(std::numeric_limits<double>::infinity()), Kel::RangeException);
}

TEST_F(IntfQueueCountersSm, WithoutAClearTableNoRowIsMade) {
  sut = Poller::IntfQueueCountersSmIs(ocsd, eth1, 5.0, time.clock(), helper, allIntfQueueCounters,
                                      nullptr);
  EXPECT_THROW(sut->initializedIs(true), Kel::RangeException);
  EXPECT_FALSE(allIntfQueueCounters->contains(eth1));
}

TEST_F(IntfQueueCountersSm, PollsEveryPeriod) {
  start();
  time.runFor(3600.0);
  EXPECT_EQ(polls(), 720u);
}

TEST_F(IntfQueueCountersSm, SetsTheNextWakeUpFromTheEndOfThePoll) {
  start();
  helper->fillQueueCounters = [&](auto&) { time.nowIs(time.now() + 1.5); };
  time.runFor(5.0);
  EXPECT_EQ(time.clock()->nextWakeUp(), Support::VirtualTime::kStart + 5.0 + 1.5 + 5.0);
}

TEST_F(IntfQueueCountersSm, PeriodZeroNeverPolls) {
  helper->firstSync = 3.0;
  sut = make(0.0);
  start();
  EXPECT_EQ(time.clock()->nextWakeUp(), Support::VirtualTime::kStart + 3.0);
  time.runFor(600.0);
  EXPECT_EQ(polls(), 0u);
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(IntfQueueCountersSm, ForcedPollsWorkWithPeriodZero) {
  sut = make(0.0);
  start();
  sut->updateCounters();
  EXPECT_EQ(polls(), 1u);
}

TEST_F(IntfQueueCountersSm, BeforeItIsInitializedItDoesNothing) {
  sut->updateCounters();
  sut->handleTime();
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(IntfQueueCountersSm, APollThatFailsIsNotTheLast) {
  start();
  Kel::frameworkTraceHandle().levelsIs(0);
  helper->fillQueueCounters = [](auto&) { throw std::runtime_error("the chip is away"); };
  time.runFor(12.0);
  EXPECT_EQ(polls(), 2u);
  chipSays({{0, {.pkts = 6}}});
  time.runFor(5.0);
  EXPECT_EQ(queue(0).pkts, 6u);
}

TEST_F(IntfQueueCountersSm, AClockThatIsTakenAwayDuringAPollIsNotArmed) {
  start();
  helper->fillQueueCounters = [&](auto&) { sut->clockDel(); };
  time.runFor(5.0);
  EXPECT_EQ(polls(), 1u);
  EXPECT_EQ(sut->clock(), nullptr);
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(IntfQueueCountersSm, AClockAttachedLaterIsAWakeUp) {
  start();
  sut->clockDel();
  sut->clockIs(time.clock());
  EXPECT_EQ(polls(), 1u);
  sut->clockIs(time.clock());  // the same one
  EXPECT_EQ(polls(), 1u);
}

TEST_F(IntfQueueCountersSm, IsNotWokenOnceItIsGone) {
  start();
  sut = nullptr;
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
}

// --- a poll ---

TEST_F(IntfQueueCountersSm, APollReadsTheChipAndThenWritesTheLiveRowAlone) {
  start();
  sut->updateCounters();
  EXPECT_EQ(log.calls(),
            (Calls{"getIntfQueueCounters Ethernet1", "queues.intfQueueCounterIs Ethernet1"}));
}

TEST_F(IntfQueueCountersSm, AbsoluteCountsReplaceWhatTheRowHolds) {
  start();
  chipSays({{0, {.pkts = 10, .octets = 20, .dropPkts = 30, .dropOctets = 40}}});
  sut->updateCounters();
  sut->updateCounters();
  EXPECT_EQ(queue(0), (QueueCounts{.pkts = 10, .octets = 20, .dropPkts = 30, .dropOctets = 40}));
  chipSays({{0, {.pkts = 3}}});  // the chip was reset
  sut->updateCounters();
  EXPECT_EQ(queue(0), QueueCounts{.pkts = 3});
}

TEST_F(IntfQueueCountersSm, IncrementsAreAddedToWhatTheRowHolds) {
  helper->queueCountersIncrementIs(true);
  start();
  chipSays({{0, {.pkts = 10, .octets = 20, .dropPkts = 30, .dropOctets = 40}}});
  sut->updateCounters();
  sut->updateCounters();
  EXPECT_EQ(queue(0), (QueueCounts{.pkts = 20, .octets = 40, .dropPkts = 60, .dropOctets = 80}));
}

TEST_F(IntfQueueCountersSm, IncrementsWrapModulo64Bits) {
  helper->queueCountersIncrementIs(true);
  start();
  chipSays({{0, {kLargest, kLargest, kLargest, kLargest}}});
  sut->updateCounters();
  chipSays({{0, {3, 4, 5, 6}}});
  sut->updateCounters();
  EXPECT_EQ(queue(0), (QueueCounts{2, 3, 4, 5}));
}

TEST_F(IntfQueueCountersSm, TheFlagIsReadAtEachPoll) {
  start();
  chipSays({{0, {.pkts = 10}}});
  sut->updateCounters();
  helper->queueCountersIncrementIs(true);
  sut->updateCounters();
  EXPECT_EQ(queue(0).pkts, 20u);
  helper->queueCountersIncrementIs(false);
  sut->updateCounters();
  EXPECT_EQ(queue(0).pkts, 10u);
}

TEST_F(IntfQueueCountersSm, WhatTheFlagSaysAfterTheChipWasReadCounts) {
  start();
  chipSays({{0, {.pkts = 10}}});
  sut->updateCounters();
  helper->fillQueueCounters = [&](OruTypes::IntfQueueCounters& sample) {
    helper->queueCountersIncrementIs(true);
    sample.queueCountsIs(QueueIndex(0), {.pkts = 3});
  };
  sut->updateCounters();
  EXPECT_EQ(queue(0).pkts, 13u);
}

TEST_F(IntfQueueCountersSm, AnIncrementIsAddedOnceThoughTheChipFallsSilent) {
  helper->queueCountersIncrementIs(true);
  start();
  chipSays({{0, {.pkts = 10}}});
  sut->updateCounters();
  chipIsSilent();
  sut->updateCounters();
  EXPECT_EQ(queue(0).pkts, 10u);
}

TEST_F(IntfQueueCountersSm, AbsoluteCountsStandWhileTheChipIsSilent) {
  start();
  chipSays({{0, {.pkts = 10}}});
  sut->updateCounters();
  chipIsSilent();
  sut->updateCounters();
  EXPECT_EQ(queue(0).pkts, 10u);
}

TEST_F(IntfQueueCountersSm, AChipThatNeverSaidAnythingLeavesTheRowOfTheOneBefore) {
  start();
  chipSays({{0, {.pkts = 10}}});
  sut->updateCounters();
  chipIsSilent();
  sut = make();
  sut->initializedIs(true);
  sut->updateCounters();
  EXPECT_EQ(queue(0).pkts, 10u);
}

TEST_F(IntfQueueCountersSm, CountsOfAllQueuesTogetherAreMergedLikeThoseOfOne) {
  start();
  helper->fillQueueCounters = [](OruTypes::IntfQueueCounters& sample) {
    sample.intfCountsIs(QueueCounts{1, 2, 3, kLargest});
  };
  sut->updateCounters();
  sut->updateCounters();
  EXPECT_EQ(row().intfCounts, (QueueCounts{1, 2, 3, kLargest}));
  helper->queueCountersIncrementIs(true);
  sut->updateCounters();
  EXPECT_EQ(row().intfCounts, (QueueCounts{2, 4, 6, kLargest - 1}));
}

TEST_F(IntfQueueCountersSm, CountsOfAllQueuesTogetherThatTheChipLacksStayAsTheyAre) {
  start();
  helper->fillQueueCounters = [](OruTypes::IntfQueueCounters& sample) {
    sample.intfCountsIs(QueueCounts{.pkts = 7});
  };
  sut->updateCounters();
  helper->fillQueueCounters = [](OruTypes::IntfQueueCounters& sample) {
    sample.intfCountsIs(std::nullopt);
  };
  sut->updateCounters();
  EXPECT_EQ(row().intfCounts.pkts, 7u);
}

TEST_F(IntfQueueCountersSm, AQueueThatIsCountedIsInUse) {
  start();  // one queue
  chipSays({{3, {.pkts = 1}}});
  sut->updateCounters();
  EXPECT_EQ(row().statistics.size(), 4u);
  chipSays({{16, {.pkts = 2}}});
  sut->updateCounters();
  EXPECT_EQ(row().statistics.size(), 17u);
  EXPECT_EQ(queue(16).pkts, 2u);
}

TEST_F(IntfQueueCountersSm, QueuesThatTheSampleDoesNotHoldStayAsTheyAre) {
  helper->queueTypes = {{0, QueueType::unicast}, {2, QueueType::multicast}};
  start();
  chipSays({{0, {.pkts = 1}}, {1, {.pkts = 2}}, {2, {.pkts = 3}}});
  sut->updateCounters();
  sut = make();  // a poller with a sample of its own
  sut->initializedIs(true);
  chipSays({{1, {.pkts = 5}}});
  sut->updateCounters();
  EXPECT_EQ(row().statistics.size(), 3u);
  EXPECT_EQ(queue(0).pkts, 1u);
  EXPECT_EQ(queue(1).pkts, 5u);
  EXPECT_EQ(queue(2).pkts, 3u);
}

TEST_F(IntfQueueCountersSm, APollKeepsTheQueuesTypes) {
  helper->queueTypes = {{0, QueueType::multicast}, {1, QueueType::multicast}};
  start();
  chipSays({{0, {.pkts = 1}}, {1, {.pkts = 2}}});
  sut->updateCounters();
  for (auto const& slot : row().statistics) EXPECT_EQ(slot.queueType, QueueType::multicast);
}

TEST_F(IntfQueueCountersSm, AChipThatFailsWritesNothing) {
  start();
  chipSays({{17, {.pkts = 1}}});  // there is no such place in a sample
  EXPECT_THROW(sut->updateCounters(), Kel::RangeException);
  EXPECT_EQ(log.count("queues.intfQueueCounterIs Ethernet1"), 0u);
}

TEST_F(IntfQueueCountersSm, PollsLeaveTheClearRowAlone) {
  start();
  auto const before = allIntfClearQueueCounters->intfQueueCounter(eth1);
  chipSays({{0, {.pkts = 10}}});
  time.runFor(50.0);
  EXPECT_EQ(allIntfClearQueueCounters->intfQueueCounter(eth1), before);
}

TEST_F(IntfQueueCountersSm, ARowThatClaimsMoreThan17QueuesIsRefused) {
  start();
  IntfQueueCounter row;
  row.intfId = eth1;
  std::uint32_t const claimed = 18;
  // Where the array keeps its number of records: behind them.
  auto* const bytes = reinterpret_cast<char*>(&row.statistics);
  std::memcpy(bytes + 17 * sizeof(Interface::QueueCounter::IntfQueueStat), &claimed,
              sizeof claimed);
  allIntfQueueCounters->intfQueueCounterIs(row);
  try {
    sut->updateCounters();
    FAIL() << "not refused";
  } catch (Dov::InvalidSizeException const& e) {
    EXPECT_TRUE(
        e.msg().starts_with("Dov::InvalidSizeException(\"PodArray::set expected size <= "
                            "17, instead got 18. Buffer is at address: "))
        << e.msg();
  }
}

}  // namespace
