// Rows whose keys lie in the index where the test wants them: the upper half of a key is its hash.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/glim/layout.h"
#include "platform/glim/record.h"

namespace GlimCrash {

struct PlacedKey {
  std::uint64_t value = 0;

  std::uint32_t hash() const { return static_cast<std::uint32_t>(value >> 32); }
  std::string stringValue() const { return std::to_string(value); }
  auto operator<=>(PlacedKey const&) const = default;
};

// The key number `n` of those whose search begins at bucket `home`.
inline std::uint64_t keyAt(Glim::Word home, Glim::Word buckets, std::uint32_t n = 0) {
  std::uint32_t hash = 0;
  for (std::uint32_t found = 0;; ++hash) {
    if (Glim::Layout::homeBucket(hash, buckets) == home && found++ == n) break;
  }
  return std::uint64_t{hash} << 32 | (n + 1);
}

// All counts of a row are its value, so that a torn row shows.
template <std::size_t n>
struct Placed {
  PlacedKey key;
  std::array<std::uint64_t, n> counts{};
};
using Narrow = Placed<3>;
using Wide = Placed<127>;  // a chunk of the file is 124 of these

// Another record altogether.
struct Foreign {
  PlacedKey key;
  std::array<std::uint64_t, 2> counts{};
};

// Narrow as a later release has it: a field more.
struct Later {
  PlacedKey key;
  std::array<std::uint64_t, 3> counts{};
  std::uint64_t added = 0;
};

}  // namespace GlimCrash

template <std::size_t n>
struct Glim::RecordTraits<GlimCrash::Placed<n>> {
  using Key = GlimCrash::PlacedKey;
  static constexpr std::string_view name = "Placed";
  static constexpr std::array fields{Field{"key", FieldType::u64, 0},
                                     Field{"counts", FieldType::u64, 8, n}};
  static Key const& key(GlimCrash::Placed<n> const& record) { return record.key; }
};

template <>
struct Glim::RecordTraits<GlimCrash::Foreign> {
  using Key = GlimCrash::PlacedKey;
  static constexpr std::string_view name = "Foreign";
  static constexpr std::array fields{Field{"key", FieldType::u64, 0},
                                     Field{"counts", FieldType::u64, 8, 2}};
  static Key const& key(GlimCrash::Foreign const& record) { return record.key; }
};

template <>
struct Glim::RecordTraits<GlimCrash::Later> {
  using Key = GlimCrash::PlacedKey;
  static constexpr std::string_view name = "Placed";
  static constexpr std::array fields{Field{"key", FieldType::u64, 0},
                                     Field{"counts", FieldType::u64, 8, 3},
                                     Field{"added", FieldType::u64, 32}};
  static constexpr std::array<std::string_view, 1> formerSchemas{
      "Placed\nkey:u64:0:1\ncounts:u64:8:3\n"};
  static Key const& key(GlimCrash::Later const& record) { return record.key; }
};
