// What the untyped core knows of a record: its size, its schema, and how to treat the key at its
// start.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "platform/glim/record.h"
#include "platform/glim/record_ops.h"

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

// The key at the start of a row that may stand anywhere in memory.
template <class Key>
Key keyAt(void const* key) {
  Key copy;
  std::memcpy(static_cast<void*>(&copy), key, sizeof copy);
  return copy;
}

template <class Ops>
KeyOps keyOps() {
  using Key = typename Ops::Key;
  return {[](void const* key) { return Ops::hash(keyAt<Key>(key)); },
          [](void const* a, void const* b) { return Ops::less(keyAt<Key>(a), keyAt<Key>(b)); },
          [](void const* key) { return Ops::toString(keyAt<Key>(key)); }};
}

template <class Record>
std::span<std::string_view const> formerSchemas() {
  if constexpr (requires { RecordTraits<Record>::formerSchemas; }) {
    return RecordTraits<Record>::formerSchemas;
  } else {
    return {};
  }
}

template <class Record, class Ops = OpsOf<Record>>
RowShape const& rowShape() {
  static Record const defaultRow{};
  static RowShape const shape{
      schemaText<Record>,    schemaHash<Record>,      CheckedRecord<Record>::words,
      sizeof(KeyOf<Record>), formerSchemas<Record>(), &defaultRow,
      keyOps<Ops>()};
  return shape;
}

// Whether a record's key is its first member, as the file format has it.
template <class Ops>
bool keyStandsFirst() {
  typename Ops::Record const record{};
  return static_cast<void const*>(&Ops::key(record)) == static_cast<void const*>(&record);
}

}  // namespace Glim
