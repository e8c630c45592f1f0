// The tables that an agent publishes, by VLAN. Their operations are those of Glim::Collection under
// the names that their writers use.
#pragma once

#include "platform/bridging/vlan_counter.h"
#include "platform/glim/collection.h"

namespace Glim::Bridging {

// Counters of the VLANs.
class VlanCounterDir : public Glim::Collection<VlanCounter> {
 public:
  using Collection::Collection;

  void vlanCounterIs(VlanCounter const& counter) { write(counter); }
  void vlanCounterDel(::Bridging::VlanId vlanId) { remove(vlanId); }
  void vlanCounterCommit(Slot const& slot) { commit(slot); }
};

// The same counters as they stood when a VLAN was last cleared.
class VlanCounterSnapshotDir : public Glim::Collection<VlanCounter> {
 public:
  using Collection::Collection;

  void vlanCounterSnapshotIs(VlanCounter const& counter) { write(counter); }
  void vlanCounterSnapshotDel(::Bridging::VlanId vlanId) { remove(vlanId); }
  void vlanCounterSnapshotCommit(Slot const& slot) { commit(slot); }
};

}  // namespace Glim::Bridging
