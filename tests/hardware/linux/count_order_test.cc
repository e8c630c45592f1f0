#include "hardware/linux/count_order.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace Hardware::Linux {
namespace {

template <class Count>
class CountOrder : public testing::Test {
 protected:
  static constexpr Count kLast = std::numeric_limits<Count>::max();
  static constexpr Count kHalf = kLast / 2 + 1;
};
using Widths = testing::Types<std::uint32_t, std::uint64_t>;
TYPED_TEST_SUITE(CountOrder, Widths);

TYPED_TEST(CountOrder, TheSmallerIsBeforeTheLarger) {
  TypeParam const one = 1, two = 2;
  EXPECT_TRUE(isBefore(one, two));
  EXPECT_FALSE(isBefore(two, one));
}

TYPED_TEST(CountOrder, NoCountIsBeforeItself) {
  EXPECT_FALSE(isBefore(this->kLast, this->kLast));
  EXPECT_FALSE(isBefore(TypeParam{0}, TypeParam{0}));
}

TYPED_TEST(CountOrder, TheLastIsBeforeTheFirstOfTheNextRound) {
  EXPECT_TRUE(isBefore(this->kLast, TypeParam{0}));
  EXPECT_FALSE(isBefore(TypeParam{0}, this->kLast));
}

TYPED_TEST(CountOrder, WhatIsLessThanHalfTheCircleAheadIsLater) {
  TypeParam const from = 5;
  EXPECT_TRUE(isBefore(from, static_cast<TypeParam>(from + this->kHalf - 1)));
  EXPECT_FALSE(isBefore(from, static_cast<TypeParam>(from + this->kHalf + 1)));
}

}  // namespace
}  // namespace Hardware::Linux
