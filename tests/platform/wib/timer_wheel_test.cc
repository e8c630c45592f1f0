#include "platform/wib/timer_wheel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "tests/platform/kel/alarm.h"

namespace {

using Kel::Ptr;
using KelTest::Journal;
using KelTest::Lines;
using Wib::TimerWheel;
using Alarm = KelTest::Alarm<TimerWheel>;

constexpr Kel::Seconds kTick = 1.0 / TimerWheel::kTicksPerSecond;

class TimerWheelTest : public testing::Test {
 protected:
  Ptr<Alarm> alarm(std::string const& name, Kel::Seconds when = 0.0) {
    return Alarm::armed(sut, journal, name, when);
  }

  Ptr<Journal> journal = Kel::make<Journal>();
  Ptr<TimerWheel> sut = Kel::make<TimerWheel>();
};

// --- The grain of time ------------------------------------------------------

TEST_F(TimerWheelTest, AWakeUpWithinATickComesAtItsEndAndNotBefore) {
  auto const a = alarm("a", 5.0 + 0.25 * kTick);
  sut->timeIs(5.0 + 0.75 * kTick);
  EXPECT_EQ(journal->lines(), Lines{});
  sut->timeIs(5.0 + kTick);
  EXPECT_EQ(journal->lines(), (Lines{"a"}));
}

TEST_F(TimerWheelTest, NeverEarlyAndLessThanATickLateAtAnyTimeOfTheCentury) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 20'000; ++i) {
    Kel::Seconds const when = std::uniform_real_distribution(1.0, 4.0e9)(random);
    Kel::Seconds const end = std::ceil(when / kTick) * kTick;
    sut->timeIs(when - std::uniform_real_distribution(0.0, 1.0)(random));
    auto const a = alarm("a", when);
    sut->timeIs(std::nextafter(std::max(when, end - kTick), 0.0));
    ASSERT_EQ(journal->taken(), Lines{}) << when;
    sut->timeIs(end);
    ASSERT_EQ(journal->taken(), (Lines{"a"})) << when;
    ASSERT_LT(end - when, kTick);
  }
}

TEST_F(TimerWheelTest, WithinATickTheOrderIsThatOfTime) {
  auto const c = alarm("c", 5.0 + 0.75 * kTick), a = alarm("a", 5.0 + 0.25 * kTick),
             b = alarm("b", 5.0 + 0.5 * kTick);
  sut->timeIs(6.0);
  EXPECT_EQ(journal->lines(), (Lines{"a", "b", "c"}));
}

TEST_F(TimerWheelTest, BeyondTheHorizonNobodyIsCalledAndNothingIsLost) {
  auto const a = alarm("a", 1e15), b = alarm("b", 1e300), c = alarm("c", 5.0);
  sut->timeIs(1e14);
  EXPECT_EQ(journal->taken(), (Lines{"c"}));
  sut->timeIs(10.0);
  b->timeMinIs(20.0);
  sut->timeIs(20.0);
  EXPECT_EQ(journal->taken(), (Lines{"b"}));
}

// --- Jumps ------------------------------------------------------------------

TEST_F(TimerWheelTest, AJumpForwardCallsEverybodyWhoIsDueOnce) {
  std::vector<Ptr<Alarm>> all;
  Lines expected;
  for (Kel::Seconds when = kTick; when < 1e9; when *= 3.7) {
    std::string const name = std::to_string(when);
    all.push_back(alarm(name, when));
    expected.push_back(name);
  }
  auto const later = alarm("later", 3e9);
  sut->timeIs(2e9);
  EXPECT_EQ(journal->taken(), expected);
  sut->timeIs(2.9e9);
  EXPECT_EQ(journal->taken(), Lines{});
}

TEST_F(TimerWheelTest, AfterTheClockWasSetItWantsToRunByTheNewTime) {
  sut->timeIs(1.0e9);
  auto const a = alarm("a", 1.0e9 + 10.0);
  journal->on("a", [&] { a->timeMinIs(60.0); });
  sut->timeWasSetTo(50.0);
  EXPECT_GT(sut->nextRun(), 50.0);
  EXPECT_LE(sut->nextRun(), 60.0);
}

TEST_F(TimerWheelTest, AfterAHandlerTookTheTimeBackItWantsToRunByThatTime) {
  auto const a = alarm("a", 10.0), b = alarm("b", 11.0);
  journal->on("a", [&] { sut->timeIs(5.0); });
  sut->timeIs(20.0);
  EXPECT_EQ(journal->taken(), (Lines{"a"}));
  EXPECT_GT(sut->nextRun(), 5.0);
  EXPECT_LE(sut->nextRun(), 11.0);
}

TEST_F(TimerWheelTest, BeforeTheEpochItKeepsTheOrderAndIsNotEarly) {
  sut->timeIs(-10.0);
  auto const b = alarm("b", -4.0), a = alarm("a", -5.0);
  sut->timeIs(-6.0);
  EXPECT_EQ(journal->lines(), Lines{});
  sut->timeIs(0.0);
  EXPECT_EQ(journal->lines(), (Lines{"a", "b"}));
}

// --- When it wants to run ---------------------------------------------------

TEST_F(TimerWheelTest, WantsNoRunWithoutAWakeUp) {
  EXPECT_EQ(sut->nextRun(), TimerWheel::kNever);
  auto a = alarm("a", 10.0);
  EXPECT_LE(sut->nextRun(), 10.0);
  a = nullptr;
  EXPECT_EQ(sut->nextRun(), TimerWheel::kNever);
  auto const endless = alarm("endless", TimerWheel::kNever);
  EXPECT_EQ(sut->nextRun(), TimerWheel::kNever);
}

