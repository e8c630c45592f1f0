// What a user must be told besides the views, and the exit code that follows from it.
#pragma once

#include <string>
#include <vector>

#include "reader/exit_code.h"
#include "reader/snapshot.h"

namespace Show {

struct Problem {
  ExitCode code = ExitCode::failed;
  std::string text;  // one line
  bool operator==(Problem const&) const = default;
};

// Of the tables, the most important first; then of the names that mean no interface, where the
// tables could be read at all.
std::vector<Problem> problems(Snapshot const& snapshot, std::vector<std::string> const& unknown);

ExitCode exitCode(std::vector<Problem> const& problems);

}  // namespace Show
