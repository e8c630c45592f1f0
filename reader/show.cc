#include "reader/show.h"

#include <iterator>
#include <ostream>
#include <utility>
#include <vector>

#include "reader/agent_line.h"
#include "reader/options.h"
#include "reader/show_command.h"

namespace Show {

namespace {

void add(std::vector<Line>& lines, std::vector<Line> more) {
  std::move(more.begin(), more.end(), std::back_inserter(lines));
}

}  // namespace

ExitCode show(Options const& options, Snapshot snapshot, Place const& place, std::ostream& out,
              std::ostream& err) {
  ShowCommand const& command = *options.show;
  auto const unknown = command.select(snapshot, options.names);
  auto const wrong = problems(snapshot, unknown, command.named);
  bool const readable = !command.essential || wasRead(snapshot, *command.essential);
  if (options.json) {
    out << jsonText(snapshot, wrong, command.json, false);
  } else if (readable && !command.isEmpty(snapshot)) {
    std::vector<Line> lines{agentLine(snapshot)};
    if (command.notes != nullptr) add(lines, command.notes(snapshot, options));
    for (auto& view : command.views(snapshot, options, place.width)) {
      lines.emplace_back();
      add(lines, std::move(view));
    }
    out << joined(lines, place.colours);
  } else if (wrong.empty()) {
    out << joined({agentLine(snapshot), {}, {{command.none}}}, place.colours);
  }
  out.flush();
  return tell(wrong, err);
}

}  // namespace Show
