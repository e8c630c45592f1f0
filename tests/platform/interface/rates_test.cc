#include "platform/interface/rates.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "platform/interface/statistics.h"
#include "platform/kel/exceptions.h"

namespace Interface {
namespace {

using Wib::MaybeU63;

constexpr double kStart = 1'700'000'000.0;

class Rates : public testing::Test {
 protected:
  // Traffic of `octets` in and twice as many out, one packet of each kind per 100 octets.
  static IntfStatistics traffic(std::uint64_t octets) {
    IntfStatistics d;
    d.inOctets = octets;
    d.inUcastPkts = d.inMulticastPkts = d.inBroadcastPkts = octets / 100;
    d.outOctets = 2 * octets;
    d.outUcastPkts = d.outMulticastPkts = octets / 100;
    d.outBroadcastPkts = MaybeU63(octets / 100);
    return d;
  }
  void sample(double dt, IntfStatistics const& delta) {
    now += dt;
    sut = updateIntfMovingAverages(sut, delta, now, own, global);
  }
  // A sample of what passed in dt at 1000 octets a second.
  void steady(double dt) { sample(dt, traffic(static_cast<std::uint64_t>(1000.0 * dt))); }

  double now = kStart;
  LoadInterval own, global;
  IntfRates sut;
};

TEST_F(Rates, TheFirstSampleSeedsAndGivesNoRate) {
  sample(0.0, traffic(1'000'000));
  EXPECT_EQ(sut, (IntfRates{.lastUpdate = kStart, .seeded = kStart}));
}

TEST_F(Rates, ANewInterfaceShowsATrueRateAtOnce) {
  steady(0.0);
  steady(5.0);
  EXPECT_DOUBLE_EQ(sut.inBitsRate, 8000.0);
  EXPECT_DOUBLE_EQ(sut.outBitsRate, 16000.0);
  EXPECT_DOUBLE_EQ(sut.inPktsRate, 30.0);
  EXPECT_DOUBLE_EQ(sut.outPktsRate, 30.0);
  EXPECT_EQ(sut.lastUpdate, now);
}

TEST_F(Rates, SteadyTrafficStaysAtItsRateHoweverSamplesJitter) {
  steady(0.0);
  for (double const dt : {5.0, 0.5, 9.5, 1.0, 60.0, 0.25, 4.0, 700.0, 3.0}) {
    steady(dt);
    EXPECT_NEAR(sut.inBitsRate, 8000.0, 1e-6) << dt;
  }
}

TEST_F(Rates, ASecondIntervalIsAveragedOverTheTimeSoFar) {
  own = LoadInterval(100.0);
  sample(0.0, {});
  sample(10.0, traffic(0));
  sample(10.0, traffic(10'000));
  EXPECT_NEAR(sut.inBitsRate, 8000.0 * (1.0 - std::exp(-1.0)), 1e-6);
  sample(10.0, traffic(10'000));
  EXPECT_NEAR(sut.inBitsRate, 8000.0 * (1.0 - std::exp(-1.5)), 1e-6);
}

TEST_F(Rates, AreAveragedOverTheIntervalOnceThatHasPassed) {
  own = LoadInterval(5.0);
  sample(0.0, {});
  sample(10.0, traffic(0));
  sample(10.0, traffic(10'000));
  EXPECT_NEAR(sut.inBitsRate, 8000.0 * (1.0 - std::exp(-2.0)), 1e-6);
}

TEST_F(Rates, DoesNotDependOnHowOftenItIsSampled) {
  own = LoadInterval(10.0);
  sample(0.0, {});
  for (int i = 0; i < 20; ++i) sample(1.0, traffic(0));
  for (int i = 0; i < 20; ++i) sample(1.0, traffic(1000));
  IntfRates const fine = sut;
  sut = {};
  now = kStart;
  sample(0.0, {});
  sample(20.0, traffic(0));
  sample(20.0, traffic(20'000));
  EXPECT_NEAR(fine.inBitsRate, sut.inBitsRate, 1e-6);
}

TEST_F(Rates, FallAfterTrafficEndedWithTheTimeConstantOfTheInterval) {
  own = LoadInterval(10.0);
  steady(0.0);
  for (int i = 0; i < 200; ++i) steady(5.0);
  sample(10.0, traffic(0));
  EXPECT_NEAR(sut.inBitsRate, 8000.0 * std::exp(-1.0), 1e-3);
  for (int i = 0; i < 100; ++i) sample(10.0, traffic(0));
  EXPECT_NEAR(sut.inBitsRate, 0.0, 1e-6);
  EXPECT_GE(sut.inBitsRate, 0.0);
}

TEST_F(Rates, TimeThatDoesNotAdvanceChangesNothing) {
  steady(0.0);
  steady(5.0);
  IntfRates const before = sut;
  sample(0.0, traffic(5000));
  EXPECT_EQ(sut, before);
  sample(-3.0, traffic(5000));
  EXPECT_EQ(sut, before);
}

TEST_F(Rates, TimeThatIsNoNumberChangesNothing) {
  steady(0.0);
  steady(5.0);
  IntfRates const before = sut;
  sample(std::nan(""), traffic(5000));
  EXPECT_EQ(sut, before);
}

TEST_F(Rates, ACountThatWentBackwardsGivesNoRateForItsTime) {
  std::uint64_t const huge = std::uint64_t{1} << 63;
  std::vector<IntfStatistics> deltas(7, traffic(5000));
  deltas[0].inOctets = deltas[1].inUcastPkts = deltas[2].inMulticastPkts = huge;
  deltas[3].inBroadcastPkts = deltas[4].outOctets = deltas[5].outUcastPkts = huge;
  deltas[6].outMulticastPkts = ~std::uint64_t{0};
  steady(0.0);
  steady(5.0);
  for (IntfStatistics const& delta : deltas) {
    IntfRates const before = sut;
    sample(5.0, delta);
    EXPECT_EQ(sut.inBitsRate, before.inBitsRate);
    EXPECT_EQ(sut.inPktsRate, before.inPktsRate);
    EXPECT_EQ(sut.outBitsRate, before.outBitsRate);
    EXPECT_EQ(sut.outPktsRate, before.outPktsRate);
    EXPECT_EQ(sut.lastUpdate, now);  // the next sample's time begins here
  }
}

TEST_F(Rates, ACountThatWentBackwardsAtFirstDoesNotBiasTheNext) {
  IntfStatistics reset;
  reset.inOctets = ~std::uint64_t{0};
  steady(0.0);
  sample(5.0, reset);
  EXPECT_EQ(sut.inBitsRate, 0.0);
  steady(5.0);
  EXPECT_NEAR(sut.inBitsRate, 8000.0, 1e-6);
}

TEST_F(Rates, TheLargestCountThatIsNoDiscontinuityCounts) {
  IntfStatistics delta;
  delta.inUcastPkts = (std::uint64_t{1} << 63) - 1;
  sample(0.0, {});
  sample(1.0, delta);
  EXPECT_DOUBLE_EQ(sut.inPktsRate, 9223372036854775807.0);
}

TEST_F(Rates, AnOptionalCounterWithoutAValueCountsAsNone) {
  IntfStatistics delta = traffic(1000);
  delta.outBroadcastPkts = MaybeU63::none();
  sample(0.0, {});
  sample(1.0, delta);
  EXPECT_DOUBLE_EQ(sut.outPktsRate, 20.0);
}

TEST_F(Rates, AnOptionalCounterThatWentBackwardsCountsAsNone) {
  IntfStatistics delta = traffic(1000);
  delta.outBroadcastPkts = MaybeU63(3) - MaybeU63(5);
  sample(0.0, {});
  sample(1.0, delta);
  EXPECT_DOUBLE_EQ(sut.outPktsRate, 20.0);
}

class RatesInterval : public Rates {
 protected:
  // How much of the rate is left `interval` seconds after long steady traffic ended.
  double leftAfter(double interval) {
    steady(0.0);
    for (int i = 0; i < 2000; ++i) steady(10.0);
    sample(interval, traffic(0));
    return sut.inBitsRate / 8000.0;
  }
};

TEST_F(RatesInterval, IsTheInterfacesOwnBeforeTheGlobalOne) {
  own = LoadInterval(10.0);
  global = LoadInterval(600.0);
  EXPECT_NEAR(leftAfter(10.0), std::exp(-1.0), 1e-6);
}

TEST_F(RatesInterval, IsTheGlobalOneWhereTheInterfaceHasNone) {
  global = LoadInterval(60.0);
  EXPECT_NEAR(leftAfter(60.0), std::exp(-1.0), 1e-6);
}

TEST_F(RatesInterval, Is300SecondsUnlessConfigured) {
  EXPECT_NEAR(leftAfter(300.0), std::exp(-1.0), 1e-6);
}

TEST(LoadInterval, IsNotConfiguredByDefault) {
  EXPECT_FALSE(LoadInterval().configured());
  EXPECT_EQ(LoadInterval().seconds(), 300.0);
}

TEST(LoadInterval, Is1To600Seconds) {
  EXPECT_EQ(LoadInterval(1.0).seconds(), 1.0);
  EXPECT_EQ(LoadInterval(600.0).seconds(), 600.0);
  EXPECT_TRUE(LoadInterval(300.0).configured());
  for (double const seconds : {0.0, 0.999, 600.001, -1.0, std::nan(""), HUGE_VAL})
    EXPECT_THROW(LoadInterval sut(seconds), Kel::RangeException) << seconds;
}

TEST(LoadInterval, IsRefusedWithTheNumberThatWasGiven) {
  try {
    LoadInterval const sut(1e-9);
    FAIL() << "not refused";
  } catch (Kel::RangeException const& exception) {
    EXPECT_STREQ(exception.what(), "a load interval is 1 to 600 seconds, not 1e-09");
  }
}

}  // namespace
}  // namespace Interface
