#include "hardware/linux/kernel_counts.h"

#include <algorithm>
#include <array>
#include <optional>

namespace Hardware::Linux {
namespace {

using Interface::EthCounter;
using Count = MacStats::Count;

struct SizeClass {
  std::uint32_t low;
  std::uint32_t high;
  EthCounter in;
  EthCounter out;
};
// RFC 2819's classes, and one for what is larger. A tag makes a frame of 1518 octets one of 1522,
// and drivers differ in where they count it.
constexpr std::uint32_t kUnlimited = ~0U;
constexpr std::array<SizeClass, 7> kSizeClasses{{
    {0, 64, EthCounter::in64Octets, EthCounter::out64Octets},
    {65, 127, EthCounter::in65To127Octets, EthCounter::out65To127Octets},
    {128, 255, EthCounter::in128To255Octets, EthCounter::out128To255Octets},
    {256, 511, EthCounter::in256To511Octets, EthCounter::out256To511Octets},
    {512, 1023, EthCounter::in512To1023Octets, EthCounter::out512To1023Octets},
    {1024, 1522, EthCounter::in1024To1518Octets, EthCounter::out1024To1518Octets},
    {1519, kUnlimited, EthCounter::in1519ToMaxOctets, EthCounter::out1519ToMaxOctets},
}};

class Reading {
 public:
  void set(PortField field, std::uint64_t count) { counts.set(field, count); }
  void set(EthCounter counter, std::uint64_t count) { set(portField(counter), count); }
  void set(PortField field, Count const& count) {
    if (count) set(field, *count);
  }
  void set(EthCounter counter, Count const& count) { set(portField(counter), count); }

  // A bucket that straddles two classes tells nothing of either.
  void setSizes(std::vector<MacStats::SizeBucket> const& buckets, EthCounter SizeClass::*counter) {
    for (auto const& bucket : buckets) {
      for (SizeClass const& size : kSizeClasses) {
        if (bucket.low < size.low || bucket.high > size.high) continue;
        PortField const field = portField(size.*counter);
        set(field, counts.totals[field] + bucket.frames);
        break;
      }
    }
  }

  void setErrorTotal(PortSplit const& split, std::uint64_t kernelTotal, Count const& internal) {
    std::uint64_t classes = internal.value_or(0);
    for (std::size_t i = 0; i < split.partCount; ++i) classes += counts.totals[split.parts[i]];
    set(split.total, std::max(kernelTotal, classes));
  }

