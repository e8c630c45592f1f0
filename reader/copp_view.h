// The table that `show copp` prints, and what it says as JSON.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <vector>

#include "reader/snapshot.h"
#include "reader/styled_text.h"

namespace Show {

// What was counted of a class; nothing before its first sample.
struct ClassCounts {
  std::optional<std::uint64_t> pkts;
  std::optional<std::uint64_t> octets;
};
ClassCounts totals(Qos::CoppClassCounter const& row);
// The same since the class's last reset; of one that never was reset, the totals.
ClassCounts sinceReset(Qos::CoppClassCounter const& row);

// A line a class; with `sinceResetAlone` its counts since the reset in place of the totals.
std::vector<Line> coppView(Snapshot const& snapshot, bool sinceResetAlone, std::size_t width);
// An array of the classes; docs/oru-counters.md lists the keys, which are stable.
nlohmann::ordered_json coppJson(Snapshot const& snapshot);

}  // namespace Show
