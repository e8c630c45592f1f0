// Rows for the recorded tables.
#pragma once

#include <compare>
#include <cstdint>
#include <string>

#include "platform/glim/record.h"
#include "platform/glim/row_shape.h"

namespace GlimModel {

// The upper bytes are the hash: keys that differ in the lowest byte alone collide.
struct Key {
  std::uint64_t value = 0;

  std::uint32_t hash() const { return static_cast<std::uint32_t>(value >> 8); }
  std::string stringValue() const { return std::to_string(value); }
  auto operator<=>(Key const&) const = default;
};

struct Row {
  Key key;
  std::uint64_t count = 0;
};

// The counts are equal in every row that is written.
struct WideRow {
  Key key;
  std::uint64_t count = 0;
  std::uint64_t same = 0;
};

}  // namespace GlimModel

template <>
struct Glim::RecordTraits<GlimModel::Row> {
  using Key = GlimModel::Key;
  static constexpr std::string_view name = "Row";
  static constexpr std::array fields{Field{"key", FieldType::u64, 0},
                                     Field{"count", FieldType::u64, 8}};
  static Key const& key(GlimModel::Row const& record) { return record.key; }
};

template <>
struct Glim::RecordTraits<GlimModel::WideRow> {
  using Key = GlimModel::Key;
  static constexpr std::string_view name = "WideRow";
  static constexpr std::array fields{Field{"key", FieldType::u64, 0},
                                     Field{"count", FieldType::u64, 8},
                                     Field{"same", FieldType::u64, 16}};
  static Key const& key(GlimModel::WideRow const& record) { return record.key; }
};
