#include "agent/options.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "agent/config_file.h"
#include "hardware/simulated/script.h"
#include "platform/interface/table_directory_default.h"

namespace Agent {
namespace {

constexpr char const* kProgram = "oru-agentd";
constexpr char const* kAbout =
    "Keeps the traffic counters of this machine's Ethernet interfaces current, in tables in shared "
    "memory that oru-counters shows.";
constexpr char const* kEpilogue =
    "Examples:\n"
    "  oru-agentd                              every Ethernet link of this machine\n"
    "  oru-agentd --interfaces 'eth*' swp1     only some of them\n"
    "  oru-agentd --chip simulated --ports 8   no hardware needed\n"
    "  oru-agentd --check-config --config FILE whether that file would be taken\n"
    "Traces go to standard error: level 8 every handler and poll, 7 pollers made and deleted,\n"
    "forced updates, policy maps, CPU ports and VLANs, 6 rows made, 4 clears of\n"
    "VLANs that are over, 1 errors (always on).\n"
    "SIGTERM and SIGINT end the agent; the tables stay, and the next one counts on from them.\n"
    "Exit status: 0 ended by a signal, 1 could not run, 2 asked for what cannot be.";

template <class Number>
std::optional<Number> number(std::string const& text) {
  Number value{};
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// CLI11's form of a check: the answer is what is wrong, or nothing. It comes before CLI11's own
// conversion, which lets through more than a user means ("nan", "0x10").
template <class Number>
CLI::Validator within(Number min, Number max, char const* what) {
  return CLI::Validator(
      [=](std::string& text) {
        auto const value = number<Number>(text);
        if (value && *value >= min && *value <= max) return std::string();
        std::ostringstream why;
        why << "'" << text << "' is not " << what << " from " << min << " to " << max;
        return why.str();
      },
      "");
}

constexpr char const* kLinux = "linux";
constexpr char const* kSimulated = "simulated";

std::optional<ChipKind> readChip(std::string const& name) {
  if (name == kLinux) return ChipKind::kernel;
  if (name == kSimulated) return ChipKind::simulated;
  return std::nullopt;
}

Finished refused(std::string const& why) {
  return {2, "", std::string(kProgram) + ": " + why + "\nTry '" + kProgram + " --help'.\n"};
}

// What was given on the command line, or in the environment.
struct CommandLine {
  Options values;
  double loadInterval = 0.0;
  std::string chip = kLinux;
  std::string traceLevels;
  std::string configPath;
  bool checkConfig = false;
  std::string scriptPath;
  CLI::App app{kAbout, kProgram};

  CLI::Option* tables = nullptr;
  CLI::Option* period = nullptr;
  CLI::Option* interfaces = nullptr;
  CLI::Option* averaging = nullptr;
  CLI::Option* keep = nullptr;
  CLI::Option* ports = nullptr;
  CLI::Option* vlans = nullptr;
  CLI::Option* seed = nullptr;
  CLI::Option* script = nullptr;

  CommandLine() {
    using Interface::LoadInterval;
    values.tables = Interface::kTableDirectory;
    app.set_version_flag("--version", std::string(kProgram) + " " + ORU_VERSION,
                         "Print the version and end");
    app.set_help_flag("-h,--help", "Print this and end");
    app.footer(kEpilogue);

    tables = app.add_option("--tables", values.tables,
                            "Directory of the tables, on a tmpfs; made if it is missing")
                 ->type_name("DIR")
                 ->envname(Interface::kTableDirectoryVariable)
                 ->capture_default_str();
    period = app.add_option("--period", values.period,
                            "Time between two polls of an interface, 0.05 to 3600")
                 ->type_name("SECONDS")
                 ->check(within(kMinPeriod, kMaxPeriod, "a number of seconds"))
                 ->capture_default_str();
    interfaces =
        app.add_option("--interfaces", values.interfaces,
                       "Count only links whose kernel name matches one of these")
            ->type_name("GLOB")
            ->expected(1, -1)
            ->check([](std::string const& glob) {
              return glob.empty() ? std::string("an empty pattern matches no link") : std::string();
            });
    averaging = app.add_option("--load-interval", loadInterval,
                               "Time over which rates are averaged, 1 to 600 [300]")
                    ->type_name("SECONDS")
                    ->check(within(LoadInterval::kMin, LoadInterval::kMax, "a number of seconds"));
    keep = app.add_flag("--keep-counters", values.keepCounters,
                        "Keep the counters of links that went");
    app.add_option("--config", configPath, "Settings in a TOML file; options count before them")
        ->type_name("FILE");
    app.add_flag("--check-config", checkConfig,
                 "Only read that file, tell what is wrong with it, and end");
    app.add_option("--trace", traceLevels, "Trace these levels, such as 7,8 or 6-8")
        ->type_name("LEVELS")
        ->check([](std::string const& text) {
          return readTraceLevels(text) ? std::string()
                                       : "'" + text + "' is no list of levels from 0 to 31";
        });
    app.add_option("--chip", chip, "Where counters come from: linux or simulated")
        ->type_name("CHIP")
        ->check([](std::string const& text) {
          return readChip(text) ? std::string()
                                : "'" + text + "' is no chip: there are linux and simulated";
        })
        ->capture_default_str();
    ports = app.add_option("--ports", values.ports, "Ports of the simulated chip, 1 to 4096")
                ->type_name("N")
                ->check(within(std::uint32_t{1}, kMaxPorts, "a number of ports"))
                ->capture_default_str();
    vlans = app.add_option("--vlan-interfaces", values.vlanInterfaces,
                           "VLAN interfaces of the simulated chip, 0 to 4000")
                ->type_name("N")
                ->check(within(std::uint32_t{0}, kMaxSimulatedVlans, "a number of VLAN interfaces"))
                ->capture_default_str();
    seed = app.add_option("--seed", values.seed, "Seed of the simulated traffic")
               ->type_name("N")
               ->check(within(std::uint64_t{0}, ~std::uint64_t{0}, "a number"))
               ->capture_default_str();
    script = app.add_option("--script", scriptPath,
                            "A script of what the simulated chip has and what befalls it")
                 ->type_name("FILE")
                 ->excludes(ports)
                 ->excludes(vlans)
                 ->excludes(seed);
    // An option given again counts, as where a script puts its own first.
    for (CLI::Option* const option : app.get_options())
      if (option->get_expected_max() == 1 && !option->get_name().empty()) option->take_last();
  }
};

std::shared_ptr<Hardware::Simulated::Chip const> readScriptFile(std::string const& path) {
  using namespace Hardware::Simulated;
  errno = 0;
  std::ifstream file(path);
  if (!file || (file.peek(), file.bad()))
    throw ScriptError(std::string("cannot be read: ") + std::strerror(errno != 0 ? errno : EIO));
  auto const chip = std::make_shared<Chip>();
  readScript(file, *chip);
  if (file.bad()) throw ScriptError("cannot be read to its end");
  return chip;
}

template <class T>
void fill(CLI::Option const* given, std::optional<T> const& fromFile, T& value) {
  if (given->count() == 0 && fromFile) value = *fromFile;
}

}  // namespace

std::optional<unsigned> readTraceLevels(std::string const& text) {
  unsigned levels = 0;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t const end = std::min(text.find(',', start), text.size());
    std::string const part = text.substr(start, end - start);
    std::size_t const dash = part.find('-');
    auto const from = number<unsigned>(part.substr(0, dash));
    auto const to = dash == std::string::npos ? from : number<unsigned>(part.substr(dash + 1));
    if (!from || !to || *from > *to || *to > 31) return std::nullopt;
    for (unsigned level = *from; level <= *to; ++level) levels |= 1u << level;
    start = end + 1;
  }
  return levels;
}

std::variant<Options, Finished> readOptions(int argc, char const* const* argv) {
  CommandLine line;
  try {
    line.app.parse(argc, argv);
  } catch (CLI::Success const& success) {
    std::ostringstream out, err;
    line.app.exit(success, out, err);
    return Finished{0, out.str(), err.str()};
  } catch (CLI::ParseError const& error) {
    return refused(error.what());
  }
  Options options = line.values;
  options.chip = readChip(line.chip).value_or(options.chip);
  if (options.chip != ChipKind::simulated) {
    for (CLI::Option const* const option : {line.ports, line.vlans, line.seed, line.script})
      if (option->count() != 0) return refused(option->get_name() + " needs --chip simulated");
  } else if (line.interfaces->count() != 0) {
    return refused("--interfaces chooses links of this machine; the simulated chip has none");
  }
  if (line.averaging->count() != 0)
    options.loadInterval = Interface::LoadInterval(line.loadInterval);
  options.traceLevels = readTraceLevels(line.traceLevels).value_or(0);
  if (!line.configPath.empty()) {
    try {
      ConfigFile const file = readConfigFile(line.configPath);
      fill(line.tables, file.tables, options.tables);
      fill(line.period, file.period, options.period);
      fill(line.interfaces, file.interfaces, options.interfaces);
      fill(line.averaging, file.loadInterval, options.loadInterval);
      fill(line.keep, file.keepCounters, options.keepCounters);
      options.names = file.names;
      options.aclDrops = file.aclDrops;
      options.vlans = file.vlans;
    } catch (ConfigError const& error) {
      return refused(error.what());
    }
  }
  if (line.checkConfig) {
    if (line.configPath.empty()) return refused("--check-config needs --config FILE");
    return Finished{0, line.configPath + ": nothing is wrong with it\n", ""};
  }
  if (line.script->count() != 0) {
    try {
      options.scripted = readScriptFile(line.scriptPath);
    } catch (Hardware::Simulated::ScriptError const& error) {
      return refused(line.scriptPath + ": " + error.what());
    }
  }
  if (options.tables.empty()) return refused("--tables: no directory was given");
  options.tables = std::filesystem::absolute(options.tables).lexically_normal().string();
  return options;
}

}  // namespace Agent
