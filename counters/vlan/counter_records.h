// The sample that travels from the helper to the VLAN counters.
#pragma once

#include "platform/bridging/vlan_counter.h"
#include "platform/kel/ptr_interface.h"

namespace OruTypes {

// One sample of a VLAN. All zeros when new.
class VlanCounters : public Kel::PtrInterface {
 public:
  explicit VlanCounters(Bridging::VlanId vlanId) : _vlanId(vlanId) {}

  Bridging::VlanId vlanId() const { return _vlanId; }
  Bridging::VlanCounts const& counts() const { return _counts; }
  void countsIs(Bridging::VlanCounts const& counts) { _counts = counts; }

 private:
  Bridging::VlanId const _vlanId;
  Bridging::VlanCounts _counts;
};

}  // namespace OruTypes
