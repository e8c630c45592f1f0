// Questions to the agent, and the answers that were understood.
#pragma once

#include <functional>
#include <iosfwd>
#include <nlohmann/json.hpp>
#include <string>

#include "reader/snapshot.h"

namespace Show {

// The world around, as a seam.
struct ControlWorld {
  // Asks the agent one line and answers its one, as ControlClient::ask. Throws NoAnswer.
  std::function<std::string(std::string const& line)> ask;
  // What there is, interfaces of every kind among it, for those who name some.
  std::function<Snapshot()> take;
};

class Asking {
 public:
  // Which of the agent's answers are printed as they are.
  enum class Echo { none, refusals, all };

  // Both must outlive it.
  Asking(ControlWorld const& world, std::ostream& out, Echo echo)
      : _world(world), _out(out), _echo(echo) {}

  // Asks, and answers what was answered well. Throws NoAnswer for the rest.
  nlohmann::ordered_json operator()(nlohmann::ordered_json const& question);
  // Whether the agent itself said what is wrong.
  bool told() const { return _told; }

 private:
  ControlWorld const& _world;
  std::ostream& _out;
  Echo const _echo;
  bool _told = false;
};

// Empty where there is no such text.
std::string textOf(nlohmann::ordered_json const& object, char const* member);

}  // namespace Show
