// The commands `show`.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <vector>

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

// The tables that a command about interfaces, classes or VLANs takes: those that `show` and `top`
// read.
std::vector<Table> tablesOf(Options::Command command);
// And the kind of interface that it is about, where it is about interfaces.
IntfKind intfKindOf(Options::Command command);

// What the options ask for goes to `out`, what is wrong to `err`, a line each.
ExitCode show(Options const& options, Snapshot snapshot, Place const& place, std::ostream& out,
              std::ostream& err);

}  // namespace Show
