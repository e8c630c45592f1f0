#include "hardware/linux/port_account.h"

#include <gtest/gtest.h>

#include <random>

namespace Hardware::Linux {
namespace {

using Interface::EthCounter;
using Row = Interface::EthIntfCounterGlim;

constexpr LinkIdentity kLink{.generation = 7, .ifindex = 2};
constexpr LinkIdentity kOtherLink{.generation = 7, .ifindex = 3};
constexpr LinkIdentity kOtherStart{.generation = 8, .ifindex = 2};

/// A reading in which all packets are unicast of 100 octets.
KernelCounts packets(std::uint64_t count) {
  rtnl_link_stats64 link{};
  link.rx_packets = count;
  link.rx_bytes = count * 100;
  return kernelCounts(link, {});
}

/// An agent that may die: what outlives it are the row and the stored offsets.
class PortAccountTest : public ::testing::Test {
 protected:
  /// A new agent finds what is there.
  void start() {
    sut.emplace(row, stored);
    previous = {};
    previousEth = {};
  }
  void save() {
    if (!sut->mustSave()) return;
    stored = sut->stored();
    sut->saved();
  }
  void publish() {
    Interface::IntfStatistics intf;
    Interface::EthStatistics eth;
    sut->sample(intf, eth);
    EXPECT_EQ(intf.inErrors, receiveErrorSum(eth));
    EXPECT_EQ(intf.outErrors, transmitErrorSum(eth));
    if (!row) row.emplace();
    row->statistics = row->statistics + (intf - previous);
    row->ethStatistics = row->ethStatistics + (eth - previousEth);
    previous = intf;
    previousEth = eth;
  }
  void poll(KernelCounts const& counts, LinkIdentity const& link = kLink) {
    sut->advance(link, counts);
    save();
    publish();
  }
  std::uint64_t unicast() const { return row->statistics.inUcastPkts; }

