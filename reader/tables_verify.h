// The command `tables verify`: a full check of tables, one line a problem.
#pragma once

#include <iosfwd>

#include "reader/checked_table.h"
#include "reader/exit_code.h"

namespace Show {

struct Options;

ExitCode tablesVerify(Options const& options, VerifyWorld const& world, std::ostream& out,
                      std::ostream& err);

}  // namespace Show
