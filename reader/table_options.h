// The command line of the commands about the table files themselves.
#pragma once

#include "reader/options.h"

namespace CLI {
class App;
}

namespace Show {

class TableOptions {
 public:
  // Both must outlive it.
  TableOptions(CLI::App& app, Options& options);

  // Whether one of the commands was given. It is set in the options.
  bool parsed();

 private:
  CLI::App* _tables;
  CLI::App* _verify;
  CLI::App* _dump;
  Options& _options;
};

}  // namespace Show
