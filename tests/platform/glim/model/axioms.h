// The same memory model by the standard's definitions instead of by a machine: an execution is a
// choice of the store that each load reads, and it is allowed when happens-before and coherence
// allow it ([intro.races], [atomics.order], [atomics.fences]). Slow and simple; only there to check
// the machine of weak_memory.h against.
#pragma once

#include <set>

#include "tests/platform/glim/model/weak_memory.h"

namespace GlimModel {

// One step of a reader.
struct ReaderStep {
  enum class Kind : std::uint8_t { load, fence };
  Kind kind = Kind::load;
  std::memory_order order = std::memory_order_relaxed;
  Location at = 0;
};
using ReaderProgram = std::vector<ReaderStep>;

// For each load in order, the index of the message that it reads: all that may happen.
using Outcomes = std::set<std::vector<std::size_t>>;
Outcomes outcomesByAxioms(Program const& writer, ReaderProgram const& reader, std::size_t words);
Outcomes outcomesByMachine(Program const& writer, ReaderProgram const& reader, std::size_t words);

}  // namespace GlimModel
