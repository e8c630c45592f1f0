#include "platform/wib/maybe_u63.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Wib {
namespace {

constexpr std::uint64_t kTop = std::uint64_t{1} << 63;
constexpr std::uint64_t kMax = kTop - 1;

TEST(MaybeU63, IsZeroByDefault) {
  EXPECT_TRUE(MaybeU63().hasValue());
  EXPECT_EQ(MaybeU63().value(), 0u);
  static_assert(sizeof(MaybeU63) == 8);
}

TEST(MaybeU63, TheTopBitSaysThatThereIsNoValue) {
  EXPECT_FALSE(MaybeU63::none().hasValue());
  EXPECT_EQ(MaybeU63::none().word(), kTop);
  EXPECT_FALSE(MaybeU63::fromWord(kTop | 5).hasValue());
  EXPECT_TRUE(MaybeU63::fromWord(kMax).hasValue());
  EXPECT_EQ(MaybeU63::fromWord(kMax).value(), kMax);
}

TEST(MaybeU63, MadeOfANumberAlwaysHasAValue) {
  EXPECT_EQ(MaybeU63(7).value(), 7u);
  EXPECT_TRUE(MaybeU63(kTop | 7).hasValue());
  EXPECT_EQ(MaybeU63(kTop | 7).value(), 7u);
}

TEST(MaybeU63, AddsAndSubtracts) {
  EXPECT_EQ(MaybeU63(3) + MaybeU63(4), MaybeU63(7));
  EXPECT_EQ(MaybeU63(9) - MaybeU63(4), MaybeU63(5));
}

TEST(MaybeU63, WithNoValueOnEitherSideGivesNone) {
  MaybeU63 const none = MaybeU63::none(), some(5);
  EXPECT_FALSE((none + some).hasValue());
  EXPECT_FALSE((some + none).hasValue());
  EXPECT_FALSE((none + none).hasValue());
  EXPECT_FALSE((none - some).hasValue());
  EXPECT_FALSE((some - none).hasValue());
  EXPECT_FALSE((none - none).hasValue());
}

TEST(MaybeU63, WithNoValueAndAFullOneGivesNoneStill) {
  // A carry out of, or a borrow from, the top bit must not make a value of none.
  EXPECT_FALSE((MaybeU63::fromWord(~std::uint64_t{0}) + MaybeU63(1)).hasValue());
  EXPECT_FALSE((MaybeU63::none() - MaybeU63(1)).hasValue());
}

TEST(MaybeU63, WrapsModuloTwoToThe63rd) {
  EXPECT_EQ(MaybeU63(kMax) + MaybeU63(1), MaybeU63(0));
  EXPECT_EQ(MaybeU63(0) - MaybeU63(1), MaybeU63(kMax));
  EXPECT_TRUE((MaybeU63(0) - MaybeU63(1)).hasValue());
  EXPECT_EQ(MaybeU63(kMax) + MaybeU63(kMax), MaybeU63(kMax - 1));
}

TEST(MaybeU63, ADifferenceAddedBackRestoresTheLarger) {
  MaybeU63 const small(3), large(kMax);
  EXPECT_EQ(small - large + large, small);
}

TEST(MaybeU63, AllFormsOfNoneAreEqualAndEqualNoValue) {
  EXPECT_EQ(MaybeU63::none(), MaybeU63::fromWord(kTop | 5));
  EXPECT_NE(MaybeU63::none(), MaybeU63(0));
  EXPECT_NE(MaybeU63(0), MaybeU63::none());
  EXPECT_NE(MaybeU63(1), MaybeU63(2));
}

TEST(MaybeU63, PrintsItsValueOrThatThereIsNone) {
  std::ostringstream out;
  out << MaybeU63(12) << ' ' << MaybeU63::none();
  EXPECT_EQ(out.str(), "12 n/a");
}

}  // namespace
}  // namespace Wib
