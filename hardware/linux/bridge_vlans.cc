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
  _members[ifindex] = {bridge, vlans};
  update();
}

void BridgeVlans::vlansAdd(int ifindex, VlanSet const& vlans) {
  _members[ifindex].vlans |= vlans;
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
  update();
}

Bridge const* BridgeVlans::served() const {
  for (auto const& [ifindex, bridge] : _bridges)
    if (_name.empty() ? bridge.filters : bridge.name == _name)
      return bridge.filters ? &bridge : nullptr;
  return nullptr;
}

VlanSet BridgeVlans::takeGone() { return std::exchange(_gone, {}); }

// What a list told so far is not all that there is: only of what the change itself takes away it is
// known that it went.
template <class Change>
void BridgeVlans::leave(Change const& change) {
  VlanSet const before = allOf(served());
  change();
  if (_listing) _gone |= before & ~allOf(served());
  update();
}

void BridgeVlans::update() {
  if (_listing) return;
  Bridge const* const bridge = served();
  std::optional<int> const now = bridge ? std::optional(bridge->ifindex) : std::nullopt;
  if (now != _served) _gone |= _vlans;
  _served = now;
  VlanSet const all = allOf(bridge);
  _gone |= _vlans & ~all;
  _vlans = all;
}

// A bridge is a member of itself, also while nothing but its VLANs was told of it.
VlanSet BridgeVlans::allOf(Bridge const* bridge) const {
  VlanSet all;
  if (!bridge) return all;
  for (auto const& [ifindex, member] : _members)
    if (member.bridge == bridge->ifindex || ifindex == bridge->ifindex) all |= member.vlans;
  return all;
}

}  // namespace Hardware::Linux
