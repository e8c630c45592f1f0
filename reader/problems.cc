#include "reader/problems.h"

#include <algorithm>

#include "reader/units.h"

namespace Show {

namespace {

std::string tableText(Snapshot const& snapshot, TableRead const& table) {
  std::string const file = snapshot.directory + "/" + std::string(table.name) + ".glim";
  switch (table.answer) {
    case Glim::Answer::missing:
      return "there is no table " + file + ": the agent has not published it";
    case Glim::Answer::retired:
      return file + " was replaced, and its successor is not there yet";
    case Glim::Answer::unreadable:
      return file +
             " cannot be opened: it takes permission to search the directory and to read "
             "the file";
    case Glim::Answer::notATable:
      return file + " is not a table, or its header is damaged";
    case Glim::Answer::truncated:
      return file + " is damaged: it is shorter than its header says";
    case Glim::Answer::otherLayout:
      return file +
             " is a table of another layout version: oru-counters and oru-agentd must be of "
             "the same version";
    case Glim::Answer::otherSchema:
      return file + " holds other records: oru-counters and oru-agentd must be of the same version";
    case Glim::Answer::unsafe:
      if (!snapshot.directoryNamed && !table.stranger.empty())
        return file + " belongs to " + printable(table.stranger) +
               ", who is neither you nor the superuser; if you trust it, name the directory: "
               "oru-counters --tables " +
               snapshot.directory;
      if (!table.stranger.empty())
        return file + " is not safe to read: it belongs to " + printable(table.stranger) +
               ", and must be yours, of the superuser or of its directory's owner, with nobody "
               "else who may write it";
      return file +
             " is not safe to read: it must be a regular file of yours, of the superuser or "
             "of its directory's owner, and nobody else may write it";
    case Glim::Answer::ok:
    case Glim::Answer::absent:
    case Glim::Answer::busy:
    case Glim::Answer::corrupt:
      break;
  }
  return {};
}

}  // namespace

std::vector<Problem> problems(Snapshot const& snapshot, std::vector<std::string> const& unknown) {
  std::vector<Problem> all;
  auto const& tables = snapshot.table;
  bool const none = std::all_of(tables.begin(), tables.end(), [](TableRead const& table) {
    return table.answer == Glim::Answer::missing;
  });
  if (none) {
    all.push_back({ExitCode::tableMissing, "there are no tables in " + snapshot.directory +
                                               "; start the agent with: oru-agentd --tables " +
                                               snapshot.directory});
    return all;
  }
  for (TableRead const& table : tables)
    if (exitCodeOf(table.answer) != ExitCode::ok)
      all.push_back({exitCodeOf(table.answer), tableText(snapshot, table)});
  for (TableRead const& table : tables) {
    std::string const of = " of " + snapshot.directory + "/" + std::string(table.name) + ".glim ";
    if (table.corruptRows != 0)
      all.push_back({ExitCode::rowsLeftOut, counted(table.corruptRows, "corrupt row") + of +
                                                (table.corruptRows == 1 ? "was" : "were") +
                                                " left out"});
    if (table.busyRows != 0)
      all.push_back(
          {ExitCode::rowsLeftOut, counted(table.busyRows, "row") + of + "kept changing and " +
                                      (table.busyRows == 1 ? "was" : "were") + " left out"});
  }
  bool const known = tables[Snapshot::counterTable].answer == Glim::Answer::ok;
  for (std::string const& name : unknown)
    if (known)
      all.push_back({ExitCode::unknownInterface, "there is no interface " + printable(name)});
  return all;
}

ExitCode exitCode(std::vector<Problem> const& problems) {
  auto const rank = [](ExitCode code) {
    return code == ExitCode::unknownInterface ? number(ExitCode::rowsLeftOut) + 1 : number(code);
  };
  auto const worst = std::min_element(
      problems.begin(), problems.end(),
      [&](Problem const& a, Problem const& b) { return rank(a.code) < rank(b.code); });
  return worst == problems.end() ? ExitCode::ok : worst->code;
}

}  // namespace Show
