// The hash of a key that stands in shared memory as whole words.
#pragma once

#include <bit>
#include <cstdint>
#include <span>

namespace Pekt {

// A multiplicative hash: each word is mixed into the rotated sum of those before it, times 2^64
// over the golden ratio (Knuth, The Art of Computer Programming, 6.4).
constexpr std::uint32_t wordHash(std::span<std::uint64_t const> words) {
  std::uint64_t hash = 0;
  for (std::uint64_t const word : words) hash = (std::rotl(hash, 23) ^ word) * 0x9e3779b97f4a7c15u;
  return static_cast<std::uint32_t>(hash >> 32);
}

}  // namespace Pekt
