// Registers the unit's types with the framework when the library is loaded.
//
// This file is linked into the shared object itself: in a static library the
// linker would drop it, since nothing refers to it.
#include "counters/copp/copp_type_sm.h"
#include "counters/counters_sm.h"
#include "counters/pollers/cpu_port_counters_sm.h"
#include "counters/pollers/intf_acl_drop_counters_sm.h"
#include "counters/pollers/intf_queue_counters_sm.h"
#include "counters/pollers/port_counters_sm.h"
#include "counters/pollers/vlan_intf_counters_sm.h"
#include "counters/vlan/vlan_counters_sm.h"

namespace Oru::Counters {
namespace {

struct Unit {
  Kel::String const ns = "ns-";

  static constexpr Kel::TypeNode const* kTypes[] = {&VlanIntfCountersSm::_kelType,
                                                    &CountersCoppTypeSm::_kelType,
                                                    &CountersDynamicCoppSm::_kelType,
                                                    &CpuPortCountersSm::_kelType,
                                                    &IntfAclDropCountersSm::_kelType,
                                                    &IntfQueueCountersSm::_kelType,
                                                    &PortCountersSm::_kelType,
                                                    &VlanCountersSm::_kelType,
                                                    &CountersDynamicCoppTypeSm::_kelType,
                                                    &CountersSm::_kelType,
                                                    &CountersCoppSm::_kelType};

  Unit() {
    for (auto const* type : kTypes) Kel::typeNodeIs(*type);
  }
  ~Unit() {
    for (auto const* type : kTypes) Kel::typeNodeDel(*type);
  }
  Unit(Unit const&) = delete;
  Unit& operator=(Unit const&) = delete;
};
Unit const unit;

}  // namespace
}  // namespace Oru::Counters
