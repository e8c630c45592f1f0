#include "reader/errors_view.h"

#include <string>
#include <string_view>
#include <utility>

#include "reader/cells.h"
#include "reader/counters.h"
#include "reader/text_table.h"

namespace Show {

namespace {

constexpr auto kLeft = Column::Align::left;
constexpr auto kRight = Column::Align::right;

// One table of counters by name.
struct ErrorColumn {
  std::string_view title;
  std::string_view counter;
  int hideOrder;
};

template <std::size_t n>
void appendNamed(std::vector<Line>& lines, Snapshot const& snapshot, Basis basis, std::size_t width,
                 std::string_view title, ErrorColumn const (&shown)[n]) {
  std::vector<Column> columns{{std::string(title), kLeft}};
  for (ErrorColumn const& one : shown)
    columns.push_back({std::string(one.title), kRight, one.hideOrder});
  columns.push_back({"Age"});
  if (basis == Basis::sinceClear) columns.push_back({kClearedTitle, kRight, 2});
  TextTable table(std::move(columns));
  for (Intf const& intf : snapshot.interfaces) {
    Counters const counters(intf, basis);
    TextTable::Row row{{nameCell(intf)}, rowStyle(intf)};
    for (ErrorColumn const& one : shown) row.cells.push_back(countCell(counters[one.counter]));
    row.cells.push_back(ageCell(snapshot, intf));
    if (basis == Basis::sinceClear) row.cells.push_back(clearedCell(snapshot, intf));
    table.add(std::move(row));
  }
  appendTable(lines, table.text(width));
}

}  // namespace

std::vector<Line> errorsView(Snapshot const& snapshot, Basis basis, std::size_t width) {
  static constexpr ErrorColumn receive[] = {{"Errors", "inErrors", 0},
                                            {"Alignment", "alignmentErrors", 4},
                                            {"FCS", "fcsErrors", 1},
                                            {"Too long", "frameTooLongs", 5},
                                            {"Too short", "frameTooShorts", 5},
                                            {"MAC", "internalMacReceiveErrors", 3},
                                            {"Symbol", "symbolErrors", 6},
                                            {"Fragments", "inFragments", 7},
                                            {"Jabbers", "inJabbers", 7},
                                            {"Unknown protocols", "inUnknownProtos", 9},
                                            {"Discards", "inDiscards", 8}};
  static constexpr ErrorColumn transmit[] = {{"Errors", "outErrors", 0},
                                             {"SQE test", "sqeTestErrors", 6},
                                             {"Late collisions", "lateCollisions", 3},
                                             {"Excessive collisions", "excessiveCollisions", 5},
                                             {"MAC", "internalMacTransmitErrors", 4},
                                             {"Carrier sense", "carrierSenseErrors", 4},
                                             {"Discards", "outDiscards", 8}};
  std::vector<Line> lines;
  appendNamed(lines, snapshot, basis, width, "Receive", receive);
  lines.emplace_back();
  appendNamed(lines, snapshot, basis, width, "Transmit", transmit);
  return lines;
}

}  // namespace Show