TEST_F(TimerWheelTest, RunAsItWantsItComesToEachWakeUpInAFewRuns) {
  sut->timeIs(1.0e9);
  auto const a = alarm("a", 1.0e9 + 86'400.0);
  int runs = 0;
  while (journal->lines().empty()) {
    Kel::Seconds const next = sut->nextRun();
    ASSERT_GT(next, sut->time());
    ASSERT_LE(next, 1.0e9 + 86'400.0);
    sut->timeIs(next);
    ASSERT_LE(++runs, 8);
  }
}

// --- On a system clock ------------------------------------------------------

class TimerWheelOnAClock : public testing::Test {
 protected:
  Ptr<Alarm> alarm(std::string const& name, Kel::Seconds when) {
    return Alarm::armed(sut, journal, name, when);
  }
  static Ptr<Kel::Clock> clockAt(Kel::Seconds now) {
    auto const made = Kel::make<Kel::Clock>();
    made->timeIs(now);
    return made;
  }
  // As an agent does: the clock runs when it asks to, and only then.
  void pass(Kel::Seconds until) {
    while (clock->nextWakeUp() <= until) {
      ++turns;
      clock->timeIs(std::max(clock->nextWakeUp(), clock->time()));
    }
    clock->timeIs(until);
  }

  int turns = 0;
  Ptr<Journal> journal = Kel::make<Journal>();
  Ptr<Kel::Clock> clock = clockAt(1000.0);
  Ptr<TimerWheel> sut = Kel::make<TimerWheel>(clock);
};

TEST_F(TimerWheelOnAClock, HasTheClocksTime) {
  EXPECT_EQ(sut->systemClock(), clock);
  EXPECT_EQ(sut->time(), 1000.0);
  clock->timeIs(1001.5);
  EXPECT_EQ(sut->time(), 1001.5);
}

TEST_F(TimerWheelOnAClock, IsTurnedByTheClockAlone) {
  auto const b = alarm("b", 1300.0), a = alarm("a", 1200.0);
  pass(1199.99);
  EXPECT_EQ(journal->lines(), Lines{});
  pass(1200.0);
  EXPECT_EQ(journal->taken(), (Lines{"a"}));
  pass(2000.0);
  EXPECT_EQ(journal->taken(), (Lines{"b"}));
  EXPECT_LE(turns, 12);
  EXPECT_EQ(clock->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(TimerWheelOnAClock, AWakeUpThatIsArmedAfterAnEarlierOneDelaysNobody) {
  auto const a = alarm("a", 1200.0), b = alarm("b", 1300.0);
  pass(1200.0);
  EXPECT_EQ(journal->lines(), (Lines{"a"}));
}

TEST_F(TimerWheelOnAClock, IsTurnedOnceForAWakeUpWithinATick) {
  auto const a = alarm("a", 1000.0 + 0.25 * kTick);
  pass(1001.0);
  EXPECT_EQ(journal->lines(), (Lines{"a"}));
  EXPECT_EQ(turns, 1);
}

TEST_F(TimerWheelOnAClock, TheEndOfTimeIsNothingToArmFor) {
  auto const a = alarm("a", TimerWheel::kNever);
  EXPECT_EQ(clock->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(TimerWheelOnAClock, WokenBeforeItsTimeItCallsEverybody) {
  auto const b = alarm("b", 9000.0), a = alarm("a", 1500.0);
  journal->on("a", [&] { a->timeMinIs(sut->time() + 2.0); });
  clock->timeWasSetTo(300.0);
  EXPECT_EQ(journal->taken(), (Lines{"a", "b"}));
  pass(301.9);
  EXPECT_EQ(journal->taken(), Lines{});
  pass(302.0);
  EXPECT_EQ(journal->taken(), (Lines{"a"}));
}

TEST_F(TimerWheelOnAClock, AHandlerThatArmsItselfGoesOnForHours) {
  auto const a = alarm("a", 1002.0);
  journal->on("a", [&] { a->timeMinIs(sut->time() + 2.0); });
  pass(1000.0 + 7200.0);
  EXPECT_EQ(journal->lines().size(), 3600u);
}

TEST_F(TimerWheelOnAClock, WhatIsOffCostsNoTurnAndIsCalledAtTheFirstOneAfterItIsOn) {
  auto const a = alarm("a", 1010.0);
  pass(1005.0);
  a->hasNotificationActiveIs(false);
  pass(1010.0);  // where the clock was asked to run
  turns = 0;
  pass(1110.0);
  EXPECT_EQ(journal->lines(), Lines{});
  EXPECT_EQ(turns, 0);
  EXPECT_EQ(sut->nextRun(), TimerWheel::kNever);
  a->hasNotificationActiveIs(true);
  pass(1110.0);
  EXPECT_EQ(journal->lines(), (Lines{"a"}));
}

TEST_F(TimerWheelOnAClock, TheClockMayOutliveIt) {
  auto a = alarm("a", 1010.0);
  sut = nullptr;
  a = nullptr;
  EXPECT_EQ(clock->nextWakeUp(), Kel::Clock::kNever);
  clock->timeIs(2000.0);
  EXPECT_EQ(journal->lines(), Lines{});
}

}  // namespace
