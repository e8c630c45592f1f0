#include "platform/interface/row_text.h"

#include <gtest/gtest.h>

namespace Interface {
namespace {

TEST(RowText, KeepsATextThatFits) {
  EXPECT_EQ(RowText<8>("uplink").view(), "uplink");
  EXPECT_EQ(RowText<8>("").view(), "");
  EXPECT_EQ(RowText<8>().view(), "");
}

TEST(RowText, FilledToTheEndNeedsNoZero) { EXPECT_EQ(RowText<8>("12345678").view(), "12345678"); }

TEST(RowText, CutsALongerText) { EXPECT_EQ(RowText<8>("123456789").view(), "12345678"); }

TEST(RowText, CutsBetweenCharacters) {
  // Two, three and four bytes that would not fit whole.
  EXPECT_EQ(RowText<4>("abc\u00e9").view(), "abc");
  EXPECT_EQ(RowText<4>("ab\u20ac").view(), "ab");
  EXPECT_EQ(RowText<4>("a\U0001f600").view(), "a");
  EXPECT_EQ(RowText<4>("ab\u00e9x").view(), "ab\u00e9");  // fits to the byte
}

TEST(RowText, EqualsByText) {
  EXPECT_EQ(RowText<8>("a"), RowText<8>("a"));
  EXPECT_NE(RowText<8>("a"), RowText<8>("b"));
}

}  // namespace
}  // namespace Interface
