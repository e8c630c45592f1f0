// The published counters of one VLAN.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/bridging/vlan_id.h"
#include "platform/glim/record.h"

namespace Bridging {

// Counters of one VLAN, named as in the interfaces MIB (RFC 2863, ifXTable): what came in from its
// ports and went out of them. Totals modulo 2^64; octets as the chip counts them.
struct VlanCounts {
  std::uint64_t inOctets = 0;
  std::uint64_t inUcastPkts = 0;
  std::uint64_t inMulticastPkts = 0;
  std::uint64_t inBroadcastPkts = 0;
  std::uint64_t outOctets = 0;
  std::uint64_t outUcastPkts = 0;
  std::uint64_t outMulticastPkts = 0;
  std::uint64_t outBroadcastPkts = 0;

  bool operator==(VlanCounts const&) const = default;
};

// The members as they stand in a table row, by name.
inline constexpr std::array kVlanCountsFields{
    Glim::Field{"inOctets", Glim::FieldType::u64, offsetof(VlanCounts, inOctets)},
    Glim::Field{"inUcastPkts", Glim::FieldType::u64, offsetof(VlanCounts, inUcastPkts)},
    Glim::Field{"inMulticastPkts", Glim::FieldType::u64, offsetof(VlanCounts, inMulticastPkts)},
    Glim::Field{"inBroadcastPkts", Glim::FieldType::u64, offsetof(VlanCounts, inBroadcastPkts)},
    Glim::Field{"outOctets", Glim::FieldType::u64, offsetof(VlanCounts, outOctets)},
    Glim::Field{"outUcastPkts", Glim::FieldType::u64, offsetof(VlanCounts, outUcastPkts)},
    Glim::Field{"outMulticastPkts", Glim::FieldType::u64, offsetof(VlanCounts, outMulticastPkts)},
    Glim::Field{"outBroadcastPkts", Glim::FieldType::u64, offsetof(VlanCounts, outBroadcastPkts)}};

// Each counter modulo 2^64: one that went backwards gives a huge difference, never an error.
VlanCounts operator-(VlanCounts const& a, VlanCounts const& b);
VlanCounts operator+(VlanCounts const& a, VlanCounts const& b);

}  // namespace Bridging

namespace Glim::Bridging {

// A row of the VLAN counter table and of its snapshot table.
struct VlanCounter {
  ::Bridging::VlanId vlanId;
  ::Bridging::VlanCounts counts;
  double lastUpdate = 0.0;  // seconds since the epoch; 0: never

  VlanCounter() = default;
  // The empty record of a VLAN.
  explicit VlanCounter(::Bridging::VlanId id) : vlanId(id) {}

  bool operator==(VlanCounter const&) const = default;
};

}  // namespace Glim::Bridging

template <>
struct Glim::RecordTraits<Glim::Bridging::VlanCounter> {
  using Key = ::Bridging::VlanId;
  using Row = Glim::Bridging::VlanCounter;
  static constexpr std::string_view name = "VlanCounter";
  static constexpr auto fields = Glim::joinFields(
      std::array{Glim::Field{"vlanId", Glim::FieldType::u64, offsetof(Row, vlanId)}},
      Glim::fieldsAt(::Bridging::kVlanCountsFields, offsetof(Row, counts)),
      std::array{Glim::Field{"lastUpdate", Glim::FieldType::f64, offsetof(Row, lastUpdate)}});
  static Key const& key(Row const& row) { return row.vlanId; }
};
