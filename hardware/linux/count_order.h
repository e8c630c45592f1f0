#pragma once

#include <concepts>
#include <type_traits>

namespace Hardware::Linux {

/// Counts go round at the width of their type: of two of them the one that is less than half the
/// circle ahead is the later (serial number arithmetic, RFC 1982).
template <std::unsigned_integral Count>
constexpr bool isBefore(Count a, Count b) {
  return static_cast<std::make_signed_t<Count>>(a - b) < 0;
}

}  // namespace Hardware::Linux
