#include "reader/poll_command.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "reader/asking.h"
#include "reader/control_client.h"
#include "reader/options.h"
#include "reader/problems.h"
#include "reader/select.h"
#include "reader/snapshot.h"
#include "reader/units.h"

namespace Show {

namespace {

using Json = nlohmann::ordered_json;
using Kinds = std::vector<PollKind const*>;

// An interface, the kinds that it has a poller of, and those of them that are asked for.
struct Candidate {
  Intf intf;
  Kinds has, wanted;
  bool meant = false;
};
using Candidates = std::map<Pekt::IntfId, Candidate>;

std::string listed(Kinds const& kinds) {
  std::vector<std::string> names;
  for (PollKind const* const kind : kinds) names.emplace_back(kind->name);
  return printableList(names);
}

// What the agent has pollers of, and what the tables know, the kernel's names with it.
Candidates candidates(Options const& options, Snapshot& snapshot, Asking& ask) {
  Candidates all;
  for (Intf& intf : snapshot.interfaces) all[intf.intfId].intf = std::move(intf);
  for (PollKind const& kind : kPollKinds) {
    Json const answer = ask({{"op", "ls"}, {"path", "countersSm"}, {"attribute", kind.collection}});
    for (std::string const& name : answer.at("names").get<std::vector<std::string>>()) {
      if (!Pekt::IntfId::isName(name)) continue;
      Candidate& candidate = all[name];
      candidate.intf.intfId = name;
      candidate.has.push_back(&kind);
      if (options.kind.empty() || options.kind == kind.name) candidate.wanted.push_back(&kind);
    }
  }
  return all;
}

NoAnswer nothingPolled(ExitCode code, std::string const& why) {
  return {code, why + ", and nothing was polled"};
}

std::string withoutPoller(std::string const& name, Kinds const& has, std::string const& kind) {
  std::string const text =
      name == "all" ? "nothing has a poller" : printable(name) + " has no poller";
  if (kind.empty()) return text;
  return text + " of kind " + kind +
         (has.empty() || name == "all" ? "" : ", but of " + listed(has));
}

// Marks what the name means; false where that is nothing. A pattern passes over what has no poller
// that is asked for, as long as one that it means has.
bool mark(std::string const& name, std::string const& kind, Candidates& all) {
  bool known = false, marked = false;
  Kinds has;
  for (auto& [intfId, candidate] : all) {
    if (name != "all" && !matches(name, candidate.intf)) continue;
    known = true;
    has = candidate.has;
    if (candidate.wanted.empty()) continue;
    candidate.meant = marked = true;
  }
  if ((known || name == "all") && !marked)
    throw nothingPolled(ExitCode::refused, withoutPoller(name, has, kind));
  return known;
}

void update(Pekt::IntfId const& intfId, Kinds const& kinds, Asking& ask) {
  for (PollKind const* const kind : kinds)
    ask({{"op", "invoke"},
         {"path", "countersSm"},
         {"operation", "updateCounters"},
         {"arguments", {std::string(kind->counterType), std::string(intfId.view())}}});
}

// An update that the chip gave nothing for leaves the row as it was, and says nothing. Rows of
// other kinds bear no time of their own.
bool wasUpdated(Candidate const& candidate, std::map<Pekt::IntfId, Intf const*> const& after) {
  bool const timed = std::any_of(
      candidate.wanted.begin(), candidate.wanted.end(),
      [](PollKind const* kind) { return kind->name == "port" || kind->name == "vlan"; });
  auto const at = after.find(candidate.intf.intfId);
  Interface::IntfStatistics const* const now =
      at == after.end() ? nullptr : at->second->statistics();
  if (!timed || !now) return true;
  Interface::IntfStatistics const* const before = candidate.intf.statistics();
  return now->lastUpdate != (before ? before->lastUpdate : 0.0);
}

// Answers the names of those that could not be read.
std::vector<std::string> tellPolled(std::vector<Candidate const*> const& asked,
                                    Snapshot const& snapshot, Options const& options, Asking& ask,
                                    std::ostream& out) {
  std::map<Pekt::IntfId, Intf const*> after;
  for (Intf const& intf : snapshot.interfaces) after[intf.intfId] = &intf;
  std::vector<std::string> unread;
  Json& polled = ask.done()["polled"] = Json::array();
  for (Candidate const* const candidate : asked) {
    std::string const name(candidate->intf.intfId.view());
    if (!wasUpdated(*candidate, after)) {
      unread.push_back(name);
      continue;
    }
    Json kinds = Json::array();
    for (PollKind const* const kind : candidate->wanted) kinds.push_back(kind->name);
    polled.push_back({{"name", name}, {"kinds", std::move(kinds)}});
    if (!options.json)
      out << "polled " << printable(name) << ": " << listed(candidate->wanted) << '\n';
  }
  if (polled.empty()) ask.done().erase("polled");
  return unread;
}

}  // namespace

PollKind const* pollKindOf(std::string_view name) {
  auto const at = std::find_if(kPollKinds.begin(), kPollKinds.end(),
                               [&](PollKind const& kind) { return kind.name == name; });
  return at == kPollKinds.end() ? nullptr : &*at;
}

std::string pollKindNames() {
  Kinds all;
  for (PollKind const& kind : kPollKinds) all.push_back(&kind);
  return listed(all);
}

void poll(Options const& options, ControlWorld const& world, Asking& ask, std::ostream& out) {
  Snapshot snapshot = world.take();
  auto const wrong = problems(snapshot, {});
  Candidates all = candidates(options, snapshot, ask);
  std::vector<std::string> unknown = options.names;
  std::erase_if(unknown, [&](std::string const& name) { return mark(name, options.kind, all); });
  if (!unknown.empty()) {
    // Without their descriptions, the kernel's names are not known.
    if (!wasRead(snapshot, Table::descriptions) && !wrong.empty())
      throw NoAnswer(wrong[0].code, wrong[0].text);
    throw nothingPolled(ExitCode::unknownName, "there is no interface " + printableList(unknown));
  }
  std::vector<Candidate const*> asked;
  try {
    for (auto const& [intfId, candidate] : all) {
      if (!candidate.meant) continue;
      update(intfId, candidate.wanted, ask);
      asked.push_back(&candidate);
    }
  } catch (NoAnswer const&) {
    tellPolled(asked, world.take(), options, ask, out);
    throw;
  }
  auto const unread = tellPolled(asked, world.take(), options, ask, out);
  if (!unread.empty())
    throw NoAnswer(ExitCode::agentFailed,
                   printableList(unread) + " could not be read just now; try again");
}

}  // namespace Show
