// Questions to the agent, and the answers that were understood.
#pragma once

#include <array>
#include <functional>
#include <iosfwd>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>

#include "reader/exit_code.h"
#include "reader/snapshot.h"

namespace Show {

// The world around, as a seam.
struct ControlWorld {
  // Asks the agent one line and answers its one, as ControlClient::ask. Throws NoAnswer.
  std::function<std::string(std::string const& line)> ask;
  // What there is, interfaces of every kind among it, for those who name some.
  std::function<Snapshot()> take;
};

// What the codes of the agent's refusals end the program with; ExitCode::agentFailed for others.
inline constexpr std::array<std::pair<std::string_view, ExitCode>, 8> kRefusals{
    {{"noPermission", ExitCode::noPermission},
     {"unknownPath", ExitCode::refused},
     {"notSupported", ExitCode::refused},
     {"unknownOperation", ExitCode::refused},
     {"wrongArguments", ExitCode::wrongArguments},
     {"tooLong", ExitCode::wrongArguments},
     {"unknownInterface", ExitCode::unknownName},
     {"unknownVlan", ExitCode::unknownName}}};

class Asking {
 public:
  // Whether the agent's answers are printed as they are.
  enum class Echo { none, all };

  // Both must outlive it.
  Asking(ControlWorld const& world, std::ostream& out, Echo echo)
      : _world(world), _out(out), _echo(echo) {}

  // Asks, and answers what was answered well. Throws NoAnswer for the rest.
  nlohmann::ordered_json operator()(nlohmann::ordered_json const& question);
  // The answer in which the agent itself said what is wrong; null before it did.
  nlohmann::ordered_json const& refusal() const { return _refusal; }
  // Of a command of many questions, the members of its one answer so far. After a failure too: what
  // was done before it is done.
  nlohmann::ordered_json& done() { return _done; }

 private:
  ControlWorld const& _world;
  std::ostream& _out;
  Echo const _echo;
  nlohmann::ordered_json _refusal;
  nlohmann::ordered_json _done = nlohmann::ordered_json::object();
};

// Empty where there is no such text.
std::string textOf(nlohmann::ordered_json const& object, char const* member);

}  // namespace Show
