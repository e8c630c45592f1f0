#pragma once

#include <linux/if_link.h>

#include <string_view>

#include "hardware/linux/ethtool_stats.h"
#include "hardware/linux/port_totals.h"
#include "platform/interface/intf_description.h"

namespace Hardware::Linux {

/// One reading of a link in the terms of a port: what the kernel counts, and which fields it counts
/// at all on this link.
struct KernelCounts {
  PortTotals totals;
  PortFields known;

  void set(PortField field, std::uint64_t count) {
    totals[field] = count;
    known.insert(field);
  }
};

/// The mapping of the kernel's counters.
///
/// From the standard link counters (struct rtnl_link_stats64): octets, packets, received multicast;
/// discards are `rx_dropped + rx_missed_errors` and `tx_dropped`; receive error classes are
/// `rx_frame_errors` (alignment), `rx_crc_errors` (FCS) and `rx_length_errors` (too long), transmit
/// error classes `tx_heartbeat_errors` (SQE test), `tx_window_errors` (late collisions),
/// `tx_aborted_errors` (excessive collisions) and `tx_carrier_errors` (carrier sense).
/// A MAC that keeps its own counters replaces these class by class and adds what the kernel lacks.
/// An error total is what the kernel counts as errors, and at least the sum of its classes, which
/// some drivers leave out of it; the rest beyond the classes (FIFO overruns and the like) is the
/// MAC's internal error.
///
/// If the MAC has counters that could not be read just now, every field that they might change is
/// unknown in this reading.
KernelCounts kernelCounts(rtnl_link_stats64 const& link, MacReading const& mac);

/// The same of a VLAN interface, whose row has no counters of a MAC: the errors are the kernel's
/// totals.
KernelCounts vlanCounts(rtnl_link_stats64 const& link);

/// The published counters that are not counted on a link: a reader shows them as not available,
/// where a zero would be a lie. `kind` is the link's kind; some software devices count no
/// multicast. Where packets are not told apart by kind, all count as unicast.
Interface::CounterSet unsupportedCounters(PortFields known, std::string_view kind);

}  // namespace Hardware::Linux
