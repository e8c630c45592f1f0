#include "reader/reset_command.h"

#include <algorithm>
#include <array>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "reader/asking.h"
#include "reader/clock_text.h"
#include "reader/control_client.h"
#include "reader/options.h"
#include "reader/poll_command.h"
#include "reader/problems.h"
#include "reader/select.h"
#include "reader/snapshot.h"
#include "reader/units.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;
using Row = Qos::CoppClassCounter;

constexpr std::string_view kRoot = "countersSm";
// Of the static policy maps, and of the dynamic ones; in both, that of the control plane is 0.
constexpr std::array<std::string_view, 2> kTypes{"coppTypeSm", "coppDynamicTypeSm"};
constexpr std::string_view kControlPlane = "0";

std::vector<std::string> keys(Asking& ask, std::string const& path, std::string_view collection) {
  return ask({{"op", "ls"}, {"path", path}, {"attribute", collection}})
      .at("names")
      .get<std::vector<std::string>>();
}

// The paths of the policy maps that are watched, by their names.
using Paths = std::map<std::string, std::string, std::less<>>;
Paths watched(Asking& ask) {
  Paths paths;
  for (std::string_view const type : kTypes) {
    auto const types = keys(ask, std::string(kRoot), type);
    if (std::find(types.begin(), types.end(), kControlPlane) == types.end()) continue;
    std::string const path =
        std::string(kRoot) + "/" + std::string(type) + "/" + std::string(kControlPlane);
    for (std::string const& name : keys(ask, path, "coppSm"))
      paths.emplace(name, path + "/coppSm/" + name);
  }
  return paths;
}

bool isAll(Options const& options) { return options.names == std::vector<std::string>{"all"}; }

NoAnswer nothingReset(ExitCode code, std::string const& why) {
  return {code, why + ", and nothing was reset"};
}

// The rows of the classes that are meant, in the order of their names.
std::vector<Row> meant(Options const& options, Snapshot snapshot) {
  auto const unknown =
      isAll(options) ? std::vector<std::string>() : selectClasses(snapshot, options.names);
  if (!wasRead(snapshot, Table::coppCounters)) {
    auto const wrong = problems(snapshot, {});
    throw NoAnswer(wrong.at(0).code, wrong.at(0).text);
  }
  if (!unknown.empty())
    throw nothingReset(ExitCode::unknownName, "there is no class " + printableList(unknown));
  return snapshot.classes;
}

// Has every class that there is read.
void poll(Asking& ask) {
  auto ports = keys(ask, std::string(kRoot), "cpuPortCountersSm");
  // Without one it does nothing, but tells those who may not.
  if (ports.empty()) ports.emplace_back("Cpu");
  for (std::string const& port : ports)
    ask({{"op", "invoke"},
         {"path", kRoot},
         {"operation", "updateCounters"},
         {"arguments", {std::string(pollKindOf("cpu")->counterType), port}}});
}

Row const* find(std::vector<Row> const& rows, Qos::CoppClassName const& className) {
  auto const at = std::find_if(rows.begin(), rows.end(),
                               [&](Row const& row) { return row.className == className; });
  return at == rows.end() ? nullptr : &*at;
}

// The classes whose rows a poll between the two has left as they were, or nobody has any more:
// their policy map does not have them now.
std::vector<std::string> leftOut(std::vector<Row> const& rows, std::vector<Row> const& polled) {
  std::vector<std::string> names;
  for (Row const& row : rows) {
    Row const* const now = find(polled, row.className);
    if (!now || now->lastUpdate == row.lastUpdate) names.emplace_back(row.className.view());
  }
  return names;
}

bool contains(std::vector<std::string> const& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

void requireWatched(std::vector<Row> const& rows, Paths const& paths) {
  for (Row const& row : rows)
    if (!paths.contains(row.policyMap.view()))
      throw nothingReset(ExitCode::refused, "policy map " + printable(row.policyMap.view()) +
                                                " of class " + printable(row.className.view()) +
                                                " is not watched");
}

// What is passed over of the rows, which are those of `before` that are meant. Throws NoAnswer
// where that is what was asked for.
std::vector<std::string> passedOver(Options const& options, std::vector<Row> const& rows,
                                    std::vector<Row> const& before,
                                    std::vector<Row> const& polled) {
  if (!before.empty() && leftOut(before, polled).size() == before.size())
    throw nothingReset(ExitCode::agentFailed,
                       "no class could be read: the chip could not, or the policy map has none of "
                       "them now");
  std::vector<std::string> gone = leftOut(rows, polled);
  std::vector<std::string> named = gone;
  std::erase_if(named, [&](auto const& name) { return !contains(options.names, name); });
  if (named.empty() && gone.size() == rows.size()) named = gone;
  if (!named.empty() && !isAll(options))
    throw nothingReset(ExitCode::unknownName, "not there any more: " + printableList(named));
  return gone;
}

}  // namespace

void resetClasses(Options const& options, ControlWorld const& world, Asking& ask,
                  std::ostream& out) {
  Snapshot const before = world.take();
  auto const rows = meant(options, before);
  poll(ask);
  auto const paths = watched(ask);
  requireWatched(rows, paths);
  std::vector<std::string> gone = passedOver(options, rows, before.classes, world.take().classes);
  ask.done()["reset"] = Json::array();
  ask.done()["gone"] = gone;
  for (Row const& row : rows) {
    std::string const name(row.className.view());
    if (contains(gone, name)) continue;
    ask({{"op", "invoke"},
         {"path", paths.find(row.policyMap.view())->second},
         {"operation", "handleClass"},
         {"arguments", Json::array({name})}});
    auto const after = world.take().classes;
    Row const* const now = find(after, row.className);
    if (now && now->lastReset != row.lastReset) {
      ask.done()["reset"].push_back({{"name", name}, {"time", now->lastReset}});
      if (!options.json)
        out << "reset " << printable(name) << " at " << clockText(now->lastReset) << '\n';
      continue;
    }
    // It may have gone just now.
    poll(ask);
    if (now && leftOut({*now}, world.take().classes).empty())
      throw NoAnswer(ExitCode::agentFailed,
                     "class " + printable(name) +
                         " was not reset: the chip could not; the agent says why on its standard "
                         "error");
    if (!isAll(options))
      throw NoAnswer(ExitCode::agentFailed,
                     "class " + printable(name) + " was not reset: it is not there any more");
    gone.push_back(name);
    ask.done()["gone"] = gone;
  }
  if (options.json) return;
  if (!gone.empty()) out << "not there any more: " << printableList(gone) << '\n';
  if (rows.empty()) out << "No classes.\n";
}

}  // namespace Show
