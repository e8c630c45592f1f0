// From when on counters count.
#pragma once

#include <cstdint>

namespace Show {

enum class Basis : std::uint8_t {
  total,       // as published
  sinceClear,  // since the last clear
};

}  // namespace Show
