// The counters that only an Ethernet MAC has.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/glim/record.h"
#include "platform/wib/maybe_u63.h"

namespace Interface {

// The plain counters of an Ethernet MAC, named after IEEE 802.3 clause 30, the
// Ethernet-like MIB (RFC 3635) and RMON (RFC 2819).
enum class EthCounter : std::uint8_t {
  // The five receive error classes, and symbol errors, which are none.
  alignmentErrors,
  fcsErrors,
  frameTooLongs,
  frameTooShorts,
  internalMacReceiveErrors,
  symbolErrors,
  // The five transmit error classes.
  sqeTestErrors,
  lateCollisions,
  excessiveCollisions,
  internalMacTransmitErrors,
  carrierSenseErrors,
  singleCollisionFrames,
  multipleCollisionFrames,
  deferredTransmissions,
  inUnknownOpcodes,
  inPauseFrames,
  outPauseFrames,
  inMacControlFrames,
  outMacControlFrames,
  inFragments,
  inJabbers,
  in64Octets,
  in65To127Octets,
  in128To255Octets,
  in256To511Octets,
  in512To1023Octets,
  in1024To1518Octets,
  in1519ToMaxOctets,
  out64Octets,
  out65To127Octets,
  out128To255Octets,
  out256To511Octets,
  out512To1023Octets,
  out1024To1518Octets,
  out1519ToMaxOctets,
};
inline constexpr std::size_t kEthCounters = 35;

// The name of each, as above.
inline constexpr std::array<std::string_view, kEthCounters> kEthCounterNames{
    "alignmentErrors",
    "fcsErrors",
    "frameTooLongs",
    "frameTooShorts",
    "internalMacReceiveErrors",
    "symbolErrors",
    "sqeTestErrors",
    "lateCollisions",
    "excessiveCollisions",
    "internalMacTransmitErrors",
    "carrierSenseErrors",
    "singleCollisionFrames",
    "multipleCollisionFrames",
    "deferredTransmissions",
    "inUnknownOpcodes",
    "inPauseFrames",
    "outPauseFrames",
    "inMacControlFrames",
    "outMacControlFrames",
    "inFragments",
    "inJabbers",
    "in64Octets",
    "in65To127Octets",
    "in128To255Octets",
    "in256To511Octets",
    "in512To1023Octets",
    "in1024To1518Octets",
    "in1519ToMaxOctets",
    "out64Octets",
    "out65To127Octets",
    "out128To255Octets",
    "out256To511Octets",
    "out512To1023Octets",
    "out1024To1518Octets",
    "out1519ToMaxOctets"};
constexpr std::string_view name(EthCounter counter) {
  return kEthCounterNames[static_cast<std::size_t>(counter)];
}

// One optional counter a traffic priority (IEEE 802.1Q priority code points).
struct EthPerPrioStatistics {
  static constexpr std::size_t kEntries = 8;
  std::array<Wib::MaybeU63, kEntries> entries;
  std::uint32_t count = 0;  // entries held; all of them after any arithmetic
  std::uint32_t reserved = 0;

  bool operator==(EthPerPrioStatistics const&) const = default;
};

// An entry has no value where either operand's has none; otherwise it is the
// sum or difference modulo 2^63.
EthPerPrioStatistics operator-(EthPerPrioStatistics const& a, EthPerPrioStatistics const& b);
EthPerPrioStatistics operator+(EthPerPrioStatistics const& a, EthPerPrioStatistics const& b);

// 17 plain counters, of which the first `count` are valid.
struct EthLaneStatistics {
  static constexpr std::size_t kEntries = 17;
  std::array<std::uint64_t, kEntries> entries{};
  std::uint32_t count = 0;
  std::uint32_t reserved = 0;

  bool operator==(EthLaneStatistics const&) const = default;
};

// Entry by entry modulo 2^64; as many entries are valid as in the operand that
// has more.
EthLaneStatistics operator-(EthLaneStatistics const& a, EthLaneStatistics const& b);
EthLaneStatistics operator+(EthLaneStatistics const& a, EthLaneStatistics const& b);

struct EthStatistics {
  std::array<std::uint64_t, kEthCounters> plain{};
  EthPerPrioStatistics inPfcFrames;
  EthPerPrioStatistics outPfcFrames;
  EthLaneStatistics fecCodewordErrors;       // by number of symbol errors in the codeword
  EthLaneStatistics fecLaneCorrectedBlocks;  // by lane
  EthPerPrioStatistics inPfcPauseMicros;
  EthPerPrioStatistics outPfcPauseMicros;

  std::uint64_t operator[](EthCounter c) const { return plain[static_cast<std::size_t>(c)]; }
  std::uint64_t& operator[](EthCounter c) { return plain[static_cast<std::size_t>(c)]; }
  bool operator==(EthStatistics const&) const = default;
};

// Member by member by the rules of each.
EthStatistics operator-(EthStatistics const& a, EthStatistics const& b);
EthStatistics operator+(EthStatistics const& a, EthStatistics const& b);

// total = total + (now - before), in one pass over the three.
void addDifference(EthStatistics& total, EthStatistics const& now, EthStatistics const& before);

// What IntfStatistics::inErrors and outErrors must equal: the wrapping sum of
// the five classes of each direction.
std::uint64_t receiveErrorSum(EthStatistics const& s);
std::uint64_t transmitErrorSum(EthStatistics const& s);

// The names of the six arrays, in order.
inline constexpr std::array<std::string_view, 6> kEthArrayNames{
    "inPfcFrames",      "outPfcFrames",     "fecCodewordErrors", "fecLaneCorrectedBlocks",
    "inPfcPauseMicros", "outPfcPauseMicros"};

// The members as they stand in a table row, by name.
constexpr auto ethStatisticsFields() {
  std::array<Glim::Field, kEthCounters + kEthArrayNames.size() * 3> fields{};
  std::size_t n = 0;
  for (std::size_t i = 0; i < kEthCounters; ++i)
    fields[n++] = {kEthCounterNames[i], Glim::FieldType::u64, i * 8, 1};
  std::size_t offset = kEthCounters * 8;
  std::size_t arrays = 0;
  auto const array = [&](std::string_view count, std::string_view reserved, Glim::FieldType type,
                         std::size_t size) {
    fields[n++] = {kEthArrayNames[arrays++], type, offset, size};
    fields[n++] = {count, Glim::FieldType::u32, offset + size * 8, 1};
    fields[n++] = {reserved, Glim::FieldType::u32, offset + size * 8 + 4, 1};
    offset += size * 8 + 8;
  };
  using enum Glim::FieldType;
  array("inPfcFramesCount", "inPfcFramesReserved", u63, EthPerPrioStatistics::kEntries);
  array("outPfcFramesCount", "outPfcFramesReserved", u63, EthPerPrioStatistics::kEntries);
  array("fecCodewordErrorsCount", "fecCodewordErrorsReserved", u64, EthLaneStatistics::kEntries);
  array("fecLaneCorrectedBlocksCount", "fecLaneCorrectedBlocksReserved", u64,
        EthLaneStatistics::kEntries);
  array("inPfcPauseMicrosCount", "inPfcPauseMicrosReserved", u63, EthPerPrioStatistics::kEntries);
  array("outPfcPauseMicrosCount", "outPfcPauseMicrosReserved", u63, EthPerPrioStatistics::kEntries);
  return fields;
}

}  // namespace Interface
