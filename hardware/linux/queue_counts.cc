#include "hardware/linux/queue_counts.h"

#include <linux/pkt_sched.h>

#include <algorithm>

#include "platform/interface/intf_description.h"

namespace Hardware::Linux {
namespace {

std::uint32_t major(std::uint32_t handle) { return handle & TC_H_MAJ_MASK; }
std::uint32_t minor(std::uint32_t handle) { return handle & TC_H_MIN_MASK; }

bool counts(Qdisc const& qdisc) {
  return qdisc.counts && (qdisc.kind == QdiscKind::other || qdisc.kind == QdiscKind::queues);
}

}  // namespace

QueueReading queueReading(std::span<Qdisc const> qdiscs, std::uint32_t txQueues) {
  QueueReading reading;
  auto const root = std::find_if(qdiscs.begin(), qdiscs.end(),
                                 [](Qdisc const& qdisc) { return qdisc.parent == TC_H_ROOT; });
  if (root == qdiscs.end()) return reading;
  if (root->kind == QdiscKind::queues) {
    for (Qdisc const& child : qdiscs)
      if (major(child.parent) == major(root->handle) && minor(child.parent) != 0 && counts(child))
        // With another root its children are others too.
        reading.queues.push_back(
            {minor(child.parent) - 1, child.source + 31 * root->source, *child.counts});
  } else if (counts(*root)) {
    reading.together = QueueReading::Queue{0, root->source, *root->counts};
    if (txQueues == 1) reading.queues.push_back(*reading.together);
  }
  return reading;
}

std::uint32_t unsupportedQueueCounters(QueueReading const& reading) {
  using namespace Interface;
  // Of single queues, and of all of them together.
  static_assert(kQueueCounterNames[3] == "dropOctets");
  constexpr std::uint32_t kDropOctets = 1U << 3 | 1U << (kQueueCounterNames.size() + 3);
  return kDropOctets | (reading.countsQueues() ? 0 : kNoSingleQueues) |
         (reading.countsTogether() ? 0 : kNoQueuesTogether);
}

std::optional<QdiscCounts> filterCounts(std::span<Qdisc const> qdiscs) {
  for (Qdisc const& qdisc : qdiscs)
    if (qdisc.kind == QdiscKind::filters && qdisc.parent == TC_H_INGRESS) return qdisc.counts;
  return std::nullopt;
}

}  // namespace Hardware::Linux
