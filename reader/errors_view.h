// The tables that `show interfaces --errors` prints.
#pragma once

#include <cstddef>
#include <vector>

#include "reader/basis.h"
#include "reader/styled_text.h"

namespace Show {

struct Snapshot;

// One of what was received, one of what was sent; a line an interface.
std::vector<Line> errorsView(Snapshot const& snapshot, Basis basis, std::size_t width);

}  // namespace Show
