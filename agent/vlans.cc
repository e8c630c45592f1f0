#include "agent/vlans.h"

#include <exception>
#include <utility>

#include "agent/log.h"
#include "platform/dov/exception.h"
#include "platform/kel/strep.h"

namespace Agent {

using Bridging::VlanId;
using Glim::Bridging::VlanCounter;

Vlans::Vlans(Tables const& tables, Kel::Ptr<Kel::Clock> const& clock, Kel::Seconds period)
    : _live(tables.vlanCounters()),
      _snapshots(tables.vlanCounterSnapshots()),
      _descriptions(tables.vlanDescriptions()),
      _period(period),
      _wheel(Kel::make<Wib::TimerWheel>(clock)) {}

bool Vlans::isConfigured(VlanId vlanId) const { return _config->vlanConfig().contains(vlanId); }

// The library finds its rows made: where there is no room, it is not told of the VLAN.
void Vlans::makeRows(Bridging::VlanDescription const& description) {
  VlanId const vlanId = description.vlanId;
  // A snapshot without a live row is of a VLAN that was there before.
  bool const isNew = !_live->contains(vlanId);
  if (isNew) _live->vlanCounterIs(VlanCounter(vlanId));
  if (isNew || !_snapshots->contains(vlanId))
    _snapshots->vlanCounterSnapshotIs(VlanCounter(vlanId));
  _descriptions->descriptionIs(description);
}

bool Vlans::vlanIs(Bridging::VlanDescription const& description) {
  VlanId const vlanId = description.vlanId;
  try {
    makeRows(description);
  } catch (Dov::ResourceException const& exception) {
    if (!isConfigured(vlanId)) dropRows(vlanId);
    _withoutRoom.insert_or_assign(vlanId, exception.message());
    return false;
  }
  _withoutRoom.erase(vlanId);
  if (isConfigured(vlanId)) return true;
  _config->vlanConfigIs({.vlanId = vlanId});
  _news = true;
  return true;
}

std::string Vlans::whyNoRoom() const {
  if (_withoutRoom.empty()) return {};
  auto const& [vlanId, why] = *_withoutRoom.begin();
  return "VLAN " + Kel::toStrep(vlanId) + ": " + why;
}

void Vlans::vlanDel(VlanId vlanId) {
  _withoutRoom.erase(vlanId);
  _config->vlanConfigDel(vlanId);
  _requests->clearCountersRequestDel(vlanId);
  dropRows(vlanId);
}

void Vlans::dropRows(VlanId vlanId) {
  _live->vlanCounterDel(vlanId);
  _snapshots->vlanCounterSnapshotDel(vlanId);
  _descriptions->descriptionDel(vlanId);
}

void Vlans::dropAllRows() {
  _live->forEach([this](auto const& row) { dropRows(row.vlanId); });
}

std::vector<VlanId> Vlans::withRows() const {
  std::vector<VlanId> all;
  _live->forEach([&](auto const& row) { all.push_back(row.vlanId); });
  return all;
}

// The state machine removes live rows of VLANs that went, and with each its snapshot.
void Vlans::start(Kel::Ptr<OruHelper::OruVlanCountersHelper> const& helper) {
  _counters =
      Oru::Counters::vlanCountersSmFactory(_config, _requests, _live, _snapshots, _wheel, helper);
  // It set its first wake-up by the period that it begins with.
  _counters->pollIntervalIs(_period);
  _counters->handleInitialized();
  auto const gone = [this](auto const& row) { return !isConfigured(row.vlanId); };
  _snapshots->forEach([&](auto const& row) {
    if (gone(row)) _snapshots->vlanCounterSnapshotDel(row.vlanId);
  });
  _descriptions->forEach([&](auto const& row) {
    if (gone(row)) _descriptions->descriptionDel(row.vlanId);
  });
  _news = true;
}

void Vlans::pollNews() {
  if (!_counters || !std::exchange(_news, false)) return;
  try {
    poll();
  } catch (std::exception const& exception) {
    say(std::string("the VLANs could not be polled: ") + exception.what());
  }
}

}  // namespace Agent
