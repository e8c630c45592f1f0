// Registers the unit's types with the framework while the library is loaded.
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

Kel::UnitTypes const types{&VlanIntfCountersSm::_kelType,
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

}  // namespace
}  // namespace Oru::Counters
