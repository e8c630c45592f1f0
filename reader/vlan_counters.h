// The counters of a VLAN, as views show them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "reader/counters.h"
#include "reader/snapshot.h"

namespace Show {

// In the order of Bridging::kVlanCountsFields. Nothing where the chip cannot count it, and where
// nothing was counted yet.
using VlanValues = std::array<std::optional<std::uint64_t>, Bridging::kVlanCountsFields.size()>;
VlanValues values(Vlan const& vlan, Basis basis);

// What a view shows of one direction.
struct VlanFlow {
  std::optional<std::uint64_t> octets;
  std::optional<std::uint64_t> pkts;  // the sum of those that there is a count of
  std::optional<std::uint64_t> multicastPkts, broadcastPkts;
};
struct VlanFlows {
  VlanFlow in, out;
};
VlanFlows flows(VlanValues const& values);

}  // namespace Show
