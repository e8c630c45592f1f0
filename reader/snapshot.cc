#include "reader/snapshot.h"

#include <algorithm>

namespace Show {

bool wasRead(Snapshot const& snapshot, Table table) {
  auto const read = snapshot.tables.find(table);
  return read != snapshot.tables.end() && read->second.answer == Glim::Answer::ok;
}

std::optional<double> age(Snapshot const& snapshot, Intf const& intf) {
  if (!intf.counters || !(intf.counters->statistics.lastUpdate > 0.0)) return std::nullopt;
  return std::max(0.0, snapshot.now - intf.counters->statistics.lastUpdate);
}

std::optional<double> cleared(Intf const& intf) {
  if (!intf.atLastClear || !(intf.atLastClear->statistics.lastUpdate > 0.0)) return std::nullopt;
  return intf.atLastClear->statistics.lastUpdate;
}

bool anyCleared(Snapshot const& snapshot) {
  return std::any_of(snapshot.interfaces.begin(), snapshot.interfaces.end(),
                     [](Intf const& intf) { return cleared(intf).has_value(); });
}

}  // namespace Show
