#include "reader/drop_view.h"

#include <string>

#include "reader/cells.h"
#include "reader/text_table.h"
#include "reader/units.h"

namespace Show {

namespace {

// The row bears no time, and is polled on a period of its own: only whether somebody keeps it
// current is known.
Span currentCell(Snapshot const& snapshot, Intf const& intf) {
  if (!intf.drops) return {std::string(kNotAvailable)};
  return stale(snapshot, intf) ? Span{"stale", Style::warning} : Span{"current"};
}

}  // namespace

std::optional<std::uint64_t> aclDropPkts(Intf const& intf) {
  return intf.drops ? std::optional(intf.drops->aclDropPkts) : std::nullopt;
}

std::vector<Line> dropsView(Snapshot const& snapshot, std::size_t width) {
  constexpr auto left = Column::Align::left;
  TextTable table({{"Interface", left},
                   {"Device", left, 2},
                   {"State", left, 3},
                   {"ACL dropped packets"},
                   {"Row", left, 1}});
  for (Intf const& intf : snapshot.interfaces)
    table.add({{nameCell(intf), kernelNameCell(intf), stateCell(intf), countCell(aclDropPkts(intf)),
                currentCell(snapshot, intf)},
               rowStyle(intf)});
  std::vector<Line> lines;
  appendTable(lines, table.text(width));
  return lines;
}

}  // namespace Show
