#include "reader/show.h"

#include <iterator>
#include <ostream>
#include <utility>

#include "reader/drop_view.h"
#include "reader/json_view.h"
#include "reader/problems.h"
#include "reader/queue_json.h"
#include "reader/queue_view.h"
#include "reader/select.h"
#include "reader/views.h"

namespace Show {

namespace {

using Command = Options::Command;

std::vector<std::vector<Line>> views(Options const& options, Snapshot const& snapshot,
                                     std::size_t width) {
  if (options.command == Command::showQueues) return {queuesView(snapshot, options.basis(), width)};
  if (options.command == Command::showDrops) return {dropsView(snapshot, width)};
  std::vector<std::vector<Line>> all;
  if (options.rates) all.push_back(ratesView(snapshot, width));
  if (options.errors) all.push_back(errorsView(snapshot, options.basis(), width));
  if (all.empty()) all.push_back(countersView(snapshot, options.basis(), width));
  return all;
}

// What to know before the tables.
std::vector<Line> notes(Options const& options, Snapshot const& snapshot) {
  bool const interfaces = options.command == Command::showInterfaces;
  bool const ratesAlone = interfaces && options.rates && !options.errors;
  bool const clearable = options.command != Command::showDrops && !ratesAlone;
  std::vector<Line> lines;
  if (interfaces && options.rates) lines.push_back({{std::string(kRatesNote)}});
  if (clearable && !options.sinceClear && anyCleared(snapshot))
    lines.push_back({{std::string(kClearedNote)}});
  return lines;
}

// The one without which the command has nothing to show; of interfaces, their descriptions may be
// there without their counters.
bool nothingToShow(Options const& options, Snapshot const& snapshot) {
  return (options.command == Command::showQueues && !wasRead(snapshot, Table::queueCounters)) ||
         (options.command == Command::showDrops && !wasRead(snapshot, Table::aclDropCounters));
}

nlohmann::ordered_json jsonOf(Options const& options, Snapshot const& snapshot,
                              std::vector<Problem> const& wrong) {
  switch (options.command) {
    case Command::showQueues:
      return json(snapshot, wrong, queuesJson);
    case Command::showDrops:
      return json(snapshot, wrong, dropsJson);
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
    default:
      return {Table::counters, Table::clearCounters, Table::descriptions};
  }
}

ExitCode show(Options const& options, Snapshot snapshot, Place const& place, std::ostream& out,
              std::ostream& err) {
  auto const unknown = select(snapshot, options.names);
  auto const wrong = problems(snapshot, unknown);
  if (options.json) {
    out << jsonText(jsonOf(options, snapshot, wrong), false);
  } else if (!nothingToShow(options, snapshot) && !snapshot.interfaces.empty()) {
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
    out << joined({agentLine(snapshot), {}, {{"No interfaces."}}}, place.colours);
  }
  out.flush();
  return tell(wrong, err);
}

}  // namespace Show
