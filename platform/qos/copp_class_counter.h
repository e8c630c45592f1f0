// The published counters of one control-plane policing class: traffic to the control processor.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/glim/record.h"
#include "platform/interface/padded_text.h"
#include "platform/qos/copp_class_name.h"

namespace Qos {

// A row of the policing classes' table. The totals never go back, whatever is reset in the
// hardware: since the last reset there came pkts - resetPkts packets.
struct CoppClassCounter {
  CoppClassName className;
  std::uint64_t pkts = 0;    // since the class was first seen, modulo 2^64
  std::uint64_t octets = 0;  // the same; from the network header on where the kernel counts
  // The totals as they stood at the last reset; 0: never reset.
  std::uint64_t resetPkts = 0;
  std::uint64_t resetOctets = 0;
  double lastReset = 0.0;               // seconds since the epoch; 0: never
  double lastUpdate = 0.0;              // seconds since the epoch; 0: never
  Interface::PaddedText<64> policyMap;  // the policy map that the class belongs to

  bool operator==(CoppClassCounter const&) const = default;
};

}  // namespace Qos

template <>
struct Glim::RecordTraits<Qos::CoppClassCounter> {
  using Key = Qos::CoppClassName;
  using Row = Qos::CoppClassCounter;
  static constexpr std::string_view name = "CoppClassCounter";
  static constexpr std::array fields{
      Glim::Field{"className", Glim::FieldType::text, offsetof(Row, className), sizeof(Key)},
      Glim::Field{"pkts", Glim::FieldType::u64, offsetof(Row, pkts)},
      Glim::Field{"octets", Glim::FieldType::u64, offsetof(Row, octets)},
      Glim::Field{"resetPkts", Glim::FieldType::u64, offsetof(Row, resetPkts)},
      Glim::Field{"resetOctets", Glim::FieldType::u64, offsetof(Row, resetOctets)},
      Glim::Field{"lastReset", Glim::FieldType::f64, offsetof(Row, lastReset)},
      Glim::Field{"lastUpdate", Glim::FieldType::f64, offsetof(Row, lastUpdate)},
      Glim::Field{"policyMap", Glim::FieldType::text, offsetof(Row, policyMap), 64}};
  static Key const& key(Row const& row) { return row.className; }
};
