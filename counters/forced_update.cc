// Forced updates: one poll of one poller, now.
#include <ostream>

#include "counters/counters_sm.h"
#include "counters/pollers/cpu_port_counters_sm.h"
#include "counters/pollers/intf_acl_drop_counters_sm.h"
#include "counters/pollers/intf_queue_counters_sm.h"
#include "counters/pollers/port_counters_sm.h"
#include "counters/pollers/unit.h"
#include "counters/pollers/vlan_intf_counters_sm.h"

namespace OruTypes {

std::ostream& operator<<(std::ostream& out, CounterType type) {
  return out << static_cast<std::uint32_t>(type);
}

}  // namespace OruTypes

namespace Oru::Counters {

std::string CountersSm::updateCountersRefusal(CountersSm const&, OruTypes::CounterType const& type,
                                              Pekt::IntfId const&) {
  if (type != OruTypes::CounterType::vlan && type != OruTypes::CounterType::snapshot) return {};
  return "counters of type " + Kel::toStrep(type) +
         " have no poller here; there are 0 queue, 1 port, 2 CPU port, 3 VLAN interface, 6 ACL "
         "drop";
}

void CountersSm::updateCounters(OruTypes::CounterType type, Pekt::IntfId intf) {
  if (auto t = trace(7)) t << "updateCounters counter type: " << type << ", intf: " << intf;
  auto const update = [](auto const& poller) {
    if (poller) poller->updateCounters();
  };
  switch (type) {
    case OruTypes::CounterType::queue:
      return update(intfQueueCountersSm(intf));
    case OruTypes::CounterType::port:
      return update(portCountersSm(intf));
    case OruTypes::CounterType::cpuPort:
      return update(cpuPortCountersSm(intf));
    case OruTypes::CounterType::vlanIntf:
      return update(vlanIntfCountersSm(intf));
    case OruTypes::CounterType::aclDrop:
      return update(intfAclDropCountersSm(intf));
    case OruTypes::CounterType::vlan:
    case OruTypes::CounterType::snapshot:
      require(false, "0");
      return;
    default:
      return;  // above 6: no kind
  }
}

}  // namespace Oru::Counters
