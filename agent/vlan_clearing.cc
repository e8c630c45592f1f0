#include "agent/vlan_clearing.h"

#include <algorithm>
#include <exception>

#include "agent/control_request.h"
#include "platform/bridging/vlan_counter_tables.h"
#include "platform/kel/exceptions.h"
#include "platform/kel/strep.h"
#include "platform/wib/timer_wheel.h"

namespace Agent {
namespace {

using Bridging::VlanId;

constexpr char const* kNothing = ", and nothing was cleared";

VlanId vlanIdOf(std::string const& text) {
  try {
    return VlanId(text);
  } catch (Kel::RangeException const&) {
    throw ControlError(ControlCode::wrongArguments,
                       "'" + text + "' is no VLAN id, which are 1 to 4094" + kNothing);
  }
}

std::string nameOf(VlanId vlanId) { return "VLAN " + Kel::toStrep(vlanId); }

}  // namespace

// Without `initialized`, which can be set by name, the counters neither poll nor take a request.
void VlanClearing::requireCounted() const {
  if (!_counters || !_requests)
    throw ControlError(ControlCode::notSupported, "this agent counts no VLANs");
  if (!_counters->initialized())
    throw ControlError(
        ControlCode::failed,
        std::string("the VLAN counters are stopped: their initialized is false") + kNothing);
}

bool VlanClearing::isThere(VlanId vlanId) const {
  return _counters->vlanCounterDir()->contains(vlanId);
}

void VlanClearing::poll(std::vector<VlanId> const& vlanIds) {
  auto const failed = [](std::string const& why) {
    return ControlError(ControlCode::failed, "nothing was cleared: " + why);
  };
  try {
    _counters->updateCounters();
  } catch (std::exception const& error) {
    throw failed(std::string("the VLANs could not be polled: ") + error.what());
  }
  for (VlanId const vlanId : vlanIds) {
    // A chip may find out as it is polled.
    if (!isThere(vlanId)) throw failed(nameOf(vlanId) + " went meanwhile");
    if (!_couldRead(vlanId))
      throw failed(nameOf(vlanId) + " could not be read just now; try again");
  }
}

void VlanClearing::request(VlanId vlanId) {
  auto const& standing = _requests->clearCountersRequest();
  auto const same = standing.find(vlanId);
  // One that stands, whoever made it, is told again only if its flag changes.
  _requests->clearCountersRequestIs(vlanId, same == standing.end() || !same->second);
  _requests->clearCountersRequestDel(vlanId);
}

bool VlanClearing::isCleared(VlanId vlanId) const {
  auto const live = _counters->vlanCounterDir()->vlanCounter(vlanId);
  auto const snapshot = _counters->vlanCounterSnapshotDir()->vlanCounterSnapshot(vlanId);
  return snapshot.counts == live.counts && snapshot.lastUpdate == _counters->clock()->time();
}

// What goes wrong while a request is told to the counters ends where it is told.
void VlanClearing::clear(std::vector<VlanId> const& vlanIds) {
  poll(vlanIds);
  for (VlanId const vlanId : vlanIds) {
    request(vlanId);
    if (!isCleared(vlanId))
      throw ControlError(
          ControlCode::failed,
          nameOf(vlanId) +
              " could not be cleared; the agent says why on its standard error, if its clears are "
              "watched");
  }
}

std::size_t VlanClearing::all() {
  requireCounted();
  std::vector<VlanId> there;
  _counters->vlanCounterDir()->forEach(
      [&](Glim::Bridging::VlanCounter const& row) { there.push_back(row.vlanId); });
  clear(there);
  return there.size();
}

std::vector<std::string> VlanClearing::these(std::vector<std::string> const& ids) {
  requireCounted();
  std::vector<VlanId> there;
  std::vector<std::string> cleared;
  for (std::string const& id : ids) {
    VlanId const vlanId = vlanIdOf(id);
    if (!isThere(vlanId))
      throw ControlError(ControlCode::unknownVlan, "there is no " + nameOf(vlanId) + kNothing);
    if (std::find(there.begin(), there.end(), vlanId) != there.end()) continue;
    there.push_back(vlanId);
    cleared.push_back(Kel::toStrep(vlanId));
  }
  clear(there);
  return cleared;
}

}  // namespace Agent
