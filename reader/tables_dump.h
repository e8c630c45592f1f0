// The command `tables dump`: one table whole, by the schema in its file alone.
#pragma once

#include <iosfwd>

#include "reader/exit_code.h"

namespace Show {

struct Options;

// `now` is seconds since the epoch. REQUIRES: options.names has one name
ExitCode tablesDump(Options const& options, double now, std::ostream& out, std::ostream& err);

}  // namespace Show
