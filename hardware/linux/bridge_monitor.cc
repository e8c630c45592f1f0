#include "hardware/linux/bridge_monitor.h"

#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "hardware/linux/netlink_socket.h"

namespace Hardware::Linux {

BridgeMonitor::BridgeMonitor(std::string name, int receiveBufferBytes)
    : _news({RTNLGRP_LINK, RTNLGRP_BRVLAN}, receiveBufferBytes), _vlans(std::move(name)) {}

std::error_code BridgeMonitor::start() {
  if (auto error = _news.open()) return error;
  return takeList();
}

std::error_code BridgeMonitor::poll() {
  using Received = NewsSocket::Received;
  if (!_news.isOpen()) return {ENOTCONN, std::generic_category()};
  std::error_code error;
  while (true) {
    switch (_news.receive([this](nlmsghdr const& message) { takeIn(message); }, error)) {
      case Received::something:
        break;
      case Received::lost:
        ++_resynchronisations;
        _listIsDue = true;
        break;
      case Received::nothing:
        return _listIsDue ? takeList() : std::error_code();
      case Received::failed:
        _listIsDue = true;  // who knows what was not read
        return error;
    }
  }
}

std::error_code BridgeMonitor::takeList() {
  auto const error = listUntilWhole([this] { return takeListOnce(); });
  if (error) _listIsDue = true;
  return error;
}

// Bridges, and then what they and their ports are in.
std::error_code BridgeMonitor::takeListOnce() {
  auto const visit = [this](nlmsghdr const& message) { takeIn(message); };
  _listIsDue = false;
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
  return std::make_error_code(_listIsDue ? std::errc::interrupted : std::errc());
}

void BridgeMonitor::takeIn(nlmsghdr const& message) {
  if (readBridgeMessage(message, _vlans)) _listIsDue = true;
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
