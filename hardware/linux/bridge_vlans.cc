#include "hardware/linux/bridge_vlans.h"

#include <algorithm>
#include <utility>

namespace Hardware::Linux {

void BridgeVlans::bridgeIs(Bridge const& bridge) {
  if (listing_) listed_.insert(bridge.ifindex);
  bridges_[bridge.ifindex] = bridge;
  update();
}

void BridgeVlans::linkDel(int ifindex) {
  leave([&] {
    bridges_.erase(ifindex);
    members_.erase(ifindex);
  });
}

void BridgeVlans::memberIs(int ifindex, int bridge, VlanSet const& vlans) {
  if (listing_) listed_.insert(ifindex);
  members_[ifindex] = {bridge, vlans};
  update();
}

void BridgeVlans::vlansAdd(int ifindex, VlanSet const& vlans) {
  members_[ifindex].vlans |= vlans;
  update();
}

void BridgeVlans::vlansDel(int ifindex, VlanSet const& vlans) {
  auto const at = members_.find(ifindex);
  if (at == members_.end()) return;
  leave([&] { at->second.vlans &= ~vlans; });
}

void BridgeVlans::listBegins() {
  listed_.clear();
  listing_ = true;
}

void BridgeVlans::listEnds() {
  listing_ = false;
  auto const isUnlisted = [this](auto const& each) { return !listed_.contains(each.first); };
  std::erase_if(bridges_, isUnlisted);
  std::erase_if(members_, isUnlisted);
  update();
}

Bridge const* BridgeVlans::served() const {
  for (auto const& [ifindex, bridge] : bridges_)
    if (name_.empty() ? bridge.filters : bridge.name == name_)
      return bridge.filters ? &bridge : nullptr;
  return nullptr;
}

VlanSet BridgeVlans::takeGone() { return std::exchange(gone_, {}); }

// What a list told so far is not all that there is: only of what the change itself takes away it is
// known that it went.
template <class Change>
void BridgeVlans::leave(Change const& change) {
  VlanSet const before = allOf(served());
  change();
  if (listing_) gone_ |= before & ~allOf(served());
  update();
}

void BridgeVlans::update() {
  if (listing_) return;
  Bridge const* const bridge = served();
  std::optional<int> const now = bridge ? std::optional(bridge->ifindex) : std::nullopt;
  if (now != served_) gone_ |= vlans_;
  served_ = now;
  VlanSet const all = allOf(bridge);
  gone_ |= vlans_ & ~all;
  vlans_ = all;
}

// A bridge is a member of itself, also while nothing but its VLANs was told of it.
VlanSet BridgeVlans::allOf(Bridge const* bridge) const {
  VlanSet all;
  if (!bridge) return all;
  for (auto const& [ifindex, member] : members_)
    if (member.bridge == bridge->ifindex || ifindex == bridge->ifindex) all |= member.vlans;
  return all;
}

}  // namespace Hardware::Linux
