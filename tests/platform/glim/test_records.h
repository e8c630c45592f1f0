// Records and keys that the tests of the tables use: 16 bytes, 96 bytes, about 1 KB, and a key
// whose hash is what the test wants it to be.
#pragma once

#include <array>
#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/glim/record.h"

namespace GlimTest {

// 48 bytes of text, padded with zeros.
struct NameKey {
  std::array<char, 48> chars{};

  NameKey() = default;
  NameKey(std::string_view text) { std::memcpy(chars.data(), text.data(), text.size()); }
  std::string stringValue() const { return chars.data(); }
  std::uint32_t hash() const {
    std::uint64_t h = 0;
    for (std::uint64_t const word : std::bit_cast<std::array<std::uint64_t, 6>>(chars)) {
      h = (h ^ word) * 0x9e3779b97f4a7c15u;
      h ^= h >> 29;
    }
    return static_cast<std::uint32_t>(h);
  }
  auto operator<=>(NameKey const&) const = default;
};

struct NumberKey {
  std::uint64_t value = 0;

  std::uint32_t hash() const { return static_cast<std::uint32_t>(value); }
  std::string stringValue() const { return std::to_string(value); }
  auto operator<=>(NumberKey const&) const = default;
};

// All keys collide.
struct CollidingKey {
  std::uint64_t value = 0;

  std::uint32_t hash() const { return 7; }
  std::string stringValue() const { return std::to_string(value); }
  auto operator<=>(CollidingKey const&) const = default;
};

struct Small {
  NumberKey key;
  std::uint64_t count = 0;
  bool operator==(Small const&) const = default;
};

struct Colliding {
  CollidingKey key;
  std::uint64_t count = 0;
  bool operator==(Colliding const&) const = default;
};

struct Middle {
  NameKey key;
  std::array<std::uint64_t, 5> counts{};
  std::uint32_t valid = 0;
  std::uint32_t reserved = 0;
  bool operator==(Middle const&) const = default;
};
static_assert(sizeof(Middle) == 96);

struct Large {
  NameKey key;
  std::array<std::uint64_t, 122> counts{};
  bool operator==(Large const&) const = default;
};
static_assert(sizeof(Large) == 1024);

// A value that shows in every word of the row, so that a torn row shows too.
inline Large largeRow(std::string_view name, std::uint64_t value) {
  Large row;
  row.key = NameKey(name);
  row.counts.fill(value);
  return row;
}
inline bool isWhole(Large const& row) {
  for (std::uint64_t const count : row.counts) {
    if (count != row.counts[0]) return false;
  }
  return true;
}

// Small as a later version of the program might have it.
struct WiderSmall {
  NumberKey key;
  std::uint64_t count = 0;
  std::uint64_t another = 0;
};

// A later release of Small, which has a field more, and in front.
struct LaterSmall {
  NumberKey key;
  std::uint64_t generation = 5;
  std::uint64_t count = 0;
  bool operator==(LaterSmall const&) const = default;
};

// Claims to be a later release of Small, and has another key.
struct Renumbered {
  NumberKey id;
  std::uint64_t count = 0;
};

}  // namespace GlimTest

template <>
struct Glim::RecordTraits<GlimTest::Small> {
  using Key = GlimTest::NumberKey;
  static constexpr std::string_view name = "Small";
  static constexpr std::array fields{Field{"key", FieldType::u64, 0},
                                     Field{"count", FieldType::u64, 8}};
  static Key const& key(GlimTest::Small const& record) { return record.key; }
};

template <>
struct Glim::RecordTraits<GlimTest::WiderSmall> {
  using Key = GlimTest::NumberKey;
  static constexpr std::string_view name = "Small";
  static constexpr std::array fields{Field{"key", FieldType::u64, 0},
                                     Field{"count", FieldType::u64, 8},
                                     Field{"another", FieldType::u64, 16}};
  static Key const& key(GlimTest::WiderSmall const& record) { return record.key; }
};

template <>
struct Glim::RecordTraits<GlimTest::LaterSmall> {
  using Key = GlimTest::NumberKey;
  static constexpr std::string_view name = "Small";
  static constexpr std::array fields{Field{"key", FieldType::u64, 0},
                                     Field{"generation", FieldType::u64, 8},
                                     Field{"count", FieldType::u64, 16}};
  static constexpr std::array<std::string_view, 1> formerSchemas{
      "Small\nkey:u64:0:1\ncount:u64:8:1\n"};
  static Key const& key(GlimTest::LaterSmall const& record) { return record.key; }
};

template <>
struct Glim::RecordTraits<GlimTest::Renumbered> {
  using Key = GlimTest::NumberKey;
  static constexpr std::string_view name = "Small";
  static constexpr std::array fields{Field{"id", FieldType::u64, 0},
                                     Field{"count", FieldType::u64, 8}};
  static constexpr std::array<std::string_view, 1> formerSchemas{
      "Small\nkey:u64:0:1\ncount:u64:8:1\n"};
  static Key const& key(GlimTest::Renumbered const& record) { return record.id; }
};

template <>
struct Glim::RecordTraits<GlimTest::Colliding> {
  using Key = GlimTest::CollidingKey;
  static constexpr std::string_view name = "Colliding";
  static constexpr std::array fields{Field{"key", FieldType::u64, 0},
                                     Field{"count", FieldType::u64, 8}};
  static Key const& key(GlimTest::Colliding const& record) { return record.key; }
};

template <>
struct Glim::RecordTraits<GlimTest::Middle> {
  using Key = GlimTest::NameKey;
  static constexpr std::string_view name = "Middle";
  static constexpr auto fields = joinFields(
      std::array{Field{"key", FieldType::text, 0, 48}},
      fieldsAt(std::array{Field{"counts", FieldType::u64, 0, 5}, Field{"valid", FieldType::u32, 40},
                          Field{"reserved", FieldType::u32, 44}},
               48));
  static Key const& key(GlimTest::Middle const& record) { return record.key; }
};

template <>
struct Glim::RecordTraits<GlimTest::Large> {
  using Key = GlimTest::NameKey;
  static constexpr std::string_view name = "Large";
  static constexpr std::array fields{Field{"key", FieldType::text, 0, 48},
                                     Field{"counts", FieldType::u64, 48, 122}};
  static Key const& key(GlimTest::Large const& record) { return record.key; }
};
