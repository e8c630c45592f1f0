// The writer that will be killed.
#pragma once

#include <string>

#include "tests/platform/glim/crash/kill_log.h"

namespace GlimCrash {

// Takes the generation's table, with room for so many rows, settles what the last writer left in
// between, and then does everything that a writer does, until a timer of the kernel kills it: at
// any instruction, in the first part or in the second. Answers only when something is wrong: a
// number that says what.
int writeUntilKilled(KillLog& log, std::string const& directory, std::uint32_t maxRows,
                     std::uint64_t seed);

}  // namespace GlimCrash
