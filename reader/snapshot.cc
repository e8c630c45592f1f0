#include "reader/snapshot.h"

#include <algorithm>

namespace Show {

bool wasRead(Snapshot const& snapshot, Table table) {
  auto const read = snapshot.tables.find(table);
  return read != snapshot.tables.end() && read->second.answer == Glim::Answer::ok;
}

IntfKind kindOf(Pekt::IntfId const& intfId) {
  if (Pekt::VlanIntfId::isVlanIntfId(intfId)) return IntfKind::vlan;
  return Pekt::CpuIntfId::isCpuIntfId(intfId) ? IntfKind::cpuPort : IntfKind::ethernet;
}

std::optional<double> ageOf(Snapshot const& snapshot, double time) {
  return time > 0.0 ? std::optional(std::max(0.0, snapshot.now - time)) : std::nullopt;
}

std::optional<double> age(Snapshot const& snapshot, Intf const& intf) {
  Interface::IntfStatistics const* const statistics = intf.statistics();
  return statistics ? ageOf(snapshot, statistics->lastUpdate) : std::nullopt;
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
