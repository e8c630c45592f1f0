#include "reader/counters_view.h"

#include <string_view>
#include <utility>

#include "reader/cells.h"
#include "reader/counters.h"
#include "reader/text_table.h"
#include "reader/units.h"

namespace Show {

namespace {

constexpr auto kLeft = Column::Align::left;
constexpr auto kRight = Column::Align::right;

// Up to 256 characters may be there, and one long alias must not hide those of all on a terminal.
constexpr std::size_t kAliasWidth = 32;

Span aliasCell(Intf const& intf, std::size_t width) {
  Span const alias = textCell(intf.description ? intf.description->alias.view() : "");
  return {width == kUnlimited ? alias.text : shortened(alias.text, kAliasWidth)};
}

}  // namespace

std::vector<Line> countersView(Snapshot const& snapshot, Basis basis, std::size_t width) {
  std::vector<Column> columns{
      {"Interface", kLeft},        {"Device", kLeft, 2},      {"State", kLeft, 1},
      {"In octets", kRight, 3},    {"In packets", kRight, 8}, {"In discards", kRight, 9},
      {"In errors", kRight, 7},    {"Out octets", kRight, 4}, {"Out packets", kRight, 8},
      {"Out discards", kRight, 9}, {"Out errors", kRight, 7}, {"Age", kRight, 6}};
  if (basis == Basis::sinceClear) columns.push_back({kClearedTitle, kRight, 5});
  columns.push_back({"Alias", kLeft, 10});
  TextTable table(std::move(columns));
  for (Intf const& intf : snapshot.interfaces) {
    Counters const counters(intf, basis);
    TextTable::Row row{
        {nameCell(intf), kernelNameCell(intf), stateCell(intf), countCell(counters["inOctets"]),
         countCell(counters.inPkts()), countCell(counters["inDiscards"]),
         countCell(counters["inErrors"]), countCell(counters["outOctets"]),
         countCell(counters.outPkts()), countCell(counters["outDiscards"]),
         countCell(counters["outErrors"]), ageCell(snapshot, intf)},
        rowStyle(intf)};
    if (basis == Basis::sinceClear) row.cells.push_back(clearedCell(snapshot, intf));
    row.cells.push_back(aliasCell(intf, width));
    table.add(std::move(row));
  }
  std::vector<Line> lines;
  appendTable(lines, table.text(width));
  return lines;
}

}  // namespace Show
