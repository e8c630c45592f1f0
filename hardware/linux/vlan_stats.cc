#include "hardware/linux/vlan_stats.h"

#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include <utility>

namespace Hardware::Linux {
namespace {

template <class Visit>
void forEachOfType(nlattr const& nest, int type, Visit const& visit) {
  forEachNested(nest, [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) == type) visit(attribute);
  });
}

}  // namespace

void readVlanStats(nlmsghdr const& message, VlanCountsByBridge& counts) {
  if (message.nlmsg_type != RTM_NEWSTATS) return;
  auto const link = fixedHeader<if_stats_msg>(message);
  if (!link) return;
  auto const takeEntry = [&](nlattr const& attribute) {
    auto const entry = attributeValue<bridge_vlan_xstats>(attribute);
    if (!entry || !(entry->flags & BRIDGE_VLAN_INFO_MASTER)) return;
    counts[{static_cast<int>(link->ifindex), entry->vid}] = {.rxOctets = entry->rx_bytes,
                                                             .rxPkts = entry->rx_packets,
                                                             .txOctets = entry->tx_bytes,
                                                             .txPkts = entry->tx_packets};
  };
  forEachAttribute(message, sizeof(if_stats_msg), [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) != IFLA_STATS_LINK_XSTATS) return;
    forEachOfType(attribute, LINK_XSTATS_TYPE_BRIDGE, [&](nlattr const& bridge) {
      forEachOfType(bridge, BRIDGE_XSTATS_VLAN, takeEntry);
    });
  });
}

VlanStats::VlanStats(Dump dump)
    : _socket(NETLINK_ROUTE),
      _dump(dump ? std::move(dump) : [this](NetlinkRequest& request, auto const& visit) {
        return _socket.dump(request, visit);
      }) {}

std::error_code VlanStats::refresh(double now) {
  _reading.at(now, [this] { _error = read(); });
  return _error;
}

std::error_code VlanStats::read() {
  auto error = askUntilWhole([this] { return readOnce(); });
  // Links still come or go. What was told of the others is true.
  if (error == std::errc::interrupted) error.clear();
  if (error) _counts.clear();
  return error;
}

std::error_code VlanStats::readOnce() {
  ++_dumps;
  _counts.clear();
  if_stats_msg fixed{};
  fixed.filter_mask = IFLA_STATS_FILTER_BIT(IFLA_STATS_LINK_XSTATS);
  NetlinkRequest request(RTM_GETSTATS, fixed);
  return _dump(request, [this](nlmsghdr const& message) { readVlanStats(message, _counts); });
}

VlanKernelCounts const* VlanStats::find(int bridge, std::uint16_t vlan) const {
  auto const at = _counts.find({bridge, vlan});
  return at == _counts.end() ? nullptr : &at->second;
}

}  // namespace Hardware::Linux
