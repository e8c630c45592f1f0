// Whether an interface is to be up, and whether it is.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Interface {

enum class AdminState : std::uint8_t { unknown, up, down };

// ifOperStatus of RFC 2863, with its values.
enum class OperState : std::uint8_t {
  none = 0,
  up = 1,
  down = 2,
  testing = 3,
  unknown = 4,
  dormant = 5,
  notPresent = 6,
  lowerLayerDown = 7,
};
// The name of a state as RFC 2863 has it; empty for none and for what is no state.
constexpr std::string_view name(OperState state) {
  constexpr std::array<std::string_view, 8> names{
      "", "up", "down", "testing", "unknown", "dormant", "notPresent", "lowerLayerDown"};
  auto const n = static_cast<std::size_t>(state);
  return n < names.size() ? names[n] : std::string_view();
}

}  // namespace Interface
