#include "hardware/linux/bridge_vlans.h"

#include <algorithm>
#include <utility>

namespace Hardware::Linux {

void BridgeVlans::bridgeIs(Bridge const& bridge) {
  if (_listing) _listed.insert(bridge.ifindex);
  _bridges[bridge.ifindex] = bridge;
  update();
}

void BridgeVlans::linkDel(int ifindex) {
  leave([&] {
    _bridges.erase(ifindex);
    _members.erase(ifindex);
  });
}

void BridgeVlans::memberIs(int ifindex, int bridge, VlanSet const& vlans) {
  if (_listing) _listed.insert(ifindex);
  Member& member = _members[ifindex];
  member.bridge = bridge;
  member.vlans = vlans;
  update();
}

void BridgeVlans::vlansAdd(int ifindex, VlanSet const& vlans) {
  Member& member = _members[ifindex];
  member.vlans |= vlans;
  member.given |= vlans & _taken;
  update();
}

void BridgeVlans::vlansDel(int ifindex, VlanSet const& vlans) {
  auto const at = _members.find(ifindex);
  if (at == _members.end()) return;
  leave([&] { at->second.vlans &= ~vlans; });
}

void BridgeVlans::listBegins() {
  _listed.clear();
  _listing = true;
}

void BridgeVlans::listEnds() {
  _listing = false;
  auto const isUnlisted = [this](auto const& each) { return !_listed.contains(each.first); };
  std::erase_if(_bridges, isUnlisted);
  std::erase_if(_members, isUnlisted);
  _gone |= _taken & ~allAlong();
  _taken.reset();
  for (auto& [ifindex, member] : _members) member.given.reset();
  update();
}

Bridge const* BridgeVlans::served() const {
  for (auto const& [ifindex, bridge] : _bridges)
    if (_name.empty() ? bridge.filters : bridge.name == _name)
      return bridge.filters ? &bridge : nullptr;
  return nullptr;
}

VlanSet BridgeVlans::takeGone() { return std::exchange(_gone, {}); }

// What a list told so far is not all that there is: of what the change takes from those that are
// known, another member may be in it. But with the bridge itself all of its VLANs went.
template <class Change>
void BridgeVlans::leave(Change const& change) {
  auto const bridge = servedIndex();
  VlanSet const before = all();
  change();
  if (_listing) (servedIndex() == bridge ? _taken : _gone) |= before & ~all();
  update();
}

void BridgeVlans::update() {
  if (_listing) return;
  auto const now = servedIndex();
  if (now != _served) _gone |= _vlans;
  _served = now;
  VlanSet const all = this->all();
  _gone |= _vlans & ~all;
  _vlans = all;
}

std::optional<int> BridgeVlans::servedIndex() const {
  Bridge const* const bridge = served();
  return bridge ? std::optional(bridge->ifindex) : std::nullopt;
}

// Of the bridge that is served, which is a member of itself, also while nothing but its VLANs was
// told of it.
template <class Of>
VlanSet BridgeVlans::uniteMembers(Of const& of) const {
  VlanSet all;
  auto const bridge = servedIndex();
  for (auto const& [ifindex, member] : _members)
    if (member.bridge == bridge || ifindex == bridge) all |= of(member);
  return all;
}

VlanSet BridgeVlans::all() const {
  return uniteMembers([](Member const& member) { return member.vlans; });
}

// Those that some member is in without that news put it there during the list.
VlanSet BridgeVlans::allAlong() const {
  return uniteMembers([](Member const& member) { return member.vlans & ~member.given; });
}

}  // namespace Hardware::Linux
