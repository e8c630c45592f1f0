#include "platform/kel/clock.h"

#include <gtest/gtest.h>

#include "platform/kel/activity.h"
#include "tests/platform/kel/alarm.h"

namespace KelTest {
namespace {

using Kel::Ptr;

class Clock : public testing::Test {
 protected:
  using Alarm = KelTest::Alarm<Kel::Clock>;
  Ptr<Alarm> alarm(std::string const& name, Kel::Seconds when = 0.0) {
    return Alarm::armed(sut, journal, name, when);
  }

  Ptr<Journal> journal = Kel::make<Journal>();
  Ptr<Kel::Clock> sut = Kel::make<Kel::Clock>();
};

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

TEST_F(Clock, NextWakeUpIsTheEarliest) {
  EXPECT_EQ(sut->nextWakeUp(), Kel::Clock::kNever);
  auto const a = alarm("a", 10.0), b = alarm("b", 8.0);
  EXPECT_EQ(sut->nextWakeUp(), 8.0);
  sut->timeIs(9.0);
  EXPECT_EQ(sut->nextWakeUp(), 10.0);
  sut->timeIs(11.0);
  EXPECT_EQ(sut->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(Clock, NextWakeUpLeavesOutAReactorThatWent) {
  auto a = alarm("a", 10.0), b = alarm("b", 11.0);
  a = nullptr;
  EXPECT_EQ(sut->nextWakeUp(), 11.0);
  b->notifierIs(nullptr);
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
