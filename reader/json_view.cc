#include "reader/json_view.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string_view>

#include "reader/counters.h"
#include "reader/json_pieces.h"
#include "reader/snapshot.h"

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

Json vlanIntfJson(Snapshot const& snapshot, Intf const& intf) {
  Json json = intfJson(snapshot, intf);
  json.update(sampleJson(snapshot, intf));
  json["rates"] = ratesJson(rates(intf));
  json["counters"] = countersJson(intf, Basis::total, kIntfNames);
  return json;
}

}  // namespace

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

Json arrayOf(Snapshot const& snapshot, Json (*toJson)(Snapshot const&, Intf const&)) {
  Json all = Json::array();
  for (Intf const& intf : snapshot.interfaces) all.push_back(toJson(snapshot, intf));
  return all;
}

Json interfacesJson(Snapshot const& snapshot) { return arrayOf(snapshot, interfaceJson); }
Json vlanIntfsJson(Snapshot const& snapshot) { return arrayOf(snapshot, vlanIntfJson); }

std::string jsonText(Snapshot const& snapshot, std::vector<Problem> const& problems,
                     JsonArray const& array, bool oneLine) {
  Json json{{"format", kJsonFormat},           {"time", snapshot.now},
            {"directory", snapshot.directory}, {"agent", agentJson(snapshot.agent)},
            {"tables", tablesJson(snapshot)},  {"problems", problemsJson(problems)}};
  json[array.name] = array.json(snapshot);
  return jsonText(json, oneLine);
}

}  // namespace Show
