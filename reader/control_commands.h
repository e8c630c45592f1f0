// The commands that ask the agent: clear, get, ls, invoke and set.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "reader/exit_code.h"
#include "reader/options.h"
#include "reader/snapshot.h"

namespace Show {

// The world around, as a seam.
struct ControlWorld {
  // Asks the agent one line and answers its one, as ControlClient::ask. Throws NoAnswer.
  std::function<std::string(std::string const& line)> ask;
  // The interfaces that there are, for those who clear some by name.
  std::function<Snapshot()> take;
};

// Does what the options ask for. The answer goes to `out`: as the agent gave it with options.json,
// else in a form for people and scripts; what is wrong goes to `err`.
ExitCode control(Options const& options, ControlWorld const& world, std::ostream& out,
                 std::ostream& err);
// The same with the agent of the options' directory. It is asked nothing before it was reached.
ExitCode control(Options const& options, std::ostream& out, std::ostream& err);

}  // namespace Show
