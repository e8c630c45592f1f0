// Cells that several views have.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "reader/styled_text.h"

namespace Show {

struct Intf;
struct Snapshot;

// Of links that are down, dim.
Style rowStyle(Intf const& intf);

Span nameCell(Intf const& intf);
Span kernelNameCell(Intf const& intf);
Span stateCell(Intf const& intf);
Span countCell(std::optional<std::uint64_t> value);
// Bits per second; n/a of 0, which is an unknown speed.
Span speedCell(std::uint64_t speed);
// A text of a row, or n/a; two spaces in a row, which would end the cell, are one.
Span textCell(std::string_view text);
Span ageCell(Snapshot const& snapshot, Intf const& intf);
// The same of what has no interface: a row that was sampled so long ago, or never.
Span ageCell(std::optional<double> seconds, bool stale);
// "11:05:03", with the date unless that is today; "never".
Span timeCell(Snapshot const& snapshot, std::optional<double> time);

// When counts since the last clear are shown, this column tells the clear.
inline constexpr char const* kClearedTitle = "Cleared";
Span clearedCell(Snapshot const& snapshot, Intf const& intf);

}  // namespace Show
