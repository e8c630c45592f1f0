// A writer is killed at each of its steps, and the one after it too. Whatever it was doing: readers
// see all of the table as it was before or as it was to become, and the next writer goes on from
// what they saw.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

#include "tests/platform/glim/crash/trial.h"

namespace GlimCrash {
namespace {

// About how many pairs of kills there is time for at every change. ORU_GLIM_CRASH_PAIRS=all is
// every pair.
#ifdef __SANITIZE_ADDRESS__
constexpr std::uint64_t affordablePairs = 10;  // a fork takes ten times as long
#else
constexpr std::uint64_t affordablePairs = 150;
#endif

bool everyPair() {
  char const* const wanted = std::getenv("ORU_GLIM_CRASH_PAIRS");
  return wanted != nullptr && std::string(wanted) == "all";
}

class GlimCrashPoints : public testing::TestWithParam<Scenario> {
 protected:
  void report(Enumeration const& all, char const* what) {
    std::cout << GetParam().name << ": " << all.steps << " steps, " << all.trials << what << '\n';
    EXPECT_EQ(all.trouble, "");
    EXPECT_GE(all.steps, GetParam().atLeast);
  }
};

TEST_P(GlimCrashPoints, AKillAtAnyStepLeavesTheOldOrTheNewTable) {
  Enumeration const all = killAtEachStep(GetParam());
  report(all, " kills");
  EXPECT_EQ(all.trials, all.steps + 1);
  EXPECT_EQ(all.retired, 0u);  // whatever has the name can be read
  // Each of the states was one that a kill left.
  for (std::uint64_t const kills : all.seen) EXPECT_GT(kills, 0u);
}

TEST_P(GlimCrashPoints, AKillInTheRecoveryFromAKillLeavesItToo) {
  std::uint64_t stride = 1;
  if (!everyPair()) {
    Place const place;
    Trial trial(GetParam(), place);
    trial.killWriter(GetParam().atLeast / 2);
    std::uint64_t const steps = trial.killNextWriter(never).steps;
    stride = 1 + GetParam().atLeast * steps / affordablePairs;
  }
  Enumeration const all = killTwice(GetParam(), stride);
  report(all, " pairs of kills");
  EXPECT_GE(all.trials, all.steps);
}

INSTANTIATE_TEST_SUITE_P(Each, GlimCrashPoints, testing::ValuesIn(scenarios()),
                         [](auto const& scenario) { return scenario.param.name; });

}  // namespace
}  // namespace GlimCrash
