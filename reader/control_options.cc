#include "reader/control_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <deque>
#include <string_view>
#include <vector>

#include "reader/poll_command.h"
#include "reader/seconds_option.h"
#include "reader/vlan_ids.h"

namespace Show {

namespace {

constexpr char const* kPath =
    "countersSm or vlanCountersSm, or ROOT/COLLECTION/KEY: countersSm/portCountersSm/Ethernet1";

constexpr std::string_view kAll = "all";

constexpr char const* kAllOrNames =
    "all, or interfaces: names (Ethernet3), the kernel's names (eth0), or patterns ('Ethernet*')";

}  // namespace

struct ControlOptions::Commands {
  struct Command {
    CLI::App* app;
    Options::Command command;
    std::vector<CLI::Option*> words;
  };
  std::vector<Command> all;
  std::string path, name, value;
  std::vector<std::string> arguments;
  // What clear clears besides interfaces.
  struct Clear {
    CLI::App* app;
    Options::Command command;
    char const* takes;
    std::vector<std::string> names;
  };
  std::deque<Clear> clears;  // options refer to the names
  Clear const* clear = nullptr;
};

ControlOptions::ControlOptions(CLI::App& app, Options& options)
    : _commands(std::make_unique<Commands>()), _options(options) {
  auto const addCommon = [&options](CLI::App& command) {
    command.add_flag("--json", options.json, "The answer as JSON (see docs/oru-counters.md)");
    command
        .add_option("--timeout", options.timeout,
                    "Time to wait for an answer: 0.1 to 3600, by default 10")
        ->type_name("SECONDS")
        ->check(secondsWithin(0.1, 3600.0));
  };
  auto const add = [&](char const* name, char const* about, char const* examples,
                       Options::Command command) -> CLI::App& {
    CLI::App& added = *app.add_subcommand(name, about);
    added.footer(std::string("Examples:\n") + examples);
    addCommon(added);
    _commands->all.push_back({&added, command, {}});
    return added;
  };
  auto const word = [&](CLI::App& to, char const* name, std::string& value, char const* about) {
    auto* const option = to.add_option(name, value, about)->type_name("");
    _commands->all.back().words.push_back(option);
    return option;
  };
  Commands& all = *_commands;

  CLI::App& clear =
      add("clear", "Poll interfaces, and keep what they count now: --since-clear shows the rest",
          "  oru-counters clear all\n"
          "  oru-counters clear Ethernet1 'eth*'\n"
          "  oru-counters clear vlan 10-20,30\n"
          "  oru-counters clear copp copp-bgp\n",
          Options::Command::clear);
  clear.require_subcommand(0, 1);
  clear.add_option("NAME", options.names, kAllOrNames)->type_name("");
  auto const addClear = [&](char const* name, char const* about, Options::Command command,
                            char const* takes, char const* argument,
                            char const* aboutWord) -> CLI::Option& {
    auto& added = all.clears.emplace_back(
        Commands::Clear{clear.add_subcommand(name, about), command, takes, {}});
    addCommon(*added.app);
    return *added.app->add_option(argument, added.names, aboutWord)->type_name("");
  };
  addClear("copp",
           "Reset classes of the control plane's policing: show copp tells the packets since then",
           Options::Command::clearCopp, "classes", "CLASS",
           "all, or classes: names, or patterns ('copp-*')");
  addClear("vlan", "Poll the VLANs, and keep what these count now, as of interfaces",
           Options::Command::clearVlans, "VLANs", "ID",
           "all, or VLANs: ids, ranges, or lists of both: 10-20,30")
      .check(
          [](std::string const& list) { return list == kAll ? std::string() : wrongVlans(list); });

  CLI::App& poll = add("poll",
                       "Have interfaces polled now, and not only when their period is over: every\n"
                       "kind of counter that the agent reads of them, or one",
                       "  oru-counters poll all\n"
                       "  oru-counters poll eth0 --kind port\n"
                       "  oru-counters poll Vlan7 Cpu\n",
                       Options::Command::poll);
  poll.add_option("NAME", options.names, kAllOrNames)->type_name("");
  poll.add_option("--kind", options.kind, "One kind alone: " + pollKindNames())
      ->type_name("KIND")
      ->check([](std::string const& kind) {
        return pollKindOf(kind) ? std::string() : "'" + kind + "' is none of " + pollKindNames();
      });

  CLI::App& get = add("get", "One value of the agent's state machines, by name",
                      "  oru-counters get countersSm counterPollPeriod\n"
                      "  oru-counters get countersSm/portCountersSm/Ethernet1 initialized\n",
                      Options::Command::get);
  word(get, "PATH", all.path, kPath)->required();
  word(get, "ATTRIBUTE", all.name, "One that `ls PATH` lists with get")->required();

  CLI::App& ls = add("ls",
                     "What the agent's state machines have: a line each of name, kind, what it\n"
                     "offers, and the number of arguments, with tabs between; or keys, a line each",
                     "  oru-counters ls                              where paths begin\n"
                     "  oru-counters ls countersSm                   attributes and operations\n"
                     "  oru-counters ls countersSm portCountersSm    keys of a collection\n",
                     Options::Command::ls);
  word(ls, "PATH", all.path, kPath);
  word(ls, "COLLECTION", all.name, "One of its collections, to list the keys of");

  CLI::App& invoke = add("invoke", "Run an operation of one of the agent's state machines",
                         "  oru-counters invoke countersSm updateCounters 1 Ethernet1\n"
                         "  oru-counters invoke countersSm/coppTypeSm/0 coppSmIs POLICY-MAP\n",
                         Options::Command::invoke);
  word(invoke, "PATH", all.path, kPath)->required();
  word(invoke, "OPERATION", all.name, "One that `ls PATH` lists with invoke")->required();
  invoke.add_option("ARGUMENT", all.arguments, "Its arguments; after --, if one begins with -")
      ->type_name("");

  CLI::App& set =
      add("set", "Set a value of one of the agent's state machines",
          "  oru-counters set countersSm/portCountersSm/Ethernet1 counterPollPeriod 5\n",
          Options::Command::set);
  word(set, "PATH", all.path, kPath)->required();
  word(set, "ATTRIBUTE", all.name, "One that `ls PATH` lists with set")->required();
  word(set, "VALUE", all.value, "The new value; after --, if it begins with -")->required();
}

ControlOptions::~ControlOptions() = default;

bool ControlOptions::parsed() {
  auto const at = std::find_if(_commands->all.begin(), _commands->all.end(),
                               [](auto const& each) { return each.app->parsed(); });
  if (at == _commands->all.end()) return false;
  _options.command = at->command;
  for (auto const& clear : _commands->clears) {
    if (!clear.app->parsed()) continue;
    _options.command = clear.command;
    _commands->clear = &clear;
    _namesBesides = !_options.names.empty();
    _options.names = clear.names;
  }
  for (CLI::Option const* const word : at->words)
    if (word->count() != 0) _options.words.push_back(word->as<std::string>());
  _options.words.insert(_options.words.end(), _commands->arguments.begin(),
                        _commands->arguments.end());
  return true;
}

std::optional<std::string> ControlOptions::wrong() const {
  using Command = Options::Command;
  std::string command;
  if (_options.command == Command::clear) command = "clear";
  auto const* const clear = _commands->clear;
  if (clear != nullptr) command = "clear " + clear->app->get_name();
  if (_options.command == Command::poll) command = "poll";
  if (command.empty()) return std::nullopt;
  auto const& names = _options.names;
  if (_namesBesides)
    return "'" + command + "' takes " + clear->takes + ", and no names of interfaces before them";
  if (names.empty())
    return "'" + command + "' must be told what: all, or " +
           (clear != nullptr ? clear->takes : "names");
  if (std::find(names.begin(), names.end(), "") != names.end())
    return "'" + command + "': a name is empty";
  if (names.size() != 1 && std::find(names.begin(), names.end(), kAll) != names.end())
    return "'" + command + " all' takes no further names";
  return std::nullopt;
}

}  // namespace Show
