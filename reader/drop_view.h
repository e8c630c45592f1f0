// The table that `show drops` prints.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "reader/snapshot.h"
#include "reader/styled_text.h"

namespace Show {

// The packets that access lists dropped, absolute as the chip counts them: no clear takes any away.
// Nothing where the chip does not count them.
std::optional<std::uint64_t> aclDropPkts(Intf const& intf);

// A line an interface.
std::vector<Line> dropsView(Snapshot const& snapshot, std::size_t width);

}  // namespace Show
