// The live table where there is no screen for it: one table after the other.
#pragma once

#include <functional>
#include <iosfwd>

#include "reader/exit_code.h"
#include "reader/snapshot.h"

namespace Show {

struct Options;

// Time, as a seam: a test lets hours pass at once.
class Pace {
 public:
  virtual ~Pace() = default;

  virtual double wallClock() = 0;    // seconds since the epoch
  virtual double steadyClock() = 0;  // seconds since any time; nobody sets it
  // False when the program is asked to end.
  virtual bool waitUntil(double steady) = 0;
};

// A table each interval, from now until options.duration is over, the program is asked to end, or
// `out` takes no more. What is wrong goes to `err` when it changes. Answers the exit code of the
// last table.
ExitCode plainTop(Options const& options, std::function<Snapshot(double now)> const& take,
                  Pace& pace, std::ostream& out, std::ostream& err);

}  // namespace Show
