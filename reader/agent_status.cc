#include "reader/agent_status.h"

#include <signal.h>

#include <cerrno>
#include <limits>

namespace Show {

namespace {

// Agents say that they live about once a second. A number that no process has proves little while
// the heartbeat is fresh: the agent may live in another process namespace.
constexpr double kSilentAfter = 5.0;
constexpr double kGoneAfter = 2.0;

bool processExists(std::uint64_t pid) {
  if (pid == 0 || pid > static_cast<std::uint64_t>(std::numeric_limits<pid_t>::max())) return false;
  return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
}

}  // namespace

AgentStatus agentStatus(Glim::TableStatus const& table, bool exists) {
  AgentStatus status{.pid = table.writerPid, .heartbeatAge = table.heartbeatAge};
  if (table.state != Glim::TableStatus::State::ready)
    status.state = AgentState::notRunning;
  else if (!exists && table.heartbeatAge > kGoneAfter)
    status.state = AgentState::notRunning;
  else
    status.state = table.heartbeatAge > kSilentAfter ? AgentState::silent : AgentState::running;
  return status;
}

AgentStatus agentStatus(Glim::TableStatus const& table) {
  return agentStatus(table, processExists(table.writerPid));
}

std::string_view name(AgentState state) {
  switch (state) {
    case AgentState::running:
      return "running";
    case AgentState::silent:
      return "silent";
    case AgentState::notRunning:
      return "notRunning";
    case AgentState::unknown:
      break;
  }
  return "unknown";
}

}  // namespace Show
