// What a table row is. A record is a trivially copyable struct of whole 8-byte words, without
// padding and without pointers, described field by field beside its definition:
//
//   struct DropCounter {
//     Pekt::IntfId intfId;
//     std::uint64_t aclDropPkts = 0;
//   };
//   template <>
//   struct Glim::RecordTraits<DropCounter> {
//     using Key = Pekt::IntfId;
//     static constexpr std::string_view name = "DropCounter";
//     static constexpr std::array fields{
//         Glim::Field{"intfId", Glim::FieldType::text, offsetof(DropCounter, intfId), sizeof(Key)},
//         Glim::Field{"aclDropPkts", Glim::FieldType::u64, offsetof(DropCounter, aclDropPkts)}};
//     static Key const& key(DropCounter const& record) { return record.intfId; }
//   };
//
// The fields must tile the record exactly, in order; the key is its first member, of a type with
// hash() (32 bits), == and <. Both are checked. The schema, as text and as a hash, is derived from
// this at compile time: it is what a table file says of its rows, and what tells a reader of
// another version that they are not the rows it knows.
//
// A record that changes names the schemas of its earlier releases, each as the text that was its
// schema then; a writer carries the rows of such a table over, field by field by name
// (migration.h):
//
//   static constexpr std::array<std::string_view, 1> formerSchemas{
//       "DropCounter\nintfId:text:0:48\naclDropPkts:u32:48:1\nreserved:u32:52:1\n"};
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace Glim {

enum class FieldType : std::uint8_t {
  u64,  // a counter modulo 2^64
  u63,  // an optional counter: the top bit says that there is no value
  f64,  // a double; times are seconds since the epoch
  u32,
  u16,
  u8,
  text,  // `count` bytes, padded with zeros
};

constexpr std::size_t fieldSize(FieldType type) {
  switch (type) {
    case FieldType::u64:
    case FieldType::u63:
    case FieldType::f64:
      return 8;
    case FieldType::u32:
      return 4;
    case FieldType::u16:
      return 2;
    case FieldType::u8:
    case FieldType::text:
      return 1;
  }
  return 0;
}

constexpr std::string_view fieldTypeName(FieldType type) {
  switch (type) {
    case FieldType::u64:
      return "u64";
    case FieldType::u63:
      return "u63";
    case FieldType::f64:
      return "f64";
    case FieldType::u32:
      return "u32";
    case FieldType::u16:
      return "u16";
    case FieldType::u8:
      return "u8";
    case FieldType::text:
      return "text";
  }
  return "";
}

// One field, or an array of `count` of them that follow each other. Offsets are in bytes from the
// record's start.
struct Field {
  std::string_view name;
  FieldType type = FieldType::u64;
  std::size_t offset = 0;
  std::size_t count = 1;

  constexpr std::size_t size() const { return fieldSize(type) * count; }
};

// Specialised beside each record, as above.
template <class Record>
struct RecordTraits;

// The fields of a struct that stands at `offset` within a record.
template <std::size_t n>
constexpr std::array<Field, n> fieldsAt(std::array<Field, n> fields, std::size_t offset) {
  for (Field& field : fields) field.offset += offset;
  return fields;
}

// One list out of several, in order.
template <std::size_t... sizes>
constexpr auto joinFields(std::array<Field, sizes> const&... parts) {
  std::array<Field, (sizes + ...)> joined{};
  std::size_t n = 0;
  auto append = [&](auto const& part) {
    for (Field const& field : part) joined[n++] = field;
  };
  (append(parts), ...);
  return joined;
}

// FNV-1a, 64 bits.
constexpr std::uint64_t schemaHashOf(std::string_view text) {
  std::uint64_t hash = 0xcbf29ce484222325u;
  for (char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3u;
  return hash;
}

namespace Detail {

template <class Record>
constexpr bool fieldsTile() {
  std::size_t end = 0;
  for (Field const& field : RecordTraits<Record>::fields) {
    if (field.offset != end || field.count == 0) return false;
    if (field.offset % fieldSize(field.type) != 0) return false;
    end += field.size();
  }
  return end == sizeof(Record);
}

template <class Record>
constexpr bool namesAreUsable() {
  auto const& fields = RecordTraits<Record>::fields;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (fields[i].name.empty() || fields[i].name.find_first_of(":\n") != std::string_view::npos) {
      return false;
    }
    for (std::size_t j = 0; j < i; ++j) {
      if (fields[i].name == fields[j].name) return false;
    }
  }
  return true;
}

// Writes the schema through `put(char)`: the record's name on the first line, then
// name:type:offset:count a line.
template <class Record, class Put>
constexpr void writeSchema(Put put) {
  auto text = [&](std::string_view s) {
    for (char c : s) put(c);
  };
  auto number = [&](std::size_t value) {
    char digits[20] = {};
    std::size_t n = 0;
    do {
      digits[n++] = static_cast<char>('0' + value % 10);
      value /= 10;
    } while (value != 0);
    while (n != 0) put(digits[--n]);
  };
  text(RecordTraits<Record>::name);
  put('\n');
  for (Field const& field : RecordTraits<Record>::fields) {
    text(field.name);
    put(':');
    text(fieldTypeName(field.type));
    put(':');
    number(field.offset);
    put(':');
    number(field.count);
    put('\n');
  }
}

template <class Record>
constexpr std::size_t schemaLength() {
  std::size_t n = 0;
  writeSchema<Record>([&](char) { ++n; });
  return n;
}

template <class Record>
constexpr auto makeSchema() {
  std::array<char, schemaLength<Record>()> schema{};
  std::size_t n = 0;
  writeSchema<Record>([&](char c) { schema[n++] = c; });
  return schema;
}

template <class Record>
inline constexpr auto schemaStorage = makeSchema<Record>();

}  // namespace Detail

// A record that may be a row: everything that can be checked at compile time.
template <class Record>
struct CheckedRecord {
  using Key = typename RecordTraits<Record>::Key;
  static_assert(std::is_trivially_copyable_v<Record>, "a row is copied word by word");
  static_assert(std::is_trivially_copyable_v<Key>, "a key stands in shared memory");
  static_assert(std::has_unique_object_representations_v<Key>,
                "keys are equal when their bytes are: no padding, no floating point");
  static_assert(sizeof(Record) % 8 == 0 && alignof(Record) <= 8, "a row is whole 8-byte words");
  static_assert(Detail::fieldsTile<Record>(),
                "the fields must tile the record exactly, in order: make padding a field");
  static_assert(Detail::namesAreUsable<Record>(), "field names: unique, without colon or newline");

  static constexpr std::size_t words = sizeof(Record) / 8;
  static constexpr std::string_view schemaText{Detail::schemaStorage<Record>.data(),
                                               Detail::schemaStorage<Record>.size()};
  static constexpr std::uint64_t schemaHash = schemaHashOf(schemaText);
};

// The schema of a record's table as text, and its hash.
template <class Record>
inline constexpr std::string_view schemaText = CheckedRecord<Record>::schemaText;
template <class Record>
inline constexpr std::uint64_t schemaHash = CheckedRecord<Record>::schemaHash;

}  // namespace Glim
