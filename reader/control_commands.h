// The commands that ask the agent: clear, poll, get, ls, invoke and set.
#pragma once

#include <iosfwd>

#include "reader/exit_code.h"

namespace Show {

struct ControlWorld;
struct Options;

// Does what the options ask for. The answer goes to `out`: as the agent gave it with options.json,
// else in a form for people and scripts; what is wrong goes to `err`.
ExitCode control(Options const& options, ControlWorld const& world, std::ostream& out,
                 std::ostream& err);
// The same with the agent of the options' directory. It is asked nothing before it was reached.
ExitCode control(Options const& options, std::ostream& out, std::ostream& err);

}  // namespace Show
