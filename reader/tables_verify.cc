#include "reader/tables_verify.h"

#include <algorithm>
#include <ostream>

#include "platform/glim/header_check.h"
#include "platform/glim/table_check.h"
#include "reader/agent_status.h"
#include "reader/json_view.h"
#include "reader/row_fields.h"
#include "reader/table_files.h"
#include "reader/table_json.h"
#include "reader/units.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;

// A table can be replaced while it is checked; more often than this in a row, it is given up.
constexpr int kAttempts = 4;

enum class Verdict {
  good,
  unfinished,  // a killed writer left a step undone; the next one mends it
  overtaken,   // it changed too fast for all of the check
  damaged,
  notChecked,  // it cannot be read
};

std::string_view name(Verdict verdict) {
  switch (verdict) {
    case Verdict::good:
      return "good";
    case Verdict::unfinished:
      return "unfinished";
    case Verdict::overtaken:
      return "overtaken";
    case Verdict::damaged:
      return "damaged";
    case Verdict::notChecked:
      break;
  }
  return "notChecked";
}

struct Checked {
  OpenTable table;
  Verdict verdict = Verdict::notChecked;
  Glim::CheckReport report;
  double seconds = 0.0;
  std::vector<Problem> wrong;

  // As the user would name it.
  std::string name() const {
    return printable(table.seen.kind == FileKind::table ? table.seen.table : table.seen.file);
  }
};

// What is wrong with the header; true when that is anything.
bool addHeader(Checked& checked) {
  auto const problems = Glim::headerProblems(checked.table.file.fd());
  std::vector<Glim::Finding> findings;
  for (std::string const& problem : problems)
    findings.push_back({Glim::Finding::Part::header, {}, problem});
  checked.report.findings.insert(checked.report.findings.begin(), findings.begin(), findings.end());
  checked.report.damage += findings.size();
  return !problems.empty();
}

void judge(Checked& checked, std::string const& path) {
  Glim::CheckReport const& report = checked.report;
  if (report.damage != 0) {
    checked.verdict = Verdict::damaged;
    checked.wrong.push_back(
        {ExitCode::damageFound, path + " is damaged: " + counted(report.damage, "problem")});
  } else if (report.overtaken || report.busyRows != 0 || report.replaced) {
    checked.verdict = Verdict::overtaken;
    checked.wrong.push_back(
        {ExitCode::rowsLeftOut, path + " kept changing, and was not checked in full: try again"});
  } else {
    checked.verdict = report.unfinished.empty() ? Verdict::good : Verdict::unfinished;
  }
}

Checked check(TableDirectory const& directory, FileSeen const& seen, VerifyWorld const& world,
              Progress& progress) {
  Checked checked;
  double const begun = world.progress.clock();
  std::string const path = directory.path(printable(seen.file));
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    checked.report = {};
    checked.table = openTable(directory, seen);
    OpenTable const& table = checked.table;
    if (table.answer != Glim::Answer::ok) {
      checked.wrong.push_back(tableProblem(directory, table));
      bool const damaged = exitCodeOf(table.answer) == ExitCode::notATable && addHeader(checked);
      if (damaged) checked.verdict = Verdict::damaged;
      return checked;
    }
    Glim::CheckOptions options;
    if (table.schema) options = keyKnowledge(*table.schema, table.file.header().geometry.keyBytes);
    AgentState const writer = agentStatus(table.file.status()).state;
    options.writerLives = writer == AgentState::running || writer == AgentState::silent;
    options.wait = world.wait;
    progress.begin(checked.name());
    options.progress = [&progress](Glim::Word done, Glim::Word of) { progress.tell(done, of); };
    checked.report = Glim::checkTable(table.file, options);
    progress.end();
    if (!checked.report.replaced) break;
  }
  addHeader(checked);
  checked.seconds = world.progress.clock() - begun;
  judge(checked, path);
  return checked;
}

// Beyond this many lines a table is told as what it is: damaged all over.
constexpr std::size_t kMostLines = 100;