  std::optional<Row> row;
  std::optional<StoredOffsets> stored;
  std::optional<PortAccount> sut;
  Interface::IntfStatistics previous;
  Interface::EthStatistics previousEth;
};

TEST_F(PortAccountTest, FirstPollWithoutARowPublishesTheKernelsCount) {
  start();
  poll(packets(1000));
  EXPECT_EQ(unicast(), 1000u);
  EXPECT_EQ(row->statistics.inOctets, 100'000u);
}

TEST_F(PortAccountTest, RestartAddsWhatPassedInTheMeantimeAndNothingTwice) {
  start();
  poll(packets(1000));
  start();
  poll(packets(1300));
  EXPECT_EQ(unicast(), 1300u);
  EXPECT_EQ(row->statistics.inOctets, 130'000u);
}

TEST_F(PortAccountTest, FirstSampleAfterARestartIsOnlyWhatPassed) {
  start();
  poll(packets(1000));
  start();
  sut->advance(kLink, packets(1300));
  Interface::IntfStatistics intf;
  Interface::EthStatistics eth;
  sut->sample(intf, eth);
  EXPECT_EQ(intf.inUcastPkts, 300u);
}

TEST_F(PortAccountTest, SampleBeforeAnyReadingIsZero) {
  start();
  poll(packets(1000));
  start();
  publish();
  EXPECT_EQ(unicast(), 1000u);
}

TEST_F(PortAccountTest, ZeroRowIsAsNoRow) {
  row.emplace();
  start();
  poll(packets(1000));
  EXPECT_EQ(unicast(), 1000u);
}

TEST_F(PortAccountTest, CounterThatStartsAnewExtendsItsLastValue) {
  start();
  poll(packets(1000));
  poll(packets(30));
  EXPECT_EQ(unicast(), 1030u);
  poll(packets(50));
  EXPECT_EQ(unicast(), 1050u);
}

TEST_F(PortAccountTest, EachCounterStartsAnewByItself) {
  start();
  rtnl_link_stats64 link{};
  link.rx_packets = 1000;
  link.rx_bytes = 4'294'967'000;  // a driver with counters of 32 bits
  poll(kernelCounts(link, {}));
  link.rx_packets = 1010;
  link.rx_bytes = 704;
  poll(kernelCounts(link, {}));
  EXPECT_EQ(unicast(), 1010u);
  EXPECT_EQ(row->statistics.inOctets, 4'294'967'704u);
}

TEST_F(PortAccountTest, LinkThatMovesHereAddsOnlyWhatItCountsFromThen) {
  start();
  poll(packets(1000));
  sut->moveTo(kOtherLink, packets(5000));
  poll(packets(5007), kOtherLink);
  EXPECT_EQ(unicast(), 1007u);
  start();
  poll(packets(5010), kOtherLink);
  EXPECT_EQ(unicast(), 1010u);
  poll(packets(2), kOtherLink);
  EXPECT_EQ(unicast(), 1012u);
}

TEST_F(PortAccountTest, AgentKilledAfterALinkMovedHereHasASuccessorThatGoesOn) {
  start();
  poll(packets(1000));
  sut->moveTo(kOtherLink, packets(5000));
  save();
  start();
  poll(packets(5007), kOtherLink);
  EXPECT_EQ(unicast(), 1007u);
}

TEST_F(PortAccountTest, RestartAfterAResetStillAddsOnlyWhatPassed) {
  start();
  poll(packets(1000));
  poll(packets(30));
  start();
  poll(packets(40));
  EXPECT_EQ(unicast(), 1040u);
  start();
  poll(packets(5000));
  EXPECT_EQ(unicast(), 6000u);
}

TEST_F(PortAccountTest, ResetWhileNoAgentRanIsSeen) {
  start();
  poll(packets(1000));
  start();
  poll(packets(200));
  EXPECT_EQ(unicast(), 1200u);
  start();
  poll(packets(250));
  EXPECT_EQ(unicast(), 1250u);
}

TEST_F(PortAccountTest, LinkMadeAgainWhileNoAgentRanIsSeenEvenIfItCountedMore) {
  start();
  poll(packets(1000));
  start();
  poll(packets(1500), kOtherLink);
  EXPECT_EQ(unicast(), 2500u);
}

TEST_F(PortAccountTest, SameIndexAfterAStartOfTheMachineIsAnotherLink) {
  start();
  poll(packets(1000));
  start();
  poll(packets(1500), kOtherStart);
  EXPECT_EQ(unicast(), 2500u);
}

TEST_F(PortAccountTest, LinkMadeAgainUnderTheRunningAgentGoesOnFromTheOldOne) {
  start();
  poll(packets(1000));
  poll(packets(1500), kOtherLink);
  EXPECT_EQ(unicast(), 2500u);
}

TEST_F(PortAccountTest, SmallStepBackOfALargeCountIsAnUnsteadyReading) {
  start();
  poll(packets(1'000'000));
  poll(packets(999'998));
  EXPECT_EQ(unicast(), 1'000'000u);
  poll(packets(1'000'005));
  EXPECT_EQ(unicast(), 1'000'005u);
}

TEST_F(PortAccountTest, ResetIsSeenHoweverLargeTheOffset) {
  start();
  poll(packets(1'000'000));
  poll(packets(100));
  poll(packets(5));
  EXPECT_EQ(unicast(), 1'000'105u);
  start();
  poll(packets(2));
  EXPECT_EQ(unicast(), 1'000'107u);
}

TEST_F(PortAccountTest, RestartAtAnUnsteadyReadingDoublesNothing) {
  start();
  poll(packets(1'000'000));
  start();
  poll(packets(999'998));
  EXPECT_EQ(unicast(), 1'000'000u);
}

TEST_F(PortAccountTest, RowThatWasStartedAnewHasNoOffset) {
  start();
  poll(packets(1000));
  poll(packets(30));  // leaves an offset of 1000
  row.emplace();      // the interface left and came back
  start();
  poll(packets(40));
  EXPECT_EQ(unicast(), 40u);
}

TEST_F(PortAccountTest, RowWithoutStoredOffsetsContinues) {
  start();
  poll(packets(1000));
  stored.reset();
  start();
  poll(packets(1100));
  EXPECT_EQ(unicast(), 1100u);
}

TEST_F(PortAccountTest, DeathBeforeTheOffsetIsSavedNeitherDoublesNorLoses) {
  start();
  poll(packets(1000));
  sut->advance(kLink, packets(30));
  ASSERT_TRUE(sut->mustSave());
  start();
  poll(packets(40));
  EXPECT_EQ(unicast(), 1040u);
}

TEST_F(PortAccountTest, DeathAfterTheOffsetIsSavedNeitherDoublesNorLoses) {
  start();
  poll(packets(1000));
  sut->advance(kLink, packets(30));
  save();
  start();
  poll(packets(40));
  EXPECT_EQ(unicast(), 1040u);
}

TEST_F(PortAccountTest, DeathAfterTheOffsetIsSavedAndALongAbsenceNeitherDoublesNorLoses) {
  start();
  poll(packets(1000));
  sut->advance(kLink, packets(30));
  save();
  start();
  poll(packets(1'000'000));
  EXPECT_EQ(unicast(), 1'001'000u);
}

TEST_F(PortAccountTest, DeathWithAnotherLinkAtAnyPointNeitherDoublesNorLoses) {
  for (bool const saved : {false, true}) {
    row.reset();
    stored.reset();
    start();
    poll(packets(1000));
    start();
    sut->advance(kOtherLink, packets(1500));
    if (saved) save();
    start();
    poll(packets(1600), kOtherLink);
    EXPECT_EQ(unicast(), 2600u) << saved;
  }
}

// The row lags behind such a part, and an offset beyond the row would look like another row's.
TEST_F(PortAccountTest, PartThatRanAheadOfItsTotalAtAResetLosesNothingElse) {
  rtnl_link_stats64 link{};
  link.rx_packets = 100;
  link.multicast = 10;
  start();
  poll(kernelCounts(link, {}));
  link.rx_packets = 101;
  link.multicast = 13;
  poll(kernelCounts(link, {}));
  link.rx_packets = 5;
  link.multicast = 1;
  sut->advance(kLink, kernelCounts(link, {}));
  save();
  start();
  link.rx_packets = 1'000'000;
  link.multicast = 50;
  poll(kernelCounts(link, {}));
  EXPECT_EQ(row->statistics.inMulticastPkts, 61u);
  EXPECT_EQ(unicast() + 61u, 1'000'101u);
}

TEST_F(PortAccountTest, NothingIsSavedWhileNothingIsReset) {
  start();
  poll(packets(1000));
  for (std::uint64_t count = 1001; count < 1100; ++count) {
    sut->advance(kLink, packets(count));
    EXPECT_FALSE(sut->mustSave());
  }
}

TEST_F(PortAccountTest, UnknownFieldsKeepTheirCount) {
  rtnl_link_stats64 link{};
  link.rx_errors = 10;
  link.rx_crc_errors = 6;
  start();
  poll(kernelCounts(link, {}));
  poll(kernelCounts(rtnl_link_stats64{}, {.unavailable = true}));
  EXPECT_EQ(row->statistics.inErrors, 10u);
  EXPECT_EQ(row->ethStatistics[EthCounter::fcsErrors], 6u);
}

TEST_F(PortAccountTest, OptionalCountersHaveNoValueUntilTheyAreCounted) {
  start();
  poll(packets(1));
  EXPECT_FALSE(row->statistics.outBroadcastPkts.hasValue());
  EXPECT_FALSE(row->statistics.inUnknownProtos.hasValue());
  EXPECT_FALSE(row->ethStatistics.inPfcFrames.entries[0].hasValue());
}

TEST_F(PortAccountTest, BroadcastsThatTheMacCountsHaveAValue) {
  MacStats mac;
  mac.mac[ETHTOOL_A_STATS_ETH_MAC_19_TX_BCAST] = 5;
  rtnl_link_stats64 link{};
  link.tx_packets = 20;
  start();
  poll(kernelCounts(link, {.stats = &mac}));
  poll(kernelCounts(link, {.unavailable = true}));
  EXPECT_EQ(row->statistics.outBroadcastPkts, Wib::MaybeU63(5));
  EXPECT_EQ(row->statistics.outUcastPkts, 15u);
}

TEST_F(PortAccountTest, CountPastTheEndOfItsWordGoesOn) {
  start();
  poll(packets(1000));
  row->statistics.inUcastPkts = ~std::uint64_t{0} - 9;  // ten short of the end
  stored = StoredOffsets{kLink, {}};
  stored->offsets[PortField::inPkts] = ~std::uint64_t{0} - 1009;
  start();
  poll(packets(1005));
  EXPECT_EQ(unicast(), ~std::uint64_t{0} - 4);
  poll(packets(1030));
  EXPECT_EQ(unicast(), 20u);
  poll(packets(1031));
  EXPECT_EQ(unicast(), 21u);
}

// Readings, resets, new links, restarts and deaths in any order: what is published is what was
// counted, but for what a kernel counted between the last reading and its reset, which nobody saw.
TEST_F(PortAccountTest, NothingIsLostOrDoubledWhateverHappens) {
  std::mt19937_64 random(20240229);
  auto const chance = [&](unsigned percent) { return random() % 100 < percent; };
  for (int run = 0; run < 200; ++run) {
    row.reset();
    stored.reset();
    LinkIdentity link{1, 10};
    std::uint64_t kernel = 0;  // since the last reset
    std::uint64_t truth = 0;   // ever
    start();
    for (int step = 0; step < 100; ++step) {
      std::uint64_t const passed = random() % 1000;
      kernel += passed;
      truth += passed;
      if (chance(20)) {
        start();
        if (chance(30)) publish();  // a poll that found no link
      }
      if (chance(10)) {
        sut->advance(link, packets(kernel));
        if (chance(50)) save();
        start();  // died before it published
      }
      poll(packets(kernel), link);
      ASSERT_EQ(unicast(), truth) << "run " << run << " step " << step;
      if (chance(10)) {
        // All was read just now. A reset of the same link shows by a count below the old one.
        if (chance(50))
          ++link.ifindex;
        else if (kernel < 10'000)
          continue;
        kernel = 0;
      }
    }
  }
}

}  // namespace
}  // namespace Hardware::Linux
