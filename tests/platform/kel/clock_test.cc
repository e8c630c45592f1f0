#include "platform/kel/clock.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/kel/activity.h"
#include "tests/platform/kel/machines.h"

namespace KelTest {
namespace {

using Kel::Ptr;

class Alarm : public Kel::Clock::NotifieeConst {
 public:
  Alarm(Ptr<Kel::Clock const> const& clock, Ptr<Journal> journal, std::string name)
      : _journal(std::move(journal)), _name(std::move(name)) {
    notifierIs(clock);
    isRegisteredNotifieeIs(true);
    hasNotificationActiveIs(true);
  }
  void onTime() override { (*_journal)(_name); }

 private:
  Ptr<Journal> _journal;
  std::string _name;
};

class Clock : public testing::Test {
 protected:
  Ptr<Alarm> alarm(std::string const& name, Kel::Seconds when = 0.0) {
    auto const made = Kel::make<Alarm>(Ptr<Kel::Clock const>(sut), journal, name);
    if (when != 0.0) made->timeMinIs(when);
    return made;
  }

  Ptr<Journal> journal = Kel::make<Journal>();
  Ptr<Kel::Clock> sut = Kel::make<Kel::Clock>();
};

TEST_F(Clock, ANewReactorHasNoWakeUp) {
  auto const a = alarm("a");
  EXPECT_EQ(a->timeMin(), 0.0);
  sut->timeIs(1e9);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Clock, CallsOnceWhenTheTimeIsReached) {
  auto const a = alarm("a", 10.0);
  EXPECT_EQ(a->timeMin(), 10.0);
  sut->timeIs(9.999);
  EXPECT_EQ(journal->lines(), Lines{});
  sut->timeIs(10.0);
  EXPECT_EQ(journal->lines(), (Lines{"a"}));
  sut->timeIs(20.0);
  EXPECT_EQ(journal->lines(), (Lines{"a"}));
}

TEST_F(Clock, HasItsNewTimeWhileItCalls) {
  auto const a = alarm("a", 10.0);
  Kel::Seconds seen = 0.0;
  journal->on("a", [&] { seen = sut->time(); });
  sut->timeIs(12.0);
  EXPECT_EQ(seen, 12.0);
}

TEST_F(Clock, CallsInOrderOfTimeAndThenOfArming) {
  auto const late = alarm("late", 12.0), second = alarm("second", 10.0), first = alarm("first"),
             third = alarm("third", 11.0);
  first->timeMinIs(9.0);
  auto const equal = alarm("armed after second", 10.0);
  sut->timeIs(20.0);
  EXPECT_EQ(journal->lines(), (Lines{"first", "second", "armed after second", "third", "late"}));
}

TEST_F(Clock, ArmingAgainReplacesTheWakeUp) {
  auto const a = alarm("a", 10.0);
  a->timeMinIs(15.0);
  sut->timeIs(14.0);
  EXPECT_EQ(journal->lines(), Lines{});
  sut->timeIs(15.0);
  EXPECT_EQ(journal->lines(), (Lines{"a"}));
}

TEST_F(Clock, ArmingAgainForTheSameTimeGoesBehindTheOthers) {
  auto const a = alarm("a", 10.0), b = alarm("b", 10.0);
  a->timeMinIs(10.0);
  sut->timeIs(10.0);
  EXPECT_EQ(journal->lines(), (Lines{"b", "a"}));
}

TEST_F(Clock, AHandlerThatArmsItselfIsCalledAgain) {
  auto const a = alarm("a", 10.0);
  journal->on("a", [&] { a->timeMinIs(sut->time() + 5.0); });
  sut->timeIs(10.0);
  sut->timeIs(14.0);
  EXPECT_EQ(journal->lines(), (Lines{"a"}));
  sut->timeIs(15.0);
  EXPECT_EQ(journal->lines(), (Lines{"a", "a"}));
}

TEST_F(Clock, AWakeUpArmedDuringARunWaitsForTheNextEvenIfDue) {
  auto const a = alarm("a", 10.0), b = alarm("b");
  journal->on("a", [&] {
    a->timeMinIs(1.0);
    b->timeMinIs(11.0);
  });
  sut->timeIs(20.0);
  EXPECT_EQ(journal->taken(), (Lines{"a"}));
  journal->on("a", [] {});
  sut->timeIs(20.0);
  EXPECT_EQ(journal->lines(), (Lines{"a", "b"}));
}

TEST_F(Clock, AWakeUpMovedDuringARunIsNotDeliveredInIt) {
  auto const a = alarm("a", 10.0), b = alarm("b", 11.0);
  journal->on("a", [&] { b->timeMinIs(30.0); });
  sut->timeIs(20.0);
  EXPECT_EQ(journal->taken(), (Lines{"a"}));
  sut->timeIs(30.0);
  EXPECT_EQ(journal->lines(), (Lines{"b"}));
}

TEST_F(Clock, AWakeUpStaysPendingWhileNotificationsAreOff) {
  auto const a = alarm("a", 10.0), b = alarm("b", 11.0);
  a->hasNotificationActiveIs(false);
  sut->timeIs(20.0);
  EXPECT_EQ(journal->taken(), (Lines{"b"}));
  a->hasNotificationActiveIs(true);
  EXPECT_EQ(journal->taken(), Lines{});  // not before the clock runs
  sut->timeIs(20.0);
  EXPECT_EQ(journal->taken(), (Lines{"a"}));
  sut->timeIs(30.0);
  EXPECT_EQ(journal->taken(), Lines{});
}

TEST_F(Clock, AZombieIsNotCalled) {
  auto const a = alarm("a", 10.0);
  a->kelMarkedForDeletionIs(true);
  sut->timeIs(20.0);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Clock, AReactorThatMovesLeavesItsWakeUpBehind) {
  auto const a = alarm("a", 10.0);
  auto const other = Kel::make<Kel::Clock>();
  a->notifierIs(other);
  EXPECT_EQ(a->timeMin(), 0.0);
  EXPECT_EQ(sut->nextWakeUp(), Kel::Clock::kNever);
  sut->timeIs(20.0);
  other->timeIs(20.0);
  EXPECT_EQ(journal->lines(), Lines{});
  a->timeMinIs(30.0);
  sut->timeIs(30.0);
  EXPECT_EQ(journal->lines(), Lines{});
  other->timeIs(30.0);
  EXPECT_EQ(journal->lines(), (Lines{"a"}));
}

TEST_F(Clock, AReactorMovedByAnotherDuringARunIsNotCalled) {
  auto const a = alarm("a", 10.0), b = alarm("b", 11.0);
  auto const other = Kel::make<Kel::Clock>();
  journal->on("a", [&] { b->notifierIs(other); });
  sut->timeIs(20.0);
  EXPECT_EQ(journal->lines(), (Lines{"a"}));
}

TEST_F(Clock, AStationsReactorThatMovesLeavesItsWakeUpBehind) {
  auto const station = Station::StationIs(journal, "s", 5.0, sut);
  station->clockReactor().timeMinIs(10.0);
  auto const other = Kel::make<Kel::Clock>();
  station->clockIs(other);
  journal->taken();
  sut->timeIs(20.0);
  other->timeIs(20.0);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Clock, AReactorWithoutAClockOnlyRemembers) {
  auto const a = alarm("a");
  a->notifierIs(nullptr);
  a->timeMinIs(10.0);
  EXPECT_EQ(a->timeMin(), 10.0);
  sut->timeIs(20.0);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Clock, AReactorDestroyedInAnothersHandlerIsNotCalled) {
  auto const a = alarm("a", 10.0), c = alarm("c", 12.0);
  auto b = alarm("b", 11.0);
  journal->on("a", [&] { b = nullptr; });
  sut->timeIs(20.0);
  EXPECT_EQ(journal->lines(), (Lines{"a", "c"}));
}

TEST_F(Clock, AReactorMayDestroyItself) {
  auto a = alarm("a", 10.0);
  auto const b = alarm("b", 11.0);
  journal->on("a", [&] { a = nullptr; });
  sut->timeIs(20.0);
  EXPECT_EQ(journal->lines(), (Lines{"a", "b"}));
}

TEST_F(Clock, AReactorDestroyedTakesItsWakeUpAlong) {
  auto a = alarm("a", 10.0);
  a = nullptr;
  EXPECT_EQ(sut->nextWakeUp(), Kel::Clock::kNever);
  sut->timeIs(20.0);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Clock, SurvivesTheEndOfAllThatHeldIt) {
  auto a = alarm("a", 10.0);
  Kel::Clock* const clock = sut.get();
  journal->on("a", [&] { a = nullptr, sut = nullptr; });
  clock->timeIs(20.0);
  EXPECT_EQ(journal->lines(), (Lines{"a"}));
}

TEST_F(Clock, AHandlerMaySetTheTime) {
  auto const a = alarm("a", 10.0), b = alarm("b", 11.0), c = alarm("c", 30.0);
  journal->on("a", [&] { sut->timeIs(40.0); });
  sut->timeIs(20.0);
  EXPECT_EQ(journal->lines(), (Lines{"a", "b", "c"}));  // each once
  EXPECT_EQ(sut->time(), 40.0);
}

TEST_F(Clock, MayBeSetBack) {
  auto const a = alarm("a", 10.0);
  sut->timeIs(5.0);
  sut->timeIs(3.0);
  EXPECT_EQ(sut->time(), 3.0);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Clock, GoesOnAfterAHandlerThatThrows) {
  auto const a = alarm("a", 10.0), b = alarm("b", 11.0);
  auto const before = Kel::notificationExceptions();
  journal->on("a", [] { throw std::runtime_error("broken"); });
  EXPECT_NO_THROW(sut->timeIs(20.0));
  EXPECT_EQ(journal->lines(), (Lines{"a", "b"}));
  EXPECT_EQ(Kel::notificationExceptions(), before + 1);
  sut->timeIs(30.0);
  EXPECT_EQ(journal->lines(), (Lines{"a", "b"}));  // that wake-up was spent
}

TEST_F(Clock, NextWakeUpIsTheEarliest) {
  EXPECT_EQ(sut->nextWakeUp(), Kel::Clock::kNever);
  auto const a = alarm("a", 10.0), b = alarm("b", 8.0);
  EXPECT_EQ(sut->nextWakeUp(), 8.0);
  sut->timeIs(9.0);
  EXPECT_EQ(sut->nextWakeUp(), 10.0);
  sut->timeIs(11.0);
  EXPECT_EQ(sut->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(Clock, NextWakeUpLeavesOutWhatWouldNotBeDelivered) {
  auto const a = alarm("a", 8.0), b = alarm("b", 9.0), c = alarm("c", 10.0);
  a->hasNotificationActiveIs(false);
  b->kelMarkedForDeletionIs(true);
  EXPECT_EQ(sut->nextWakeUp(), 10.0);
  a->hasNotificationActiveIs(true);
  EXPECT_EQ(sut->nextWakeUp(), 8.0);
}

class ActivityManagerConfig : public testing::Test {
 protected:
  ~ActivityManagerConfig() override { Kel::ActivityManagerConfig::clockIs(nullptr); }
};

TEST_F(ActivityManagerConfig, MakesItsClockOnFirstUse) {
  auto const made = Kel::ActivityManagerConfig::clock();
  ASSERT_TRUE(made);
  EXPECT_EQ(Kel::ActivityManagerConfig::clock(), made);
}

TEST_F(ActivityManagerConfig, TakesAnotherClock) {
  auto const other = Kel::make<Kel::Clock>();
  Kel::ActivityManagerConfig::clockIs(other);
  EXPECT_EQ(Kel::ActivityManagerConfig::clock(), other);
}

TEST_F(ActivityManagerConfig, MakesANewClockOnceItsOwnWasTaken) {
  auto const old = Kel::ActivityManagerConfig::clock();
  Kel::ActivityManagerConfig::clockIs(nullptr);
  EXPECT_TRUE(Kel::ActivityManagerConfig::clock());
  EXPECT_NE(Kel::ActivityManagerConfig::clock(), old);
}

}  // namespace
}  // namespace KelTest
