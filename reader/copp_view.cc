#include "reader/copp_view.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "reader/cells.h"
#include "reader/counters.h"
#include "reader/json_pieces.h"
#include "reader/text_table.h"
#include "reader/units.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;
using Row = Qos::CoppClassCounter;

Json countsJson(ClassCounts const& counts) {
  return {{"pkts", orNull(counts.pkts)}, {"octets", orNull(counts.octets)}};
}

}  // namespace

ClassCounts totals(Row const& row) {
  if (!(row.lastUpdate > 0.0)) return {};
  return {row.pkts, row.octets};
}

ClassCounts sinceReset(Row const& row) {
  if (!(row.lastUpdate > 0.0)) return {};
  return {since(row.pkts, row.resetPkts), since(row.octets, row.resetOctets)};
}

std::vector<Line> coppView(Snapshot const& snapshot, bool sinceResetAlone, std::size_t width) {
  constexpr auto left = Column::Align::left;
  std::vector<Column> columns{
      {"Class", left}, {"Policy map", left, 5}, {"Packets"}, {"Octets", Column::Align::right, 4}};
  if (!sinceResetAlone) columns.push_back({"Packets since reset", Column::Align::right, 2});
  columns.push_back({"Last reset", Column::Align::right, 3});
  columns.push_back({"Age", Column::Align::right, 1});
  TextTable table(std::move(columns));
  for (Row const& row : snapshot.classes) {
    ClassCounts const shown = sinceResetAlone ? sinceReset(row) : totals(row);
    std::vector<Span> cells{textCell(row.className.view()), textCell(row.policyMap.view()),
                            countCell(shown.pkts), countCell(shown.octets)};
    if (!sinceResetAlone) cells.push_back(countCell(sinceReset(row).pkts));
    bool const wasReset = row.lastReset > 0.0;
    cells.push_back(timeCell(snapshot, wasReset ? std::optional(row.lastReset) : std::nullopt));
    cells.push_back(ageCell(ageOf(snapshot, row.lastUpdate), !snapshot.agent.alive()));
    table.add({std::move(cells)});
  }
  std::vector<Line> lines;
  appendTable(lines, table.text(width));
  return lines;
}

Json coppJson(Snapshot const& snapshot) {
  Json all = Json::array();
  for (Row const& row : snapshot.classes) {
    all.push_back({{"name", row.className.view()},
                   {"policyMap", textJson(row.policyMap.view())},
                   {"stale", !snapshot.agent.alive()},
                   {"lastUpdate", timeJson(row.lastUpdate)},
                   {"age", orNull(ageOf(snapshot, row.lastUpdate))},
                   {"lastReset", timeJson(row.lastReset)},
                   {"counters", countsJson(totals(row))},
                   {"sinceReset", countsJson(sinceReset(row))}});
  }
  return all;
}

}  // namespace Show
