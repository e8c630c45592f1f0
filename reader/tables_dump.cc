#include "reader/tables_dump.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "platform/glim/header_check.h"
#include "reader/agent_status.h"
#include "reader/json_pieces.h"
#include "reader/options.h"
#include "reader/row_fields.h"
#include "reader/table_files.h"
#include "reader/table_json.h"
#include "reader/units.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;
using Row = std::vector<Glim::Word>;

// A table can be replaced while it is read; more often than this in a row, it is given up.
constexpr int kAttempts = 4;

struct Rows {
  std::vector<Row> rows;  // in order of their keys
  std::uint64_t corrupt = 0;
  std::uint64_t busy = 0;
};

Rows readRows(OpenTable const& table) {
  Rows read;
  auto const& geometry = table.file.header().geometry;
  Row row(geometry.rowWords);
  for (Glim::Word slot = 0; slot < table.file.slots(); ++slot) {
    switch (table.file.rowAt(slot, row.data())) {
      case Glim::Answer::ok:
        read.rows.push_back(row);
        break;
      case Glim::Answer::corrupt:
        ++read.corrupt;
        break;
      case Glim::Answer::busy:
        ++read.busy;
        break;
      default:
        break;
    }
  }
  if (table.schema)
    std::sort(read.rows.begin(), read.rows.end(), [&](Row const& a, Row const& b) {
      return keyLess(*table.schema, geometry.keyBytes, a.data(), b.data());
    });
  return read;
}

// A table that is replaced meanwhile is read once more, from its new file.
OpenTable readTable(TableDirectory const& directory, FileSeen const& seen, Rows& rows) {
  for (int attempt = 1;; ++attempt) {
    OpenTable table = openTable(directory, seen);
    if (table.answer != Glim::Answer::ok) return table;
    bool const wasRetired = table.file.retired();
    rows = readRows(table);
    if (wasRetired || !table.file.retired() || attempt == kAttempts) return table;
  }
}

Json fieldsJson(Glim::Schema const& schema) {
  Json fields = Json::array();
  for (Glim::SchemaField const& field : schema.fields)
    fields.push_back({{"name", field.name},
                      {"type", Glim::fieldTypeName(field.type)},
                      {"offset", field.offset},
                      {"count", field.count}});
  return fields;
}

// The table in front and on several lines, the rows on a line each: they are written as they come,
// and a tool for lines finds them.
void printJson(TableDirectory const& directory, double now, OpenTable const& table,
               Rows const& rows, std::vector<Problem> const& wrong, std::ostream& out) {
  Json json = tablesJsonBegin(directory, now, wrong);
  json["table"] = table.seen.file.empty() ? Json() : tableJson(table);
  if (table.schema) {
    Json& about = json["table"];
    about["key"] = keyFields(*table.schema, table.file.header().geometry.keyBytes);
    about["fields"] = fieldsJson(*table.schema);
    about["corruptRows"] = rows.corrupt;
    about["busyRows"] = rows.busy;
  }
  std::string const front = jsonText(json, false);
  out << front.substr(0, front.rfind("\n}")) << ",\n  \"rows\": [";
  char const* before = "\n    ";
  if (table.schema) {
    for (Row const& row : rows.rows) {
      std::string line = jsonText(rowJson(*table.schema, row.data()), true);
      line.pop_back();
      out << before << line;
      before = ",\n    ";
    }
  }
  out << (before[0] == ',' ? "\n  ]\n}\n" : "]\n}\n");
}

void printText(OpenTable const& table, Rows const& rows, std::ostream& out) {
  auto const status = table.file.status();
  auto const keyBytes = table.file.header().geometry.keyBytes;
  AgentStatus const writer = agentStatus(status);
  out << printable(table.seen.file) << ": " << counted(rows.rows.size(), "row") << " of "
      << printable(table.schema->record) << ", epoch " << status.epoch << ", " << text(status.state)
      << ", writer "
      << (writer.state == AgentState::notRunning ? "not running" : name(writer.state))
      << ", process " << writer.pid << ", heartbeat " << ageText(writer.heartbeatAge) << " ago\n";
  std::size_t width = 0;
  for (auto const& field : table.schema->fields)
    width = std::max(width, displayWidth(printable(field.name)));
  for (Row const& row : rows.rows) {
    out << '\n' << keyText(*table.schema, keyBytes, row.data()) << '\n';
    for (auto const& field : table.schema->fields) {
      if (field.offset + field.size() <= keyBytes) continue;
      std::string const shown = printable(field.name);
      out << "  " << shown << std::string(width - displayWidth(shown) + 2, ' ')
          << fieldText(field, row.data()) << '\n';
    }
  }
}

}  // namespace

ExitCode tablesDump(Options const& options, double now, std::ostream& out, std::ostream& err) {
  TableDirectory const directory = readDirectory(options.directory, options.trust());
  std::string const& name = options.names.front();
  std::vector<Problem> wrong;
  OpenTable table;
  Rows rows;
  // Nothing is a pattern here: a file that is set aside may be asked for where there is no table.
  auto const seen =
      std::find_if(directory.files.begin(), directory.files.end(), [&name](FileSeen const& file) {
        return (file.kind == FileKind::table && file.table == name) ||
               ((file.kind == FileKind::table || file.kind == FileKind::setAside) &&
                file.file == name);
      });
  if (seen != directory.files.end()) {
    table = readTable(directory, *seen, rows);
    std::string const path = directory.path(printable(seen->file));
    if (table.answer != Glim::Answer::ok) {
      wrong.push_back(tableProblem(directory, table));
      if (exitCodeOf(table.answer) == ExitCode::notATable)
        for (std::string const& problem : Glim::headerProblems(table.file.fd()))
          wrong.push_back({ExitCode::notATable, path + ": " + problem});
    } else if (!table.schema) {
      wrong.push_back({ExitCode::otherVersion,
                       path + ": its schema text is not understood; oru-counters may be older"});
    }
    addRowsLeftOut(wrong, path, rows.corrupt, rows.busy);
  } else if (auto const nothing = nothingThere(directory)) {
    wrong.push_back(*nothing);
  } else {
    wrong.push_back(unknownTable(directory, name));
  }

  if (options.json)
    printJson(directory, now, table, rows, wrong, out);
  else if (table.schema)
    printText(table, rows, out);
  out.flush();
  return tell(wrong, err);
}

}  // namespace Show
