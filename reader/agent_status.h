// Whether the writer of a table lives.
#pragma once

#include "platform/glim/table_file.h"
#include "reader/snapshot.h"

namespace Show {

// What the file says of its writer, and whether there is a process of the writer's number.
AgentStatus agentStatus(Glim::TableStatus const& table, bool processExists);
// The same, of the processes that there are now.
AgentStatus agentStatus(Glim::TableStatus const& table);

// "running", "silent", "notRunning" or "unknown", as JSON has it.
std::string_view name(AgentState state);

}  // namespace Show
