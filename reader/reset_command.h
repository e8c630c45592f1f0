// The command clear copp: has classes of the control plane's policing reset.
#pragma once

#include <iosfwd>

#include "reader/asking.h"
#include "reader/options.h"

namespace Show {

// Resets the classes that the options name, all of them for "all", and tells it to `out`. Classes
// are reset by the state machine of their policy map, which must be watched. The rows are read
// before and after, since a class that went meanwhile is passed over without a word. Throws
// NoAnswer; where a name means no class, or a policy map is not watched, nothing was reset.
void resetClasses(Options const& options, ControlWorld const& world, Asking& ask,
                  std::ostream& out);

}  // namespace Show
