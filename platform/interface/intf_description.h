// What a reader needs to show beside an interface's counters.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/glim/record.h"
#include "platform/interface/eth_counters.h"
#include "platform/interface/intf_state.h"
#include "platform/interface/padded_text.h"
#include "platform/interface/statistics.h"
#include "platform/pekt/intf_id.h"

namespace Interface {

// The counters of an EthIntfCounterGlim row by their names in the table's schema: those of
// IntfStatistics, then the plain ones and the six arrays of EthStatistics.
inline constexpr auto kCounterNames = [] {
  constexpr std::size_t plain = kIntfStatisticsFields.size() - 1;  // without lastUpdate
  std::array<std::string_view, plain + kEthCounters + kEthArrayNames.size()> names{};
  std::size_t n = 0;
  for (std::size_t i = 0; i < plain; ++i) names[n++] = kIntfStatisticsFields[i].name;
  for (std::string_view const name : kEthCounterNames) names[n++] = name;
  for (std::string_view const name : kEthArrayNames) names[n++] = name;
  return names;
}();

// A set of those counters: bit n is kCounterNames[n].
class CounterSet {
 public:
  static_assert(kCounterNames.size() <= 64);

  constexpr CounterSet() = default;
  static constexpr CounterSet fromWord(std::uint64_t word) {
    CounterSet set;
    set._word = word;
    return set;
  }
  constexpr std::uint64_t word() const { return _word; }

  constexpr bool empty() const { return _word == 0; }
  // A name that is no counter's is in no set, and inserting it does nothing.
  constexpr bool contains(std::string_view name) const { return (_word & bit(name)) != 0; }
  constexpr void insert(std::string_view name) { _word |= bit(name); }
  bool operator==(CounterSet const&) const = default;

 private:
  static constexpr std::uint64_t bit(std::string_view name) {
    for (std::size_t i = 0; i < kCounterNames.size(); ++i)
      if (kCounterNames[i] == name) return std::uint64_t{1} << i;
    return 0;
  }
  std::uint64_t _word = 0;
};

// The queue counters as the bits of IntfDescription::unsupportedQueue: bit n is
// kQueueCounterNames[n] of the single queues, bit 4 + n that of all queues together.
inline constexpr std::array<std::string_view, 4> kQueueCounterNames{"pkts", "octets", "dropPkts",
                                                                    "dropOctets"};
inline constexpr std::uint32_t kNoSingleQueues = 0x0f;
inline constexpr std::uint32_t kNoQueuesTogether = 0xf0;

// A row of the agent's own table of interfaces.
struct IntfDescription {
  Pekt::IntfId intfId;
  PaddedText<16> kernelName;      // the interface's name on this machine
  PaddedText<256> alias;          // ifAlias: what the operator wrote on it
  std::uint64_t speed = 0;        // bits per second; 0: unknown
  std::uint64_t unsupported = 0;  // the counters that the chip cannot count: a CounterSet
  double lastChange = 0.0;        // seconds since the epoch
  std::uint32_t ifIndex = 0;
  AdminState adminState = AdminState::unknown;
  OperState operState = OperState::none;
  std::uint16_t reserved = 0;
  std::uint32_t txQueues = 0;  // transmit queues, which may be more than a row has; 0: unknown
  std::uint32_t unsupportedQueue = 0;  // the queue counters that the chip cannot count

  bool operator==(IntfDescription const&) const = default;
};

}  // namespace Interface

template <>
struct Glim::RecordTraits<Interface::IntfDescription> {
  using Key = Pekt::IntfId;
  using Row = ::Interface::IntfDescription;
  static constexpr std::string_view name = "IntfDescription";
  static constexpr std::array fields{
      Glim::Field{"intfId", Glim::FieldType::text, offsetof(Row, intfId), sizeof(Key)},
      Glim::Field{"kernelName", Glim::FieldType::text, offsetof(Row, kernelName), 16},
      Glim::Field{"alias", Glim::FieldType::text, offsetof(Row, alias), 256},
      Glim::Field{"speed", Glim::FieldType::u64, offsetof(Row, speed)},
      Glim::Field{"unsupported", Glim::FieldType::u64, offsetof(Row, unsupported)},
      Glim::Field{"lastChange", Glim::FieldType::f64, offsetof(Row, lastChange)},
      Glim::Field{"ifIndex", Glim::FieldType::u32, offsetof(Row, ifIndex)},
      Glim::Field{"adminState", Glim::FieldType::u8, offsetof(Row, adminState)},
      Glim::Field{"operState", Glim::FieldType::u8, offsetof(Row, operState)},
      Glim::Field{"reserved", Glim::FieldType::u16, offsetof(Row, reserved)},
      Glim::Field{"txQueues", Glim::FieldType::u32, offsetof(Row, txQueues)},
      Glim::Field{"unsupportedQueue", Glim::FieldType::u32, offsetof(Row, unsupportedQueue)}};
  static Key const& key(Row const& row) { return row.intfId; }
};
