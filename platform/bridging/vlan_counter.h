// The published counters of one VLAN.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/bridging/vlan_id.h"
#include "platform/glim/record.h"

namespace Glim::Bridging {

// A row of the VLAN counter table and of its snapshot table. Counters are totals modulo 2^64, named
// as in the interfaces MIB (RFC 2863, ifXTable); octets as the chip counts them.
struct VlanCounter {
  ::Bridging::VlanId vlanId;
  std::uint64_t inOctets = 0;
  std::uint64_t inUcastPkts = 0;
  std::uint64_t inMulticastPkts = 0;
  std::uint64_t inBroadcastPkts = 0;
  std::uint64_t outOctets = 0;
  std::uint64_t outUcastPkts = 0;
  std::uint64_t outMulticastPkts = 0;
  std::uint64_t outBroadcastPkts = 0;
  double lastUpdate = 0.0;  // seconds since the epoch; 0: never

  bool operator==(VlanCounter const&) const = default;
};

}  // namespace Glim::Bridging

template <>
struct Glim::RecordTraits<Glim::Bridging::VlanCounter> {
  using Key = ::Bridging::VlanId;
  using Row = Glim::Bridging::VlanCounter;
  static constexpr std::string_view name = "VlanCounter";
  static constexpr std::array fields{
      Glim::Field{"vlanId", Glim::FieldType::u64, offsetof(Row, vlanId)},
      Glim::Field{"inOctets", Glim::FieldType::u64, offsetof(Row, inOctets)},
      Glim::Field{"inUcastPkts", Glim::FieldType::u64, offsetof(Row, inUcastPkts)},
      Glim::Field{"inMulticastPkts", Glim::FieldType::u64, offsetof(Row, inMulticastPkts)},
      Glim::Field{"inBroadcastPkts", Glim::FieldType::u64, offsetof(Row, inBroadcastPkts)},
      Glim::Field{"outOctets", Glim::FieldType::u64, offsetof(Row, outOctets)},
      Glim::Field{"outUcastPkts", Glim::FieldType::u64, offsetof(Row, outUcastPkts)},
      Glim::Field{"outMulticastPkts", Glim::FieldType::u64, offsetof(Row, outMulticastPkts)},
      Glim::Field{"outBroadcastPkts", Glim::FieldType::u64, offsetof(Row, outBroadcastPkts)},
      Glim::Field{"lastUpdate", Glim::FieldType::f64, offsetof(Row, lastUpdate)}};
  static Key const& key(Row const& row) { return row.vlanId; }
};
