// What a reader needs to show beside a VLAN's counters.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/bridging/vlan_counter.h"
#include "platform/glim/record.h"
#include "platform/interface/padded_text.h"

namespace Bridging {

// One counter as a set, for VlanDescription::unsupported: bit n is kVlanCountsFields[n]. Empty for
// a name that is no counter's.
constexpr std::uint64_t vlanCounterBit(std::string_view name) {
  for (std::size_t i = 0; i < kVlanCountsFields.size(); ++i)
    if (kVlanCountsFields[i].name == name) return std::uint64_t{1} << i;
  return 0;
}
inline constexpr std::uint64_t kNoVlanCounters = (std::uint64_t{1} << kVlanCountsFields.size()) - 1;

// A row of the agent's own table of VLANs.
struct VlanDescription {
  VlanId vlanId;
  Interface::PaddedText<16> bridge;  // the name of the VLAN's bridge on this machine
  Interface::PaddedText<32> name;    // what the operator calls the VLAN; empty: nothing
  std::uint64_t unsupported = 0;     // the counters that the chip cannot count, by vlanCounterBit

  bool operator==(VlanDescription const&) const = default;
};

}  // namespace Bridging

template <>
struct Glim::RecordTraits<Bridging::VlanDescription> {
  using Key = ::Bridging::VlanId;
  using Row = ::Bridging::VlanDescription;
  static constexpr std::string_view name = "VlanDescription";
  static constexpr std::array fields{
      Glim::Field{"vlanId", Glim::FieldType::u64, offsetof(Row, vlanId)},
      Glim::Field{"bridge", Glim::FieldType::text, offsetof(Row, bridge), 16},
      Glim::Field{"name", Glim::FieldType::text, offsetof(Row, name), 32},
      Glim::Field{"unsupported", Glim::FieldType::u64, offsetof(Row, unsupported)}};
  static Key const& key(Row const& row) { return row.vlanId; }
};
