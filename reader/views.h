// The tables that `show interfaces` prints, and the pieces of them that the live table shares.
#pragma once

#include <string_view>
#include <vector>

#include "reader/counters.h"
#include "reader/snapshot.h"
#include "reader/styled_text.h"
#include "reader/text_table.h"

namespace Show {

// "Agent running, process 4711, heartbeat 0.4 s ago".
Line agentLine(Snapshot const& snapshot);

// A table below what is there; with a line that tells how many columns had no room, if any.
void appendTable(std::vector<Line>& lines, TextTable::Text text);

// "up", "admin-down", "lowerLayerDown" ...; n/a without a description.
std::string_view stateName(Intf const& intf);
// Whether it is known that the interface does not pass traffic.
bool isDown(Intf const& intf);

// Cells that several views have.
Span nameCell(Intf const& intf);
Span kernelNameCell(Intf const& intf);
Span countCell(std::optional<std::uint64_t> value);
// A text of a row, or n/a; two spaces in a row, which would end the cell, are one.
Span textCell(std::string_view text);
Span ageCell(Snapshot const& snapshot, Intf const& intf);
// The same of what has no interface: a row that was sampled so long ago, or never.
Span ageCell(std::optional<double> seconds, bool stale);
// "11:05:03", with the date unless that is today; "never".
Span timeCell(Snapshot const& snapshot, std::optional<double> time);
inline Style rowStyle(Intf const& intf) { return isDown(intf) ? Style::dim : Style::plain; }

// When counts since the last clear are shown, this column tells the clear.
inline constexpr char const* kClearedTitle = "Cleared";
Span clearedCell(Snapshot const& snapshot, Intf const& intf);
// What to tell where they are not shown, although there was a clear.
inline constexpr std::string_view kClearedNote =
    "Counters were cleared; --since-clear shows the counts since then.";

// Each takes the interfaces of the snapshot as they are: select first.
std::vector<Line> countersView(Snapshot const& snapshot, Basis basis, std::size_t width);
// What to tell before the rates.
inline constexpr std::string_view kRatesNote =
    "Rates are the agent's averages over each interface's load interval.";
inline constexpr std::string_view kRatesSinceClearNote =
    "A clear does not change them: --since-clear is about counts.";
std::vector<Line> ratesView(Snapshot const& snapshot, std::size_t width);
std::vector<Line> errorsView(Snapshot const& snapshot, Basis basis, std::size_t width);

}  // namespace Show
