#include "hardware/simulated/flow.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Hardware::Simulated {
namespace {

constexpr double ages = 1e9;

TEST(Flow, CountsWholeFramesOnly) {
  Flow const sut{.framesPerSecond = 10.0};
  EXPECT_EQ(sut.passed(0.09), 0u);
  EXPECT_EQ(sut.passed(0.11), 1u);
  EXPECT_EQ(sut.passed(2.0), 20u);
}

TEST(Flow, CountsNothingBeforeItBegins) {
  Flow const sut{.framesPerSecond = 1000.0, .from = 5.0};
  EXPECT_EQ(sut.passed(5.0), 0u);
  EXPECT_EQ(sut.passed(4.0), 0u);
}

TEST(Flow, StandsStillOnceItHasEnded) {
  Flow const sut{.framesPerSecond = 1000.0, .from = 5.0, .until = 6.0};
  EXPECT_EQ(sut.passed(6.0), 1000u);
  EXPECT_EQ(sut.passed(ages), 1000u);
}

TEST(Flow, ThatEndsBeforeItBeginsNeverCounts) {
  Flow const sut{.framesPerSecond = 1000.0, .from = 5.0, .until = 4.0};
  EXPECT_EQ(sut.passed(ages), 0u);
}

TEST(Flow, InBurstsPausesBetweenThem) {
  Flow const sut{.framesPerSecond = 100.0, .every = 10.0, .lasts = 2.0};
  EXPECT_EQ(sut.passed(1.0), 100u);
  EXPECT_EQ(sut.passed(2.0), 200u);
  EXPECT_EQ(sut.passed(9.0), 200u);
  EXPECT_EQ(sut.passed(11.0), 300u);
  EXPECT_EQ(sut.passed(100.0), 2000u);
}

// At the instants where one burst ends and the next begins, and just beside; of durations that have
// no exact binary form.
TEST(Flow, InBurstsNeverStepsBack) {
  Flow const sut{.framesPerSecond = 1e6, .every = 0.7, .lasts = 0.3};
  std::uint64_t last = 0;
  for (int burst = 1; burst < 20'000; ++burst) {
    double const edge = burst * 0.7;
    for (double const now : {std::nextafter(edge, 0.0), edge, std::nextafter(edge, ages)}) {
      std::uint64_t const passed = sut.passed(now);
      ASSERT_GE(passed, last) << "at " << now;
      last = passed;
    }
  }
}

TEST(Fate, IsFoundByItsOwnName) {
  for (std::size_t i = 0; i < fateCount; ++i) {
    auto const fate = static_cast<Fate>(i);
    EXPECT_EQ(fateNamed(name(fate)), fate);
  }
}

TEST(Fate, OfAnUnknownNameIsNone) { EXPECT_EQ(fateNamed("inOctets"), std::nullopt); }

}  // namespace
}  // namespace Hardware::Simulated
