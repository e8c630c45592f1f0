#include "reader/snapshot.h"

#include <algorithm>

namespace Show {

namespace {

// Rows begin with a 0, which is no time.
std::optional<double> timeOf(double lastUpdate) {
  return lastUpdate > 0.0 ? std::optional(lastUpdate) : std::nullopt;
}

}  // namespace

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
  return intf.atLastClear ? timeOf(intf.atLastClear->statistics.lastUpdate) : std::nullopt;
}
std::optional<double> cleared(Vlan const& vlan) {
  return vlan.atLastClear ? timeOf(vlan.atLastClear->lastUpdate) : std::nullopt;
}

bool anyCleared(Snapshot const& snapshot) {
  auto const any = [](auto const& items) {
    return std::any_of(items.begin(), items.end(),
                       [](auto const& item) { return cleared(item).has_value(); });
  };
  return any(snapshot.interfaces) || any(snapshot.vlans);
}

}  // namespace Show
