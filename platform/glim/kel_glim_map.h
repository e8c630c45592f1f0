// What a GlimMap is told of its records and keys: the template arguments that are made from a
// record's traits.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/glim/row_shape.h"

namespace Glim {

// Storage of keys outside of the file.
template <class Key, class Stored>
using Allocator = std::allocator<Stored>;

}  // namespace Glim

namespace KelGlim {

// The record as a table takes it: with the accessor of its key.
template <class RecordType, class Key, Key const& (*key)(RecordType const&)>
struct KelGlimMapValueWrapper {
  using Record = RecordType;
  static Key const& fwkKey(Record const& record) { return key(record); }
};

template <class Key, class Value>
struct KelGlimMapOps {
  using Record = typename Value::Record;
  using KeyAllocator = Glim::Allocator<Key, Key>;

  static Key const& key(Record const& record) { return Value::fwkKey(record); }
  static std::uint32_t hash(Key const& key) { return static_cast<std::uint32_t>(key.hash()); }
  static bool less(Key const& a, Key const& b) { return std::less<Key>()(a, b); }
  static bool equal(Key const& a, Key const& b) { return std::equal_to<Key>()(a, b); }
  static std::string toString(Key const& key) { return Glim::keyText(key); }
};

}  // namespace KelGlim
