#include "reader/table_json.h"

#include <nlohmann/json.hpp>

#include "reader/agent_status.h"
#include "reader/json_pieces.h"

namespace Show {

using Json = nlohmann::ordered_json;

Json tablesJsonBegin(TableDirectory const& directory, double now,
                     std::vector<Problem> const& problems) {
  return {{"format", kJsonFormat},
          {"time", now},
          {"directory", directory.directory},
          {"problems", problemsJson(problems)}};
}

Json tableJson(OpenTable const& table) {
  Json json{
      {"name", table.seen.table}, {"file", table.seen.file}, {"status", Glim::text(table.answer)}};
  if (table.answer != Glim::Answer::ok) return json;
  auto const& header = table.file.header();
  auto const& geometry = header.geometry;
  auto const status = table.file.status();
  json["record"] = table.schema ? Json(table.schema->record) : Json();
  json["rowBytes"] = geometry.rowWords * sizeof(Glim::Word);
  json["keyBytes"] = geometry.keyBytes;
  json["rows"] = status.rows;
  json["allocatedRows"] = status.allocatedRows;
  json["maxRows"] = status.maxRows;
  json["bytes"] = header.fileBytes;
  json["maxBytes"] = geometry.fileBytes;
  json["created"] = static_cast<double>(header.fixed[Glim::Layout::fixedCreated]) * 1e-9;
  json["layoutVersion"] = header.fixed[Glim::Layout::fixedLayoutVersion];
  json["epoch"] = status.epoch;
  json["state"] = text(status.state);
  json["writer"] = agentJson(agentStatus(status));
  return json;
}

}  // namespace Show
