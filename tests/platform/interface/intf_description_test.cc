#include "platform/interface/intf_description.h"

#include <gtest/gtest.h>

#include <set>

namespace Interface {
namespace {

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
