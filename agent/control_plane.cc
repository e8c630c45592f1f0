#include "agent/control_plane.h"

#include <exception>
#include <string>
#include <vector>

#include "agent/log.h"
#include "counters/copp/copp_type_sm.h"

namespace Agent {
namespace {

using Qos::MapType;

Kel::Name const kName(kCoppPolicyMap);
Qos::PolicyMapHwStatusKey const kKey(kName, Qos::Direction::input);
Kel::Name const kSlice("linux");
constexpr Qos::ClassMapHwStatus kProgrammed{.prgmStatus = Qos::PrgmStatus::succeeded, .version = 1};

Kel::Name className(Qos::CoppClassName const& name) { return Kel::Name(name.stringValue()); }

std::string const kPolicyMap = "policy map " + std::string(kCoppPolicyMap);

}  // namespace

ControlPlane::ControlPlane(Kel::Ptr<Oru::OruCommonSmData> const& ocsd)
    : _ocsd(ocsd),
      _slice(Kel::make<Qos::SliceHwStatus>(kSlice)),
      _sliceDir(Kel::make<Kel::Dir>()),
      _aclSlice(Kel::make<Qos::AclSliceHwStatus>(kSlice)),
      _aclSliceDir(Kel::make<Kel::Dir>()),
      _type(Kel::make<Qos::PolicyMapTypeHwStatus>(MapType::controlPlane)) {
  _sliceDir->entityPtrIs(kSlice, _slice);
  _aclSliceDir->entityPtrIs(kSlice, _aclSlice);
}

// The library makes the type's state machine now and keeps it.
void ControlPlane::countersIs(Kel::Ptr<Oru::Counters::CountersSm> const& counters) {
  _counters = counters;
  _slice->pmapTypeIs(_type);
}

void ControlPlane::classesAre(CoppClassNames const* classes) {
  if (!classes) {
    if (_policyMap) vanish();
  } else if (_policyMap) {
    change(*classes);
  } else {
    appear(*classes);
  }
}

// The classes come before the policy map, that before its state machine, and the CPU port last.
void ControlPlane::appear(CoppClassNames const& classes) {
  _policyMap = Kel::make<Qos::PolicyMapHwStatus>(MapType::controlPlane);
  _policyMap->prgmStatusIs(Qos::PrgmStatus::succeeded);
  for (auto const& name : classes) _policyMap->cmapIs(className(name), kProgrammed);
  _type->pmapIs(kKey, _policyMap);
  watch();
  _ocsd->cpuIntfIs(Pekt::IntfId(kCpuPort), true);
}

void ControlPlane::vanish() {
  _ocsd->cpuIntfDel(Pekt::IntfId(kCpuPort));
  unwatch();
  _type->pmapDel(kKey);
  _policyMap = nullptr;
}

void ControlPlane::change(CoppClassNames const& classes) {
  std::vector<Kel::Name> gone;
  for (auto const& [name, status] : _policyMap->cmap())
    if (!classes.contains(Qos::CoppClassName(name.view()))) gone.push_back(name);
  for (auto const& name : gone) _policyMap->cmapDel(name);
  for (auto const& name : classes) {
    Kel::Name const key = className(name);
    if (!_policyMap->cmap().contains(key)) _policyMap->cmapIs(key, kProgrammed);
  }
}

void ControlPlane::watch() {
  std::string const there = kPolicyMap + " of the control plane is there, with " +
                            std::to_string(_policyMap->cmap().size()) + " classes";
  auto const types = _counters->coppTypeSm(MapType::controlPlane);
  if (!types || types->coppPMapName().view() != kCoppPolicyMap) {
    say(there + ", and not watched: " +
        (types ? "coppPMapName is " + types->coppPMapName().str() : "its type is not watched"));
    return;
  }
  try {
    types->coppSmIs(kName, _policyMap, _counters->platformHelper());
    say(there);
  } catch (std::exception const& exception) {  // somebody made it by name, with another status
    say(there + ", and not watched: " + exception.what());
  }
}

void ControlPlane::unwatch() {
  if (auto const types = _counters->coppTypeSm(MapType::controlPlane)) types->coppSmDel(kName);
  say(kPolicyMap + " of the control plane is gone");
}

}  // namespace Agent
