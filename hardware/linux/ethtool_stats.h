#pragma once

#include <linux/ethtool.h>
#include <linux/ethtool_netlink.h>

#include <array>
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "hardware/linux/ethtool_socket.h"
#include "hardware/linux/once_per_tick.h"

namespace Hardware::Linux {

/// The standard counters that a link's MAC keeps, as far as its driver tells them. A count that the
/// driver does not keep has no value.
struct MacStats {
  using Count = std::optional<std::uint64_t>;

  /// One bucket of a size histogram (RFC 2819, etherStatsPkts...Octets): frames of `low` to `high`
  /// octets, both included.
  struct SizeBucket {
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    std::uint64_t frames = 0;
    bool operator==(SizeBucket const&) const = default;
  };

  // Indexed by ETHTOOL_A_STATS_ETH_MAC_* (IEEE 802.3 clause 30.3.1), ..._ETH_CTRL_* (30.3.3),
  // ..._ETH_PHY_* (30.3.2) and ..._RMON_* (RFC 2819).
  std::array<Count, ETHTOOL_A_STATS_ETH_MAC_MAX + 1> mac;
  std::array<Count, ETHTOOL_A_STATS_ETH_CTRL_MAX + 1> control;
  std::array<Count, ETHTOOL_A_STATS_ETH_PHY_MAX + 1> phy;
  std::array<Count, ETHTOOL_A_STATS_RMON_MAX + 1> rmon;
  std::vector<SizeBucket> inSizes;
  std::vector<SizeBucket> outSizes;
  Count inPauseFrames;   // aPAUSEMACCtrlFramesReceived
  Count outPauseFrames;  // aPAUSEMACCtrlFramesTransmitted

  bool operator==(MacStats const&) const = default;
};

/// Take in an answer to ETHTOOL_MSG_STATS_GET or to ETHTOOL_MSG_PAUSE_GET with statistics. True if
/// it held at least one count.
bool readStatsAnswer(nlmsghdr const& message, MacStats& stats);
bool readPauseAnswer(nlmsghdr const& message, MacStats& stats);

/// What came of asking a MAC.
struct MacReading {
  /// Null if there are none, or none just now.
  MacStats const* stats = nullptr;
  /// The driver may keep counters, but they could not be read just now.
  bool unavailable = false;
};

/// The MAC's counters of links, one reading of a link a tick at most.
class MacStatsSource {
 public:
  virtual ~MacStatsSource() = default;

  /// The counters of a link at the tick `now` (seconds, the agent's clock). Valid until the next
  /// call.
  virtual MacReading read(double now, int ifindex) = 0;

  /// Forget what is known of a link, its lack of counters included.
  virtual void forget(int ifindex) = 0;
};

/// By ethtool netlink. A driver that keeps no counters is asked once and then left alone until the
/// link is forgotten.
class EthtoolStats final : public MacStatsSource {
 public:
  MacReading read(double now, int ifindex) override;
  void forget(int ifindex) override { _links.erase(ifindex); }

  std::uint64_t requests() const { return _requests; }

 private:
  struct Link {
    bool hasGroups = true;  // until the driver says otherwise
    bool hasPause = true;
    bool any = false;          // counts came at this tick
    bool unavailable = false;  // and some did not
    OncePerTick reading;
    MacStats stats;
  };
  static void settle(std::error_code error, bool any, Link& link, bool& has);
  void readGroups(int ifindex, Link& link);
  void readPause(int ifindex, Link& link);

  EthtoolSocket _socket;
  std::unordered_map<int, Link> _links;
  std::uint64_t _requests = 0;
};

}  // namespace Hardware::Linux
