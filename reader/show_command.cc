#include "reader/show_command.h"

#include "reader/options.h"

namespace Show {

std::vector<Line> clearNote(Snapshot const& snapshot, Options const& options) {
  if (options.sinceClear || !anyCleared(snapshot)) return {};
  return {{{"Counters were cleared; --since-clear shows the counts since then."}}};
}

}  // namespace Show
