#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "hardware/linux/offset_store.h"
#include "platform/dov/exception.h"
#include "platform/glim/collection.h"
#include "platform/glim/give_up.h"

namespace Hardware::Linux {

/// The names of those tables within the agent's directory.
inline constexpr std::string_view kLinkOffsets = "linkOffsets";
inline constexpr std::string_view kQueueOffsets = "queueOffsets";
inline constexpr std::string_view kVlanOffsets = "vlanOffsets";

/// A row of the agent's private table of the ports' offsets.
struct OffsetRow {
  Pekt::IntfId intfId;
  std::uint64_t generation = 0;
  std::uint64_t ifindex = 0;
  PortTotals offsets;

  static OffsetRow of(Pekt::IntfId const& intfId, StoredOffsets const& offsets);
  StoredOffsets stored() const;
};

/// The same of their queues.
struct QueueOffsetRow {
  Pekt::IntfId intfId;
  std::uint64_t generation = 0;
  std::uint64_t ifindex = 0;
  std::array<std::uint64_t, kQueueTotals> sources{};
  QueueTotals offsets;

  static QueueOffsetRow of(Pekt::IntfId const& intfId, StoredQueueOffsets const& offsets);
  StoredQueueOffsets stored() const;
};

/// The same of the VLANs of a bridge, under the names of their interfaces: what is counted of them.
struct VlanOffsetRow {
  Pekt::IntfId intfId;
  std::uint64_t generation = 0;
  std::uint64_t ifindex = 0;
  std::uint64_t inOctets = 0;
  std::uint64_t inPkts = 0;
  std::uint64_t outOctets = 0;
  std::uint64_t outPkts = 0;

  static VlanOffsetRow of(Pekt::IntfId const& intfId, StoredOffsets const& offsets);
  StoredOffsets stored() const;
};

namespace Detail {

// One name a field, so that the schema changes whenever the meaning of a word does.
constexpr auto offsetFields() {
  constexpr std::array<std::string_view, static_cast<std::size_t>(PortField::firstEthCounter)>
      kNames{"inOctets",   "inPkts",      "inMulticastPkts",  "inBroadcastPkts",
             "outOctets",  "outPkts",     "outMulticastPkts", "outBroadcastPkts",
             "inDiscards", "outDiscards", "inErrors",         "outErrors"};
  std::array<Glim::Field, kPortFields> fields{};
  for (std::size_t i = 0; i < kPortFields; ++i)
    fields[i] = {i < kNames.size() ? kNames[i] : Interface::kEthCounterNames[i - kNames.size()],
                 Glim::FieldType::u64, i * 8};
  return fields;
}

}  // namespace Detail
}  // namespace Hardware::Linux

template <>
struct Glim::RecordTraits<Hardware::Linux::OffsetRow> {
  using Key = Pekt::IntfId;
  using Row = Hardware::Linux::OffsetRow;
  static constexpr std::string_view name = "LinuxPortOffsets";
  static constexpr auto fields = Glim::joinFields(
      std::array{Glim::Field{"intfId", Glim::FieldType::text, offsetof(Row, intfId), sizeof(Key)},
                 Glim::Field{"generation", Glim::FieldType::u64, offsetof(Row, generation)},
                 Glim::Field{"ifindex", Glim::FieldType::u64, offsetof(Row, ifindex)}},
      Glim::fieldsAt(Hardware::Linux::Detail::offsetFields(), offsetof(Row, offsets)));
  static Key const& key(Row const& row) { return row.intfId; }
};

template <>
struct Glim::RecordTraits<Hardware::Linux::QueueOffsetRow> {
  using Key = Pekt::IntfId;
  using Row = Hardware::Linux::QueueOffsetRow;
  static constexpr std::string_view name = "LinuxQueueOffsets";
  static constexpr std::size_t n = Hardware::Linux::kQueueTotals;
  static constexpr std::array fields{
      Glim::Field{"intfId", Glim::FieldType::text, offsetof(Row, intfId), sizeof(Key)},
      Glim::Field{"generation", Glim::FieldType::u64, offsetof(Row, generation)},
      Glim::Field{"ifindex", Glim::FieldType::u64, offsetof(Row, ifindex)},
      Glim::Field{"sources", Glim::FieldType::u64, offsetof(Row, sources), n},
      Glim::Field{"pkts", Glim::FieldType::u64, offsetof(Row, offsets.pkts), n},
      Glim::Field{"octets", Glim::FieldType::u64, offsetof(Row, offsets.octets), n},
      Glim::Field{"dropPkts", Glim::FieldType::u64, offsetof(Row, offsets.dropPkts), n}};
  static Key const& key(Row const& row) { return row.intfId; }
};

template <>
struct Glim::RecordTraits<Hardware::Linux::VlanOffsetRow> {
  using Key = Pekt::IntfId;
  using Row = Hardware::Linux::VlanOffsetRow;
  static constexpr std::string_view name = "LinuxVlanOffsets";
  static constexpr std::array fields{
      Glim::Field{"intfId", Glim::FieldType::text, offsetof(Row, intfId), sizeof(Key)},
      Glim::Field{"generation", Glim::FieldType::u64, offsetof(Row, generation)},
      Glim::Field{"ifindex", Glim::FieldType::u64, offsetof(Row, ifindex)},
      Glim::Field{"inOctets", Glim::FieldType::u64, offsetof(Row, inOctets)},
      Glim::Field{"inPkts", Glim::FieldType::u64, offsetof(Row, inPkts)},
      Glim::Field{"outOctets", Glim::FieldType::u64, offsetof(Row, outOctets)},
      Glim::Field{"outPkts", Glim::FieldType::u64, offsetof(Row, outPkts)}};
  static Key const& key(Row const& row) { return row.intfId; }
};

namespace Hardware::Linux {

/// In a shared-memory table of its own, which outlives the agent just as the tables whose totals it
/// keeps true.
template <class Offsets, class Row>
class GlimOffsetStoreOf final : public OffsetStoreOf<Offsets> {
 public:
  using Table = Glim::Collection<Row>;

  explicit GlimOffsetStoreOf(Kel::Ptr<Table> table) : _table(std::move(table)) {}

  std::optional<Offsets> load(Pekt::IntfId const& intfId) override {
    Row row;
    bool found = false;
    _table->safeLookup(intfId, found, row);
    return found ? std::optional(row.stored()) : std::nullopt;
  }
  /// False if the table is full, out of memory or detached after a corruption.
  bool save(Pekt::IntfId const& intfId, Offsets const& offsets) override {
    if (!_table->attached()) return false;
    try {
      Glim::writeOrGiveUp(*_table, Row::of(intfId, offsets));
    } catch (Dov::Exception const&) {
      return false;
    }
    return _table->attached();
  }
  /// A table that turns out to be damaged is given up.
  void erase(Pekt::IntfId const& intfId) override { Glim::removeOrGiveUp(*_table, intfId); }
  void forEach(std::function<void(Pekt::IntfId const&)> const& visit) override {
    _table->forEach([&](Row const& row) { visit(row.intfId); });
  }

 private:
  Kel::Ptr<Table> _table;
};

using GlimOffsetStore = GlimOffsetStoreOf<StoredOffsets, OffsetRow>;
using GlimQueueOffsetStore = GlimOffsetStoreOf<StoredQueueOffsets, QueueOffsetRow>;
using GlimVlanOffsetStore = GlimOffsetStoreOf<StoredOffsets, VlanOffsetRow>;

}  // namespace Hardware::Linux
