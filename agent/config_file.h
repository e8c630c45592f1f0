// The agent's configuration file, in TOML:
//
//   tables = "/dev/shm/oru-counters"
//   period = 2.0                     # seconds between two polls of an interface
//   interfaces = ["eth*", "swp*"]    # kernel names; without it every Ethernet link
//   load-interval = 30               # seconds over which rates are averaged
//   keep-counters = true             # keep the counters of links that went
//
//   [names]                          # kernel name = name of the interface
//   eth0 = "Ethernet1/1"
//
//   [acl-drops]                      # kernel name = an nftables counter: family, table, name
//   eth0 = "inet acl eth0_drops"
//
//   [vlans]
//   bridge = "br0"                   # whose VLANs are counted; without it the first that filters
//   statistics = true                # have it count them, should it not do so yet
//
// Everything may be left out. What is not known, or is out of bounds, is refused: a misspelt
// setting that is passed over would be one that silently does not hold.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "agent/options.h"

namespace Agent {

struct ConfigFile {
  std::optional<std::string> tables;
  std::optional<Kel::Seconds> period;
  std::optional<std::vector<std::string>> interfaces;
  std::optional<Interface::LoadInterval> loadInterval;
  std::optional<bool> keepCounters;
  NameMap names;
  AclDropMap aclDrops;
  VlanOptions vlans;
};

// A file that cannot be used; the text names the file, the line and what is wrong.
class ConfigError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws ConfigError.
ConfigFile readConfigFile(std::string const& path);
// The same of a text; `path` is for messages.
ConfigFile readConfigText(std::string_view text, std::string const& path);

}  // namespace Agent
