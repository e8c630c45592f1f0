#include "reader/tables_list.h"

#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <ostream>
#include <utility>

#include "reader/agent_status.h"
#include "reader/json_pieces.h"
#include "reader/options.h"
#include "reader/table_files.h"
#include "reader/table_json.h"
#include "reader/text_table.h"
#include "reader/units.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;
constexpr auto kLeft = Column::Align::left;
constexpr auto kRight = Column::Align::right;

std::string writerText(OpenTable const& table) {
  auto const status = table.file.status();
  if (status.state != Glim::TableStatus::State::ready) return "none";
  AgentState const state = agentStatus(status).state;
  // A writer that let go of its table says so; this one did not come to that.
  return state == AgentState::notRunning ? "dead" : std::string(name(state));
}

TextTable::Row tableRow(OpenTable const& table) {
  auto const& header = table.file.header();
  auto const status = table.file.status();
  std::string const writer = writerText(table);
  auto const number = [](std::uint64_t n) { return Span{std::to_string(n)}; };
  Style const style = writer == "silent" || writer == "dead" ? Style::warning : Style::plain;
  return {{{printable(table.seen.kind == FileKind::table ? table.seen.table : table.seen.file)},
           {table.schema ? printable(table.schema->record) : std::string(kNotAvailable)},
           number(status.rows),
           number(status.allocatedRows),
           number(status.maxRows),
           number(header.fileBytes),
           number(status.epoch),
           {std::string(text(status.state))},
           {writer, style},
           number(status.writerPid),
           {ageText(status.heartbeatAge) + " ago"}}};
}

// Of a note that a writer left: its line that begins so. Bounded, whatever the file holds.
std::string noteLine(std::string const& path, std::string_view begin) {
  constexpr std::streamsize most = 64 * 1024;
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  std::ifstream file(path, std::ios::binary);
  std::string content(static_cast<std::size_t>(most), '\0');
  file.read(content.data(), most);
  content.resize(static_cast<std::size_t>(file.gcount()));
  std::string_view rest = content;
  while (!rest.empty()) {
    auto const end = std::min(rest.find('\n'), rest.size());
    if (rest.starts_with(begin)) return printable(rest.substr(begin.size(), end - begin.size()));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return {};
}

std::string corruptionText(TableDirectory const& directory, FileSeen const& seen) {
  std::string const path = directory.path(seen.file);
  std::string text = "note that a writer of " + printable(seen.table) + " found it damaged";
  if (auto const time = noteLine(path, "time: "); !time.empty()) text += ", " + time;
  if (auto const reason = noteLine(path, "reason: "); !reason.empty()) text += ": " + reason;
  return text;
}

std::string asideText(TableDirectory const& directory, FileSeen const& seen) {
  std::string text = "what had the name " + printable(seen.table) + ".glim, set aside by a writer";
  OpenTable const table = openTable(directory, seen);
  if (table.answer != Glim::Answer::ok) return text + ": " + std::string(Glim::text(table.answer));
  return text + ": " +
         (table.schema ? "a table of " + printable(table.schema->record) : "a table") + ", " +
         counted(table.file.status().rows, "row");
}

// What people are told of a file that is no table.
std::string fileText(TableDirectory const& directory, FileSeen const& seen) {
  switch (seen.kind) {
    case FileKind::setAside:
      return asideText(directory, seen);
    case FileKind::beingMade:
      return "a file that is being made, or was left by a writer that was killed";
    case FileKind::lock:
      return "the lock of the writer of " + printable(seen.table);
    case FileKind::corruptionNote:
      return corruptionText(directory, seen);
    case FileKind::controlSocket:
      return "the socket at which the agent is asked, or what a killed one left of it";
    case FileKind::table:
    case FileKind::other:
      break;
  }
  return "none of the files of a table";
}

// The lock beside its table is no news.
bool isNews(TableDirectory const& directory, FileSeen const& seen) {
  if (seen.kind == FileKind::table || seen.kind == FileKind::controlSocket) return false;
  if (seen.kind != FileKind::lock) return true;
  return std::none_of(directory.files.begin(), directory.files.end(), [&](FileSeen const& other) {
    return other.kind == FileKind::table && other.table == seen.table;
  });
}

std::vector<Line> view(TableDirectory const& directory, std::vector<OpenTable> const& tables,
                       std::size_t width) {
  std::vector<Line> lines;
  TextTable table({{"Table", kLeft},
                   {"Records", kLeft, 3},
                   {"Rows", kRight},
                   {"Allocated", kRight, 5},
                   {"Maximum", kRight, 4},
                   {"Bytes", kRight, 6},
                   {"Epoch", kRight, 7},
                   {"State", kLeft, 2},
                   {"Writer", kLeft},
                   {"Process", kRight, 1},
                   {"Heartbeat", kRight, 1}});
  bool any = false;
  for (OpenTable const& one : tables) {
    if (one.answer != Glim::Answer::ok) continue;
    table.add(tableRow(one));
    any = true;
  }
  if (any) appendTable(lines, table.text(width));

  TextTable others({{"File", kLeft}, {"What it is", kLeft}});
  any = false;
  for (OpenTable const& one : tables) {
    if (one.answer == Glim::Answer::ok) continue;
    others.add({{{printable(one.seen.file)}, {"cannot be read: " + std::string(text(one.answer))}},
                Style::warning});
    any = true;
  }
  for (FileSeen const& seen : directory.files) {
    if (!isNews(directory, seen)) continue;
    others.add({{{printable(seen.file)}, {fileText(directory, seen)}}});
    any = true;
  }
  if (any) {
    if (!lines.empty()) lines.emplace_back();
    appendTable(lines, others.text());
  }
  return lines;
}

Json json(TableDirectory const& directory, double now, std::vector<OpenTable> const& tables,
          std::vector<Problem> const& wrong) {
  Json json = tablesJsonBegin(directory, now, wrong);
  json["tables"] = Json::array();
  for (OpenTable const& table : tables) json["tables"].push_back(tableJson(table));
  json["files"] = Json::array();
  for (FileSeen const& seen : directory.files) {
    if (seen.kind == FileKind::table) continue;
    struct stat status {};
    bool const known = ::lstat(directory.path(seen.file).c_str(), &status) == 0;
    Json file{{"file", seen.file},
              {"kind", name(seen.kind)},
              {"table", seen.table.empty() ? Json() : Json(seen.table)},
              {"bytes", known ? Json(status.st_size) : Json()},
              {"text", fileText(directory, seen)}};
    json["files"].push_back(std::move(file));
  }
  return json;
}

}  // namespace

ExitCode tablesList(Options const& options, double now, Place const& place, std::ostream& out,
                    std::ostream& err) {
  TableDirectory directory = readDirectory(options.directory, options.trust());
  std::vector<Problem> wrong;
  std::vector<OpenTable> tables;
  if (auto const nothing = nothingThere(directory)) {
    wrong.push_back(*nothing);
    // Another directory was meant: what is in this one is none of the tables' business.
    std::erase_if(directory.files,
                  [](FileSeen const& seen) { return seen.kind == FileKind::other; });
  }
  for (FileSeen const& seen : directory.files) {
    if (seen.kind != FileKind::table) continue;
    tables.push_back(openTable(directory, seen));
    if (tables.back().answer != Glim::Answer::ok)
      wrong.push_back(tableProblem(directory, tables.back()));
  }
  if (options.json)
    out << jsonText(json(directory, now, tables, wrong), false);
  else
    out << joined(view(directory, tables, place.width), place.colours);
  out.flush();
  return tell(wrong, err);
}

}  // namespace Show
