#include "reader/json_pieces.h"

#include <nlohmann/json.hpp>

#include "reader/agent_status.h"
#include "reader/problems.h"

namespace Show {

using Json = nlohmann::ordered_json;

Json textJson(std::string_view text) { return text.empty() ? Json() : Json(std::string(text)); }
Json timeJson(double seconds) { return seconds > 0.0 ? Json(seconds) : Json(); }
Json orNull(std::optional<std::uint64_t> value) { return value ? Json(*value) : Json(); }
Json orNull(std::optional<double> value) { return value ? Json(*value) : Json(); }

Json problemsJson(std::vector<Problem> const& problems) {
  Json json = Json::array();
  for (Problem const& problem : problems)
    json.push_back({{"exitCode", number(problem.code)}, {"text", problem.text}});
  return json;
}

Json agentJson(AgentStatus const& agent) {
  Json json{{"state", name(agent.state)}, {"pid", nullptr}, {"heartbeatAge", nullptr}};
  if (agent.state == AgentState::unknown) return json;
  json["pid"] = agent.pid;
  json["heartbeatAge"] = agent.heartbeatAge;
  return json;
}

std::string jsonText(Json const& value, bool oneLine) {
  return value.dump(oneLine ? -1 : 2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace Show
