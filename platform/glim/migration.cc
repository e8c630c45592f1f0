#include "platform/glim/migration.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Glim {

namespace {

// Whole numbers without a sign, in bytes; 0 for every other type. The optional counter holds one
// bit less than its size, still more than any narrower number needs.
std::size_t wholeNumberSize(FieldType type) {
  switch (type) {
    case FieldType::u64:
    case FieldType::u63:
    case FieldType::u32:
    case FieldType::u16:
    case FieldType::u8:
      return fieldSize(type);
    case FieldType::f64:
    case FieldType::text:
      return 0;
  }
  return 0;
}

// Fields that make up the key, as they stand in the row.
std::vector<SchemaField> keyFields(Schema const& schema, std::size_t keyBytes) {
  std::vector<SchemaField> key;
  for (SchemaField const& field : schema.fields) {
    if (field.offset < keyBytes) key.push_back(field);
  }
  return key;
}

template <class Number>
std::uint64_t numberAt(std::byte const* from) {
  Number number;
  std::memcpy(&number, from, sizeof number);
  return number;
}

std::uint64_t loadNumber(std::byte const* from, std::size_t size) {
  switch (size) {
    case 1:
      return numberAt<std::uint8_t>(from);
    case 2:
      return numberAt<std::uint16_t>(from);
    case 4:
      return numberAt<std::uint32_t>(from);
    default:
      return numberAt<std::uint64_t>(from);
  }
}

template <class Number>
void storeNumberAt(std::byte* to, std::uint64_t value) {
  Number const number = static_cast<Number>(value);
  std::memcpy(to, &number, sizeof number);
}

void storeNumber(std::byte* to, std::size_t size, std::uint64_t value) {
  switch (size) {
    case 2:
      return storeNumberAt<std::uint16_t>(to, value);
    case 4:
      return storeNumberAt<std::uint32_t>(to, value);
    default:
      return storeNumberAt<std::uint64_t>(to, value);
  }
}

}  // namespace

bool Migration::carries(FieldType from, FieldType to) {
  if (from == to) return true;
  std::size_t const size = wholeNumberSize(from);
  return size != 0 && size < wholeNumberSize(to);
}

std::optional<Migration> Migration::plan(std::string_view from, std::size_t fromBytes,
                                         RowShape const& to) {
  auto const older = parseSchema(from, fromBytes);
  auto const today = parseSchema(to.schema, to.rowWords * sizeof(std::uint64_t));
  if (!older || !today) return {};
  if (keyFields(*older, to.keyBytes) != keyFields(*today, to.keyBytes)) return {};
  Migration migration(to);
  for (SchemaField const& field : today->fields) {
    auto const same =
        std::find_if(older->fields.begin(), older->fields.end(),
                     [&](SchemaField const& each) { return each.name == field.name; });
    if (same != older->fields.end() && carries(same->type, field.type)) {
      migration._steps.push_back({*same, field});
    }
  }
  return migration;
}

void Migration::carry(void const* from, void* to) const {
  std::memcpy(to, _to->defaultRow, _to->rowWords * sizeof(std::uint64_t));
  for (Step const& step : _steps) {
    auto const* source = static_cast<std::byte const*>(from) + step.from.offset;
    auto* target = static_cast<std::byte*>(to) + step.to.offset;
    std::size_t const count = std::min(step.from.count, step.to.count);
    if (step.to.type == FieldType::text) std::memset(target, 0, step.to.count);
    if (step.from.type == step.to.type) {
      std::memcpy(target, source, count * fieldSize(step.to.type));
      continue;
    }
    std::size_t const narrow = fieldSize(step.from.type);
    std::size_t const wide = fieldSize(step.to.type);
    for (std::size_t i = 0; i < count; ++i) {
      storeNumber(target + i * wide, wide, loadNumber(source + i * narrow, narrow));
    }
  }
}

}  // namespace Glim
