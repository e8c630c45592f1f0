#include "hardware/linux/kernel_counts.h"

#include <gtest/gtest.h>

namespace Hardware::Linux {
namespace {

using Interface::EthCounter;

struct Published {
  Interface::IntfStatistics intf;
  Interface::EthStatistics eth;
};

Published published(KernelCounts const& counts) {
  Published all;
  writeStatistics(counts.totals, all.intf, all.eth);
  EXPECT_EQ(all.intf.inErrors, receiveErrorSum(all.eth));
  EXPECT_EQ(all.intf.outErrors, transmitErrorSum(all.eth));
  return all;
}

rtnl_link_stats64 busyLink() {
  rtnl_link_stats64 link{};
  link.rx_packets = 1000;
  link.tx_packets = 2000;
  link.rx_bytes = 100'000;
  link.tx_bytes = 200'000;
  link.multicast = 30;
  link.rx_dropped = 4;
  link.rx_missed_errors = 5;
  link.tx_dropped = 6;
  return link;
}

TEST(KernelCounts, TrafficIsTakenOver) {
  auto const sut = published(kernelCounts(busyLink(), {}));
  EXPECT_EQ(sut.intf.inOctets, 100'000u);
  EXPECT_EQ(sut.intf.outOctets, 200'000u);
  EXPECT_EQ(sut.intf.outUcastPkts, 2000u);
}

TEST(KernelCounts, UnicastIsWhatIsNotMulticast) {
  auto const sut = published(kernelCounts(busyLink(), {}));
  EXPECT_EQ(sut.intf.inMulticastPkts, 30u);
  EXPECT_EQ(sut.intf.inUcastPkts, 970u);
}

TEST(KernelCounts, UnicastIsNeitherMulticastNorBroadcastWhereTheMacTellsThem) {
  MacStats mac;
  mac.mac[ETHTOOL_A_STATS_ETH_MAC_21_RX_MCAST] = 20;
  mac.mac[ETHTOOL_A_STATS_ETH_MAC_22_RX_BCAST] = 10;
  mac.mac[ETHTOOL_A_STATS_ETH_MAC_18_TX_MCAST] = 200;
  mac.mac[ETHTOOL_A_STATS_ETH_MAC_19_TX_BCAST] = 100;
  auto const counts = kernelCounts(busyLink(), {.stats = &mac});
  auto const sut = published(counts);
  EXPECT_EQ(sut.intf.inMulticastPkts, 20u);
  EXPECT_EQ(sut.intf.inBroadcastPkts, 10u);
  EXPECT_EQ(sut.intf.inUcastPkts, 970u);
  EXPECT_EQ(sut.intf.outMulticastPkts, 200u);
  EXPECT_EQ(sut.intf.outBroadcastPkts, Wib::MaybeU63(100));
  EXPECT_EQ(sut.intf.outUcastPkts, 1700u);
}

TEST(KernelCounts, MissedPacketsAreDiscards) {
  auto const sut = published(kernelCounts(busyLink(), {}));
  EXPECT_EQ(sut.intf.inDiscards, 9u);
  EXPECT_EQ(sut.intf.outDiscards, 6u);
}

TEST(KernelCounts, EveryErrorClassOfTheKernelHasItsCounter) {
  rtnl_link_stats64 link{};
  link.rx_errors = 100;
  link.rx_frame_errors = 1;
  link.rx_crc_errors = 2;
  link.rx_length_errors = 4;
  link.tx_errors = 200;
  link.tx_heartbeat_errors = 8;
  link.tx_window_errors = 16;
  link.tx_aborted_errors = 32;
  link.tx_carrier_errors = 64;
  auto const sut = published(kernelCounts(link, {}));
  EXPECT_EQ(sut.eth[EthCounter::alignmentErrors], 1u);
  EXPECT_EQ(sut.eth[EthCounter::fcsErrors], 2u);
  EXPECT_EQ(sut.eth[EthCounter::frameTooLongs], 4u);
  EXPECT_EQ(sut.eth[EthCounter::internalMacReceiveErrors], 93u);
  EXPECT_EQ(sut.intf.inErrors, 100u);
  EXPECT_EQ(sut.eth[EthCounter::sqeTestErrors], 8u);
  EXPECT_EQ(sut.eth[EthCounter::lateCollisions], 16u);
  EXPECT_EQ(sut.eth[EthCounter::excessiveCollisions], 32u);
  EXPECT_EQ(sut.eth[EthCounter::carrierSenseErrors], 64u);
  EXPECT_EQ(sut.eth[EthCounter::internalMacTransmitErrors], 80u);
  EXPECT_EQ(sut.intf.outErrors, 200u);
}

TEST(KernelCounts, ClassesThatTheDriverLeftOutOfItsTotalCountAsErrorsAllTheSame) {
  rtnl_link_stats64 link{};
  link.rx_errors = 3;
  link.rx_crc_errors = 5;
  link.rx_frame_errors = 1;
  auto const sut = published(kernelCounts(link, {}));
  EXPECT_EQ(sut.intf.inErrors, 6u);
  EXPECT_EQ(sut.eth[EthCounter::internalMacReceiveErrors], 0u);
}

TEST(KernelCounts, MacReplacesAClassOfTheKernel) {
  rtnl_link_stats64 link{};
  link.rx_errors = 9;
  link.rx_crc_errors = 2;
  link.rx_frame_errors = 1;
  MacStats mac;
  mac.mac[ETHTOOL_A_STATS_ETH_MAC_6_FCS_ERR] = 7;
  auto const sut = published(kernelCounts(link, {.stats = &mac}));
  EXPECT_EQ(sut.eth[EthCounter::fcsErrors], 7u);
  EXPECT_EQ(sut.eth[EthCounter::alignmentErrors], 1u);
  EXPECT_EQ(sut.eth[EthCounter::internalMacReceiveErrors], 1u);
}

TEST(KernelCounts, InternalErrorsOfTheMacAreAtLeastWhatItSays) {
  MacStats mac;
  mac.mac[ETHTOOL_A_STATS_ETH_MAC_15_RX_INT_ERR] = 4;
  mac.mac[ETHTOOL_A_STATS_ETH_MAC_12_TX_INT_ERR] = 5;
  auto const sut = published(kernelCounts({}, {.stats = &mac}));
  EXPECT_EQ(sut.eth[EthCounter::internalMacReceiveErrors], 4u);
  EXPECT_EQ(sut.eth[EthCounter::internalMacTransmitErrors], 5u);
}

TEST(KernelCounts, ShortFramesAreCountedOnlyBesideACounterOfLongOnes) {
  rtnl_link_stats64 link{};
  link.rx_errors = 10;
  link.rx_length_errors = 10;  // of both kinds
  MacStats mac;
  mac.rmon[ETHTOOL_A_STATS_RMON_UNDERSIZE] = 4;
  auto const without = published(kernelCounts(link, {.stats = &mac}));
  EXPECT_EQ(without.eth[EthCounter::frameTooShorts], 0u);
  EXPECT_EQ(without.intf.inErrors, 10u);

  mac.rmon[ETHTOOL_A_STATS_RMON_OVERSIZE] = 6;
  auto const with = published(kernelCounts(link, {.stats = &mac}));
  EXPECT_EQ(with.eth[EthCounter::frameTooShorts], 4u);
  EXPECT_EQ(with.eth[EthCounter::frameTooLongs], 6u);
  EXPECT_EQ(with.intf.inErrors, 10u);
}

TEST(KernelCounts, SizeClassesAreFilledFromTheBucketsWithinThem) {
  MacStats mac;
  mac.inSizes = {{0, 64, 1},      {65, 127, 2},    {128, 255, 3},   {256, 511, 4},  {512, 1023, 5},
                 {1024, 1518, 6}, {1519, 2047, 7}, {2048, 4095, 8}, {4096, 9216, 9}};
  auto const sut = published(kernelCounts({}, {.stats = &mac}));
  EXPECT_EQ(sut.eth[EthCounter::in64Octets], 1u);
  EXPECT_EQ(sut.eth[EthCounter::in65To127Octets], 2u);
  EXPECT_EQ(sut.eth[EthCounter::in512To1023Octets], 5u);
  EXPECT_EQ(sut.eth[EthCounter::in1024To1518Octets], 6u);
  EXPECT_EQ(sut.eth[EthCounter::in1519ToMaxOctets], 24u);
  EXPECT_EQ(sut.eth[EthCounter::out64Octets], 0u);
}

TEST(KernelCounts, BucketThatStraddlesClassesTellsNothingOfThem) {
  MacStats mac;
  mac.inSizes = {{0, 64, 1}, {1024, 9216, 6}};
  auto const counts = kernelCounts({}, {.stats = &mac});
  EXPECT_TRUE(counts.known.contains(portField(EthCounter::in64Octets)));
  EXPECT_FALSE(counts.known.contains(portField(EthCounter::in1024To1518Octets)));
  EXPECT_FALSE(counts.known.contains(portField(EthCounter::in1519ToMaxOctets)));
}

TEST(KernelCounts, MacThatCouldNotBeReadLeavesWhatItMightChangeUnknown) {
  auto const counts = kernelCounts(busyLink(), {.unavailable = true});
  EXPECT_TRUE(counts.known.contains(PortField::inOctets));
  EXPECT_TRUE(counts.known.contains(PortField::inPkts));
  EXPECT_FALSE(counts.known.contains(PortField::inMulticastPkts));
  EXPECT_FALSE(counts.known.contains(PortField::inErrors));
  EXPECT_FALSE(counts.known.contains(portField(EthCounter::fcsErrors)));
}

TEST(UnsupportedCounters, LinkWithoutMacCountersHasNoBroadcastsSizesOrPauses) {
  auto const sut = unsupportedCounters(kernelCounts({}, {}).known, "");
  for (auto name : {"inBroadcastPkts", "outMulticastPkts", "outBroadcastPkts", "inUnknownProtos",
                    "frameTooShorts", "symbolErrors", "in64Octets", "out1519ToMaxOctets",
                    "inPauseFrames", "inPfcFrames", "fecCodewordErrors"})
    EXPECT_TRUE(sut.contains(name)) << name;
  for (auto name : {"inOctets", "inUcastPkts", "inMulticastPkts", "inErrors", "outErrors",
                    "inDiscards", "fcsErrors", "internalMacReceiveErrors", "carrierSenseErrors"})
    EXPECT_FALSE(sut.contains(name)) << name;
}

TEST(UnsupportedCounters, VethCountsNoMulticast) {
  EXPECT_TRUE(unsupportedCounters(kernelCounts({}, {}).known, "veth").contains("inMulticastPkts"));
}

TEST(UnsupportedCounters, WhatTheMacCountsIsSupported) {
  MacStats mac;
  mac.mac[ETHTOOL_A_STATS_ETH_MAC_19_TX_BCAST] = 0;
  mac.inSizes = {{0, 64, 0}};
  mac.inPauseFrames = 0;
  auto const sut = unsupportedCounters(kernelCounts({}, {.stats = &mac}).known, "");
  EXPECT_FALSE(sut.contains("outBroadcastPkts"));
  EXPECT_FALSE(sut.contains("in64Octets"));
  EXPECT_FALSE(sut.contains("inPauseFrames"));
  EXPECT_TRUE(sut.contains("outPauseFrames"));
}

TEST(PortTotals, StatisticsReadBackAreTheTotals) {
  PortTotals totals;
  for (std::size_t i = 0; i < kPortFields; ++i) totals.counts[i] = i + 1;
  totals[PortField::inPkts] = totals[PortField::outPkts] = 1000;
  totals[PortField::inErrors] = totals[PortField::outErrors] = 2000;
  totals[portField(EthCounter::internalMacReceiveErrors)] = 0;  // have no field
  totals[portField(EthCounter::internalMacTransmitErrors)] = 0;
  Published all;
  writeStatistics(totals, all.intf, all.eth);
  EXPECT_EQ(readStatistics(all.intf, all.eth), totals);
}

TEST(PortTotals, PartThatRunsAheadWaitsForItsTotal) {
  PortTotals shown;
  shown[PortField::inPkts] = 100;
  shown[PortField::inMulticastPkts] = 10;
  PortTotals counted = shown;
  counted[PortField::inMulticastPkts] = 13;  // its packets are not in the total yet
  counted[PortField::inPkts] = 101;
  advanceShown(shown, counted);
  EXPECT_EQ(shown[PortField::inMulticastPkts], 11u);
  EXPECT_EQ(remainder(shown, kPortSplits[0]), 90u);  // unicast has not fallen

  counted[PortField::inPkts] = 105;
  advanceShown(shown, counted);
  EXPECT_EQ(shown[PortField::inMulticastPkts], 13u);
  EXPECT_EQ(remainder(shown, kPortSplits[0]), 92u);
}

}  // namespace
}  // namespace Hardware::Linux
