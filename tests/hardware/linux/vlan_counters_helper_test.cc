#include "hardware/linux/vlan_counters_helper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "hardware/linux/glim_offset_store.h"
#include "tests/hardware/linux/helper_stand_ins.h"
#include "tests/hardware/linux/vlan_stand_ins.h"
#include "tests/support/published_schema.h"

namespace Hardware::Linux {
namespace {

using Bridging::VlanCounts;
using Bridging::VlanId;
using Test::SharedStore;
using Test::VlanKernel;
using Test::VlanStatsStandIn;

constexpr int kBridge = 5;
VlanId const kVlan(10);

class VlanCountersHelperTest : public testing::Test {
 protected:
  VlanCountersHelperTest() { agentStarts(); }

  void agentStarts(int bridge = kBridge) {
    sut = Kel::make<VlanCountersHelper>(
        Kel::Name("test"), VlanCountersHelper::Parts{
                               .stats = std::make_unique<VlanStatsStandIn>(kernel),
                               .offsets = sharedStore(),
                               .publishedRow = [this](VlanId) { return row; },
                               .now = [] { return 1.0; },
                               .generation = 1,
                               .say = [this](std::string const& text) { said.push_back(text); }});
    sut->bridgeIs(bridge);
    sut->initializeVlanCounters(kVlan);
  }
  std::unique_ptr<OffsetStore> sharedStore() {
    auto made = std::make_unique<SharedStore<StoredOffsets>>(offsets);
    store = made.get();
    return made;
  }
  void kernelCounts(std::uint64_t in, std::uint64_t out, int bridge = kBridge) {
    kernel.counts[{bridge, 10}] = {
        .rxOctets = in * 100, .rxPkts = in, .txOctets = out * 100, .txPkts = out};
  }
  // As the state machine does.
  void poll() {
    auto const now = Kel::make<OruTypes::VlanCounters>(kVlan);
    auto const before = Kel::make<OruTypes::VlanCounters>(kVlan);
    sut->getVlanCounters(kVlan, now, before);
    row->counts = row->counts + (now->counts() - before->counts());
  }
  void expectRow(std::uint64_t in, std::uint64_t out) {
    VlanCounts expected;
    expected.inOctets = in * 100;
    expected.inUcastPkts = in;
    expected.outOctets = out * 100;
    expected.outUcastPkts = out;
    EXPECT_EQ(row->counts, expected);
  }

