#include "reader/verify_json.h"

#include <nlohmann/json.hpp>

#include "reader/checked_table.h"
#include "reader/table_json.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;

Json findingsJson(std::vector<Glim::Finding> const& findings) {
  Json json = Json::array();
  for (Glim::Finding const& finding : findings)
    json.push_back({{"part", text(finding.part)},
                    {"slot", finding.slot ? Json(*finding.slot) : Json()},
                    {"text", finding.text}});
  return json;
}

}  // namespace

Json verifyJson(TableDirectory const& directory, double now, std::vector<Checked> const& all,
                std::vector<Problem> const& wrong) {
  Json json = tablesJsonBegin(directory, now, wrong);
  json["tables"] = Json::array();
  for (Checked const& checked : all) {
    Json table = tableJson(checked.table);
    Glim::CheckReport const& report = checked.report;
    table["verdict"] = name(checked.verdict);
    table["damage"] = report.damage;
    table["findings"] = findingsJson(report.findings);
    table["unfinished"] = findingsJson(report.unfinished);
    if (checked.table.answer == Glim::Answer::ok) {
      table["liveRows"] = report.liveRows;
      table["deadRows"] = report.deadRows;
      table["neverUsedSlots"] = report.neverUsed;
      table["beingWritten"] = report.halfWritten;
      table["corruptRows"] = report.corruptRows;
      table["busyRows"] = report.busyRows;
      table["indexEntries"] = report.indexEntries;
      table["passes"] = report.passes;
      table["seconds"] = checked.seconds;
    }
    json["tables"].push_back(std::move(table));
  }
  return json;
}

}  // namespace Show