  KernelCounts counts;
};

void readErrors(Reading& reading, rtnl_link_stats64 const& link, MacStats const& mac) {
  auto const& m = mac.mac;
  reading.set(EthCounter::alignmentErrors,
              m[ETHTOOL_A_STATS_ETH_MAC_7_ALIGN_ERR].value_or(link.rx_frame_errors));
  reading.set(EthCounter::fcsErrors,
              m[ETHTOOL_A_STATS_ETH_MAC_6_FCS_ERR].value_or(link.rx_crc_errors));
  Count tooLong = m[ETHTOOL_A_STATS_ETH_MAC_25_TOO_LONG_ERR];
  if (!tooLong) tooLong = mac.rmon[ETHTOOL_A_STATS_RMON_OVERSIZE];
  reading.set(EthCounter::frameTooLongs, tooLong.value_or(link.rx_length_errors));
  // The kernel's length errors are of both kinds: beside them, short frames would count twice.
  if (tooLong) reading.set(EthCounter::frameTooShorts, mac.rmon[ETHTOOL_A_STATS_RMON_UNDERSIZE]);
  reading.setErrorTotal(kPortSplits[2], link.rx_errors, m[ETHTOOL_A_STATS_ETH_MAC_15_RX_INT_ERR]);

  reading.set(EthCounter::sqeTestErrors, link.tx_heartbeat_errors);
  reading.set(EthCounter::lateCollisions,
              m[ETHTOOL_A_STATS_ETH_MAC_10_LATE_COL].value_or(link.tx_window_errors));
  reading.set(EthCounter::excessiveCollisions,
              m[ETHTOOL_A_STATS_ETH_MAC_11_XS_COL].value_or(link.tx_aborted_errors));
  reading.set(EthCounter::carrierSenseErrors,
              m[ETHTOOL_A_STATS_ETH_MAC_13_CS_ERR].value_or(link.tx_carrier_errors));
  reading.setErrorTotal(kPortSplits[3], link.tx_errors, m[ETHTOOL_A_STATS_ETH_MAC_12_TX_INT_ERR]);
}

void readMac(Reading& reading, MacStats const& mac) {
  auto const& m = mac.mac;
  reading.set(PortField::inBroadcastPkts, m[ETHTOOL_A_STATS_ETH_MAC_22_RX_BCAST]);
  reading.set(PortField::outMulticastPkts, m[ETHTOOL_A_STATS_ETH_MAC_18_TX_MCAST]);
  reading.set(PortField::outBroadcastPkts, m[ETHTOOL_A_STATS_ETH_MAC_19_TX_BCAST]);
  reading.set(EthCounter::symbolErrors, mac.phy[ETHTOOL_A_STATS_ETH_PHY_5_SYM_ERR]);
  reading.set(EthCounter::singleCollisionFrames, m[ETHTOOL_A_STATS_ETH_MAC_3_SINGLE_COL]);
  reading.set(EthCounter::multipleCollisionFrames, m[ETHTOOL_A_STATS_ETH_MAC_4_MULTI_COL]);
  reading.set(EthCounter::deferredTransmissions, m[ETHTOOL_A_STATS_ETH_MAC_9_TX_DEFER]);
  reading.set(EthCounter::inUnknownOpcodes, mac.control[ETHTOOL_A_STATS_ETH_CTRL_5_RX_UNSUP]);
  reading.set(EthCounter::inMacControlFrames, mac.control[ETHTOOL_A_STATS_ETH_CTRL_4_RX]);
  reading.set(EthCounter::outMacControlFrames, mac.control[ETHTOOL_A_STATS_ETH_CTRL_3_TX]);
  reading.set(EthCounter::inPauseFrames, mac.inPauseFrames);
  reading.set(EthCounter::outPauseFrames, mac.outPauseFrames);
  reading.set(EthCounter::inFragments, mac.rmon[ETHTOOL_A_STATS_RMON_FRAG]);
  reading.set(EthCounter::inJabbers, mac.rmon[ETHTOOL_A_STATS_RMON_JABBER]);
  reading.setSizes(mac.inSizes, &SizeClass::in);
  reading.setSizes(mac.outSizes, &SizeClass::out);
}

void readPackets(Reading& reading, rtnl_link_stats64 const& link) {
  reading.set(PortField::inOctets, link.rx_bytes);
  reading.set(PortField::inPkts, link.rx_packets);
  reading.set(PortField::outOctets, link.tx_bytes);
  reading.set(PortField::outPkts, link.tx_packets);
  reading.set(PortField::inDiscards, link.rx_dropped + link.rx_missed_errors);
  reading.set(PortField::outDiscards, link.tx_dropped);
}

// Devices of software that keep packets and octets alone.
constexpr std::array<std::string_view, 11> kKindsWithoutMulticast{
    "bridge", "dummy", "geneve", "gretap", "ifb",  "ip6gretap",
    "netkit", "tun",   "veth",   "vrf",    "vxlan"};

}  // namespace

KernelCounts kernelCounts(rtnl_link_stats64 const& link, MacReading const& mac) {
  Reading reading;
  readPackets(reading, link);
  if (mac.unavailable) return reading.counts;

  static MacStats const kNone;
  MacStats const& stats = mac.stats ? *mac.stats : kNone;
  reading.set(PortField::inMulticastPkts,
              stats.mac[ETHTOOL_A_STATS_ETH_MAC_21_RX_MCAST].value_or(link.multicast));
  readErrors(reading, link, stats);
  readMac(reading, stats);
  return reading.counts;
}

KernelCounts vlanCounts(rtnl_link_stats64 const& link) {
  Reading reading;
  readPackets(reading, link);
  reading.set(PortField::inMulticastPkts, link.multicast);
  reading.set(PortField::inErrors, link.rx_errors);
  reading.set(PortField::outErrors, link.tx_errors);
  return reading.counts;
}

Interface::CounterSet unsupportedCounters(PortFields known, std::string_view kind) {
  Interface::CounterSet unsupported;
  bool const multicast = std::find(kKindsWithoutMulticast.begin(), kKindsWithoutMulticast.end(),
                                   kind) == kKindsWithoutMulticast.end();
  if (!multicast) unsupported.insert("inMulticastPkts");
  if (!known.contains(PortField::inBroadcastPkts)) unsupported.insert("inBroadcastPkts");
  if (!known.contains(PortField::outMulticastPkts)) unsupported.insert("outMulticastPkts");
  if (!known.contains(PortField::outBroadcastPkts)) unsupported.insert("outBroadcastPkts");
  unsupported.insert("inUnknownProtos");
  for (std::size_t i = 0; i < Interface::kEthCounters; ++i) {
    auto const counter = static_cast<EthCounter>(i);
    bool const isRemainder = counter == EthCounter::internalMacReceiveErrors ||
                             counter == EthCounter::internalMacTransmitErrors;
    if (!isRemainder && !known.contains(portField(counter))) unsupported.insert(name(counter));
  }
  for (std::string_view const array : Interface::kEthArrayNames) unsupported.insert(array);
  return unsupported;
}

}  // namespace Hardware::Linux
