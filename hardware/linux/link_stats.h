#pragma once

#include <linux/if_link.h>

#include <cstdint>
#include <system_error>
#include <vector>

#include "hardware/linux/netlink_socket.h"
#include "hardware/linux/once_per_tick.h"

namespace Hardware::Linux {

/// The kernel's standard counters of every link, as they stood at one moment.
class LinkStatsSource {
 public:
  virtual ~LinkStatsSource() = default;

  /// Make the counters those of the tick `now` (seconds, the agent's clock). Costs nothing if they
  /// already are: a thousand ports polled at one wake-up cost one reading.
  virtual std::error_code refresh(double now) = 0;

  /// The counters of a link, or null if the link did not exist at the last refresh. Valid until the
  /// next refresh.
  virtual rtnl_link_stats64 const* find(int ifindex) const = 0;
};

/// By one dump of `RTM_GETSTATS` for all links. If the dump fails, no link has counters until the
/// next tick. Needs no privilege.
class LinkStats final : public LinkStatsSource {
 public:
  LinkStats();

  std::error_code refresh(double now) override;
  rtnl_link_stats64 const* find(int ifindex) const override;

  std::uint64_t dumps() const { return _dumps; }

 private:
  struct Entry {
    int ifindex;
    rtnl_link_stats64 stats;
  };
  std::error_code read();

  NetlinkSocket _socket;
  std::vector<Entry> _entries;  // by ifindex
  OncePerTick _reading;
  std::error_code _error;  // of that reading
  std::uint64_t _dumps = 0;
};

}  // namespace Hardware::Linux
