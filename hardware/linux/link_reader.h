#pragma once

#include <functional>
#include <optional>
#include <span>

#include "hardware/linux/ethtool_stats.h"
#include "hardware/linux/kernel_counts.h"
#include "hardware/linux/link.h"
#include "hardware/linux/link_stats.h"
#include "hardware/linux/qdisc_stats.h"
#include "hardware/linux/queue_counts.h"
#include "platform/kel/system.h"

namespace Hardware::Linux {

/// What the kernel counts of links at the present tick, read once for all that ask at it. No value:
/// the link is gone, or could not be read.
class LinkReader {
 public:
  /// What is given by reference must outlive it. `now` is the agent's clock.
  LinkReader(LinkStatsSource& links, MacStatsSource& macs, QdiscSource& qdiscs,
             std::function<Kel::Seconds()> now);

  /// As a port, and as a VLAN interface.
  std::optional<KernelCounts> port(int ifindex);
  std::optional<KernelCounts> vlan(int ifindex);
  /// Whether the link's MAC may keep counters that could not be read.
  bool macIsUnread(int ifindex);

  std::optional<std::span<Qdisc const>> qdiscs(int ifindex);
  std::optional<QueueReading> queues(Link const& link);

  /// The link is news: its driver may count more than it did before.
  void forget(int ifindex);

 private:
  rtnl_link_stats64 const* stats(int ifindex);

  LinkStatsSource& _links;
  MacStatsSource& _macs;
  QdiscSource& _qdiscs;
  std::function<Kel::Seconds()> const _now;
};

}  // namespace Hardware::Linux
