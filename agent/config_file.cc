#include "agent/config_file.h"

#define TOML_EXCEPTIONS 1
#include <toml++/toml.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

#include "platform/kel/exceptions.h"

namespace Agent {
namespace {

class Reader {
 public:
  explicit Reader(std::string const& path) : _path(path) {}

  ConfigFile read(toml::table const& file) const {
    ConfigFile config;
    for (auto const& [key, value] : file) {
      if (key == "tables") {
        config.tables = text(value, "a directory");
      } else if (key == "period") {
        config.period = seconds(value, kMinPeriod, kMaxPeriod);
      } else if (key == "interfaces") {
        config.interfaces = patterns(value);
      } else if (key == "load-interval") {
        using Interface::LoadInterval;
        config.loadInterval = LoadInterval(seconds(value, LoadInterval::kMin, LoadInterval::kMax));
      } else if (key == "keep-counters") {
        config.keepCounters = truth(value);
      } else if (key == "names") {
        config.names = names(value);
      } else if (key == "acl-drops") {
        config.aclDrops = aclDrops(value);
      } else if (key == "vlans") {
        config.vlans = vlans(value);
      } else {
        fail(key.source(),
             std::string(key.str()) +
                 " is not a setting; there are tables, period, interfaces, "
                 "load-interval, keep-counters and the sections [names], [acl-drops] and "
                 "[vlans]");
      }
    }
    return config;
  }

  [[noreturn]] void fail(toml::source_region const& where, std::string const& why) const {
    std::ostringstream out;
    out << _path << ':' << where.begin.line << ": " << why;
    throw ConfigError(out.str());
  }

 private:
  [[noreturn]] void fail(toml::node const& node, std::string const& why) const {
    fail(node.source(), why);
  }

  std::string text(toml::node const& node, char const* what) const {
    auto const text = node.value_exact<std::string>();
    if (!text || text->empty()) fail(node, std::string("must be ") + what + " in quotes");
    return *text;
  }

  bool truth(toml::node const& node) const {
    auto const truth = node.value_exact<bool>();
    if (!truth) fail(node, "must be true or false");
    return *truth;
  }

  Kel::Seconds seconds(toml::node const& node, double min, double max) const {
    double const value = node.is_number() ? node.value<double>().value_or(-1.0) : -1.0;
    if (value >= min && value <= max) return value;  // false for what is not a number
    std::ostringstream why;
    why << "must be a number of seconds from " << min << " to " << max;
    fail(node, why.str());
  }

  std::vector<std::string> patterns(toml::node const& node) const {
    auto const* const list = node.as_array();
    if (list == nullptr || list->empty()) fail(node, "must be a list of patterns, as [\"eth*\"]");
    std::vector<std::string> all;
    for (auto const& element : *list) all.push_back(text(element, "a pattern of kernel names"));
    return all;
  }

  toml::table const& section(toml::node const& node, char const* name) const {
    auto const* const table = node.as_table();
    if (table == nullptr) fail(node, "must be a section: [" + std::string(name) + "]");
    return *table;
  }

  AclDropMap aclDrops(toml::node const& node) const {
    AclDropMap all;
    for (auto const& [kernelName, value] : section(node, "acl-drops")) {
      char const* const kWhat =
          "family, table and name of an nftables counter, as \"inet acl eth0_drops\"";
      auto const counter = Hardware::Linux::NftCounterName::parse(
          text(value, (std::string("the ") + kWhat).c_str()));
      if (!counter)
        fail(value, std::string("must be the ") + kWhat + "; families are " +
                        std::string(Hardware::Linux::NftCounterName::families()));
      all.emplace(std::string(kernelName.str()), *counter);
    }
    return all;
  }

  VlanOptions vlans(toml::node const& node) const {
    VlanOptions options;
    for (auto const& [key, value] : section(node, "vlans")) {
      if (key == "bridge")
        options.bridge = text(value, "the kernel name of a bridge");
      else if (key == "statistics")
        options.statistics = truth(value);
      else
        fail(key.source(), std::string(key.str()) +
                               " is not a setting of [vlans]; there are bridge and statistics");
    }
    return options;
  }

  NameMap names(toml::node const& node) const {
    NameMap all;
    std::set<Pekt::IntfId> given;
    for (auto const& [kernelName, value] : section(node, "names")) {
      Pekt::IntfId const id = ethernetName(value);
      if (!given.insert(id).second) fail(value, std::string(id.view()) + " is given to two links");
      all.emplace(std::string(kernelName.str()), id);
    }
    return all;
  }

  Pekt::IntfId ethernetName(toml::node const& node) const {
    std::string const name = text(node, "a name such as \"Ethernet1/1\"");
    try {
      Pekt::IntfId const id(name);
      if (Pekt::EthIntfId::isEthIntfId(id)) return id;
    } catch (Kel::RangeException const&) {  // too long for any name
    }
    fail(node, "'" + name + "' is not the name of an Ethernet interface, such as Ethernet1/1");
  }

  std::string const& _path;
};

}  // namespace

ConfigFile readConfigText(std::string_view text, std::string const& path) {
  Reader const reader(path);
  try {
    return reader.read(toml::parse(text));
  } catch (toml::parse_error const& error) {
    reader.fail(error.source(), std::string(error.description()));
  }
}

ConfigFile readConfigFile(std::string const& path) {
  errno = 0;
  std::ifstream file(path);
  std::ostringstream text;
  // Reading, not opening, is what fails on a directory.
  if (!file || (file.peek() != std::ifstream::traits_type::eof() && !(text << file.rdbuf())) ||
      file.bad())
    throw ConfigError("cannot read " + path + ": " + std::strerror(errno != 0 ? errno : EIO));
  return readConfigText(text.str(), path);
}

}  // namespace Agent
