#include "hardware/linux/link_stats.h"

#include <linux/rtnetlink.h>

#include <algorithm>

namespace Hardware::Linux {

LinkStats::LinkStats() : _socket(NETLINK_ROUTE) {}

std::error_code LinkStats::refresh(double now) {
  _reading.at(now, [this] { _error = read(); });
  return _error;
}

std::error_code LinkStats::read() {
  ++_dumps;
  _entries.clear();
  if_stats_msg fixed{};
  fixed.filter_mask = IFLA_STATS_FILTER_BIT(IFLA_STATS_LINK_64);
  NetlinkRequest request(RTM_GETSTATS, fixed);
  auto error = _socket.dump(request, [this](nlmsghdr const& message) {
    auto const link = fixedHeader<if_stats_msg>(message);
    if (!link) return;
    forEachAttribute(message, sizeof(if_stats_msg), [&](nlattr const& attribute) {
      if (mnl_attr_get_type(&attribute) == IFLA_STATS_LINK_64)
        _entries.push_back(
            {static_cast<int>(link->ifindex), attributeRecord<rtnl_link_stats64>(attribute)});
    });
  });
  // Links came or went during the dump. What was told of the others is true, and a link that was
  // missed is there at the next tick.
  if (error == std::errc::interrupted) error.clear();
  if (error) _entries.clear();
  if (!std::ranges::is_sorted(_entries, {}, &Entry::ifindex))
    std::ranges::sort(_entries, {}, &Entry::ifindex);
  return error;
}

rtnl_link_stats64 const* LinkStats::find(int ifindex) const {
  auto const at = std::ranges::lower_bound(_entries, ifindex, {}, &Entry::ifindex);
  return at != _entries.end() && at->ifindex == ifindex ? &at->stats : nullptr;
}

}  // namespace Hardware::Linux
