// The live table on a terminal.
#pragma once

#include <functional>
#include <optional>

#include "reader/exit_code.h"
#include "reader/plain_top.h"
#include "reader/snapshot.h"

namespace Show {

struct Options;

// Until the user quits, or the program is asked to end. Nothing when the terminal cannot show it:
// its type is unknown.
std::optional<ExitCode> screenTop(Options const& options,
                                  std::function<Snapshot(double now)> const& take, Pace& pace,
                                  bool colours, std::function<bool()> const& askedToEnd);

}  // namespace Show
