// The line above every view.
#pragma once

#include "reader/styled_text.h"

namespace Show {

struct Snapshot;

// "Agent running, process 4711, heartbeat 0.4 s ago".
Line agentLine(Snapshot const& snapshot);

}  // namespace Show
