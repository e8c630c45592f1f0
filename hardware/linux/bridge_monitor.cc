#include "hardware/linux/bridge_monitor.h"

#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <utility>

#include "hardware/linux/netlink_socket.h"

namespace Hardware::Linux {

BridgeMonitor::BridgeMonitor(std::string name, int receiveBufferBytes)
    : _news({RTNLGRP_LINK, RTNLGRP_BRVLAN}, receiveBufferBytes), _vlans(std::move(name)) {}

std::error_code BridgeMonitor::start() { return _news.start(reader()); }

std::error_code BridgeMonitor::poll() { return _news.poll(reader()); }

NewsFollower::Reader BridgeMonitor::reader() {
  return {[this](nlmsghdr const& message) { return readBridgeMessage(message, _vlans); },
          [this](auto const& visit) { return takeList(visit); }};
}

// Bridges, and then what they and their ports are in.
std::error_code BridgeMonitor::takeList(NewsFollower::Visitor const& visit) {
  _vlans.listBegins();
  ifinfomsg fixed{};
  NetlinkRequest bridges(RTM_GETLINK, fixed);
  bridges.put(IFLA_EXT_MASK, std::uint32_t{RTEXT_FILTER_SKIP_STATS});
  if (auto const error = _news.list(bridges, visit)) return error;
  fixed.ifi_family = AF_BRIDGE;
  NetlinkRequest members(RTM_GETLINK, fixed);
  members.put(IFLA_EXT_MASK, std::uint32_t{RTEXT_FILTER_BRVLAN_COMPRESSED});
  auto const error = _news.list(members, visit);
  // A kernel without bridges lists no members of any.
  if (error && error != std::errc::operation_not_supported) return error;
  _vlans.listEnds();
  return {};
}

std::error_code BridgeMonitor::switchVlanStatsOn(int bridge) {
  ifinfomsg fixed{};
  fixed.ifi_index = bridge;
  NetlinkRequest request(RTM_NEWLINK, fixed);
  request.nest(IFLA_LINKINFO, [](NetlinkRequest& info) {
    info.putText(IFLA_INFO_KIND, "bridge");
    info.nest(IFLA_INFO_DATA,
              [](NetlinkRequest& data) { data.put(IFLA_BR_VLAN_STATS_ENABLED, std::uint8_t{1}); });
  });
  return NetlinkSocket(NETLINK_ROUTE).request(request);
}

}  // namespace Hardware::Linux
