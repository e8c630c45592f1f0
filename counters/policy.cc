// Policy-map types, the QoS slices' status, and forced updates.
#include <ostream>

#include "counters/copp/copp_type_sm.h"
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
namespace {

// The slice's status of the control plane's policy maps, if `type` is theirs and there is one.
// Throws Kel::RangeException "null ValidPtr" where that is looked for and there is no slice.
template <class SliceStatus>
Kel::Ptr<Qos::PolicyMapTypeHwStatus const> controlPlane(Qos::MapType type,
                                                        Kel::Ptr<SliceStatus> const& slice) {
  if (type != Qos::MapType::controlPlane) return nullptr;
  auto const& types = slice->pmapType();
  auto const at = types.find(type);
  return at == types.end() ? nullptr : at->second;
}

}  // namespace

void CountersSm::handlePolicyMapType() {
  if (auto t = trace(7)) t << "void Oru::Counters::CountersSm::handlePolicyMapType()";
  auto const status = qosSliceHwStatus();
  if (!status) return;
  for (auto const& [type, entry] : Kel::walk(status->pmapType())) handlePolicyMapType(type);
}

void CountersSm::handlePolicyMapType(Qos::MapType type) {
  if (auto t = trace(7))
    t << "void Oru::Counters::CountersSm::handlePolicyMapType(Qos::MapType)type: " << type;
  if (auto const entry = controlPlane(type, qosSliceHwStatus()))
    coppTypeSmIs(entry, platformHelper());
}

void CountersSm::handleDynamicPolicyMapType() {
  if (auto t = trace(7)) t << "void Oru::Counters::CountersSm::handleDynamicPolicyMapType()";
  auto const status = qosAclSliceHwStatus();
  if (!status) return;
  for (auto const& [type, entry] : Kel::walk(status->pmapType())) handleDynamicPolicyMapType(type);
}

void CountersSm::handleDynamicPolicyMapType(Qos::MapType type) {
  if (auto t = trace(7))
    t << "void Oru::Counters::CountersSm::handleDynamicPolicyMapType(Qos::MapType)type: " << type;
  if (auto const entry = controlPlane(type, qosAclSliceHwStatus()))
    coppDynamicTypeSmIs(entry, platformHelper());
}

// The slice that is watched changes only through qosSliceHwStatusIs: an entry of
// the directory that is another one is left to the agent.
void CountersSm::handleQosSliceHwStatusDir(Kel::Name) {}
void CountersSm::handleQosAclSliceHwStatusDir(Kel::Name) {}

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
