// The counters of an interface's transmit queues, as views show them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "reader/counters.h"
#include "reader/snapshot.h"

namespace Show {

// In the order of Interface::kQueueCounterNames. Nothing where the chip cannot count it, and where
// nothing was counted yet.
using QueueValues = std::array<std::optional<std::uint64_t>, Interface::kQueueCounterNames.size()>;

struct Queue {
  std::uint32_t first = 0;
  std::uint32_t last = 0;  // beyond `first` where a row has no room for all: these are one sum
  OruTypes::QueueType type = OruTypes::QueueType::unicast;
  QueueValues values;

  bool isSum() const { return last > first; }
};

// In the order of their indices; none without a row.
std::vector<Queue> queues(Intf const& intf, Basis basis);

// Whether the chip counts all queues of the interface together, by themselves.
bool queuesAreCountedTogether(Intf const& intf);
QueueValues allQueues(Intf const& intf, Basis basis);

// "unicast" or "multicast"; empty for what is neither.
std::string_view name(OruTypes::QueueType type);

}  // namespace Show
