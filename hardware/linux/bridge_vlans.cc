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
  bridges_.erase(ifindex);
  members_.erase(ifindex);
  update();
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
  at->second.vlans &= ~vlans;
  update();
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

void BridgeVlans::update() {
  Bridge const* const bridge = served();
  std::optional<int> const now = bridge ? std::optional(bridge->ifindex) : std::nullopt;
  if (now != served_) gone_ |= vlans_;
  served_ = now;
  VlanSet all;
  // A bridge is a member of itself, also while nothing but its VLANs was told of it.
  for (auto const& [ifindex, member] : members_)
    if (now && (member.bridge == *now || ifindex == *now)) all |= member.vlans;
  gone_ |= vlans_ & ~all;
  vlans_ = all;
}

}  // namespace Hardware::Linux
