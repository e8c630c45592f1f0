// The table that `show vlans` prints, and what it says as JSON.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <vector>

#include "reader/counters.h"
#include "reader/snapshot.h"
#include "reader/styled_text.h"

namespace Show {

// A line a VLAN.
std::vector<Line> vlansView(Snapshot const& snapshot, Basis basis, std::size_t width);
// An array of the VLANs; docs/oru-counters.md lists the keys, which are stable.
nlohmann::ordered_json vlansJson(Snapshot const& snapshot);

}  // namespace Show
