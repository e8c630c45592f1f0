// The table that `show interfaces` and `show vlan-interfaces` print of counts.
#pragma once

#include <cstddef>
#include <vector>

#include "reader/basis.h"
#include "reader/styled_text.h"

namespace Show {

struct Snapshot;

// A line an interface.
std::vector<Line> countersView(Snapshot const& snapshot, Basis basis, std::size_t width);

}  // namespace Show
