// The command `tables verify`: a full check of tables, one line a problem.
#pragma once

#include <functional>
#include <iosfwd>

#include "reader/exit_code.h"
#include "reader/options.h"
#include "reader/progress.h"

namespace Show {

// What the check needs of the world around it.
struct VerifyWorld {
  double now = 0.0;  // seconds since the epoch
  Progress::Place progress;
  std::function<void()> wait;  // 1/20 of a second, for a writer that is at work
};

ExitCode tablesVerify(Options const& options, VerifyWorld const& world, std::ostream& out,
                      std::ostream& err);

}  // namespace Show
