#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "hardware/linux/offset_store.h"
#include "platform/glim/collection.h"

namespace Hardware::Linux {

/// The name of that table within the agent's directory.
inline constexpr std::string_view kLinkOffsets = "linkOffsets";

/// A row of the agent's private table of offsets.
struct OffsetRow {
  Pekt::IntfId intfId;
  std::uint64_t generation = 0;
  std::uint64_t ifindex = 0;
  PortTotals offsets;
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

namespace Hardware::Linux {

/// In a shared-memory table of its own, which outlives the agent just as the tables whose totals it
/// keeps true.
class GlimOffsetStore final : public OffsetStore {
 public:
  using Table = Glim::Collection<OffsetRow>;

  explicit GlimOffsetStore(Kel::Ptr<Table> table) : table_(std::move(table)) {}

  std::optional<StoredOffsets> load(Pekt::IntfId const& intfId) override;
  /// False if the table is full, out of memory or detached after a corruption.
  bool save(Pekt::IntfId const& intfId, StoredOffsets const& offsets) override;
  void erase(Pekt::IntfId const& intfId) override { table_->remove(intfId); }
  void forEach(std::function<void(Pekt::IntfId const&)> const& visit) override;

 private:
  Kel::Ptr<Table> table_;
};

}  // namespace Hardware::Linux
