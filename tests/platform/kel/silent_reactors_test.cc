// What the clock and the timer wheel promise of reactors that are not to be called.
#include "tests/platform/kel/source_of_time.h"

namespace KelTest {
namespace {

template <class Source>
class SourceOfTimeOfSilentReactors : public SourceOfTime<Source> {};
TYPED_TEST_SUITE(SourceOfTimeOfSilentReactors, Sources, SourceNames);

TYPED_TEST(SourceOfTimeOfSilentReactors, AWakeUpStaysPendingWhileNotificationsAreOff) {
  auto const a = this->alarm("a", 10.0), b = this->alarm("b", 11.0);
  a->hasNotificationActiveIs(false);
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"b"}));
  a->hasNotificationActiveIs(true);
  EXPECT_EQ(this->journal->taken(), Lines{});  // not before the clock runs
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"a"}));
  this->sut->timeIs(30.0);
  EXPECT_EQ(this->journal->taken(), Lines{});
}

TYPED_TEST(SourceOfTimeOfSilentReactors, OneThatIsArmedWhileOffIsCalledOnceItIsOn) {
  auto const a = this->alarm("a");
  a->hasNotificationActiveIs(false);
  a->timeMinIs(10.0);
  EXPECT_EQ(a->timeMin(), 10.0);
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
  a->hasNotificationActiveIs(true);
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a"}));
}

TYPED_TEST(SourceOfTimeOfSilentReactors, OneThatIsOnAgainBeforeItsTimeIsCalledAtItsTime) {
  auto const a = this->alarm("a", 10.0);
  a->hasNotificationActiveIs(false);
  this->sut->timeIs(5.0);
  a->hasNotificationActiveIs(true);
  this->sut->timeIs(9.5);
  EXPECT_EQ(this->journal->lines(), Lines{});
  this->sut->timeIs(10.0);
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a"}));
}

TYPED_TEST(SourceOfTimeOfSilentReactors, OneThatWasCalledHasNothingPendingWhenItIsOnAgain) {
  auto const a = this->alarm("a", 10.0);
  this->sut->timeIs(10.0);
  this->journal->taken();
  a->hasNotificationActiveIs(false);
  a->hasNotificationActiveIs(true);
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
}

TYPED_TEST(SourceOfTimeOfSilentReactors, ThatTheyAreOnAgainCountsAsArming) {
  auto const a = this->alarm("a", 10.0), b = this->alarm("b", 10.0);
  a->hasNotificationActiveIs(false);
  a->hasNotificationActiveIs(true);
  b->hasNotificationActiveIs(true);  // it is: that changes nothing
  this->sut->timeIs(10.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"b", "a"}));
}

TYPED_TEST(SourceOfTimeOfSilentReactors, OneThatIsSwitchedOffDuringARunIsNotCalledInIt) {
  auto const a = this->alarm("a", 10.0), b = this->alarm("b", 11.0);
  this->journal->on("a", [&] { b->hasNotificationActiveIs(false); });
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"a"}));
  b->hasNotificationActiveIs(true);
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"b"}));
}

TYPED_TEST(SourceOfTimeOfSilentReactors, OneThatIsSwitchedOnDuringARunWaitsForTheNext) {
  auto const a = this->alarm("a", 10.0), b = this->alarm("b", 11.0);
  b->hasNotificationActiveIs(false);
  this->journal->on("a", [&] { b->hasNotificationActiveIs(true); });
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"a"}));
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"b"}));
}

TYPED_TEST(SourceOfTimeOfSilentReactors, OneThatMovesWhileOffLeavesItsWakeUpBehind) {
  auto const a = this->alarm("a", 10.0);
  auto const other = Kel::make<TypeParam>();
  a->hasNotificationActiveIs(false);
  a->notifierIs(other);
  a->hasNotificationActiveIs(true);
  this->sut->timeIs(20.0);
  other->timeIs(20.0);
  EXPECT_EQ(a->timeMin(), 0.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
}

TYPED_TEST(SourceOfTimeOfSilentReactors, OneWithoutASourceHasNothingToArm) {
  auto const a = this->alarm("a");
  a->notifierIs(nullptr);
  a->hasNotificationActiveIs(false);
  a->timeMinIs(10.0);
  a->hasNotificationActiveIs(true);
  a->notifierIs(this->sut);
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
}

TYPED_TEST(SourceOfTimeOfSilentReactors, OneThatIsOffMayGo) {
  auto a = this->alarm("a", 10.0);
  a->hasNotificationActiveIs(false);
  a = nullptr;
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
}

TYPED_TEST(SourceOfTimeOfSilentReactors, AZombieIsNotCalled) {
  auto const a = this->alarm("a", 10.0);
  a->kelMarkedForDeletionIs(true);
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
}

TYPED_TEST(SourceOfTimeOfSilentReactors, AZombiesWakeUpIsSpentWhenItsTimeComes) {
  auto const a = this->alarm("a", 10.0);
  a->kelMarkedForDeletionIs(true);
  this->sut->timeIs(20.0);
  a->kelMarkedForDeletionIs(false);
  this->sut->timeIs(30.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
}

}  // namespace
}  // namespace KelTest
