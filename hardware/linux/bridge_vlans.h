#pragma once

#include <bitset>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "platform/bridging/vlan_id.h"

namespace Hardware::Linux {

/// A set of VLANs, by number.
using VlanSet = std::bitset<4096>;

/// One bridge, as the kernel describes it.
struct Bridge {
  int ifindex = 0;
  std::string name;
  bool filters = false;        // by VLANs
  bool counts = false;         // its VLANs
  bool countsPerPort = false;  // at its ports, rather than for all of them together

  bool operator==(Bridge const&) const = default;
};

/// What is known of the machine's bridges and their VLANs; which bridge is served, and its VLANs.
/// Knows nothing of the kernel.
///
/// A VLAN is configured while the bridge or any of its ports is in it. Which bridge is served: the
/// one of the given name, else of those that filter the one of the lowest number; none if it does
/// not filter.
///
/// A list of all bridges and members may come at any time, mixed with news, as with `LinkTable`.
/// From its beginning until one ends, what is served and its VLANs stay as they were, since the
/// list tells them one after the other; one that fails is followed by another. A VLAN that news of
/// that time takes away is gone, unless the list tells of a member that is in it and that no news
/// put there since: that one was in it all along, and only the news of it was lost.
class BridgeVlans {
 public:
  /// Empty name: any bridge.
  explicit BridgeVlans(std::string name = {}) : _name(std::move(name)) {}

  void bridgeIs(Bridge const& bridge);
  /// A link is no bridge, or gone.
  void linkDel(int ifindex);
  /// A port, or the bridge itself (`bridge` is its own number), is in these VLANs and no others.
  void memberIs(int ifindex, int bridge, VlanSet const& vlans);
  /// A member, of which nothing else may be known yet, is in these VLANs too, or no longer.
  void vlansAdd(int ifindex, VlanSet const& vlans);
  void vlansDel(int ifindex, VlanSet const& vlans);

  void listBegins();
  void listEnds();

  std::map<int, Bridge> const& bridges() const { return _bridges; }
  Bridge const* served() const;
  VlanSet const& vlans() const { return _vlans; }

  /// The VLANs that were gone at any time since the last call, those that came back included.
  VlanSet takeGone();

 private:
  struct Member {
    int bridge = 0;  // 0: not known yet
    VlanSet vlans;
    VlanSet given;  // those that news put it in after news had taken them away, during a list
  };
  void update();
  std::optional<int> servedIndex() const;
  template <class Of>
  VlanSet uniteMembers(Of const& of) const;
  VlanSet all() const;
  VlanSet allAlong() const;
  template <class Change>
  void leave(Change const& change);

  std::string const _name;
  std::map<int, Bridge> _bridges;
  std::map<int, Member> _members;
  std::optional<int> _served;
  VlanSet _vlans;
  VlanSet _gone;
  bool _listing = false;  // also after a list that failed
  VlanSet _taken;         // away by news of that time, from all members known so far
  std::set<int> _listed;
};

}  // namespace Hardware::Linux
