#include "agent/clock_driver.h"

#include "platform/kel/system.h"

#include <gtest/gtest.h>

#include <vector>

namespace Agent {
namespace {

using Kel::Seconds;

// The wall clock and the one that nobody sets; both go on together, only the first can be set.
Seconds wall = 0.0, steady = 0.0;
void pass(Seconds time) {
  wall += time;
  steady += time;
}

struct Wake {
  Seconds byClock, byWall;
  bool operator==(Wake const&) const = default;
};

// Arms itself `period` after each wake-up, as a poller does.
class Periodic : public Kel::Clock::Notifiee {
 public:
  Periodic(Kel::Ptr<Kel::Clock> const& clock, Seconds period) : _period(period) {
    notifierIs(clock);
    isRegisteredNotifieeIs(true);
    hasNotificationActiveIs(true);
    timeMinIs(wall + period);
  }
  void onTime() override {
    wakes.push_back({notifier()->time(), wall});
    timeMinIs(wall + _period);
  }
  std::vector<Wake> wakes;

 private:
  Seconds const _period;
};

class ClockDriverTest : public ::testing::Test {
 protected:
  ClockDriverTest()
      : sut(
            clock, [this](Seconds s) { steps.push_back(s); }, [] { return steady; }) {}

  // Goes to sleep as the driver says, for `time` in all.
  int turnsIn(Seconds time) {
    int turns = 0;
    for (Seconds const end = steady + time; steady < end; ++turns) pass(sut.turn());
    return turns;
  }

  struct VirtualTime {  // before the driver, which reads it
    VirtualTime() {
      wall = 1000.0;
      steady = 50.0;
      Kel::System::timeSource = [] { return wall; };
    }
    ~VirtualTime() { Kel::System::timeSource = &Kel::System::wallClock; }
  } virtualTime;
  std::vector<Seconds> steps;
  Kel::Ptr<Kel::Clock> clock = Kel::make<Kel::Clock>();
  ClockDriver sut;
};

TEST_F(ClockDriverTest, BringsTheClockToTheCurrentTime) {
  sut.turn();
  EXPECT_EQ(clock->time(), 1000.0);
}

TEST_F(ClockDriverTest, WithoutWakeUpsItIdles) { EXPECT_EQ(sut.turn(), ClockDriver::kIdle); }

TEST_F(ClockDriverTest, SleepsUpToTheEndOfTheTickOfTheNextWakeUp) {
  auto const poller = Kel::make<Periodic>(clock, 0.2004);
  EXPECT_NEAR(sut.turn(), 0.201, 1e-9);
}

TEST_F(ClockDriverTest, NeighboursWithinATickComeTogether) {
  auto const one = Kel::make<Periodic>(clock, 0.2002);
  auto const other = Kel::make<Periodic>(clock, 0.2007);
  pass(sut.turn());
  sut.turn();
  EXPECT_EQ(one->wakes.size(), 1u);
  EXPECT_EQ(other->wakes.size(), 1u);
}

TEST_F(ClockDriverTest, APeriodicWakeUpComesEveryPeriod) {
  auto const poller = Kel::make<Periodic>(clock, 2.0);
  turnsIn(20.5);
  ASSERT_EQ(poller->wakes.size(), 10u);
  EXPECT_NEAR(poller->wakes.back().byWall, 1020.0, 10 * ClockDriver::kTick);
}

TEST_F(ClockDriverTest, AWakeUpThatIsAlwaysDueCostsOneTurnATick) {
  auto const hasty = Kel::make<Periodic>(clock, 0.0);
  int const turns = turnsIn(1.0);
  EXPECT_LE(turns, 1001);
  EXPECT_GE(hasty->wakes.size(), 900u);
}

TEST_F(ClockDriverTest, AWallClockSetBackDoesNotStopThePeriod) {
  auto const poller = Kel::make<Periodic>(clock, 2.0);
  wall -= 3600.0;
  turnsIn(6.5);
  EXPECT_EQ(poller->wakes.size(), 4u);  // at once, and then each period
}

TEST_F(ClockDriverTest, AWallClockSetForwardDoesNotStopThePeriod) {
  auto const poller = Kel::make<Periodic>(clock, 2.0);
  wall += 1.7e9;
  turnsIn(6.5);
  EXPECT_EQ(poller->wakes.size(), 4u);
}

TEST_F(ClockDriverTest, WhoeverIsWokenByAStepReadsThePresentFromTheClock) {
  auto const poller = Kel::make<Periodic>(clock, 2.0);
  wall = 10.0;
  sut.turn();
  ASSERT_EQ(poller->wakes.size(), 1u);
  EXPECT_EQ(poller->wakes[0], (Wake{10.0, 10.0}));
  EXPECT_EQ(clock->time(), 10.0);
}

TEST_F(ClockDriverTest, TellsAStepOnceAndHowFarItWent) {
  wall -= 100.0;
  sut.turn();
  sut.turn();
  ASSERT_EQ(steps.size(), 1u);
  EXPECT_NEAR(steps[0], -100.0, 1e-9);
}

TEST_F(ClockDriverTest, ASlewedClockIsNoStep) {
  for (int i = 0; i < 1000; ++i) {
    pass(0.5);
    wall += 0.001;  // far faster than a clock is ever slewed, 1 s in all
    sut.turn();
  }
  EXPECT_TRUE(steps.empty());
}

TEST_F(ClockDriverTest, TimePassedWithoutTurnsIsNoStep) {
  pass(1000.0);
  sut.turn();
  EXPECT_TRUE(steps.empty());
}

}  // namespace
}  // namespace Agent
