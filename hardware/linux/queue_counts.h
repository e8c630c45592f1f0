#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "hardware/linux/qdisc_stats.h"

namespace Hardware::Linux {

/// One reading of a link's queues: what the kernel counts of them, as far as it does.
struct QueueReading {
  struct Queue {
    std::uint32_t number = 0;  // of the transmit queue, from 0; may exceed what a row has
    std::uint64_t source = 0;
    QdiscCounts counts;
  };
  /// The queues that are counted singly, in any order.
  std::vector<Queue> queues;
  /// All queues together, where they are counted so and not as the sum of `queues`.
  std::optional<Queue> together;

  bool countsQueues() const { return !queues.empty(); }
  bool countsTogether() const { return !queues.empty() || together; }
};

/// With a root of the kind mq each child counts one queue, and together they are what the link
/// counts. Any other root counts all queues together, and its one queue where the link has but one;
/// noqueue counts nothing.
QueueReading queueReading(std::span<Qdisc const> qdiscs, std::uint32_t txQueues);

/// The queue counters that are not counted: bits of `Interface::kQueueCounterNames`. The kernel
/// counts no octets of dropped packets.
std::uint32_t unsupportedQueueCounters(QueueReading const& reading);

/// What the filters at a link's ingress and egress (clsact, ingress) have dropped and passed; none
/// if the link has no such discipline.
std::optional<QdiscCounts> filterCounts(std::span<Qdisc const> qdiscs);

}  // namespace Hardware::Linux
