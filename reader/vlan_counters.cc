#include "reader/vlan_counters.h"

#include <bit>

namespace Show {

namespace {

using Bridging::kVlanCountsFields;
using Bridging::VlanCounts;

// Counts in the order of their fields, which follow each other without a gap.
using Numbers = std::array<std::uint64_t, kVlanCountsFields.size()>;
constexpr bool areInOrder() {
  for (std::size_t i = 0; i < kVlanCountsFields.size(); ++i)
    if (kVlanCountsFields[i].offset != i * sizeof(std::uint64_t)) return false;
  return true;
}
static_assert(areInOrder() && sizeof(Numbers) == sizeof(VlanCounts));

// Where a direction begins, and its counters from there on.
constexpr std::size_t kIn = 0, kOut = 4;
enum : std::size_t { kOctets, kUcast, kMulticast, kBroadcast };
static_assert(kVlanCountsFields[kIn + kOctets].name == "inOctets");
static_assert(kVlanCountsFields[kIn + kBroadcast].name == "inBroadcastPkts");
static_assert(kVlanCountsFields[kOut + kOctets].name == "outOctets");
static_assert(kVlanCountsFields[kOut + kMulticast].name == "outMulticastPkts");

VlanFlow flow(VlanValues const& values, std::size_t from) {
  VlanFlow flow{.octets = values[from + kOctets],
                .pkts = {},
                .multicastPkts = values[from + kMulticast],
                .broadcastPkts = values[from + kBroadcast]};
  for (std::size_t i = from + kUcast; i <= from + kBroadcast; ++i)
    if (values[i]) flow.pkts = flow.pkts.value_or(0) + *values[i];
  return flow;
}

}  // namespace

VlanValues values(Vlan const& vlan, Basis basis) {
  VlanValues values;
  // Before the first sample a row holds zeros that nobody counted.
  if (!vlan.counters || !(vlan.counters->lastUpdate > 0.0)) return values;
  bool const difference = basis == Basis::sinceClear && cleared(vlan);
  auto const now = std::bit_cast<Numbers>(vlan.counters->counts);
  auto const clear = std::bit_cast<Numbers>(difference ? vlan.atLastClear->counts : VlanCounts());
  std::uint64_t const unsupported = vlan.description ? vlan.description->unsupported : 0;
  for (std::size_t i = 0; i < values.size(); ++i)
    if ((unsupported >> i & 1) == 0) values[i] = difference ? since(now[i], clear[i]) : now[i];
  return values;
}

VlanFlows flows(VlanValues const& values) { return {flow(values, kIn), flow(values, kOut)}; }

}  // namespace Show
