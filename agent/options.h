// What the operator asks of the agent: the command line, the environment and the configuration
// file, checked and put together. The command line counts before the environment, that before the
// file, and that before the defaults.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "hardware/linux/nft_counter_name.h"
#include "platform/interface/load_interval.h"
#include "platform/kel/system.h"
#include "platform/pekt/intf_id.h"

namespace Hardware::Simulated {
class Chip;
}

namespace Agent {

enum class ChipKind : std::uint8_t { kernel, simulated };

// Chosen names of links: kernel name to interface.
using NameMap = std::map<std::string, Pekt::IntfId>;
// What counts the dropped packets of a link, by its kernel name.
using AclDropMap = std::map<std::string, Hardware::Linux::NftCounterName>;

// Whose VLANs are counted.
struct VlanOptions {
  std::string bridge;       // by its name in the kernel; empty: the first that filters by VLANs
  bool statistics = false;  // the agent may switch the bridge's counting on
};

inline constexpr Kel::Seconds kMinPeriod = 0.05, kMaxPeriod = 3600.0, kDefaultPeriod = 2.0;
inline constexpr std::uint32_t kMaxPorts = 4096, kDefaultPorts = 32;
inline constexpr std::uint32_t kMaxSimulatedVlans = 4000, kDefaultSimulatedVlans = 4;

struct Options {
  std::string tables;                    // the directory of the tables
  Kel::Seconds period = kDefaultPeriod;  // between two polls of an interface
  std::vector<std::string> interfaces;   // patterns of kernel names; empty: every Ethernet link
  Interface::LoadInterval loadInterval;  // over which rates are averaged
  bool keepCounters = false;             // rows of links that went stay
  NameMap names;
  AclDropMap aclDrops;  // links that are not here count what their filters drop
  VlanOptions vlans;
  unsigned traceLevels = 0;  // one bit a level
  ChipKind chip = ChipKind::kernel;
  std::uint32_t ports = kDefaultPorts;                    // of the simulated chip
  std::uint32_t vlanInterfaces = kDefaultSimulatedVlans;  // of the same
  std::uint64_t seed = 1;                                 // of the simulated chip's traffic
  // What a script says of the simulated chip, in place of the three.
  std::shared_ptr<Hardware::Simulated::Chip const> scripted;
};

// The program has nothing more to do: it was asked for help, for a check, or for what cannot be.
struct Finished {
  int status = 0;   // 0, or 2 when something asked for is wrong
  std::string out;  // for standard output
  std::string err;  // for standard error
};

// Reads the files named by --config and --script too. ORU_TABLES is the only variable looked at.
std::variant<Options, Finished> readOptions(int argc, char const* const* argv);

// "7", "7,8", "6-8" or any mix, as one bit a level; no value if it is anything else.
std::optional<unsigned> readTraceLevels(std::string const& text);

}  // namespace Agent
