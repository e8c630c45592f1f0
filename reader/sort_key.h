// What the live table is sorted by.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Show {

enum class SortKey : std::uint8_t { name, in, out, errors };
// As the command line names them.
inline constexpr std::array<std::string_view, 4> kSortKeyNames{"name", "in", "out", "errors"};
constexpr std::string_view name(SortKey key) {
  return kSortKeyNames[static_cast<std::size_t>(key)];
}
constexpr SortKey nextKey(SortKey key) {
  return static_cast<SortKey>((static_cast<std::size_t>(key) + 1) % kSortKeyNames.size());
}

}  // namespace Show
