#include "reader/show_interfaces.h"

#include <algorithm>
#include <iterator>
#include <ostream>
#include <utility>
#include <vector>

#include "reader/json_view.h"
#include "reader/problems.h"
#include "reader/select.h"
#include "reader/views.h"

namespace Show {

ExitCode showInterfaces(Options const& options, Snapshot snapshot, Place const& place,
                        std::ostream& out, std::ostream& err) {
  auto const unknown = select(snapshot, options.names);
  auto const wrong = problems(snapshot, unknown);
  if (options.json) {
    out << jsonText(json(snapshot, wrong), false);
  } else if (!snapshot.interfaces.empty()) {
    std::vector<Line> lines{agentLine(snapshot)};
    if (options.rates) lines.push_back({{std::string(kRatesNote)}});
    auto const add = [&lines](std::vector<Line> view) {
      lines.emplace_back();
      std::move(view.begin(), view.end(), std::back_inserter(lines));
    };
    if (options.rates) add(ratesView(snapshot, place.width));
    if (options.errors) add(errorsView(snapshot, options.basis(), place.width));
    if (!options.rates && !options.errors)
      add(countersView(snapshot, options.basis(), place.width));
    out << joined(lines, place.colours);
  } else if (wrong.empty()) {
    out << joined({agentLine(snapshot), {}, {{"No interfaces."}}}, place.colours);
  }
  out.flush();
  return tell(wrong, err);
}

}  // namespace Show
