#include "reader/counters.h"

#include <gtest/gtest.h>

#include "tests/reader/made_up.h"

namespace Show {
namespace {

using Entries = std::vector<std::optional<std::uint64_t>>;
using Interface::EthCounter;

class CountersOfAnIntf : public testing::Test {
 protected:
  Interface::IntfStatistics& statistics() { return intf.counters->statistics; }
  Interface::EthStatistics& eth() { return intf.counters->ethStatistics; }
  Interface::EthIntfCounterGlim& clear() {
    if (!intf.atLastClear) intf.atLastClear.emplace();
    return *intf.atLastClear;
  }
  void cannotCount(std::string_view name) {
    auto set = Interface::CounterSet::fromWord(intf.description->unsupported);
    set.insert(name);
    intf.description->unsupported = set.word();
  }
  Counters total() { return Counters(intf, Basis::total); }
  Counters sinceClear() { return Counters(intf, Basis::sinceClear); }

  Intf intf = Show::intf("Ethernet1", "eth0");
};

TEST_F(CountersOfAnIntf, EachPlainCounterIsFoundByItsName) {
  statistics().inOctets = 1;
  statistics().outErrors = 2;
  statistics().outBroadcastPkts = Wib::MaybeU63(3);
  eth()[EthCounter::fcsErrors] = 4;
  eth()[EthCounter::out1519ToMaxOctets] = 5;
  EXPECT_EQ(total()["inOctets"], 1u);
  EXPECT_EQ(total()["outErrors"], 2u);
  EXPECT_EQ(total()["outBroadcastPkts"], 3u);
  EXPECT_EQ(total()["fcsErrors"], 4u);
  EXPECT_EQ(total()["out1519ToMaxOctets"], 5u);
}

TEST_F(CountersOfAnIntf, EveryCounterNameHasAValueOrEntries) {
  for (std::string_view const name : Interface::kCounterNames) {
    if (isArray(name))
      EXPECT_TRUE(total().entries(name)) << name;
    else
      EXPECT_TRUE(total()[name]) << name;
  }
}

TEST_F(CountersOfAnIntf, ACounterWithoutAValueHasNone) {
  statistics().inUnknownProtos = Wib::MaybeU63::none();
  EXPECT_EQ(total()["inUnknownProtos"], std::nullopt);
  EXPECT_EQ(sinceClear()["inUnknownProtos"], std::nullopt);
}

TEST_F(CountersOfAnIntf, WhatTheChipCannotCountHasNoValue) {
  cannotCount("fcsErrors");
  cannotCount("inPfcFrames");
  EXPECT_EQ(total()["fcsErrors"], std::nullopt);
  EXPECT_EQ(total().entries("inPfcFrames"), std::nullopt);
  EXPECT_EQ(total()["alignmentErrors"], 0u);
}

TEST_F(CountersOfAnIntf, AnIntfWithoutARowHasNoValues) {
  intf.counters.reset();
  EXPECT_EQ(total()["inOctets"], std::nullopt);
  EXPECT_EQ(total().inPkts(), std::nullopt);
  EXPECT_EQ(total().entries("outPfcFrames"), std::nullopt);
}

TEST_F(CountersOfAnIntf, ARowThatWasNeverSampledHasNoValues) {
  statistics().lastUpdate = 0.0;
  EXPECT_EQ(total()["inOctets"], std::nullopt);
  EXPECT_EQ(total().entries("outPfcFrames"), std::nullopt);
}

TEST_F(CountersOfAnIntf, CountsSinceTheClearLeaveOutWhatWasBefore) {
  statistics().inOctets = 100;
  clear().statistics.inOctets = 30;
  EXPECT_EQ(sinceClear()["inOctets"], 70u);
  EXPECT_EQ(total()["inOctets"], 100u);
}

TEST_F(CountersOfAnIntf, CountsSinceTheClearSurviveAWrap) {
  statistics().inOctets = 5;
  clear().statistics.inOctets = ~std::uint64_t{0};
  EXPECT_EQ(sinceClear()["inOctets"], 6u);
}

TEST_F(CountersOfAnIntf, AClearThatIsAheadOfTheCountersSaysNothing) {
  statistics().inOctets = 5;
  clear().statistics.inOctets = 1000;
  statistics().outBroadcastPkts = Wib::MaybeU63(7);
  clear().statistics.outBroadcastPkts = Wib::MaybeU63(8);
  EXPECT_EQ(sinceClear()["inOctets"], 5u);
  EXPECT_EQ(sinceClear()["outBroadcastPkts"], 7u);
}

TEST_F(CountersOfAnIntf, AClearWithoutAValueTakesNothingAway) {
  statistics().outBroadcastPkts = Wib::MaybeU63(7);
  clear().statistics.outBroadcastPkts = Wib::MaybeU63::none();
  EXPECT_EQ(sinceClear()["outBroadcastPkts"], 7u);
}

TEST_F(CountersOfAnIntf, ArraysHaveTheirValidEntries) {
  eth().fecCodewordErrors.entries[1] = 9;
  eth().fecCodewordErrors.count = 2;
  eth().inPfcFrames.entries[0] = Wib::MaybeU63(4);
  eth().inPfcFrames.entries[1] = Wib::MaybeU63::none();
  eth().inPfcFrames.count = 2;
  EXPECT_EQ(total().entries("fcsErrors"), std::nullopt);
  EXPECT_EQ(*total().entries("fecCodewordErrors"), (Entries{0, 9}));
  EXPECT_EQ(*total().entries("inPfcFrames"), (Entries{4, std::nullopt}));
}

TEST_F(CountersOfAnIntf, AnArrayThatClaimsTooManyEntriesHasWhatThereIs) {
  eth().inPfcFrames.count = 4000000000u;
  EXPECT_EQ(total().entries("inPfcFrames")->size(), 8u);
}

TEST_F(CountersOfAnIntf, PacketsAreTheSumOfWhatIsCounted) {
  statistics().outUcastPkts = 1;
  statistics().outMulticastPkts = 20;
  statistics().outBroadcastPkts = Wib::MaybeU63::none();
  EXPECT_EQ(total().outPkts(), 21u);
  for (auto const name : {"inUcastPkts", "inMulticastPkts", "inBroadcastPkts"}) cannotCount(name);
  EXPECT_EQ(total().inPkts(), std::nullopt);
}

TEST_F(CountersOfAnIntf, ThereAreNoRatesBeforeTheSecondSample) {
  EXPECT_FALSE(rates(intf));
  intf.counters->rates.seeded = intf.counters->rates.lastUpdate = kNow;
  EXPECT_FALSE(rates(intf));
  intf.counters->rates.lastUpdate = kNow + 1;
  EXPECT_TRUE(rates(intf));
}

}  // namespace
}  // namespace Show
