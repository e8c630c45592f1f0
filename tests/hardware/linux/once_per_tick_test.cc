#include "hardware/linux/once_per_tick.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Hardware::Linux {
namespace {

class OncePerTickTest : public testing::Test {
 protected:
  int doneAfter(double now) {
    sut.at(now, [this] { ++_done; });
    return _done;
  }
  OncePerTick sut;

 private:
  int _done = 0;
};

TEST_F(OncePerTickTest, TheFirstToAskDoesTheWorkForAllOfTheTick) {
  EXPECT_EQ(doneAfter(7.0), 1);
  EXPECT_EQ(doneAfter(7.0), 1);
}

TEST_F(OncePerTickTest, ATickAtZeroIsOneToo) { EXPECT_EQ(doneAfter(0.0), 1); }

TEST_F(OncePerTickTest, EveryOtherTickDoesItAnewAnEarlierOneToo) {
  EXPECT_EQ(doneAfter(7.0), 1);
  EXPECT_EQ(doneAfter(8.0), 2);
  EXPECT_EQ(doneAfter(7.0), 3);
}

TEST_F(OncePerTickTest, WorkThatThrewIsDoneByTheNextToAsk) {
  EXPECT_THROW(sut.at(7.0, [] { throw std::runtime_error("no"); }), std::runtime_error);
  EXPECT_EQ(doneAfter(7.0), 1);
}

}  // namespace
}  // namespace Hardware::Linux
