#include "reader/queue_counters.h"

#include <algorithm>

namespace Show {

namespace {

using Interface::QueueCounter::IntfQueueStats;
using Interface::QueueCounter::QueueCounts;
using Interface::QueueCounter::QueueIndex;

constexpr std::array kMembers{&QueueCounts::pkts, &QueueCounts::octets, &QueueCounts::dropPkts,
                              &QueueCounts::dropOctets};
static_assert(kMembers.size() == Interface::kQueueCounterNames.size());

std::uint32_t unsupported(Intf const& intf) {
  return intf.description ? intf.description->unsupportedQueue : 0;
}

// Before the first sample a row holds zeros that nobody counted. A queue row bears no time: it is
// sampled with the interface's row of counters.
bool neverSampled(Intf const& intf) {
  return intf.counters && !(intf.counters->statistics.lastUpdate > 0.0);
}

QueueValues values(Intf const& intf, QueueCounts const& counts, QueueCounts const& clear,
                   std::uint32_t unsupportedBits) {
  QueueValues values;
  if (neverSampled(intf)) return values;
  for (std::size_t i = 0; i < kMembers.size(); ++i)
    if ((unsupportedBits >> i & 1) == 0) values[i] = since(counts.*kMembers[i], clear.*kMembers[i]);
  return values;
}

// The row at the clear, where it is to be taken away.
Intf::Queues const* rowAtClear(Intf const& intf, Basis basis) {
  return basis == Basis::sinceClear && intf.queuesAtLastClear ? &*intf.queuesAtLastClear : nullptr;
}

// Whatever a row claims, it has room for so many.
std::uint32_t sizeOf(IntfQueueStats const& queues) {
  return std::min(queues.size(), IntfQueueStats::kCapacity);
}

QueueCounts countsAt(IntfQueueStats const& queues, std::uint32_t index) {
  return index < sizeOf(queues) ? queues[QueueIndex(index)].counts : QueueCounts();
}

}  // namespace

std::vector<Queue> queues(Intf const& intf, Basis basis) {
  std::vector<Queue> all;
  if (!intf.queues) return all;
  IntfQueueStats const& now = intf.queues->statistics;
  Intf::Queues const* const clear = rowAtClear(intf, basis);
  std::uint32_t const size = sizeOf(now);
  for (std::uint32_t i = 0; i < size; ++i) {
    auto const before = clear ? countsAt(clear->statistics, i) : QueueCounts();
    all.push_back({.first = i,
                   .last = i,
                   .type = now[QueueIndex(i)].queueType,
                   .values = values(intf, countsAt(now, i), before, unsupported(intf))});
  }
  std::uint32_t const real = intf.description ? intf.description->txQueues : 0;
  if (size == IntfQueueStats::kCapacity && real > size) all.back().last = real - 1;
  return all;
}

bool queuesAreCountedTogether(Intf const& intf) {
  return intf.queues &&
         (unsupported(intf) & Interface::kNoQueuesTogether) != Interface::kNoQueuesTogether;
}

QueueValues allQueues(Intf const& intf, Basis basis) {
  if (!intf.queues) return {};
  Intf::Queues const* const clear = rowAtClear(intf, basis);
  return values(intf, intf.queues->intfCounts, clear ? clear->intfCounts : QueueCounts(),
                unsupported(intf) >> Interface::kQueueCounterNames.size());
}

std::string_view name(OruTypes::QueueType type) {
  switch (type) {
    case OruTypes::QueueType::unicast:
      return "unicast";
    case OruTypes::QueueType::multicast:
      return "multicast";
  }
  return {};
}

}  // namespace Show
