#include "reader/table_options.h"

#include <CLI/CLI.hpp>

#include "reader/show_flags.h"

namespace Show {

TableOptions::TableOptions(CLI::App& app, Options& options)
    : _tables(app.add_subcommand(
          "tables",
          "The table files themselves: what is there, whether it is whole, what it holds")),
      _options(options) {
  auto const addJson = [&options](CLI::App& command) {
    command.add_flag(kJsonFlag.name, options.json, kJsonFlag.about);
  };
  _tables->require_subcommand(0, 1);
  addJson(*_tables);
  _tables->add_subcommand(
      "list",
      "Every file of the directory, and of each table its rows, state and writer;\nthe default");
  _verify = _tables->add_subcommand(
      "verify",
      "Check tables in full: header, every slot, index and counts; a line a problem.\n"
      "They may be written meanwhile: what their writer explains is no damage");
  _verify
      ->add_option("NAME", options.names,
                   "Tables to check: names, patterns, or files that were set aside; all tables")
      ->type_name("");
  _verify->add_flag("--progress", options.progress,
                    "Tell how far it is in any case; else only on a terminal, after a second");
  _dump = _tables->add_subcommand(
      "dump", "One table whole, by the schema in its file, whatever records it holds");
  _dump->add_option("NAME", options.names, "The table, or a file that was set aside")
      ->type_name("")
      ->required()
      ->expected(1);
  for (CLI::App* const command : _tables->get_subcommands({})) addJson(*command);
}

bool TableOptions::parsed() {
  if (!_tables->parsed()) return false;
  _options.command = _verify->parsed() ? Options::Command::tablesVerify
                     : _dump->parsed() ? Options::Command::tablesDump
                                       : Options::Command::tablesList;
  return true;
}

}  // namespace Show
