// What a writer is doing when it is killed. A new kind of work is one more entry in scenarios.cc.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/platform/glim/crash/table_view.h"

namespace GlimCrash {

struct Scenario {
  std::string name;
  // Fewer steps than this cannot be all of them.
  std::uint64_t atLeast = 1;
  // Lays out what the writer finds.
  std::function<void(Place const&)> prepare;
  // How the writer takes the table, and the next one after it unless `openNext` tells otherwise.
  std::function<WriterPtr(Place const&)> open;
  // What it does then, and is killed in. Without this, it is killed in `open`.
  std::function<void(Writer&)> act{};
  std::function<WriterPtr(Place const&)> openNext{};
  // What the table may be, in the order in which it becomes that: the old one first, the new one
  // last. An inserted row is walked over one step before the index leads to it.
  std::vector<State> states;
  // The file that had the name at first is kept under this one.
  std::string keptAs{};
  // Names that may be there besides.
  std::set<std::string> besides{};
  // Slots whose version was damaged begin anew.
  bool versionsBeginAnew = false;
};

inline std::ostream& operator<<(std::ostream& out, Scenario const& scenario) {
  return out << scenario.name;
}

std::vector<Scenario> scenarios();
// REQUIRES: there is one of this name
Scenario scenario(std::string_view name);

}  // namespace GlimCrash
