// The command `tables list`: every file of the directory, for what it is.
#pragma once

#include <iosfwd>

#include "reader/exit_code.h"
#include "reader/place.h"

namespace Show {

struct Options;

// `now` is seconds since the epoch.
ExitCode tablesList(Options const& options, double now, Place const& place, std::ostream& out,
                    std::ostream& err);

}  // namespace Show
