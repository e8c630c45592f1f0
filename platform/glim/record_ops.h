// What a table is told of its keys and records: the template arguments of GlimMap and of its
// relatives that are made from a record's traits.
//
// A table treats keys and records through its Ops alone. Whoever brings other ones derives from
// KelGlimMapOps, and gives the same to all that write or read the table's file.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <sstream>
#include <string>

#include "platform/glim/record.h"
#include "platform/glim/row_print.h"

namespace Glim {

// Storage of keys outside of the file.
template <class Key, class Stored>
using Allocator = std::allocator<Stored>;

}  // namespace Glim

namespace KelGlim {

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

// The record as a table takes it: with the accessor of its key.
template <class RecordType, class Key, Key const& (*key)(RecordType const&)>
struct KelGlimMapValueWrapper {
  using Record = RecordType;
  static Key const& fwkKey(Record const& record) { return key(record); }
};

template <class KeyType, class Value>
struct KelGlimMapOps {
  using Key = KeyType;
  using Record = typename Value::Record;
  using KeyAllocator = Glim::Allocator<Key, Key>;

  // Keys. `hash` places a key in the file's index; `less` orders the walk. Keys that are equal have
  // the same bytes: it is those that a writer compares.
  static Key const& key(Record const& record) { return Value::fwkKey(record); }
  static std::uint32_t hash(Key const& key) { return static_cast<std::uint32_t>(key.hash()); }
  static bool less(Key const& a, Key const& b) { return std::less<Key>()(a, b); }
  static bool equal(Key const& a, Key const& b) { return std::equal_to<Key>()(a, b); }
  static std::string toString(Key const& key) { return keyText(key); }

  // Values.
  // The words that go into the record's slot: the record's own, since it is a row as it stands.
  static void const* marshal(Record const& record) { return &record; }
  static bool equalValues(Record const& a, Record const& b) { return a == b; }
  static std::string valueToString(Record const& record) {
    return Glim::rowText(Glim::RecordTraits<Record>::fields, marshal(record));
  }
};

}  // namespace KelGlim

namespace Glim {

template <class Record>
using KeyOf = typename RecordTraits<Record>::Key;
template <class Record>
using ValueOf = KelGlim::KelGlimMapValueWrapper<Record, KeyOf<Record>, &RecordTraits<Record>::key>;
template <class Record>
using OpsOf = KelGlim::KelGlimMapOps<KeyOf<Record>, ValueOf<Record>>;

}  // namespace Glim
