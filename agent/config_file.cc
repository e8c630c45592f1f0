#include "agent/config_file.h"

#include <net/if.h>

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
        config.tables = text("tables", value, "a directory");
      } else if (key == "period") {
        config.period = seconds("period", value, kMinPeriod, kMaxPeriod);
      } else if (key == "interfaces") {
        config.interfaces = patterns("interfaces", value);
      } else if (key == "load-interval") {
        using Interface::LoadInterval;
        config.loadInterval =
            LoadInterval(seconds("load-interval", value, LoadInterval::kMin, LoadInterval::kMax));
      } else if (key == "keep-counters") {
        config.keepCounters = truth("keep-counters", value);
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

  // `what` is what the message calls the setting.
  std::string text(std::string const& what, toml::node const& node, char const* takes) const {
    auto const text = node.value_exact<std::string>();
    if (!text || text->empty()) fail(node, what + " must be " + takes + " in quotes");
    return *text;
  }

  bool truth(std::string const& what, toml::node const& node) const {
    auto const truth = node.value_exact<bool>();
    if (!truth) fail(node, what + " must be true or false");
    return *truth;
  }

  Kel::Seconds seconds(std::string const& what, toml::node const& node, double min,
                       double max) const {
    double const value = node.is_number() ? node.value<double>().value_or(-1.0) : -1.0;
    if (value >= min && value <= max) return value;  // false for what is not a number
    std::ostringstream why;
    why << what << " must be a number of seconds from " << min << " to " << max;
    fail(node, why.str());
  }

  std::vector<std::string> patterns(std::string const& what, toml::node const& node) const {
    auto const* const list = node.as_array();
    if (list == nullptr || list->empty())
      fail(node, what + " must be a list of patterns, as [\"eth*\"]");
    std::vector<std::string> all;
    for (auto const& element : *list)
      all.push_back(text("each of " + what, element, "a pattern of kernel names"));
    return all;
  }

  toml::table const& section(std::string const& what, toml::node const& node) const {
    auto const* const table = node.as_table();
    if (table == nullptr) fail(node, what + " must be a section: [" + what + "]");
    return *table;
  }

  // What can be none is a slip, or an alternative name, and would never be met.
  void requireKernelName(std::string_view name, toml::source_region const& where) const {
    if (name.empty() || name.size() >= IFNAMSIZ || name.find('/') != std::string_view::npos)
      fail(where, "'" + std::string(name) + "' is no link's kernel name: those have 1 to " +
                      std::to_string(IFNAMSIZ - 1) + " bytes, and no slash");
  }

  AclDropMap aclDrops(toml::node const& node) const {
    AclDropMap all;
    for (auto const& [key, value] : section("acl-drops", node)) {
      char const* const kTakes =
          "the family, table and name of an nftables counter, as \"inet acl eth0_drops\"";
      std::string const kernelName(key.str());
      std::string const what = kernelName + " of [acl-drops]";
      requireKernelName(kernelName, key.source());
      auto const counter = Hardware::Linux::NftCounterName::parse(text(what, value, kTakes));
      if (!counter)
        fail(value, what + " must be " + kTakes + "; families are " +
                        std::string(Hardware::Linux::NftCounterName::families()));
      all.emplace(kernelName, *counter);
    }
    return all;
  }

  VlanOptions vlans(toml::node const& node) const {
    VlanOptions options;
    for (auto const& [key, value] : section("vlans", node)) {
      std::string const what = std::string(key.str()) + " of [vlans]";
      if (key == "bridge") {
        options.bridge = text(what, value, "the kernel name of a bridge");
        requireKernelName(options.bridge, value.source());
      } else if (key == "statistics") {
        options.statistics = truth(what, value);
      } else {
        fail(key.source(), std::string(key.str()) +
                               " is not a setting of [vlans]; there are bridge and statistics");
      }
    }
    return options;
  }

  NameMap names(toml::node const& node) const {
    NameMap all;
    std::set<Pekt::IntfId> given;
    for (auto const& [key, value] : section("names", node)) {
      std::string const kernelName(key.str());
      requireKernelName(kernelName, key.source());
      Pekt::IntfId const id = ethernetName(kernelName + " of [names]", value);
      if (!given.insert(id).second) fail(value, std::string(id.view()) + " is given to two links");
      all.emplace(kernelName, id);
    }
    return all;
  }

  Pekt::IntfId ethernetName(std::string const& what, toml::node const& node) const {
    std::string const name = text(what, node, "a name such as \"Ethernet1/1\"");
    try {
      Pekt::IntfId const id(name);
      if (Pekt::EthIntfId::isEthIntfId(id)) return id;
    } catch (Kel::RangeException const&) {  // too long for any name
    }
    fail(node,
         what + ": '" + name + "' is not the name of an Ethernet interface, such as Ethernet1/1");
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
