// What the clock and the timer wheel promise when their time goes otherwise than forward.
#include "tests/platform/kel/source_of_time.h"

namespace KelTest {
namespace {

template <class Source>
class SourceOfTimeThatIsSet : public SourceOfTime<Source> {};
TYPED_TEST_SUITE(SourceOfTimeThatIsSet, Sources, SourceNames);

TYPED_TEST(SourceOfTimeThatIsSet, MayGoBack) {
  auto const a = this->alarm("a", 10.0);
  this->sut->timeIs(5.0);
  this->sut->timeIs(3.0);
  EXPECT_EQ(this->sut->time(), 3.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
}

TYPED_TEST(SourceOfTimeThatIsSet, TimeThatGoesBackDelaysThoseWhoWait) {
  auto const a = this->alarm("a", 1000.0), b = this->alarm("b", 2.0);
  this->sut->timeIs(1.0);
  this->sut->timeIs(-3.0);
  this->sut->timeIs(1.5);
  auto const c = this->alarm("c", 1.75);
  this->sut->timeIs(1.7);
  EXPECT_EQ(this->journal->lines(), Lines{});
  this->sut->timeIs(999.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"c", "b"}));
  this->sut->timeIs(500.0);
  auto const d = this->alarm("d", 600.0);
  this->sut->timeIs(599.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
  this->sut->timeIs(1000.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"d", "a"}));
}

TYPED_TEST(SourceOfTimeThatIsSet, AHandlerMayAdvanceTheTime) {
  auto const a = this->alarm("a", 10.0), b = this->alarm("b", 11.0), c = this->alarm("c", 30.0);
  this->journal->on("a", [&] { this->sut->timeIs(40.0); });
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a", "b", "c"}));  // each once
  EXPECT_EQ(this->sut->time(), 40.0);
}

TYPED_TEST(SourceOfTimeThatIsSet, AHandlerThatTakesTheTimeBackDelaysThoseAfterIt) {
  auto const a = this->alarm("a", 10.0), b = this->alarm("b", 11.0);
  this->journal->on("a", [&] { this->sut->timeIs(5.0); });
  this->sut->timeIs(20.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"a"}));
  this->sut->timeIs(11.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"b"}));
}

TYPED_TEST(SourceOfTimeThatIsSet, CallsEverybodyOnceAtTheNewTime) {
  this->sut->timeIs(1000.0);
  auto const b = this->alarm("b", 5000.0), a = this->alarm("a", 1500.0),
             endless = this->alarm("endless", Kel::Clock::kNever);
  Kel::Seconds seen = 0.0;
  this->journal->on("a", [&] {
    seen = this->sut->time();
    a->timeMinIs(seen + 2.0);
  });
  this->sut->timeWasSetTo(10.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"a", "b", "endless"}));
  EXPECT_EQ(seen, 10.0);
  this->sut->timeIs(11.0);
  EXPECT_EQ(this->journal->taken(), Lines{});
  this->sut->timeIs(12.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"a"}));
  this->sut->timeIs(9000.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"a"}));
}

TYPED_TEST(SourceOfTimeThatIsSet, WhoeverIsOffWaitsByTheNewTime) {
  this->sut->timeIs(1000.0);
  auto const off = this->alarm("off", 1600.0);
  off->hasNotificationActiveIs(false);
  this->sut->timeWasSetTo(10.0);
  off->hasNotificationActiveIs(true);
  this->sut->timeIs(1599.0);
  EXPECT_EQ(this->journal->lines(), Lines{});
  this->sut->timeIs(1600.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"off"}));
}

TYPED_TEST(SourceOfTimeThatIsSet, WhatIsArmedWhileEverybodyIsCalledWaits) {
  auto const a = this->alarm("a", 1000.0), b = this->alarm("b");
  this->journal->on("a", [&] {
    a->timeMinIs(5.0);
    b->timeMinIs(2000.0);
  });
  this->sut->timeWasSetTo(10.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"a"}));
  this->journal->on("a", [] {});
  this->sut->timeIs(10.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"a"}));
}

TYPED_TEST(SourceOfTimeThatIsSet, AHandlerThatSetsTheTimeEndsTheCallingOfEverybody) {
  auto const a = this->alarm("a", 10.0), b = this->alarm("b", 11.0);
  this->journal->on("a", [&] { this->sut->timeIs(5.0); });
  this->sut->timeWasSetTo(3.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"a"}));
  EXPECT_EQ(this->sut->time(), 5.0);
  this->sut->timeIs(11.0);
  EXPECT_EQ(this->journal->taken(), (Lines{"b"}));
}

TYPED_TEST(SourceOfTimeThatIsSet, SetOnceMoreInAHandlerItStillCallsEverybodyOnce) {
  auto const a = this->alarm("a", 10.0), b = this->alarm("b", 11.0), c = this->alarm("c", 12.0);
  this->journal->on("a", [&] { this->sut->timeWasSetTo(2.0); });
  this->sut->timeWasSetTo(3.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a", "b", "c"}));
  EXPECT_EQ(this->sut->time(), 2.0);
}

TYPED_TEST(SourceOfTimeThatIsSet, MayThenEnd) {
  auto a = this->alarm("a", 1010.0);
  TypeParam* const source = this->sut.get();
  this->journal->on("a", [&] { a = nullptr, this->sut = nullptr; });
  source->timeWasSetTo(5.0);
  EXPECT_EQ(this->journal->lines(), (Lines{"a"}));
}

}  // namespace
}  // namespace KelTest
