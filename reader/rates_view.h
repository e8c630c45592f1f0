// The table that `show interfaces --rates` and `show vlan-interfaces --rates` print.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "reader/styled_text.h"

namespace Show {

struct Snapshot;

// What to tell before them.
inline constexpr std::string_view kRatesNote =
    "Rates are the agent's averages over each interface's load interval.";
inline constexpr std::string_view kRatesSinceClearNote =
    "A clear does not change them: --since-clear is about counts.";

// A line an interface.
std::vector<Line> ratesView(Snapshot const& snapshot, std::size_t width);

}  // namespace Show
