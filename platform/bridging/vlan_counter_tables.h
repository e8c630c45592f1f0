// The tables that an agent publishes, by VLAN. Their operations are those of Glim::Collection under
// the names that their writers use.
#pragma once

#include "platform/bridging/vlan_counter.h"
#include "platform/glim/collection.h"

namespace Bridging {

// The names of the tables within the agent's directory.
inline constexpr std::string_view kVlanCounters = "vlanCounters";
inline constexpr std::string_view kVlanCounterSnapshots = "vlanCounterSnapshots";

}  // namespace Bridging

namespace Glim::Bridging {

// The VLAN's row; for an absent one, the VLAN's empty record.
template <class Table>
VlanCounter rowOf(Table& table, ::Bridging::VlanId vlanId) {
  VlanCounter row;
  bool found = false;
  table.safeLookup(vlanId, found, row);
  return found ? row : VlanCounter(vlanId);
}

// Counters of the VLANs.
class VlanCounterDir : public Glim::Collection<VlanCounter> {
 public:
  using Collection::Collection;

  void vlanCounterIs(VlanCounter const& counter) { write(counter); }
  VlanCounter vlanCounter(::Bridging::VlanId vlanId) { return rowOf(*this, vlanId); }
  void vlanCounterDel(::Bridging::VlanId vlanId) { remove(vlanId); }
  void vlanCounterCommit(Slot const& slot) { commit(slot); }
};

// The same counters as they stood when a VLAN was last cleared.
class VlanCounterSnapshotDir : public Glim::Collection<VlanCounter> {
 public:
  using Collection::Collection;

  void vlanCounterSnapshotIs(VlanCounter const& counter) { write(counter); }
  VlanCounter vlanCounterSnapshot(::Bridging::VlanId vlanId) { return rowOf(*this, vlanId); }
  void vlanCounterSnapshotDel(::Bridging::VlanId vlanId) { remove(vlanId); }
  void vlanCounterSnapshotCommit(Slot const& slot) { commit(slot); }
};

}  // namespace Glim::Bridging
