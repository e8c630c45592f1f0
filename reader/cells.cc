#include "reader/cells.h"

#include <string>

#include "reader/clock_text.h"
#include "reader/intf_state.h"
#include "reader/snapshot.h"
#include "reader/units.h"

namespace Show {

namespace {

// Words with one space between them, whatever the operator wrote: two would end the cell.
std::string oneSpaced(std::string_view text) {
  std::string words;
  for (char const c : text)
    if (c != ' ' || (!words.empty() && words.back() != ' ')) words += c;
  if (!words.empty() && words.back() == ' ') words.pop_back();
  return words;
}

}  // namespace

Style rowStyle(Intf const& intf) { return isDown(intf) ? Style::dim : Style::plain; }

Span nameCell(Intf const& intf) { return {printable(intf.intfId.view())}; }
Span kernelNameCell(Intf const& intf) { return textCell(intf.kernelName()); }
Span stateCell(Intf const& intf) { return {std::string(stateName(intf))}; }
Span speedCell(std::uint64_t speed) {
  return {speed != 0 ? bitsRate(static_cast<double>(speed)) : std::string(kNotAvailable)};
}
Span textCell(std::string_view text) {
  std::string const words = oneSpaced(printable(text));
  return {words.empty() ? std::string(kNotAvailable) : words};
}
Span countCell(std::optional<std::uint64_t> value) { return {count(value)}; }

Span timeCell(Snapshot const& snapshot, std::optional<double> time) {
  return {time ? clockText(*time, snapshot.now) : "never"};
}
Span clearedCell(Snapshot const& snapshot, Intf const& intf) {
  return timeCell(snapshot, cleared(intf));
}

Span ageCell(std::optional<double> seconds, bool stale) {
  if (stale && seconds) return {"stale " + ageText(seconds), Style::warning};
  return {ageText(seconds)};
}
Span ageCell(Snapshot const& snapshot, Intf const& intf) {
  return ageCell(age(snapshot, intf), stale(snapshot, intf));
}

}  // namespace Show
