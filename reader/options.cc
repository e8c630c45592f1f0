#include "reader/options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <ostream>
#include <string_view>

#include "platform/interface/table_directory_default.h"
#include "reader/control_options.h"
#include "reader/seconds_option.h"
#include "reader/vlan_ids.h"

namespace Show {

namespace {

constexpr char const* kDescription =
    "Shows the counters that oru-agentd publishes. show, top and tables read its tables only: "
    "they\n"
    "need no contact with the agent, and work while there is none. clear, poll, get, ls, invoke\n"
    "and set ask the agent. clear, poll, invoke and set change things in it: they take the\n"
    "superuser or the agent's own user.";
constexpr char const* kNames =
    "Interfaces to show: names (Ethernet3), the kernel's names (eth0), or patterns ('Ethernet*')";
constexpr char const* kVlanIntfNames =
    "VLAN interfaces to show: names (Vlan7), the kernel's names (eth0.7), or patterns ('Vlan1*')";
constexpr char const* kJson = "Everything, as JSON (see docs/oru-counters.md)";

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

ExitCode refused(std::ostream& err, std::string_view why) {
  err << "oru-counters: " << why << "\nTry 'oru-counters --help'.\n";
  return ExitCode::usage;
}

}  // namespace

std::optional<ExitCode> parse(int argc, char const* const* argv, Options& options,
                              std::ostream& out, std::ostream& err) {
  options.directory = Interface::tableDirectoryDefault();
  char const* const chosen = std::getenv(Interface::kTableDirectoryVariable);
  options.directoryNamed = chosen != nullptr && *chosen != '\0';

  CLI::App app(kDescription, "oru-counters");
  app.set_version_flag("--version", std::string("oru-counters ") + ORU_VERSION);
  // That there is none is told below: an argument that is wrong is the better thing to tell.
  app.require_subcommand(0, 1);
  app.fallthrough();
  app.footer(std::string(kExitCodesText) +
             "\nEnvironment:\n"
             "  ORU_TABLES  the directory of the tables, unless --tables tells\n"
             "  NO_COLOR    no colours, when it is set and not empty\n");
  CLI::Option const& tables =
      *app.add_option("--tables", options.directory,
                      "Directory of the agent's tables; now " + options.directory)
           ->type_name("DIR")
           ->check([](std::string const& directory) {
             return directory.empty() ? "a directory's name is not empty" : "";
           });

  auto const addCommon = [&options](CLI::App& command, char const* name = "NAME",
                                    char const* about = kNames) -> CLI::Option& {
    command.add_flag("--json", options.json, kJson);
    return *command.add_option(name, options.names, about)->type_name("");
  };
  auto const addSinceClear = [&options](CLI::App& command) {
    command.add_flag("--since-clear", options.sinceClear,
                     "Counts since the last clear, and when that was; else as published");
  };

  CLI::App& show = *app.add_subcommand("show", "Show what the tables hold now");
  show.require_subcommand(0, 1);
  CLI::App& interfaces =
      *show.add_subcommand("interfaces", "Counts, rates or errors of the interfaces");
  interfaces.alias("interface");
  addCommon(interfaces);
  addSinceClear(interfaces);
  auto const addRates = [&options](CLI::App& command) {
    command.add_flag("--rates", options.rates,
                     "Bits and packets a second, averaged over the agent's load interval,\n"
                     "and use of the speed");
  };
  addRates(interfaces);
  interfaces.add_flag("--errors", options.errors, "Errors by their classes");
  CLI::App& queues =
      *show.add_subcommand("queues", "What each transmit queue of the interfaces sent and dropped");
  queues.alias("queue");
  addCommon(queues);
  addSinceClear(queues);
  CLI::App& drops = *show.add_subcommand("drops", "Packets that access lists dropped");
  drops.alias("drop");
  addCommon(drops);

  CLI::App& vlanIntfs =
      *show.add_subcommand("vlan-interfaces",
                           "Counts or rates of the VLAN interfaces. Octets are as the chip counts "
                           "them: Linux leaves out\n"
                           "the 14 bytes of the Ethernet header of the frames that come in");
  vlanIntfs.alias("vlan-interface");
  addCommon(vlanIntfs, "NAME", kVlanIntfNames);
  addRates(vlanIntfs);
  CLI::App& copp = *show.add_subcommand(
      "copp", "What each class of the control plane's policing counted, and since its last reset");
  addCommon(copp, "CLASS", "Classes to show: names, or patterns ('copp-*')");
  copp.add_flag("--since-reset", options.sinceReset,
                "Packets and octets since the class's last reset alone; else as published");

  CLI::App& vlanCounters = *show.add_subcommand(
      "vlans", "What each VLAN of the bridge counted: what came in from its ports and went out");
  vlanCounters.alias("vlan");
  addCommon(vlanCounters, "ID", "VLANs to show: ids, ranges, or lists of both: 10-20,30")
      .check(wrongVlans);
  addSinceClear(vlanCounters);

  CLI::App& top = *app.add_subcommand(
      "top",
      "Rates of the interfaces, live on a terminal, else a plain table each interval.\n"
      "They are those between the agent's last two polls, and until there were two,\n"
      "averages over its load interval.\n"
      "Keys: q quit, s next sort key, r rates or totals, c counts since the last clear or\n"
      "as published, arrows and page keys scroll");
  addCommon(top);
  addSinceClear(top);
  top.add_option("--interval", options.interval,
                 "Time from one table to the next: 0.1 to 3600, by default 1")
      ->type_name("SECONDS")
      ->check(secondsWithin(0.1, 3600.0));
  top.add_option("--for", options.duration, "Plain tables for so long, then end")
      ->type_name("SECONDS")
      ->check(secondsWithin(0.0, 1e9));
  std::string sortKey(name(options.sort));
  top.add_option("--sort", sortKey, "Sort key: " + sortKeyList())
      ->type_name("KEY")
      ->check([](std::string const& key) {
        return sortKeyOf(key) ? std::string() : "'" + key + "' is none of " + sortKeyList();
      });

  CLI::App& tableFiles = *app.add_subcommand(
      "tables", "The table files themselves: what is there, whether it is whole, what it holds");
  tableFiles.require_subcommand(0, 1);
  tableFiles.add_flag("--json", options.json, kJson);
  tableFiles.add_subcommand(
      "list",
      "Every file of the directory, and of each table its rows, state and writer;\nthe default");
  CLI::App& verify = *tableFiles.add_subcommand(
      "verify",
      "Check tables in full: header, every slot, index and counts; a line a problem.\n"
      "They may be written meanwhile: what their writer explains is no damage");
  verify
      .add_option("NAME", options.names,
                  "Tables to check: names, patterns, or files that were set aside; all tables")
      ->type_name("");
  verify.add_flag("--progress", options.progress,
                  "Tell how far it is in any case; else only on a terminal, after a second");
  CLI::App& dump = *tableFiles.add_subcommand(
      "dump", "One table whole, by the schema in its file, whatever records it holds");
  dump.add_option("NAME", options.names, "The table, or a file that was set aside")
      ->type_name("")
      ->required()
      ->expected(1);
  for (CLI::App* const command : tableFiles.get_subcommands({}))
    command->add_flag("--json", options.json, kJson);

  ControlOptions controlOptions(app, options);

  try {
    app.parse(argc, argv);
  } catch (CLI::Success const& success) {
    app.exit(success, out, err);
    return ExitCode::ok;
  } catch (CLI::ParseError const& error) {
    return refused(err, error.what());
  }
  if (tables.count() != 0) options.directoryNamed = true;
  if (controlOptions.parsed()) {
    if (auto const wrong = controlOptions.wrong()) return refused(err, *wrong);
    return std::nullopt;
  }
  if (show.parsed() && show.get_subcommands().empty())
    return refused(err,
                   "'show' must be told what: interfaces, queues, drops, vlan-interfaces, vlans or "
                   "copp");
  if (!show.parsed() && !top.parsed() && !tableFiles.parsed())
    return refused(err,
                   "a command is needed: show, top, tables, clear, poll, get, ls, invoke, or set");
  options.sort = *sortKeyOf(sortKey);
  options.command = top.parsed()            ? Options::Command::top
                    : queues.parsed()       ? Options::Command::showQueues
                    : drops.parsed()        ? Options::Command::showDrops
                    : vlanIntfs.parsed()    ? Options::Command::showVlanInterfaces
                    : vlanCounters.parsed() ? Options::Command::showVlans
                    : copp.parsed()         ? Options::Command::showCopp
                    : verify.parsed()       ? Options::Command::tablesVerify
                    : dump.parsed()         ? Options::Command::tablesDump
                    : tableFiles.parsed()   ? Options::Command::tablesList
                                            : Options::Command::showInterfaces;
  return std::nullopt;
}

}  // namespace Show