  VlanKernel kernel;
  MemoryOffsetStore offsets;
  SharedStore<StoredOffsets>* store = nullptr;  // of the agent that runs
  std::optional<Glim::Bridging::VlanCounter> row{Glim::Bridging::VlanCounter(kVlan)};
  std::vector<std::string> said;
  Kel::Ptr<VlanCountersHelper> sut;
};

TEST_F(VlanCountersHelperTest, ARowIsWhatTheKernelCounts) {
  kernelCounts(40, 80);
  poll();
  expectRow(40, 80);
  kernelCounts(50, 100);
  poll();
  poll();
  expectRow(50, 100);
}

TEST_F(VlanCountersHelperTest, AnotherAgentGoesOnWithTheRow) {
  kernelCounts(40, 80);
  poll();
  kernelCounts(45, 90);
  agentStarts();
  EXPECT_TRUE(sut->continues(kVlan));
  poll();
  expectRow(45, 90);
}

TEST_F(VlanCountersHelperTest, ACountThatBeganAnewExtendsTheTotalOverRestartsToo) {
  kernelCounts(40, 80);
  poll();
  kernelCounts(3, 6);
  poll();
  expectRow(43, 86);
  agentStarts();
  kernelCounts(5, 10);
  poll();
  expectRow(45, 90);
}

TEST_F(VlanCountersHelperTest, AVlanThatWentBeginsANewRow) {
  kernelCounts(40, 80);
  poll();
  kernelCounts(3, 6);
  poll();
  sut->vlanDel(kVlan);
  EXPECT_FALSE(sut->continues(kVlan));
  row = Glim::Bridging::VlanCounter(kVlan);
  kernelCounts(2, 4);
  sut->initializeVlanCounters(kVlan);
  poll();
  expectRow(2, 4);
}

TEST_F(VlanCountersHelperTest, ToldAgainOfAVlanItGoesOn) {
  kernelCounts(40, 80);
  poll();
  sut->initializeVlanCounters(kVlan);
  poll();
  expectRow(40, 80);
}

// What it has in hand is more than what it could keep.
TEST_F(VlanCountersHelperTest, ToldAgainOfAVlanWhoseOffsetCouldNotBeKeptItGoesOn) {
  kernelCounts(40, 80);
  poll();
  store->full = true;
  kernelCounts(3, 6);
  poll();
  sut->initializeVlanCounters(kVlan);
  poll();
  expectRow(43, 86);
}

TEST_F(VlanCountersHelperTest, WhatIsKeptOfNoVlanGoes) {
  kernelCounts(40, 80);
  poll();
  for (char const* const name : {"Vlan20", "", "Vla", "Vlan", "Vlan0", "Vlan010", "Vlan4095",
                                 "Vlan10x", "Ethernet1", "Vlan99999999999999999999999"})
    offsets.save(name, {});
  std::vector<VlanId> kept;
  EXPECT_NO_THROW(sut->forEachKept([&](VlanId vlanId) { kept.push_back(vlanId); }));
  std::sort(kept.begin(), kept.end());
  EXPECT_EQ(kept, (std::vector<VlanId>{VlanId(10u), VlanId(20u)}));
  std::size_t left = 0;
  offsets.forEach([&](auto const&) { ++left; });
  EXPECT_EQ(left, 2u);
}

TEST_F(VlanCountersHelperTest, RowsOfAnotherBridgeDoNotGoOn) {
  kernelCounts(40, 80);
  poll();
  agentStarts(kBridge + 1);
  EXPECT_FALSE(sut->continues(kVlan));
}

TEST_F(VlanCountersHelperTest, WithoutAReadingTheRowStandsStillAndThatIsToldOnce) {
  kernelCounts(40, 80);
  poll();
  kernel.error = std::make_error_code(std::errc::no_buffer_space);
  poll();
  poll();
  expectRow(40, 80);
  EXPECT_EQ(said.size(), 1u);
  kernel.error = {};
  kernel.counts.clear();
  poll();
  expectRow(40, 80);
}

TEST_F(VlanCountersHelperTest, KnowsWhetherTheLastPollOfAVlanReadIt) {
  kernelCounts(40, 80);
  EXPECT_FALSE(sut->couldRead(kVlan));
  EXPECT_FALSE(sut->couldRead(VlanId(11)));
  poll();
  EXPECT_TRUE(sut->couldRead(kVlan));
  kernel.error = std::make_error_code(std::errc::no_buffer_space);
  poll();
  EXPECT_FALSE(sut->couldRead(kVlan));
  kernel.error = {};
  poll();
  EXPECT_TRUE(sut->couldRead(kVlan));
  kernel.counts.clear();
  poll();
  EXPECT_FALSE(sut->couldRead(kVlan));
}

TEST_F(VlanCountersHelperTest, WithoutABridgeNothingIsRead) {
  kernelCounts(40, 80, 0);
  kernelCounts(40, 80);
  poll();
  sut->bridgeIs(0);
  poll();
  EXPECT_FALSE(sut->couldRead(kVlan));
  expectRow(40, 80);
}

TEST_F(VlanCountersHelperTest, WhatPassedWhileNothingWasReadIsCountedAfterwards) {
  kernelCounts(40, 80);
  poll();
  kernel.error = std::make_error_code(std::errc::no_buffer_space);
  kernelCounts(50, 90);
  poll();
  kernel.error = {};
  kernelCounts(60, 100);
  poll();
  expectRow(60, 100);
}

TEST_F(VlanCountersHelperTest, AReadingThatFailsAgainAfterwardsIsToldAgain) {
  for (int i = 0; i < 2; ++i) {
    kernel.error = std::make_error_code(std::errc::no_buffer_space);
    poll();
    kernel.error = {};
    poll();
  }
  EXPECT_EQ(said.size(), 2u);
}

TEST_F(VlanCountersHelperTest, AnOffsetThatCouldNotBeKeptIsCountedAndKeptWithTheNextPoll) {
  store->full = true;
  kernelCounts(40, 80);
  poll();
  EXPECT_EQ(sut->offsetsNotSaved(), 1u);
  EXPECT_FALSE(sut->continues(kVlan));
  store->full = false;
  poll();
  EXPECT_EQ(sut->offsetsNotSaved(), 1u);
  EXPECT_TRUE(sut->continues(kVlan));
}

TEST_F(VlanCountersHelperTest, TellsOfWhichVlansAnythingIsKept) {
  kernelCounts(40, 80);
  poll();
  std::vector<VlanId> kept;
  sut->forEachKept([&](VlanId vlanId) { kept.push_back(vlanId); });
  EXPECT_EQ(kept, std::vector<VlanId>{kVlan});
}

TEST_F(VlanCountersHelperTest, AVlanWithoutARowIsNotPolled) {
  kernelCounts(40, 80);
  row.reset();
  auto const sample = Kel::make<OruTypes::VlanCounters>(kVlan);
  sut->getVlanCounters(kVlan, sample, sample);
  EXPECT_EQ(sample->counts(), VlanCounts());
}

TEST(VlanOffsetRow, KeepsWhatIsCounted) {
  StoredOffsets stored{{7, 5}, {}};
  stored.offsets[PortField::inOctets] = 1;
  stored.offsets[PortField::inPkts] = 2;
  stored.offsets[PortField::outOctets] = 3;
  stored.offsets[PortField::outPkts] = 4;
  EXPECT_EQ(VlanOffsetRow::of("Vlan10", stored).stored(), stored);
}

TEST(VlanOffsetRow, HasThePublishedSchema) {
  Support::expectPublishedSchema<VlanOffsetRow>(ORU_SOURCE_DIR "/tests/hardware/linux/schemas");
}

}  // namespace
}  // namespace Hardware::Linux
