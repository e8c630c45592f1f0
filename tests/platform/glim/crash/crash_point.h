// Where a writer can be killed: before each store to a table file, and before and after each system
// call that changes a file or a directory. The stores come from the hook of the tables' words, the
// calls are caught when the program is linked (--wrap, see CMakeLists.txt), so that what is tested
// is the code that is shipped.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <limits>

#include "platform/glim/atomic_words.h"

namespace GlimCrash {

constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max();

// How a process ended that was to be killed at some step.
struct End {
  std::uint64_t steps = 0;  // taken or begun while they were counted
  bool finished = false;    // the work was done: it has no such step
  bool killed = false;      // else it ended some other way, which is a defect
};

// From here on this process kills itself at step `at`, the first being 1.
void countStepsAndDieAt(std::uint64_t at);
// A step that the process may be killed at.
void step();

// A process that counts its steps stores through this memory instead of the machine's: what it
// drops, moves or puts off makes a defective writer out of a good one. Null: the machine's.
void saboteurIs(Glim::Words::Memory* saboteur);

// Forks a writer that does `before` unharmed and is killed at a step of `work`, or after it.
// Nothing of it is cleaned up: no destructor runs, no buffer is written.
End waitForEnd(pid_t child);
template <class Before, class Work>
End killAt(std::uint64_t at, Before before, Work work) {
  pid_t const child = ::fork();
  if (child != 0) return waitForEnd(child);
  try {
    auto const kept = before();
    countStepsAndDieAt(at);
    work(kept);
    countStepsAndDieAt(0);
  } catch (...) {
  }
  ::_exit(1);
}

}  // namespace GlimCrash