void print(Checked const& checked, std::ostream& out) {
  std::string const name = checked.name();
  Glim::CheckReport const& report = checked.report;
  std::size_t lines = 0;
  for (Glim::Finding const& finding : report.findings) {
    if (++lines > kMostLines) break;
    out << name << ": " << finding.text << '\n';
  }
  if (report.damage > kMostLines)
    out << name << ": and " << counted(report.damage - kMostLines, "more problem") << '\n';
  for (Glim::Finding const& finding : report.unfinished)
    out << name << ": unfinished, the next writer mends it: " << finding.text << '\n';

  out << name << ": ";
  switch (checked.verdict) {
    case Verdict::good:
      out << "good";
      break;
    case Verdict::unfinished:
      out << "good but for a step that a killed writer left undone";
      break;
    case Verdict::overtaken:
      out << "not checked in full: it kept changing";
      break;
    case Verdict::damaged:
      out << "DAMAGED, " << counted(report.damage, "problem");
      break;
    case Verdict::notChecked:
      out << "not checked: " << text(checked.table.answer) << '\n';
      return;
  }
  if (checked.table.answer == Glim::Answer::ok) {
    out << "; " << counted(report.liveRows, "row") << " in " << counted(report.slots, "slot");
    if (report.halfWritten != 0) out << ", " << report.halfWritten << " being written";
  }
  out << '\n';
}

void printSummary(std::vector<Checked> const& all, std::ostream& out) {
  auto const count = [&all](auto... verdict) {
    return static_cast<std::uint64_t>(std::count_if(
        all.begin(), all.end(),
        [=](Checked const& checked) { return ((checked.verdict == verdict) || ...); }));
  };
  out << counted(all.size(), "table") << " checked: " << count(Verdict::good, Verdict::unfinished)
      << " good, " << count(Verdict::damaged) << " damaged";
  if (auto const n = count(Verdict::overtaken); n != 0) out << ", " << n << " in part";
  if (auto const n = count(Verdict::notChecked); n != 0) out << ", " << n << " not at all";
  out << '\n';
}

Json findingsJson(std::vector<Glim::Finding> const& findings) {
  Json json = Json::array();
  for (Glim::Finding const& finding : findings)
    json.push_back({{"part", text(finding.part)},
                    {"slot", finding.slot ? Json(*finding.slot) : Json()},
                    {"text", finding.text}});
  return json;
}

Json json(TableDirectory const& directory, double now, std::vector<Checked> const& all,
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

// Each once, in the order of the directory.
std::vector<FileSeen> wanted(TableDirectory const& directory, std::vector<std::string> const& names,
                             std::vector<Problem>& wrong) {
  std::vector<std::string> files;
  for (std::string const& name : names) {
    auto const meant = tablesMeant(directory, name);
    if (meant.empty()) wrong.push_back(unknownTable(directory, name));
    for (FileSeen const& seen : meant) files.push_back(seen.file);
  }
  std::vector<FileSeen> found;
  for (FileSeen const& seen : directory.files) {
    bool const named = std::find(files.begin(), files.end(), seen.file) != files.end();
    if (names.empty() ? seen.kind == FileKind::table : named) found.push_back(seen);
  }
  return found;
}

}  // namespace

ExitCode tablesVerify(Options const& options, VerifyWorld const& world, std::ostream& out,
                      std::ostream& err) {
  TableDirectory const directory = readDirectory(options.directory, options.trust());
  std::vector<Problem> wrong;
  std::vector<Checked> all;
  if (auto const nothing = nothingThere(directory)) {
    wrong.push_back(*nothing);
  } else {
    Progress progress(world.progress, err);
    for (FileSeen const& seen : wanted(directory, options.names, wrong)) {
      all.push_back(check(directory, seen, world, progress));
      wrong.insert(wrong.end(), all.back().wrong.begin(), all.back().wrong.end());
      if (!options.json) print(all.back(), out);
    }
    if (!options.json && all.size() > 1) printSummary(all, out);
  }
  if (options.json) out << jsonText(json(directory, world.now, all, wrong), false);
  out.flush();
  return tell(wrong, err);
}

}  // namespace Show
