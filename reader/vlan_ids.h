// VLANs as the command line names them: "30", "10-20", and lists of both: "10-20,30".
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/bridging/vlan_id.h"

namespace Show {

struct VlanRange {
  Bridging::VlanId first, last;

  bool contains(Bridging::VlanId vlanId) const { return first <= vlanId && vlanId <= last; }
};
// Of one element of a list; nothing where it is no VLAN id or two of them in their order.
std::optional<VlanRange> vlanRangeOf(std::string const& element);

// "10-20,30" are "10-20" and "30". An element may be empty.
std::vector<std::string> vlanElements(std::string const& list);
// The same of several lists.
std::vector<std::string> vlanElements(std::vector<std::string> const& lists);

// What is wrong with a list; empty: nothing.
std::string wrongVlans(std::string const& list);

}  // namespace Show
