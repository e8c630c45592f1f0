#include "platform/kel/assertion.h"

#include <gtest/gtest.h>

namespace KelTest {
namespace {

TEST(AssertionDeathTest, NamesUnitLineFunctionAndExpression) {
  EXPECT_DEATH(Kel::assertionFailed("initialized()", "OruCountersSm", 42, "void f(int)"),
               "OruCountersSm:42: void f\\(int\\): Assertion `initialized\\(\\)' failed");
}

TEST(AssertionDeathTest, Aborts) {
  EXPECT_EXIT(Kel::assertionFailed("false", "Unit", 1, "f()"), testing::KilledBySignal(SIGABRT),
              "false");
}

}  // namespace
}  // namespace KelTest
