#include "reader/clear_command.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "reader/asking.h"
#include "reader/clock_text.h"
#include "reader/control_client.h"
#include "reader/options.h"
#include "reader/problems.h"
#include "reader/select.h"
#include "reader/snapshot.h"
#include "reader/units.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;

// Of a request: what a line may hold of names is limited, and clearing is bounded work for the
// agent between two polls.
constexpr std::size_t kNamesAtOnce = 512;

// What is cleared: in the words of requests, and in those of people.
struct Subject {
  char const* these;
  char const* all;
  std::string_view prefix;  // of one
  std::string_view plural;
};
Subject subjectOf(Options::Command command) {
  if (command == Options::Command::clearVlans) return {"vlans", "allVlans", "VLAN ", "VLANs"};
  return {"names", "all", "", "interfaces"};
}

// Why names that mean no Ethernet interface clear nothing. `known` has interfaces of every kind.
std::string notCleared(std::vector<std::string> const& names, Snapshot const& known) {
  for (std::string const& name : names) {
    bool const there = std::any_of(known.interfaces.begin(), known.interfaces.end(),
                                   [&](Intf const& intf) { return matches(name, intf); });
    if (there || (Pekt::IntfId::isName(name) && kindOf(name) != IntfKind::ethernet))
      return "only Ethernet interfaces can be cleared, which " + printable(name) + " is not";
  }
  return "there is no interface " + printableList(names);
}

// Throws NoAnswer where names mean nothing, or it could not be told what they mean.
void requireKnown(Snapshot const& snapshot, Named const& named,
                  std::vector<std::string> const& unknown, std::string const& why) {
  auto const wrong = problems(snapshot, unknown, named);
  if (!wasRead(snapshot, named.table) && !wrong.empty())
    throw NoAnswer(wrong[0].code, wrong[0].text);
  if (!unknown.empty()) throw NoAnswer(ExitCode::unknownName, why + ", and nothing was cleared");
}

std::vector<std::string> intfsMeant(Options const& options, Snapshot snapshot) {
  Snapshot const known = snapshot;
  std::erase_if(snapshot.interfaces,
                [](Intf const& intf) { return kindOf(intf.intfId) != IntfKind::ethernet; });
  auto const unknown = select(snapshot, options.names);
  requireKnown(snapshot, {}, unknown, notCleared(unknown, known));
  std::vector<std::string> all;
  for (Intf const& intf : snapshot.interfaces)
    if (intf.counters) all.emplace_back(intf.intfId.view());
  return all;
}

std::vector<std::string> vlansMeant(Options const& options, Snapshot snapshot) {
  std::erase_if(snapshot.vlans, [](Vlan const& vlan) { return !vlan.counters; });
  auto const unknown = selectVlans(snapshot, options.names);
  requireKnown(snapshot, {"VLAN", Table::vlanCounters}, unknown,
               "there is no VLAN " + printableList(unknown));
  std::vector<std::string> all;
  for (Vlan const& vlan : snapshot.vlans) all.push_back(std::to_string(vlan.vlanId.value()));
  return all;
}

// Makes the answers to several requests one.
void merge(Json& done, Json answer, char const* these) {
  answer.erase("ok");
  if (done.empty()) {
    done = std::move(answer);
    return;
  }
  done["cleared"] = done.value("cleared", 0u) + answer.value("cleared", 0u);
  for (Json& name : answer[these]) done[these].push_back(std::move(name));
  done["time"] = answer.value("time", 0.0);
}

}  // namespace

void clear(Options const& options, ControlWorld const& world, Asking& ask, std::ostream& out) {
  auto const [these, all, prefix, plural] = subjectOf(options.command);
  if (options.names == std::vector<std::string>{"all"}) {
    Json const answer = ask({{"op", "clear"}, {all, true}});
    merge(ask.done(), answer, these);
    if (!options.json)
      out << "cleared all " << answer.value("cleared", 0u) << ' ' << plural << " at "
          << clockText(answer.value("time", 0.0)) << '\n';
    return;
  }
  bool const ofVlans = options.command == Options::Command::clearVlans;
  auto const names =
      ofVlans ? vlansMeant(options, world.take()) : intfsMeant(options, world.take());
  for (std::size_t from = 0; from < names.size(); from += kNamesAtOnce) {
    auto const end = std::min(names.size(), from + kNamesAtOnce);
    std::vector<std::string> const some(names.begin() + static_cast<std::ptrdiff_t>(from),
                                        names.begin() + static_cast<std::ptrdiff_t>(end));
    Json const answer = ask({{"op", "clear"}, {these, some}});
    merge(ask.done(), answer, these);
    if (options.json) continue;
    for (std::string const& name : answer.value(these, some))
      out << "cleared " << prefix << printable(name) << " at "
          << clockText(answer.value("time", 0.0)) << '\n';
  }
}

}  // namespace Show
