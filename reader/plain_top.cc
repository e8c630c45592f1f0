#include "reader/plain_top.h"

#include <iterator>
#include <ostream>
#include <utility>
#include <vector>

#include "reader/agent_line.h"
#include "reader/clock_text.h"
#include "reader/json_view.h"
#include "reader/live_rates.h"
#include "reader/options.h"
#include "reader/problems.h"
#include "reader/select.h"
#include "reader/top_table.h"

namespace Show {

namespace {

std::string tableText(Snapshot const& snapshot, ErrorWatch const& errors,
                      TopOptions const& options) {
  std::vector<Line> lines{{{clockText(snapshot.now) + "  "}}};
  Line const agent = agentLine(snapshot);
  lines[0].insert(lines[0].end(), agent.begin(), agent.end());
  lines[0].push_back({topNote(snapshot, options)});
  auto table = topTable(snapshot, errors, options).text();
  lines.push_back(std::move(table.title));
  std::move(table.rows.begin(), table.rows.end(), std::back_inserter(lines));
  return joined(lines, false);
}

}  // namespace

ExitCode plainTop(Options const& options, std::function<Snapshot(double now)> const& take,
                  Pace& pace, std::ostream& out, std::ostream& err) {
  TopOptions const top{.sort = options.sort, .basis = options.basis()};
  ErrorWatch errors;
  LiveRates rates;
  std::vector<Problem> told;
  double const start = pace.steadyClock();
  double missed = 0.0;  // what of the time since the start the ticks do not count
  bool first = true;
  for (std::uint64_t tick = 0;; ++tick, first = false) {
    // The program may have been stopped for long: what was missed is not made up for.
    if (double const now = pace.steadyClock() - start;
        !first && now > missed + static_cast<double>(tick) * options.interval) {
      missed = now;
      tick = 0;
    }
    double const offset = missed + static_cast<double>(tick) * options.interval;
    if (options.duration && offset > *options.duration) break;
    if (!first && !pace.waitUntil(start + offset)) break;

    Snapshot snapshot = take(pace.wallClock());
    auto const unknown = select(snapshot, options.names);
    auto now = problems(snapshot, unknown);
    if (now != told) {
      for (Problem const& problem : now) err << "oru-counters: " << problem.text << std::endl;
      told = std::move(now);
    }
    errors.see(snapshot);
    rates.see(snapshot);
    sort(snapshot, top);
    if (options.json)
      out << jsonText(snapshot, told, kInterfacesArray, true);
    else
      out << (first ? "" : "\n") << tableText(snapshot, errors, top);
    out.flush();
    if (!out) break;
  }
  return exitCode(told);
}

}  // namespace Show
