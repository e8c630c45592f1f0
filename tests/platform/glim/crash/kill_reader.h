// Those who watch the writer being killed.
#pragma once

#include <string>

#include "tests/platform/glim/crash/kill_log.h"

namespace GlimCrash {

// Reads the tables of all generations until the log says stop: whole rows only, none missing that
// was written and not removed, none that goes back. Answers 0, or a number that says what it saw.
int readUntilStopped(KillLog& log, std::string const& directory, std::uint64_t seed);

// As the writer that was killed left the generation's table: exactly what it had done, and of the
// one thing that it had begun, all or nothing. Answers what is wrong, or nothing.
std::string examine(KillLog const& log, std::string const& directory);

}  // namespace GlimCrash
