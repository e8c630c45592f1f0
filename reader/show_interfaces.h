// The command `show interfaces`.
#pragma once

#include <cstddef>
#include <iosfwd>

#include "reader/exit_code.h"
#include "reader/options.h"
#include "reader/snapshot.h"
#include "reader/text_table.h"

namespace Show {

// Where the output goes.
struct Place {
  std::size_t width = kUnlimited;
  bool colours = false;
};

// What the options ask for goes to `out`, what is wrong to `err`, a line each.
ExitCode showInterfaces(Options const& options, Snapshot snapshot, Place const& place,
                        std::ostream& out, std::ostream& err);

}  // namespace Show
