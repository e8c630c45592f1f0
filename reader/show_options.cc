#include "reader/show_options.h"

#include <CLI/CLI.hpp>
#include <string_view>

#include "reader/seconds_option.h"
#include "reader/show_commands.h"
#include "reader/show_flags.h"

namespace Show {

namespace {

std::optional<SortKey> sortKeyOf(std::string_view text) {
  for (std::size_t i = 0; i < kSortKeyNames.size(); ++i)
    if (kSortKeyNames[i] == text) return static_cast<SortKey>(i);
  return std::nullopt;
}

std::string sortKeyList() {
  std::string list;
  for (std::string_view const key : kSortKeyNames)
    list.append(list.empty() ? "" : ", ").append(key);
  return list;
}

void addNames(CLI::App& command, ShowCommand::Names const& names, Options& options) {
  CLI::Option& option = *command.add_option(names.argument, options.names, names.about);
  option.type_name("");
  if (names.wrong != nullptr) option.check(names.wrong);
}

void addFlag(CLI::App& command, ShowCommand::Flag const& flag, Options& options) {
  command.add_flag(flag.name, options.*flag.value, flag.about);
}

}  // namespace

ShowOptions::ShowOptions(CLI::App& app, Options& options) : _options(options) {
  _show = app.add_subcommand("show", "Show what the tables hold now");
  _show->require_subcommand(0, 1);
  for (ShowCommand const* const command : kShowCommands) {
    CLI::App& added = *_show->add_subcommand(command->name, command->about);
    if (command->singular != nullptr) added.alias(command->singular);
    addFlag(added, kJsonFlag, options);
    addNames(added, command->names, options);
    for (ShowCommand::Flag const& flag : command->flags) addFlag(added, flag, options);
    _commands.emplace_back(&added, command);
  }
  addTop(app);
}

void ShowOptions::addTop(CLI::App& app) {
  _top = app.add_subcommand(
      "top",
      "Rates of the interfaces, live on a terminal, else a plain table each interval.\n"
      "They are those between the agent's last two polls, and until there were two,\n"
      "averages over its load interval.\n"
      "Keys: q quit, s next sort key, r rates or totals, c counts since the last clear or\n"
      "as published, arrows and page keys scroll");
  addFlag(*_top, kJsonFlag, _options);
  addNames(*_top, {}, _options);
  addFlag(*_top, kSinceClearFlag, _options);
  _top->add_option("--interval", _options.interval,
                   "Time from one table to the next: 0.1 to 3600, by default 1")
      ->type_name("SECONDS")
      ->check(secondsWithin(0.1, 3600.0));
  _top->add_option("--for", _options.duration, "Plain tables for so long, then end")
      ->type_name("SECONDS")
      ->check(secondsWithin(0.0, 1e9));
  _sortKey = name(_options.sort);
  _top->add_option("--sort", _sortKey, "Sort key: " + sortKeyList())
      ->type_name("KEY")
      ->check([](std::string const& key) {
        return sortKeyOf(key) ? std::string() : "'" + key + "' is none of " + sortKeyList();
      });
}

bool ShowOptions::parsed() {
  if (_top->parsed()) {
    _options.command = Options::Command::top;
    _options.sort = *sortKeyOf(_sortKey);
  } else if (_show->parsed()) {
    _options.command = Options::Command::show;
    _options.show = nullptr;
    for (auto const& [app, command] : _commands)
      if (app->parsed()) _options.show = command;
  }
  return _top->parsed() || _show->parsed();
}

std::optional<std::string> ShowOptions::wrong() const {
  if (!_show->parsed() || _options.show != nullptr) return std::nullopt;
  std::string text = "'show' must be told what: ";
  for (ShowCommand const* const command : kShowCommands) {
    if (command != kShowCommands.front()) text += command == kShowCommands.back() ? " or " : ", ";
    text += command->name;
  }
  return text;
}

}  // namespace Show
