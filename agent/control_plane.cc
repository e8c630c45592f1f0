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
Kel::Name const kSlice("chip");  // the only one, whichever chip it is
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

// Each that comes is reset, for which the chip reads its classes anew: `classes` is read before.
void ControlPlane::change(CoppClassNames const& classes) {
  std::vector<Kel::Name> gone, come;
  for (auto const& [name, status] : _policyMap->cmap())
    if (!classes.contains(Qos::CoppClassName(name.view()))) gone.push_back(name);
  for (auto const& name : classes) {
    Kel::Name key = className(name);
    if (!_policyMap->cmap().contains(key)) come.push_back(std::move(key));
  }
  for (auto const& name : gone) _policyMap->cmapDel(name);
  for (auto const& name : come) _policyMap->cmapIs(name, kProgrammed);
}

void ControlPlane::watch() {
  std::size_t const count = _policyMap->cmap().size();
  std::string const with = ", with " + std::to_string(count) + (count == 1 ? " class" : " classes");
  auto const types = _counters->coppTypeSm(MapType::controlPlane);
  if (!types || types->coppPMapName().view() != kCoppPolicyMap) {
    say(kPolicyMap + with + ", is not watched: " +
        (types ? "coppPMapName is " + types->coppPMapName().str() : "its type is not watched"));
    return;
  }
  try {
    _coppSm = types->coppSmIs(kName, _policyMap, _counters->platformHelper());
    say(kPolicyMap + " is watched" + with);
  } catch (std::exception const& exception) {  // somebody made it by name, with another status
    say(kPolicyMap + with + ", is not watched: " + exception.what());
  }
}

// Somebody may have deleted it, and made another one under its name.
void ControlPlane::unwatch() {
  auto const types = _counters->coppTypeSm(MapType::controlPlane);
  bool const isWatched = _coppSm && types && types->coppSm(kName) == _coppSm;
  _coppSm = nullptr;
  if (isWatched) types->coppSmDel(kName);
  say(kPolicyMap + (isWatched ? " is no longer watched" : " is gone"));
}

}  // namespace Agent
