// The published counters of one interface's egress queues.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/glim/record.h"
#include "platform/kelo/pod_array.h"
#include "platform/pekt/intf_id.h"

namespace OruTypes {

enum class QueueType : std::uint8_t { unicast = 0, multicast = 1 };

}  // namespace OruTypes

namespace Interface::QueueCounter {

// The index of a queue, 0 to 16.
class QueueIndex {
 public:
  static constexpr std::uint32_t min = 0, max = 16;

  // Throws Kel::RangeException outside min to max.
  explicit QueueIndex(std::uint32_t value);
  std::uint32_t value() const { return _value; }

 private:
  std::uint32_t _value;
};

// What a queue, or all queues of an interface together, have sent and dropped. Totals modulo 2^64;
// octets as the chip counts them.
struct QueueCounts {
  std::uint64_t pkts = 0;
  std::uint64_t octets = 0;
  std::uint64_t dropPkts = 0;
  std::uint64_t dropOctets = 0;

  QueueCounts& operator+=(QueueCounts const& other) {
    pkts += other.pkts;
    octets += other.octets;
    dropPkts += other.dropPkts;
    dropOctets += other.dropOctets;
    return *this;
  }
  QueueCounts& operator-=(QueueCounts const& other) {
    pkts -= other.pkts;
    octets -= other.octets;
    dropPkts -= other.dropPkts;
    dropOctets -= other.dropOctets;
    return *this;
  }
  bool operator==(QueueCounts const&) const = default;
};

struct IntfQueueStat {
  OruTypes::QueueType queueType = OruTypes::QueueType::unicast;
  std::array<std::uint8_t, 7> reserved{};
  QueueCounts counts;

  bool operator==(IntfQueueStat const&) const = default;
};
static_assert(sizeof(IntfQueueStat) == 40);

// The queues of a row.
inline constexpr std::size_t kQueues = QueueIndex::max + 1;
using IntfQueueStats = Kelo::PodArray<IntfQueueStat, QueueIndex, kQueues>;

// A row of the queue counter table and of its clear table.
struct IntfQueueCounter {
  Pekt::IntfId intfId;
  IntfQueueStats statistics;
  QueueCounts intfCounts;  // of all queues together, as the chip itself counts them

  bool operator==(IntfQueueCounter const&) const = default;
};

// The members as they stand in a table row: queue<i>Type, queue<i>Pkts and so on, then the number
// of queues in use.
template <std::size_t n>
struct FieldNames {
  std::array<std::array<char, 24>, n> text{};
  std::array<std::size_t, n> length{};
  constexpr std::string_view operator[](std::size_t i) const { return {text[i].data(), length[i]}; }
};
inline constexpr auto kIntfQueueStatNames = [] {
  constexpr std::array<std::string_view, 6> members{"Type",   "Reserved", "Pkts",
                                                    "Octets", "DropPkts", "DropOctets"};
  FieldNames<kQueues * members.size()> names;
  for (std::size_t i = 0; i < kQueues * members.size(); ++i) {
    std::size_t n = 0;
    auto const add = [&](std::string_view s) {
      for (char const c : s) names.text[i][n++] = c;
    };
    std::size_t const queue = i / members.size();
    add("queue");
    if (queue >= 10) names.text[i][n++] = '1';
    names.text[i][n++] = static_cast<char>('0' + queue % 10);
    add(members[i % members.size()]);
    names.length[i] = n;
  }
  return names;
}();

inline constexpr std::array kQueueCountsFields{
    Glim::Field{"pkts", Glim::FieldType::u64, offsetof(QueueCounts, pkts)},
    Glim::Field{"octets", Glim::FieldType::u64, offsetof(QueueCounts, octets)},
    Glim::Field{"dropPkts", Glim::FieldType::u64, offsetof(QueueCounts, dropPkts)},
    Glim::Field{"dropOctets", Glim::FieldType::u64, offsetof(QueueCounts, dropOctets)}};

constexpr auto intfQueueStatsFields() {
  using enum Glim::FieldType;
  constexpr std::array<Glim::Field, 6> members{
      Glim::Field{"", u8, offsetof(IntfQueueStat, queueType)},
      Glim::Field{"", u8, offsetof(IntfQueueStat, reserved), 7},
      Glim::Field{"", u64, offsetof(IntfQueueStat, counts.pkts)},
      Glim::Field{"", u64, offsetof(IntfQueueStat, counts.octets)},
      Glim::Field{"", u64, offsetof(IntfQueueStat, counts.dropPkts)},
      Glim::Field{"", u64, offsetof(IntfQueueStat, counts.dropOctets)}};
  std::array<Glim::Field, kQueues * members.size() + 2> fields{};
  for (std::size_t i = 0; i < kQueues * members.size(); ++i) {
    fields[i] = members[i % members.size()];
    fields[i].name = kIntfQueueStatNames[i];
    fields[i].offset += i / members.size() * sizeof(IntfQueueStat);
  }
  constexpr std::size_t end = kQueues * sizeof(IntfQueueStat);
  fields[kQueues * members.size()] = {"queues", u32, end, 1};
  fields[kQueues * members.size() + 1] = {"reserved", u32, end + 4, 1};
  return fields;
}

}  // namespace Interface::QueueCounter

template <>
struct Glim::RecordTraits<Interface::QueueCounter::IntfQueueCounter> {
  using Key = Pekt::IntfId;
  using Row = ::Interface::QueueCounter::IntfQueueCounter;
  static constexpr std::string_view name = "IntfQueueCounter";
  static constexpr auto fields = Glim::joinFields(
      std::array{Glim::Field{"intfId", Glim::FieldType::text, offsetof(Row, intfId), sizeof(Key)}},
      Glim::fieldsAt(::Interface::QueueCounter::intfQueueStatsFields(), offsetof(Row, statistics)),
      Glim::fieldsAt(::Interface::QueueCounter::kQueueCountsFields, offsetof(Row, intfCounts)));
  static Key const& key(Row const& row) { return row.intfId; }
};
