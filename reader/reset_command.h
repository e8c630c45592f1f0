// The command clear copp: has classes of the control plane's policing reset.
#pragma once

#include <iosfwd>

namespace Show {

class Asking;
struct ControlWorld;
struct Options;

// Resets the classes that the options name, all of them for "all", and tells it to `out`. Classes
// are reset by the state machine of their policy map, which must be watched. It passes over a class
// that its policy map does not have now without a word; so every class is read first, and one whose
// row that leaves as it was has gone. Those that "all" or a pattern means are passed over, and
// told.
//
// Throws NoAnswer. Where a name means no class or one that has gone, or a policy map is not
// watched, nothing was reset; else the classes before the one that failed were, and are told.
void resetClasses(Options const& options, ControlWorld const& world, Asking& ask,
                  std::ostream& out);

}  // namespace Show
