// The tables that an agent publishes, by VLAN. Their operations are those of Glim::Collection under
// the names that their writers use.
#pragma once

#include "platform/bridging/vlan_counter.h"
#include "platform/bridging/vlan_description.h"
#include "platform/glim/collection.h"

namespace Bridging {

// The names of the tables within the agent's directory.
inline constexpr std::string_view kVlanCounters = "vlanCounters";
inline constexpr std::string_view kVlanCounterSnapshots = "vlanCounterSnapshots";
inline constexpr std::string_view kVlanDescriptions = "vlanDescriptions";

// What the agent says of each VLAN.
class AllVlanDescription : public Glim::Collection<VlanDescription> {
 public:
  using Collection::Collection;

  void descriptionIs(VlanDescription const& description) { write(description); }
  void descriptionDel(VlanId vlanId) { remove(vlanId); }
};

}  // namespace Bridging

namespace Glim::Bridging {

// Counters of the VLANs.
class VlanCounterDir : public Glim::Collection<VlanCounter> {
 public:
  using Collection::Collection;

  void vlanCounterIs(VlanCounter const& counter) { write(counter); }
  // The row; for an absent one, the VLAN's empty record.
  VlanCounter vlanCounter(::Bridging::VlanId vlanId) { return rowOf(vlanId); }
  void vlanCounterDel(::Bridging::VlanId vlanId) { remove(vlanId); }
  void vlanCounterCommit(Slot const& slot) { commit(slot); }
};

// The same counters as they stood when a VLAN was last cleared.
class VlanCounterSnapshotDir : public Glim::Collection<VlanCounter> {
 public:
  using Collection::Collection;

  void vlanCounterSnapshotIs(VlanCounter const& counter) { write(counter); }
  // The row; for an absent one, the VLAN's empty record.
  VlanCounter vlanCounterSnapshot(::Bridging::VlanId vlanId) { return rowOf(vlanId); }
  void vlanCounterSnapshotDel(::Bridging::VlanId vlanId) { remove(vlanId); }
  void vlanCounterSnapshotCommit(Slot const& slot) { commit(slot); }
};

}  // namespace Glim::Bridging
