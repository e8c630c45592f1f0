// What the untyped core knows of a record: its size, its schema, and how to treat the key at its
// start.
#pragma once

#include <cstring>
#include <functional>
#include <span>
#include <sstream>
#include <string>
#include <string_view>

#include "platform/glim/record.h"

namespace Glim {

struct KeyOps {
  std::uint32_t (*hash)(void const* key);
  bool (*less)(void const* a, void const* b);
  std::string (*text)(void const* key);
};

struct RowShape {
  std::string_view schema;
  std::uint64_t schemaHash;
  std::size_t rowWords;
  std::size_t keyBytes;
  // Schemas that tables of this record had in earlier releases, and whose rows are carried over.
  std::span<std::string_view const> formerSchemas;
  void const* defaultRow;  // what the fields of a row begin with when a direct write makes it
  KeyOps key;
};

// Printable form of a key: what operator<< writes, else stringValue().
template <class Key>
std::string keyText(Key const& key) {
  if constexpr (requires(std::ostream & out) { out << key; }) {
    std::ostringstream out;
    out << key;
    return out.str();
  } else {
    return key.stringValue();
  }
}

// The key at the start of a row that may stand anywhere in memory.
template <class Key>
Key keyAt(void const* key) {
  Key copy;
  std::memcpy(static_cast<void*>(&copy), key, sizeof copy);
  return copy;
}

template <class Key>
KeyOps keyOps() {
  return KeyOps{
      [](void const* key) { return static_cast<std::uint32_t>(keyAt<Key>(key).hash()); },
      [](void const* a, void const* b) { return std::less<Key>()(keyAt<Key>(a), keyAt<Key>(b)); },
      [](void const* key) { return keyText(keyAt<Key>(key)); }};
}

template <class Record>
std::span<std::string_view const> formerSchemas() {
  if constexpr (requires { RecordTraits<Record>::formerSchemas; }) {
    return RecordTraits<Record>::formerSchemas;
  } else {
    return {};
  }
}

template <class Record>
RowShape const& rowShape() {
  using Key = typename RecordTraits<Record>::Key;
  static Record const defaultRow{};
  static RowShape const shape{
      schemaText<Record>, schemaHash<Record>,      CheckedRecord<Record>::words,
      sizeof(Key),        formerSchemas<Record>(), &defaultRow,
      keyOps<Key>()};
  return shape;
}

// Whether a record's key is its first member, as the file format has it.
template <class Record>
bool keyStandsFirst() {
  Record const record{};
  return static_cast<void const*>(&RecordTraits<Record>::key(record)) ==
         static_cast<void const*>(&record);
}

}  // namespace Glim
