#include "platform/interface/padded_text.h"

#include <gtest/gtest.h>

namespace Interface {
namespace {

TEST(PaddedText, KeepsATextThatFits) {
  EXPECT_EQ(PaddedText<8>("uplink").view(), "uplink");
  EXPECT_EQ(PaddedText<8>("").view(), "");
  EXPECT_EQ(PaddedText<8>().view(), "");
}

TEST(PaddedText, FilledToTheEndNeedsNoZero) {
  EXPECT_EQ(PaddedText<8>("12345678").view(), "12345678");
}

TEST(PaddedText, CutsALongerText) { EXPECT_EQ(PaddedText<8>("123456789").view(), "12345678"); }

TEST(PaddedText, CutsBetweenCharacters) {
  // Two, three and four bytes that would not fit whole.
  EXPECT_EQ(PaddedText<4>("abc\u00e9").view(), "abc");
  EXPECT_EQ(PaddedText<4>("ab\u20ac").view(), "ab");
  EXPECT_EQ(PaddedText<4>("a\U0001f600").view(), "a");
  EXPECT_EQ(PaddedText<4>("ab\u00e9x").view(), "ab\u00e9");  // fits to the byte
}

TEST(PaddedText, EqualsByText) {
  EXPECT_EQ(PaddedText<8>("a"), PaddedText<8>("a"));
  EXPECT_NE(PaddedText<8>("a"), PaddedText<8>("b"));
}

}  // namespace
}  // namespace Interface
