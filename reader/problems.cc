#include "reader/problems.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <ostream>

#include "reader/snapshot.h"
#include "reader/units.h"

namespace Show {

namespace {

// Where a name of that kind is shown.
std::string_view shownBy(IntfKind kind) {
  switch (kind) {
    case IntfKind::vlan:
      return "of VLAN interfaces, see: oru-counters show vlan-interfaces";
    case IntfKind::cpuPort:
      return "of the CPU port, see: oru-counters show copp";
    case IntfKind::ethernet:
      break;
  }
  return "of Ethernet interfaces, see: oru-counters show interfaces";
}

// As the names of interfaces are written, whatever the user's hand wrote.
std::string capitalised(std::string name) {
  for (std::size_t i = 0; i < name.size(); ++i) {
    auto const c = static_cast<unsigned char>(name[i]);
    name[i] = static_cast<char>(i == 0 ? std::toupper(c) : std::tolower(c));
  }
  return name;
}

bool isUsualName(std::string const& name) {
  if (!Pekt::IntfId::isName(name)) return false;
  return kindOf(name) != IntfKind::ethernet || Pekt::EthIntfId::isEthIntfId(name);
}

std::string unknownText(std::string const& name, Named const& named) {
  std::string const text = "there is no " + std::string(named.noun) + " " + printable(name);
  bool const vlans = named.table == Table::vlanIntfCounters;
  if (named.table != Table::counters && !vlans) return text;
  if (!isUsualName(name)) {
    std::string const usual = capitalised(name);
    return isUsualName(usual) ? text + "; such names are written " + usual : text;
  }
  IntfKind const kind = kindOf(name);
  if (kind == (vlans ? IntfKind::vlan : IntfKind::ethernet)) return text;
  return text + " here; " + std::string(shownBy(kind));
}

}  // namespace

std::string tableText(TablePlace const& place, Glim::Answer answer, std::string const& stranger,
                      std::string_view whyMissing) {
  std::string const file = place.directory + "/" + place.file;
  switch (answer) {
    case Glim::Answer::missing:
      return "there is no table " + file + ": " + std::string(whyMissing);
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
      if (!place.directoryNamed && !stranger.empty())
        return file + " belongs to " + printable(stranger) +
               ", who is neither you nor the superuser; if you trust it, name the directory: "
               "oru-counters --tables " +
               place.directory;
      if (!stranger.empty())
        return file + " is not safe to read: it belongs to " + printable(stranger) +
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

Problem noTables(std::string const& directory) {
  struct stat status {};
  if (::stat(directory.c_str(), &status) == 0 && !S_ISDIR(status.st_mode))
    return {ExitCode::tableMissing,
            "there are no tables in " + directory + ", which is no directory"};
  return {ExitCode::tableMissing, "there are no tables in " + directory +
                                      "; start the agent with: oru-agentd --tables " + directory};
}

void addRowsLeftOut(std::vector<Problem>& all, std::string const& path, std::uint64_t corrupt,
                    std::uint64_t busy) {
  std::string const of = " of " + path + " ";
  if (corrupt != 0)
    all.push_back({ExitCode::rowsLeftOut, counted(corrupt, "corrupt row") + of +
                                              (corrupt == 1 ? "was" : "were") + " left out"});
  if (busy != 0)
    all.push_back({ExitCode::rowsLeftOut, counted(busy, "row") + of + "kept changing and " +
                                              (busy == 1 ? "was" : "were") + " left out"});
}

std::vector<Problem> problems(Snapshot const& snapshot, std::vector<std::string> const& unknown,
                              Named const& named) {
  std::vector<Problem> all;
  auto const& tables = snapshot.tables;
  bool const none = std::all_of(tables.begin(), tables.end(), [](auto const& table) {
    return table.second.answer == Glim::Answer::missing;
  });
  if (none) return {noTables(snapshot.directory)};
  auto const fileOf = [](Table table) { return std::string(name(table)) + ".glim"; };
  for (auto const& [table, read] : tables)
    if (exitCodeOf(read.answer) != ExitCode::ok)
      all.push_back({exitCodeOf(read.answer),
                     tableText({snapshot.directory, snapshot.directoryNamed, fileOf(table)},
                               read.answer, read.stranger, whyMissing(table))});
  for (auto const& [table, read] : tables)
    addRowsLeftOut(all, snapshot.directory + "/" + fileOf(table), read.corruptRows, read.busyRows);
  for (std::string const& name : unknown)
    if (wasRead(snapshot, named.table))
      all.push_back({ExitCode::unknownName, unknownText(name, named)});
  return all;
}

ExitCode exitCode(std::vector<Problem> const& problems) {
  auto const rank = [](ExitCode code) {
    switch (code) {
      case ExitCode::damageFound:
        return 101;
      case ExitCode::rowsLeftOut:
        return 102;
      case ExitCode::unknownName:
        return 103;
      default:
        return number(code);
    }
  };
  auto const worst = std::min_element(
      problems.begin(), problems.end(),
      [&](Problem const& a, Problem const& b) { return rank(a.code) < rank(b.code); });
  return worst == problems.end() ? ExitCode::ok : worst->code;
}

ExitCode tell(std::vector<Problem> const& problems, std::ostream& err) {
  for (Problem const& problem : problems) err << "oru-counters: " << problem.text << '\n';
  return exitCode(problems);
}

}  // namespace Show
