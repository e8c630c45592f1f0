#pragma once

#include <cstdint>

namespace Hardware::Linux {

/// Which link the published rows of an interface, and the offsets kept for them, are of.
enum class RowsOf : std::uint8_t {
  nobody,    // there is no row, or no offsets: such a row holds no count of a link
  another,   // a link that went, or one of another network namespace or run of the machine
  thisLink,  // the rows' counts are of this link and go on
};

}  // namespace Hardware::Linux
