#include "reader/agent_line.h"

#include <string>

#include "reader/snapshot.h"
#include "reader/units.h"

namespace Show {

Line agentLine(Snapshot const& snapshot) {
  AgentStatus const& agent = snapshot.agent;
  std::string const process = "process " + std::to_string(agent.pid);
  std::string const heartbeat = "heartbeat " + ageText(agent.heartbeatAge) + " ago";
  switch (agent.state) {
    case AgentState::running:
      return {{"Agent running, " + process + ", " + heartbeat}};
    case AgentState::silent:
      return {{"Agent silent, " + process + ", last " + heartbeat + ": rows are stale",
               Style::warning}};
    case AgentState::notRunning:
      return {{"Agent not running, last " + heartbeat + ": rows are stale", Style::warning}};
    case AgentState::unknown:
      break;
  }
  return {{"Agent unknown: there is no table that would tell", Style::warning}};
}

}  // namespace Show
