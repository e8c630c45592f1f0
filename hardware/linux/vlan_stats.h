#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <system_error>

#include "hardware/linux/netlink_socket.h"
#include "hardware/linux/once_per_tick.h"

namespace Hardware::Linux {

/// What a bridge counts of one VLAN: what entered it by any port, and what left it by each. Octets
/// are without the Ethernet header and the tag.
struct VlanKernelCounts {
  std::uint64_t rxOctets = 0;
  std::uint64_t rxPkts = 0;
  std::uint64_t txOctets = 0;
  std::uint64_t txPkts = 0;
  bool operator==(VlanKernelCounts const&) const = default;
};

/// The counts of the VLANs of bridges, as they stood at one moment.
class VlanStatsSource {
 public:
  virtual ~VlanStatsSource() = default;

  /// Make the counts those of the tick `now` (seconds, the agent's clock). Costs nothing if they
  /// already are: all VLANs that are polled at one wake-up cost one reading.
  virtual std::error_code refresh(double now) = 0;

  /// The counts of a VLAN of the bridge, or null if there was none at the last refresh. Valid until
  /// the next refresh.
  virtual VlanKernelCounts const* find(int bridge, std::uint16_t vlan) const = 0;
};

/// The counts of all VLANs that one message of the kernel bears, added to those that are there. Of
/// a bridge's own entries alone (BRIDGE_VLAN_INFO_MASTER), which each VLAN has that the bridge or
/// any of its ports is in; entries of ports are the same counts again, or a part of them.
using VlanCountsByBridge = std::map<std::pair<int, std::uint16_t>, VlanKernelCounts>;
void readVlanStats(nlmsghdr const& message, VlanCountsByBridge& counts);

/// By one dump of `RTM_GETSTATS` with `IFLA_STATS_LINK_XSTATS`. If the dump fails, no VLAN has
/// counts until the next tick. One that was interrupted is asked for again, a few times; after that
/// VLANs that it left out have no counts until the next tick. Needs no privilege.
class VlanStats final : public VlanStatsSource {
 public:
  /// As NetlinkSocket::dump.
  using Dump = std::function<std::error_code(NetlinkRequest&, NetlinkSocket::Visitor const&)>;

  /// Without `dump`, asks this machine's kernel.
  explicit VlanStats(Dump dump = {});

  std::error_code refresh(double now) override;
  VlanKernelCounts const* find(int bridge, std::uint16_t vlan) const override;

  std::uint64_t dumps() const { return _dumps; }

 private:
  std::error_code read();
  std::error_code readOnce();

  NetlinkSocket _socket;
  Dump const _dump;
  VlanCountsByBridge _counts;
  OncePerTick _reading;
  std::error_code _error;  // of that reading
  std::uint64_t _dumps = 0;
};

}  // namespace Hardware::Linux
