#include "platform/interface/intf_description.h"

#include <gtest/gtest.h>

#include <set>

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

TEST(CounterSet, IsEmptyWhenNew) {
  CounterSet const sut;
  EXPECT_TRUE(sut.empty());
  for (std::string_view const name : kCounterNames) EXPECT_FALSE(sut.contains(name)) << name;
}

TEST(CounterSet, HoldsEachCounterApart) {
  for (std::string_view const name : kCounterNames) {
    CounterSet sut;
    sut.insert(name);
    for (std::string_view const other : kCounterNames)
      EXPECT_EQ(sut.contains(other), other == name) << name << ' ' << other;
  }
}

TEST(CounterSet, KnowsNothingOfOtherNames) {
  CounterSet sut;
  for (std::string_view const name : {"", "lastUpdate", "inoctets", "nothing"}) {
    sut.insert(name);
    EXPECT_FALSE(sut.contains(name)) << name;
  }
  EXPECT_TRUE(sut.empty());
}

TEST(CounterSet, GoesThroughItsWord) {
  CounterSet sut;
  sut.insert("inOctets");
  sut.insert("fcsErrors");
  EXPECT_EQ(CounterSet::fromWord(sut.word()), sut);
  EXPECT_EQ(CounterSet::fromWord(1).contains("inOctets"), true);
}

TEST(CounterSet, NamesAreAllCountersOnce) {
  EXPECT_EQ(kCounterNames.size(), 13 + 35 + 6u);
  EXPECT_EQ(std::set(kCounterNames.begin(), kCounterNames.end()).size(), kCounterNames.size());
}

TEST(IntfDescription, OperStatesHaveTheirPublishedValues) {
  // ifOperStatus, RFC 2863.
  EXPECT_EQ(static_cast<int>(OperState::up), 1);
  EXPECT_EQ(static_cast<int>(OperState::down), 2);
  EXPECT_EQ(static_cast<int>(OperState::testing), 3);
  EXPECT_EQ(static_cast<int>(OperState::unknown), 4);
  EXPECT_EQ(static_cast<int>(OperState::dormant), 5);
  EXPECT_EQ(static_cast<int>(OperState::notPresent), 6);
  EXPECT_EQ(static_cast<int>(OperState::lowerLayerDown), 7);
}

TEST(IntfDescription, IsKeyedByItsInterface) {
  IntfDescription sut;
  sut.intfId = "Ethernet1";
  EXPECT_EQ(Glim::RecordTraits<IntfDescription>::key(sut), Pekt::IntfId("Ethernet1"));
}

}  // namespace
}  // namespace Interface
