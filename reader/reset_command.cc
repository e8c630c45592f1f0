#include "reader/reset_command.h"

#include <algorithm>
#include <array>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "reader/clock_text.h"
#include "reader/control_client.h"
#include "reader/problems.h"
#include "reader/select.h"
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
std::map<std::string, std::string, std::less<>> watched(Asking& ask) {
  std::map<std::string, std::string, std::less<>> paths;
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

NoAnswer nothingReset(ExitCode code, std::string const& why) {
  return {code, why + ", and nothing was reset"};
}

// The rows of the classes that are meant, in the order of their names.
std::vector<Row> meant(Options const& options, Snapshot snapshot) {
  bool const all = options.names == std::vector<std::string>{"all"};
  auto const unknown = all ? std::vector<std::string>() : selectClasses(snapshot, options.names);
  if (!wasRead(snapshot, Table::coppCounters)) {
    auto const wrong = problems(snapshot, {});
    throw NoAnswer(wrong.at(0).code, wrong.at(0).text);
  }
  if (!unknown.empty())
    throw nothingReset(ExitCode::unknownName, "there is no class " + printableList(unknown));
  return snapshot.classes;
}

double resetTime(Snapshot const& snapshot, Qos::CoppClassName const& className) {
  for (Row const& row : snapshot.classes)
    if (row.className == className) return row.lastReset;
  return 0.0;
}

}  // namespace

void resetClasses(Options const& options, ControlWorld const& world, Asking& ask,
                  std::ostream& out) {
  auto const rows = meant(options, world.take());
  auto const paths = watched(ask);
  for (Row const& row : rows)
    if (!paths.contains(row.policyMap.view()))
      throw nothingReset(ExitCode::refused, "policy map " + printable(row.policyMap.view()) +
                                                " of class " + printable(row.className.view()) +
                                                " is not watched");
  Json reset = Json::array();
  for (Row const& row : rows) {
    std::string const name(row.className.view());
    ask({{"op", "invoke"},
         {"path", paths.find(row.policyMap.view())->second},
         {"operation", "handleClass"},
         {"arguments", Json::array({name})}});
    double const time = resetTime(world.take(), row.className);
    if (time == row.lastReset)
      throw NoAnswer(ExitCode::agentFailed,
                     "class " + printable(name) +
                         " was not reset: its policy map does not have it now, or the chip could "
                         "not; the agent says the latter on its standard error");
    reset.push_back({{"name", name}, {"time", time}});
    if (!options.json) out << "reset " << printable(name) << " at " << clockText(time) << '\n';
  }
  if (options.json) out << Json{{"ok", true}, {"reset", std::move(reset)}}.dump() << '\n';
}

}  // namespace Show
