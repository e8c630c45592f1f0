#include "reader/options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <ostream>
#include <string_view>

#include "platform/interface/table_directory_default.h"
#include "reader/control_options.h"
#include "reader/show_options.h"
#include "reader/table_options.h"

namespace Show {

namespace {

constexpr char const* kDescription =
    "Shows the counters that oru-agentd publishes. show, top and tables read its tables only: "
    "they\n"
    "need no contact with the agent, and work while there is none. clear, poll, get, ls, invoke\n"
    "and set ask the agent. clear, poll, invoke and set change things in it: they take the\n"
    "superuser or the agent's own user.";

// The command of which the arguments are that were read last: the program itself, or what stands
// for it in `path`, such as "show interfaces".
CLI::App const& commandOf(CLI::App const& app, std::string& path) {
  auto const given = app.get_subcommands();
  if (given.empty()) return app;
  path.append(path.empty() ? "" : " ").append(given.front()->get_name());
  return commandOf(*given.front(), path);
}

// An argument that is no option of the command and no word that it takes.
std::string unexpected(CLI::App const& command, std::string const& path, std::string const& word) {
  std::string const it = path.empty() ? "oru-counters" : "'" + path + "'";
  if (word.starts_with('-')) return it + " has no option " + word;
  std::string there;
  for (CLI::App const* const each : command.get_subcommands({}))
    there.append(there.empty() ? "" : ", ").append(each->get_name());
  if (there.empty()) return it + " does not take " + word;
  return it + (path.empty() ? " has no command " : " has no ") + word + "; there are: " + there;
}

std::string textOf(CLI::ParseError const& error, CLI::App const& app, CLI::App const& command,
                   std::string const& path) {
  auto const left = app.remaining(true);
  if (dynamic_cast<CLI::ExtrasError const*>(&error) != nullptr && !left.empty())
    return unexpected(command, path, left.front());
  if (dynamic_cast<CLI::RequiredError const*>(&error) != nullptr && !path.empty())
    return "'" + path + "': " + error.what();
  return error.what();
}

ExitCode refused(std::ostream& err, std::string_view why, std::string const& path) {
  err << "oru-counters: " << why << "\nTry 'oru-counters " << path << (path.empty() ? "" : " ")
      << "--help'.\n";
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

  ShowOptions showOptions(app, options);
  TableOptions tableOptions(app, options);
  ControlOptions controlOptions(app, options);

  try {
    app.parse(argc, argv);
  } catch (CLI::Success const& success) {
    app.exit(success, out, err);
    return ExitCode::ok;
  } catch (CLI::ParseError const& error) {
    std::string path;
    CLI::App const& command = commandOf(app, path);
    return refused(err, textOf(error, app, command, path), path);
  }
  if (tables.count() != 0) options.directoryNamed = true;
  std::optional<std::string> wrong;
  if (showOptions.parsed())
    wrong = showOptions.wrong();
  else if (controlOptions.parsed())
    wrong = controlOptions.wrong();
  else if (!tableOptions.parsed())
    wrong = "a command is needed: show, top, tables, clear, poll, get, ls, invoke, or set";
  if (!wrong) return std::nullopt;
  std::string path;
  commandOf(app, path);
  return refused(err, *wrong, path);
}

}  // namespace Show
