// What the clock and the timer wheel promise alike.
#include "tests/platform/kel/source_of_time.h"

#include <limits>
#include <stdexcept>

#include "platform/kel/exceptions.h"

namespace KelTest {
namespace {

using Kel::Ptr;

TYPED_TEST_SUITE(SourceOfTime, Sources, SourceNames);

TYPED_TEST(SourceOfTime, ANewReactorHasNoWakeUp) {
  auto const a = this->alarm("a");
  EXPECT_EQ(a->timeMin(), 0.0);
  this->sut->timeIs(1e9);
  EXPECT_EQ(this->journal->lines(), Lines{});
}

TYPED_TEST(SourceOfTime, CallsOnceWhenTheTimeIsReached) {
  auto const a = this->alarm("a", 10.0);
  EXPECT_EQ(a->timeMin(), 10.0);
  this->sut->timeIs(9.999);
  EXPECT_EQ(this->journal->lines(), Lines{});
  this->sut->timeIs(10.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a"}));
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a"}));
}

TYPED_TEST(SourceOfTime, HasItsNewTimeWhileItCalls) {
  auto const a = this->alarm("a", 10.0);
  Kel::Seconds seen = 0.0;
  this->journal->on("a", [&] { seen = this->sut->time(); });
  this->sut->timeIs(12.0);
  EXPECT_EQ(seen, 12.0);
}

TYPED_TEST(SourceOfTime, CallsInOrderOfTimeAndThenOfArming) {
  auto const late = this->alarm("late", 12.0), second = this->alarm("second", 10.0),
             first = this->alarm("first"), third = this->alarm("third", 11.0);
  first->timeMinIs(9.0);
  auto const equal = this->alarm("armed after second", 10.0);
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(),
            (Lines{"first", "second", "armed after second", "third", "late"}));
}

TYPED_TEST(SourceOfTime, ArmingAgainReplacesTheWakeUp) {
  auto const a = this->alarm("a", 10.0);
  a->timeMinIs(15.0);
  this->sut->timeIs(14.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
  this->sut->timeIs(15.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a"}));
}

TYPED_TEST(SourceOfTime, ArmingAgainForTheSameTimeGoesBehindTheOthers) {
  auto const a = this->alarm("a", 10.0), b = this->alarm("b", 10.0);
  a->timeMinIs(10.0);
  this->sut->timeIs(10.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"b", "a"}));
}

TYPED_TEST(SourceOfTime, AHandlerThatArmsItselfIsCalledAgain) {
  auto const a = this->alarm("a", 10.0);
  this->journal->on("a", [&] { a->timeMinIs(this->sut->time() + 5.0); });
  this->sut->timeIs(10.0);
  this->sut->timeIs(14.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a"}));
  this->sut->timeIs(15.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a", "a"}));
}

TYPED_TEST(SourceOfTime, AWakeUpArmedDuringARunWaitsForTheNextEvenIfDue) {
  auto const a = this->alarm("a", 10.0), b = this->alarm("b");
  this->journal->on("a", [&] {
    a->timeMinIs(1.0);
    b->timeMinIs(11.0);
  });
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"a"}));
  this->journal->on("a", [] {});
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a", "b"}));
}

TYPED_TEST(SourceOfTime, AWakeUpMovedDuringARunIsNotDeliveredInIt) {
  auto const a = this->alarm("a", 10.0), b = this->alarm("b", 11.0);
  this->journal->on("a", [&] { b->timeMinIs(30.0); });
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"a"}));
  this->sut->timeIs(30.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"b"}));
}

TYPED_TEST(SourceOfTime, AReactorThatMovesLeavesItsWakeUpBehind) {
  auto const a = this->alarm("a", 10.0);
  auto const other = Kel::make<TypeParam>();
  a->notifierIs(other);
  EXPECT_EQ(a->timeMin(), 0.0);
  this->sut->timeIs(20.0);
  other->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
  a->timeMinIs(30.0);
  this->sut->timeIs(30.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
  other->timeIs(30.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a"}));
}

TYPED_TEST(SourceOfTime, AReactorMovedByAnotherDuringARunIsNotCalled) {
  auto const a = this->alarm("a", 10.0), b = this->alarm("b", 11.0);
  auto const other = Kel::make<TypeParam>();
  this->journal->on("a", [&] { b->notifierIs(other); });
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a"}));
}

TYPED_TEST(SourceOfTime, AReactorWithoutAClockOnlyRemembers) {
  auto const a = this->alarm("a");
  a->notifierIs(nullptr);
  a->timeMinIs(10.0);
  EXPECT_EQ(a->timeMin(), 10.0);
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
}

TYPED_TEST(SourceOfTime, AReactorDestroyedInAnothersHandlerIsNotCalled) {
  auto const a = this->alarm("a", 10.0), c = this->alarm("c", 12.0);
  auto b = this->alarm("b", 11.0);
  this->journal->on("a", [&] { b = nullptr; });
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a", "c"}));
}

TYPED_TEST(SourceOfTime, AReactorMayDestroyItself) {
  auto a = this->alarm("a", 10.0);
  auto const b = this->alarm("b", 11.0);
  this->journal->on("a", [&] { a = nullptr; });
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a", "b"}));
}

TYPED_TEST(SourceOfTime, AReactorDestroyedTakesItsWakeUpAlong) {
  auto a = this->alarm("a", 10.0);
  a = nullptr;
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
}

TYPED_TEST(SourceOfTime, SurvivesTheEndOfAllThatHeldIt) {
  auto a = this->alarm("a", 10.0);
  TypeParam* const clock = this->sut.get();
  this->journal->on("a", [&] { a = nullptr, this->sut = nullptr; });
  clock->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a"}));
}

TYPED_TEST(SourceOfTime, GoesOnAfterAHandlerThatThrows) {
  auto const a = this->alarm("a", 10.0), b = this->alarm("b", 11.0);
  auto const before = Kel::notificationExceptions();
  this->journal->on("a", [] { throw std::runtime_error("broken"); });
  EXPECT_NO_THROW(this->sut->timeIs(20.0));
  EXPECT_EQ(this->journal->lines(), (Lines{"a", "b"}));
  EXPECT_EQ(Kel::notificationExceptions(), before + 1);
  this->sut->timeIs(30.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a", "b"}));  // that wake-up was spent
}

TYPED_TEST(SourceOfTime, AWakeUpNeedsATime) {
  auto const a = this->alarm("a", 10.0);
  EXPECT_THROW(a->timeMinIs(std::numeric_limits<double>::quiet_NaN()), Kel::RangeException);
  this->sut->timeIs(10.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a"}));  // the one before stands
}

TYPED_TEST(SourceOfTime, AWakeUpAtTheEndOfTimeStaysAway) {
  auto const a = this->alarm("a", std::numeric_limits<double>::infinity());
  this->sut->timeIs(1e12);
  EXPECT_EQ(this->journal->lines(), Lines{});
  a->timeMinIs(2e9);
  this->sut->timeIs(1e12);
  EXPECT_EQ(this->journal->lines(), (Lines{"a"}));
}

}  // namespace
}  // namespace KelTest
