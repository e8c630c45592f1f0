#include "reader/checked_table.h"

#include "platform/glim/header_check.h"
#include "reader/agent_status.h"
#include "reader/row_fields.h"
#include "reader/units.h"

namespace Show {

namespace {

// A table can be replaced while it is checked; more often than this in a row, it is given up.
constexpr int kAttempts = 4;

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

}  // namespace

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

std::string Checked::name() const {
  return printable(table.seen.kind == FileKind::table ? table.seen.table : table.seen.file);
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

}  // namespace Show
