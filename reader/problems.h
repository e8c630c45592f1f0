// What a user must be told besides the views, and the exit code that follows from it.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "reader/exit_code.h"
#include "reader/table.h"

namespace Show {

struct Snapshot;

struct Problem {
  ExitCode code = ExitCode::failed;
  std::string text;  // one line
  bool operator==(Problem const&) const = default;
};

// What to say of a table that could not be read; empty for the answers that concern one row.
// `stranger` is the owner of an unsafe file, where that is the reason.
struct TablePlace {
  std::string directory;
  bool directoryNamed = true;  // by the user
  std::string file;            // within the directory
};
std::string tableText(TablePlace const& place, Glim::Answer answer, std::string const& stranger,
                      std::string_view whyMissing = kNotPublished);
// There is no table at all.
Problem noTables(std::string const& directory);
// Rows that could not be read and were left out: none, one or two problems.
void addRowsLeftOut(std::vector<Problem>& all, std::string const& path, std::uint64_t corrupt,
                    std::uint64_t busy);

// What names are of, and the table that knows of them.
struct Named {
  std::string_view noun = "interface";
  Table table = Table::counters;
};
// Of the tables, the most important first; then of the names that mean nothing, where their table
// could be read.
std::vector<Problem> problems(Snapshot const& snapshot, std::vector<std::string> const& unknown,
                              Named const& named = {});

ExitCode exitCode(std::vector<Problem> const& problems);
// Writes them, a line each, and answers their exit code.
ExitCode tell(std::vector<Problem> const& problems, std::ostream& err);

}  // namespace Show
