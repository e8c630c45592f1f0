#include "reader/show.h"

#include <iterator>
#include <ostream>
#include <utility>

#include "reader/copp_view.h"
#include "reader/drop_view.h"
#include "reader/json_view.h"
#include "reader/problems.h"
#include "reader/queue_json.h"
#include "reader/queue_view.h"
#include "reader/select.h"
#include "reader/views.h"
#include "reader/vlan_view.h"

namespace Show {

namespace {

using Command = Options::Command;

std::vector<std::vector<Line>> views(Options const& options, Snapshot const& snapshot,
                                     std::size_t width) {
  if (options.command == Command::showQueues) return {queuesView(snapshot, options.basis(), width)};
  if (options.command == Command::showDrops) return {dropsView(snapshot, width)};
  if (options.command == Command::showVlans) return {vlansView(snapshot, options.basis(), width)};
  if (options.command == Command::showCopp) return {coppView(snapshot, options.sinceReset, width)};
  std::vector<std::vector<Line>> all;
  if (options.rates) all.push_back(ratesView(snapshot, width));
  if (options.errors) all.push_back(errorsView(snapshot, options.basis(), width));
  if (all.empty()) all.push_back(countersView(snapshot, options.basis(), width));
  return all;
}

// What to know before the tables.
std::vector<Line> notes(Options const& options, Snapshot const& snapshot) {
  Command const command = options.command;
  bool const ratesAlone = command == Command::showInterfaces && options.rates && !options.errors;
  bool const clearable = command == Command::showQueues || command == Command::showVlans ||
                         (command == Command::showInterfaces && !ratesAlone);
  std::vector<Line> lines;
  if (options.rates) lines.push_back({{std::string(kRatesNote)}});
  if (ratesAlone && options.sinceClear) lines.push_back({{std::string(kRatesSinceClearNote)}});
  if (clearable && !options.sinceClear && anyCleared(snapshot))
    lines.push_back({{std::string(kClearedNote)}});
  return lines;
}

// What a command shows, and what to say where there is none.
struct Subject {
  Named named;
  std::string_view none = "No interfaces.";
};
Subject subjectOf(Command command) {
  switch (command) {
    case Command::showVlanInterfaces:
      return {{"VLAN interface", Table::vlanIntfCounters}, "No VLAN interfaces."};
    case Command::showCopp:
      return {{"class", Table::coppCounters}, "No classes."};
    case Command::showVlans:
      return {{"VLAN", Table::vlanCounters}, "No VLANs."};
    default:
      return {};
  }
}

// What the options name is kept; answers the names that mean nothing.
std::vector<std::string> select(Options const& options, Snapshot& snapshot) {
  switch (options.command) {
    case Command::showCopp:
      return selectClasses(snapshot, options.names);
    case Command::showVlans:
      return selectVlans(snapshot, options.names);
    default:
      return select(snapshot, options.names);
  }
}

bool isEmpty(Command command, Snapshot const& snapshot) {
  switch (command) {
    case Command::showCopp:
      return snapshot.classes.empty();
    case Command::showVlans:
      return snapshot.vlans.empty();
    default:
      return snapshot.interfaces.empty();
  }
}

// The one without which the command has nothing to show; of Ethernet interfaces, their descriptions
// may be there without their counters.
bool nothingToShow(Command command, Snapshot const& snapshot) {
  switch (command) {
    case Command::showQueues:
      return !wasRead(snapshot, Table::queueCounters);
    case Command::showDrops:
      return !wasRead(snapshot, Table::aclDropCounters);
    case Command::showVlanInterfaces:
      return !wasRead(snapshot, Table::vlanIntfCounters);
    case Command::showCopp:
      return !wasRead(snapshot, Table::coppCounters);
    case Command::showVlans:
      return !wasRead(snapshot, Table::vlanCounters);
    default:
      break;
  }
  return false;
}

nlohmann::ordered_json jsonOf(Options const& options, Snapshot const& snapshot,
                              std::vector<Problem> const& wrong) {
  switch (options.command) {
    case Command::showQueues:
      return json(snapshot, wrong, queuesJson);
    case Command::showDrops:
      return json(snapshot, wrong, dropsJson);
    case Command::showVlanInterfaces:
      return json(snapshot, wrong, vlanIntfJson);
    case Command::showCopp:
      return json(snapshot, wrong, "classes", coppJson(snapshot));
    case Command::showVlans:
      return json(snapshot, wrong, "vlans", vlansJson(snapshot));
    default:
      return json(snapshot, wrong);
  }
}

}  // namespace

std::vector<Table> tablesOf(Command command) {
  switch (command) {
    case Command::showQueues:
      return {Table::counters, Table::clearCounters, Table::descriptions, Table::queueCounters,
              Table::clearQueueCounters};
    case Command::showDrops:
      return {Table::counters, Table::descriptions, Table::aclDropCounters};
    case Command::showVlanInterfaces:
      return {Table::counters, Table::descriptions, Table::vlanIntfCounters};
    case Command::showCopp:
      return {Table::counters, Table::coppCounters};
    case Command::showVlans:
      return {Table::counters, Table::vlanCounters, Table::vlanCounterSnapshots,
              Table::vlanDescriptions};
    default:
      return {Table::counters, Table::clearCounters, Table::descriptions};
  }
}

IntfKind intfKindOf(Command command) {
  return command == Command::showVlanInterfaces ? IntfKind::vlan : IntfKind::ethernet;
}

ExitCode show(Options const& options, Snapshot snapshot, Place const& place, std::ostream& out,
              std::ostream& err) {
  Subject const subject = subjectOf(options.command);
  auto const unknown = select(options, snapshot);
  auto const wrong = problems(snapshot, unknown, subject.named);
  bool const none = isEmpty(options.command, snapshot);
  if (options.json) {
    out << jsonText(jsonOf(options, snapshot, wrong), false);
  } else if (!nothingToShow(options.command, snapshot) && !none) {
    std::vector<Line> lines{agentLine(snapshot)};
    auto const add = [&lines](std::vector<Line> more) {
      std::move(more.begin(), more.end(), std::back_inserter(lines));
    };
    add(notes(options, snapshot));
    for (auto& view : views(options, snapshot, place.width)) {
      lines.emplace_back();
      add(std::move(view));
    }
    out << joined(lines, place.colours);
  } else if (wrong.empty()) {
    out << joined({agentLine(snapshot), {}, {{std::string(subject.none)}}}, place.colours);
  }
  out.flush();
  return tell(wrong, err);
}

}  // namespace Show
