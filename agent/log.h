// What the agent tells its operator, one line a message, on standard error.
#pragma once

#include <string>

namespace Agent {

void say(std::string const& text);

// Of what may last: says it once, and again only when it has changed or was over in between.
class SayOnce {
 public:
  // Empty: there is nothing of the kind now.
  void operator()(std::string const& text);

 private:
  std::string _said;
};

}  // namespace Agent
