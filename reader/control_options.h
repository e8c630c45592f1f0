// The command line of the commands that ask the agent.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "reader/options.h"

namespace CLI {
class App;
}

namespace Show {

class ControlOptions {
 public:
  // Both must outlive it.
  ControlOptions(CLI::App& app, Options& options);
  ~ControlOptions();

  // Whether one of the commands was given. It is set in the options, and then `wrong` answers what
  // is wrong with it that CLI11 does not see.
  bool parsed();
  std::optional<std::string> wrong() const;

 private:
  struct Commands;
  std::unique_ptr<Commands> const _commands;
  Options& _options;
  bool _namesBesides = false;
};

}  // namespace Show
