// The command line of the commands that show counters: show and top.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "reader/options.h"

namespace CLI {
class App;
}

namespace Show {

class ShowOptions {
 public:
  // Both must outlive it.
  ShowOptions(CLI::App& app, Options& options);

  // Whether one of the commands was given. It is set in the options, unless `wrong` answers what is
  // wrong with it that CLI11 does not see.
  bool parsed();
  std::optional<std::string> wrong() const;

 private:
  void addTop(CLI::App& app);

  Options& _options;
  CLI::App* _show = nullptr;
  CLI::App* _top = nullptr;
  std::vector<std::pair<CLI::App*, ShowCommand const*>> _commands;
  std::string _sortKey;
};

}  // namespace Show
