#include "reader/vlan_view.h"

#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "reader/cells.h"
#include "reader/json_pieces.h"
#include "reader/text_table.h"
#include "reader/units.h"
#include "reader/vlan_counters.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;

constexpr auto kLeft = Column::Align::left;
constexpr auto kRight = Column::Align::right;

std::optional<double> age(Snapshot const& snapshot, Vlan const& vlan) {
  return vlan.counters ? ageOf(snapshot, vlan.counters->lastUpdate) : std::nullopt;
}

std::string_view bridge(Vlan const& vlan) {
  return vlan.description ? vlan.description->bridge.view() : std::string_view();
}
std::string_view name(Vlan const& vlan) {
  return vlan.description ? vlan.description->name.view() : std::string_view();
}

Json valuesJson(Vlan const& vlan, Basis basis) {
  auto const all = values(vlan, basis);
  Json json = Json::object();
  for (std::size_t i = 0; i < all.size(); ++i)
    json[std::string(Bridging::kVlanCountsFields[i].name)] = orNull(all[i]);
  return json;
}

}  // namespace

std::vector<Line> vlansView(Snapshot const& snapshot, Basis basis, std::size_t width) {
  std::vector<Column> columns{{"VLAN"},
                              {"Bridge", kLeft, 5},
                              {"In octets", kRight, 3},
                              {"In packets", kRight, 1},
                              {"In multicast", kRight, 6},
                              {"In broadcast", kRight, 6},
                              {"Out octets", kRight, 3},
                              {"Out packets", kRight, 1},
                              {"Out multicast", kRight, 6},
                              {"Out broadcast", kRight, 6},
                              {"Age", kRight, 2}};
  if (basis == Basis::sinceClear) columns.push_back({kClearedTitle, kRight, 2});
  columns.push_back({"Name", kLeft, 7});
  TextTable table(std::move(columns));
  for (Vlan const& vlan : snapshot.vlans) {
    TextTable::Row row{{{std::to_string(vlan.vlanId.value())}, textCell(bridge(vlan))}};
    auto const [in, out] = flows(values(vlan, basis));
    for (VlanFlow const& flow : {in, out})
      for (auto const& value : {flow.octets, flow.pkts, flow.multicastPkts, flow.broadcastPkts})
        row.cells.push_back(countCell(value));
    row.cells.push_back(ageCell(age(snapshot, vlan), !snapshot.agent.alive()));
    if (basis == Basis::sinceClear) row.cells.push_back(timeCell(snapshot, cleared(vlan)));
    row.cells.push_back(textCell(name(vlan)));
    table.add(std::move(row));
  }
  std::vector<Line> lines;
  appendTable(lines, table.text(width));
  return lines;
}

Json vlansJson(Snapshot const& snapshot) {
  Json all = Json::array();
  for (Vlan const& vlan : snapshot.vlans)
    all.push_back({{"vlanId", vlan.vlanId.value()},
                   {"bridge", textJson(bridge(vlan))},
                   {"name", textJson(name(vlan))},
                   {"stale", !snapshot.agent.alive()},
                   {"lastUpdate", timeJson(vlan.counters ? vlan.counters->lastUpdate : 0.0)},
                   {"age", orNull(age(snapshot, vlan))},
                   {"cleared", orNull(cleared(vlan))},
                   {"counters", valuesJson(vlan, Basis::total)},
                   {"sinceClear", valuesJson(vlan, Basis::sinceClear)}});
  return all;
}

}  // namespace Show
