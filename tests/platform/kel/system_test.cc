// What the framework takes from the machine, and texts.
#include "platform/kel/system.h"

#include <gtest/gtest.h>

#include <chrono>

#include "platform/kel/exceptions.h"
#include "platform/kel/text.h"

namespace KelTest {
namespace {

TEST(System, CurrentTimeIsThatOfItsSource) {
  Kel::System::timeSource = [] { return 1234.5; };
  EXPECT_EQ(Kel::System::currentTime(), 1234.5);
  Kel::System::timeSource = &Kel::System::wallClock;
}

TEST(System, CurrentTimeIsTheWallClockUnlessReplaced) {
  auto const wall = [] {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
  };
  double const before = wall();
  double const seen = Kel::System::currentTime();
  EXPECT_LE(before, seen);
  EXPECT_LE(seen, wall());
}

TEST(Period, IsRefusedWithTheNumberThatWasGiven) {
  try {
    Kel::requirePeriod(-1e-9);
    FAIL() << "not refused";
  } catch (Kel::RangeException const& exception) {
    EXPECT_STREQ(exception.what(), "a period is 0 or more seconds, not -1e-09");
  }
}

TEST(String, AddsCharactersOnEitherSide) {
  Kel::String const sut("Ethernet");
  EXPECT_EQ(sut + "1", Kel::String("Ethernet1"));
  EXPECT_EQ("Not " + sut, Kel::String("Not Ethernet"));
  EXPECT_EQ(sut + Kel::String("2"), Kel::String("Ethernet2"));
  EXPECT_EQ(sut, Kel::String("Ethernet"));
}

TEST(String, EmptyHoweverMadeIsEqual) {
  EXPECT_EQ(Kel::String(), Kel::String(""));
  EXPECT_TRUE(Kel::String("").empty());
  EXPECT_STREQ(Kel::String().c_str(), "");
  EXPECT_LT(Kel::String(), Kel::String("a"));
}

TEST(String, ACopySharesTheCharacters) {
  Kel::String const sut("text");
  Kel::String const copy = sut;
  EXPECT_EQ(copy.c_str(), sut.c_str());
}

TEST(Name, HashesByItsText) {
  // 32-bit FNV-1a, as published for these texts.
  EXPECT_EQ(Kel::Name("").hash(), 0x811c9dc5u);
  EXPECT_EQ(Kel::Name("a").hash(), 0xe40c292cu);
  EXPECT_EQ(Kel::Name("foobar").hash(), 0xbf9cf968u);
}

TEST(Name, OrdersByItsText) {
  EXPECT_LT(Kel::Name("a"), Kel::Name("b"));
  EXPECT_EQ(Kel::Name("a"), Kel::Name(Kel::String("a")));
}

}  // namespace
}  // namespace KelTest
