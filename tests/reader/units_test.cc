#include "reader/units.h"

#include <gtest/gtest.h>

#include <limits>

namespace Show {
namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr double kEndless = std::numeric_limits<double>::infinity();

TEST(Units, RatesHaveThreeDigitsAndAPrefix) {
  EXPECT_EQ(bitsRate(0.0), "0 b/s");
  EXPECT_EQ(bitsRate(0.25), "0.2 b/s");
  EXPECT_EQ(bitsRate(9.7), "9.7 b/s");
  EXPECT_EQ(bitsRate(12.0), "12 b/s");
  EXPECT_EQ(bitsRate(999.0), "999 b/s");
  EXPECT_EQ(bitsRate(1000.0), "1.00 kb/s");
  EXPECT_EQ(bitsRate(1.25e9), "1.25 Gb/s");
  EXPECT_EQ(bitsRate(12.5e9), "12.5 Gb/s");
  EXPECT_EQ(bitsRate(400e9), "400 Gb/s");
  EXPECT_EQ(pktsRate(84200.0), "84.2 kp/s");
}

TEST(Units, ARateIsNeverRoundedToFourDigits) {
  EXPECT_EQ(bitsRate(999.4), "999 b/s");
  EXPECT_EQ(bitsRate(999.6), "1.00 kb/s");
  EXPECT_EQ(bitsRate(9.96), "10 b/s");
  EXPECT_EQ(bitsRate(9999.0), "10.0 kb/s");
  EXPECT_EQ(bitsRate(99990.0), "100 kb/s");
  EXPECT_EQ(bitsRate(999600.0), "1.00 Mb/s");
}

TEST(Units, WhatIsNoRateIsNotAvailable) {
  EXPECT_EQ(bitsRate(-1.0), "n/a");
  EXPECT_EQ(bitsRate(kNone), "n/a");
  EXPECT_EQ(bitsRate(kEndless), "n/a");
}

TEST(Units, TheLargestPrefixTakesWhatIsBeyondIt) { EXPECT_EQ(bitsRate(1e22), "10000 Eb/s"); }

TEST(Units, UtilisationIsAPercentageOfTheSpeed) {
  EXPECT_EQ(utilisation(125e6, 1'000'000'000), "12.5 %");
  EXPECT_EQ(utilisation(0.0, 1'000'000'000), "0.0 %");
  EXPECT_EQ(utilisation(1.01e9, 1'000'000'000), "101.0 %");
}

TEST(Units, UtilisationOfAnUnknownSpeedIsNotAvailable) {
  EXPECT_EQ(utilisation(125e6, 0), "n/a");
  EXPECT_EQ(utilisation(kNone, 1000), "n/a");
}

TEST(Units, AgesHaveTwoUnitsAtMost) {
  EXPECT_EQ(ageText(0.0), "0.0 s");
  EXPECT_EQ(ageText(0.44), "0.4 s");
  EXPECT_EQ(ageText(9.96), "10 s");
  EXPECT_EQ(ageText(59.4), "59 s");
  EXPECT_EQ(ageText(59.6), "1 min 00 s");
  EXPECT_EQ(ageText(185.0), "3 min 05 s");
  EXPECT_EQ(ageText(7440.0), "2 h 04 min");
  EXPECT_EQ(ageText(442800.0), "5 d 03 h");
}

TEST(Units, AnAgeThatThereIsNotIsNever) { EXPECT_EQ(ageText(std::nullopt), "never"); }

TEST(Units, AnAgeThatIsNoNumberIsNotAvailable) {
  EXPECT_EQ(ageText(kNone), "n/a");
  EXPECT_EQ(ageText(1e300), "n/a");
}

TEST(Units, CountsAreExact) {
  EXPECT_EQ(count(18446744073709551615u), "18446744073709551615");
  EXPECT_EQ(count(std::nullopt), "n/a");
}

TEST(Units, NounsAgreeWithTheirNumber) {
  EXPECT_EQ(counted(0, "row"), "0 rows");
  EXPECT_EQ(counted(1, "row"), "1 row");
  EXPECT_EQ(counted(2, "row"), "2 rows");
}

TEST(Units, ControlCharactersAreNotShown) {
  EXPECT_EQ(printable("a\033[2Jb\n\x7f"), "a?[2Jb??");
  EXPECT_EQ(printable("\xc2\x9b"), "??");  // the one-character form of ESC [
}

TEST(Units, WellFormedTextIsShownAsItIs) {
  EXPECT_EQ(printable("größe €"), "größe €");
  EXPECT_EQ(printable("\xf0\x9f\x98\x80"), "\xf0\x9f\x98\x80");
}

TEST(Units, MalformedTextIsNotShown) {
  EXPECT_EQ(printable("\xff"), "?");
  EXPECT_EQ(printable("\xc3"), "?");                 // cut short
  EXPECT_EQ(printable("\xc0\x80"), "??");            // overlong
  EXPECT_EQ(printable("\xed\xa0\x80"), "???");       // a surrogate
  EXPECT_EQ(printable("\xf4\x90\x80\x80"), "????");  // beyond the last character
}

TEST(Units, ShortenedTextSaysThatItWasCut) {
  EXPECT_EQ(shortened("Ethernet3", 9), "Ethernet3");
  EXPECT_EQ(shortened("Ethernet3", 8), "Etherne~");
  EXPECT_EQ(shortened("größe", 4), "grö~");
  EXPECT_EQ(shortened("Ethernet3", 1), "~");
  EXPECT_EQ(shortened("Ethernet3", 0), "");
}

}  // namespace
}  // namespace Show
