// The commands clear and clear vlan: have counters cleared, of interfaces and of VLANs.
#pragma once

#include <iosfwd>

namespace Show {

class Asking;
struct ControlWorld;
struct Options;

// Clears what the options name, everything for "all", and tells it to `out`. Many names are several
// requests. Throws NoAnswer; where a name means nothing that can be cleared, nothing was.
void clear(Options const& options, ControlWorld const& world, Asking& ask, std::ostream& out);

}  // namespace Show
