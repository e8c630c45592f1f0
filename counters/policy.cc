// Policy-map types, and the QoS slices' status.
#include "counters/copp/copp_type_sm.h"
#include "counters/counters_sm.h"
#include "counters/pollers/unit.h"

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

}  // namespace Oru::Counters
