// The commands `show`.
#pragma once

#include <iosfwd>

#include "reader/exit_code.h"
#include "reader/place.h"

namespace Show {

struct Options;
struct Snapshot;

// What the options ask for goes to `out`, what is wrong to `err`, a line each. The snapshot is of
// the tables that the command reads.
ExitCode show(Options const& options, Snapshot snapshot, Place const& place, std::ostream& out,
              std::ostream& err);

}  // namespace Show
