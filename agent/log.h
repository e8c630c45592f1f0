// What the agent tells its operator, one line a message, on standard error.
#pragma once

#include <string>

namespace Agent {

void say(std::string const& text);

}  // namespace Agent
