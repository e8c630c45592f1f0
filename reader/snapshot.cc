#include "reader/snapshot.h"

#include <algorithm>

namespace Show {

std::optional<double> age(Snapshot const& snapshot, Intf const& intf) {
  if (!intf.counters || !(intf.counters->statistics.lastUpdate > 0.0)) return std::nullopt;
  return std::max(0.0, snapshot.now - intf.counters->statistics.lastUpdate);
}

}  // namespace Show
