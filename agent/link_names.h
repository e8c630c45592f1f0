// Which links of the machine are counted, and under which interface.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "agent/options.h"

namespace Agent {

// A link is counted when its kernel name matches a pattern (glob(7)), or there are no patterns. It
// is shown as the interface that the configuration names for it, else as Vlan<id> if it is a VLAN
// of another link, else as Ethernet<ifindex>: a kernel name may change, and may hold what an
// interface's name may not; the number stays.
class LinkNames {
 public:
  LinkNames() = default;
  LinkNames(std::vector<std::string> patterns, NameMap names);

  struct Answer {
    // None: the link is not counted.
    std::optional<Pekt::IntfId> intfId;
    // It is the same interface whatever link is it: the configuration names it, or it is a VLAN's.
    bool isNamed = false;
    // Not counted since the configuration gives the name that it would have to another link.
    bool nameIsGivenAway = false;
  };
  // `vlanId` is 0 where the link is no VLAN interface.
  Answer of(std::string const& kernelName, int ifindex, std::uint16_t vlanId = 0) const;

 private:
  std::vector<std::string> _patterns;
  NameMap _names;
  std::set<Pekt::IntfId> _given;
};

}  // namespace Agent
