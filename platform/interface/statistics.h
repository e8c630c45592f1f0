// The traffic counters that every kind of interface has.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "platform/glim/record.h"
#include "platform/wib/maybe_u63.h"

namespace Interface {

// Generic interface statistics, named as in the interfaces MIB (RFC 2863,
// ifTable and ifXTable). Counters are totals that grow modulo 2^64; octets
// include framing as the chip counts it.
struct IntfStatistics {
  std::uint64_t inOctets = 0;
  std::uint64_t inUcastPkts = 0;
  std::uint64_t inMulticastPkts = 0;
  std::uint64_t inBroadcastPkts = 0;
  std::uint64_t outOctets = 0;
  std::uint64_t outUcastPkts = 0;
  std::uint64_t outMulticastPkts = 0;
  Wib::MaybeU63 outBroadcastPkts;
  std::uint64_t inDiscards = 0;
  std::uint64_t outDiscards = 0;
  std::uint64_t inErrors = 0;  // of Ethernet: the sum of the five receive error classes
  Wib::MaybeU63 inUnknownProtos;
  std::uint64_t outErrors = 0;  // of Ethernet: the sum of the five transmit error classes
  double lastUpdate = 0.0;      // time of the sample, seconds since the epoch

  bool operator==(IntfStatistics const&) const = default;
};

// Counters subtract and add modulo 2^64 (a counter that went backwards gives a
// huge difference, never an error); an optional one has no value where either
// operand has none; the timestamp of both is the later of the two.
IntfStatistics operator-(IntfStatistics const& a, IntfStatistics const& b);
IntfStatistics operator+(IntfStatistics const& a, IntfStatistics const& b);
// "inOctets 12 inUcastPkts 3 ...", for traces.
std::ostream& operator<<(std::ostream& out, IntfStatistics const& s);

// The members as they stand in a table row, by name.
inline constexpr std::array kIntfStatisticsFields{
    Glim::Field{"inOctets", Glim::FieldType::u64, offsetof(IntfStatistics, inOctets)},
    Glim::Field{"inUcastPkts", Glim::FieldType::u64, offsetof(IntfStatistics, inUcastPkts)},
    Glim::Field{"inMulticastPkts", Glim::FieldType::u64, offsetof(IntfStatistics, inMulticastPkts)},
    Glim::Field{"inBroadcastPkts", Glim::FieldType::u64, offsetof(IntfStatistics, inBroadcastPkts)},
    Glim::Field{"outOctets", Glim::FieldType::u64, offsetof(IntfStatistics, outOctets)},
    Glim::Field{"outUcastPkts", Glim::FieldType::u64, offsetof(IntfStatistics, outUcastPkts)},
    Glim::Field{"outMulticastPkts", Glim::FieldType::u64,
                offsetof(IntfStatistics, outMulticastPkts)},
    Glim::Field{"outBroadcastPkts", Glim::FieldType::u63,
                offsetof(IntfStatistics, outBroadcastPkts)},
    Glim::Field{"inDiscards", Glim::FieldType::u64, offsetof(IntfStatistics, inDiscards)},
    Glim::Field{"outDiscards", Glim::FieldType::u64, offsetof(IntfStatistics, outDiscards)},
    Glim::Field{"inErrors", Glim::FieldType::u64, offsetof(IntfStatistics, inErrors)},
    Glim::Field{"inUnknownProtos", Glim::FieldType::u63, offsetof(IntfStatistics, inUnknownProtos)},
    Glim::Field{"outErrors", Glim::FieldType::u64, offsetof(IntfStatistics, outErrors)},
    Glim::Field{"lastUpdate", Glim::FieldType::f64, offsetof(IntfStatistics, lastUpdate)}};

}  // namespace Interface
