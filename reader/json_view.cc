#include "reader/json_view.h"

#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "reader/agent_status.h"
#include "reader/counters.h"
#include "reader/views.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;

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

using Names = std::span<std::string_view const>;
constexpr Names kAllNames = Interface::kCounterNames;
// Those that every kind of interface has.
constexpr Names kIntfNames = kAllNames.first(Interface::kIntfStatisticsFields.size() - 1);

Json countersJson(Intf const& intf, Basis basis, Names names = kAllNames) {
  Counters const counters(intf, basis);
  Json json = Json::object();
  for (std::string_view const counter : names) {
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

Json textJson(std::string_view text) { return text.empty() ? Json() : Json(std::string(text)); }
Json timeJson(double seconds) { return seconds > 0.0 ? Json(seconds) : Json(); }

Json vlanIntfJson(Snapshot const& snapshot, Intf const& intf) {
  Json json = intfJson(snapshot, intf);
  json.update(sampleJson(snapshot, intf));
  json["rates"] = ratesJson(rates(intf));
  json["counters"] = countersJson(intf, Basis::total, kIntfNames);
  return json;
}

Json intfJson(Snapshot const& snapshot, Intf const& intf) {
  Json json{{"name", intf.intfId.view()}, {"kernelName", textJson(intf.kernelName())},
            {"ifIndex", nullptr},         {"alias", nullptr},
            {"adminState", nullptr},      {"operState", nullptr},
            {"speed", nullptr},           {"lastChange", nullptr}};
  if (intf.description) {
    Interface::IntfDescription const& description = *intf.description;
    if (description.ifIndex != 0) json["ifIndex"] = description.ifIndex;
    json["alias"] = textJson(description.alias.view());
    json["adminState"] = textJson(name(description.adminState));
    json["operState"] = textJson(name(description.operState));
    if (description.speed != 0) json["speed"] = description.speed;
    json["lastChange"] = timeJson(description.lastChange);
  }
  json["stale"] = stale(snapshot, intf);
  return json;
}

Json sampleJson(Snapshot const& snapshot, Intf const& intf) {
  Interface::IntfStatistics const* const statistics = intf.statistics();
  return {{"lastUpdate", statistics ? timeJson(statistics->lastUpdate) : Json()},
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
  Json all = Json::array();
  for (Intf const& intf : snapshot.interfaces) all.push_back(toJson(snapshot, intf));
  return json(snapshot, problems, "interfaces", std::move(all));
}

Json json(Snapshot const& snapshot, std::vector<Problem> const& problems, char const* arrayName,
          Json array) {
  Json json{{"format", kJsonFormat},           {"time", snapshot.now},
            {"directory", snapshot.directory}, {"agent", agentJson(snapshot.agent)},
            {"tables", tablesJson(snapshot)},  {"problems", problemsJson(problems)}};
  json[arrayName] = std::move(array);
  return json;
}

std::string jsonText(Json const& value, bool oneLine) {
  return value.dump(oneLine ? -1 : 2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace Show
