#include "reader/json_view.h"

#include <optional>
#include <string_view>

#include "reader/agent_status.h"
#include "reader/counters.h"
#include "reader/views.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;

Json text(std::string_view text) { return text.empty() ? Json() : Json(std::string(text)); }

// Times are seconds since the epoch; 0 stands for "never".
Json time(double seconds) { return seconds > 0.0 ? Json(seconds) : Json(); }

std::string_view name(Interface::AdminState state) {
  switch (state) {
    case Interface::AdminState::up:
      return "up";
    case Interface::AdminState::down:
      return "down";
    case Interface::AdminState::unknown:
      break;
  }
  return {};
}

Json tablesJson(Snapshot const& snapshot) {
  Json json = Json::object();
  for (auto const& [table, read] : snapshot.tables) {
    json[std::string(name(table))] = {{"status", Glim::text(read.answer)},
                                      {"rows", read.rows},
                                      {"corruptRows", read.corruptRows},
                                      {"busyRows", read.busyRows}};
  }
  return json;
}

Json countersJson(Intf const& intf, Basis basis) {
  Counters const counters(intf, basis);
  Json json = Json::object();
  for (std::string_view const counter : Interface::kCounterNames) {
    Json& value = json[std::string(counter)];
    if (!isArray(counter)) {
      value = orNull(counters[counter]);
    } else if (auto const entries = counters.entries(counter)) {
      value = Json::array();
      for (auto const& entry : *entries) value.push_back(orNull(entry));
    }
  }
  return json;
}

Json ratesJson(std::optional<Interface::IntfRates> const& known) {
  Json json{{"inBitsRate", nullptr},
            {"inPktsRate", nullptr},
            {"outBitsRate", nullptr},
            {"outPktsRate", nullptr},
            {"lastUpdate", nullptr}};
  if (!known) return json;
  json["inBitsRate"] = known->inBitsRate;
  json["inPktsRate"] = known->inPktsRate;
  json["outBitsRate"] = known->outBitsRate;
  json["outPktsRate"] = known->outPktsRate;
  json["lastUpdate"] = known->lastUpdate;
  return json;
}

Json interfaceJson(Snapshot const& snapshot, Intf const& intf) {
  Json json = intfJson(snapshot, intf);
  json.update(sampleJson(snapshot, intf));
  json["rates"] = ratesJson(rates(intf));
  json["measuredRates"] = ratesJson(intf.measuredRates);
  json["cleared"] = orNull(cleared(intf));
  json["counters"] = countersJson(intf, Basis::total);
  json["sinceClear"] = countersJson(intf, Basis::sinceClear);
  return json;
}

}  // namespace

Json intfJson(Snapshot const& snapshot, Intf const& intf) {
  Json json{{"name", intf.intfId.view()}, {"kernelName", text(intf.kernelName())},
            {"ifIndex", nullptr},         {"alias", nullptr},
            {"adminState", nullptr},      {"operState", nullptr},
            {"speed", nullptr},           {"lastChange", nullptr}};
  if (intf.description) {
    Interface::IntfDescription const& description = *intf.description;
    if (description.ifIndex != 0) json["ifIndex"] = description.ifIndex;
    json["alias"] = text(description.alias.view());
    json["adminState"] = text(name(description.adminState));
    json["operState"] = text(name(description.operState));
    if (description.speed != 0) json["speed"] = description.speed;
    json["lastChange"] = time(description.lastChange);
  }
  json["stale"] = stale(snapshot, intf);
  return json;
}

Json sampleJson(Snapshot const& snapshot, Intf const& intf) {
  return {{"lastUpdate", intf.counters ? time(intf.counters->statistics.lastUpdate) : Json()},
          {"age", orNull(age(snapshot, intf))}};
}

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

Json json(Snapshot const& snapshot, std::vector<Problem> const& problems) {
  return json(snapshot, problems, interfaceJson);
}

Json json(Snapshot const& snapshot, std::vector<Problem> const& problems,
          IntfToJson const& toJson) {
  Json json{{"format", kJsonFormat},           {"time", snapshot.now},
            {"directory", snapshot.directory}, {"agent", agentJson(snapshot.agent)},
            {"tables", tablesJson(snapshot)},  {"problems", Json::array()},
            {"interfaces", Json::array()}};
  json["problems"] = problemsJson(problems);
  for (Intf const& intf : snapshot.interfaces) json["interfaces"].push_back(toJson(snapshot, intf));
  return json;
}

std::string jsonText(Json const& value, bool oneLine) {
  return value.dump(oneLine ? -1 : 2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace Show
