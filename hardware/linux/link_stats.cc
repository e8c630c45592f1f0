#include "hardware/linux/link_stats.h"

#include <linux/rtnetlink.h>

#include <algorithm>

namespace Hardware::Linux {

LinkStats::LinkStats() : _socket(NETLINK_ROUTE) {}

std::error_code LinkStats::refresh(double now) {
  if (_fresh && now == _tick) return _error;
  _fresh = true;
  _tick = now;
  _error = read();
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
  auto const byIndex = [](Entry const& a, Entry const& b) { return a.ifindex < b.ifindex; };
  if (!std::is_sorted(_entries.begin(), _entries.end(), byIndex))
    std::sort(_entries.begin(), _entries.end(), byIndex);
  return error;
}

rtnl_link_stats64 const* LinkStats::find(int ifindex) const {
  auto const at =
      std::lower_bound(_entries.begin(), _entries.end(), ifindex,
                       [](Entry const& entry, int wanted) { return entry.ifindex < wanted; });
  return at != _entries.end() && at->ifindex == ifindex ? &at->stats : nullptr;
}

}  // namespace Hardware::Linux
