// The table that `show queues` prints.
#pragma once

#include <vector>

#include "reader/counters.h"
#include "reader/snapshot.h"
#include "reader/styled_text.h"

namespace Show {

// A line a queue, and where the chip counts them, one for all queues of the interface together. An
// interface without queues has one line that says so. Below, which interfaces have more queues than
// lines.
std::vector<Line> queuesView(Snapshot const& snapshot, Basis basis, std::size_t width);

}  // namespace Show
