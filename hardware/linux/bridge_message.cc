#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>

#include "hardware/linux/bridge_monitor.h"
#include "hardware/linux/netlink_message.h"

namespace Hardware::Linux {
namespace {

void insert(VlanSet& vlans, std::size_t first, std::size_t last) {
  constexpr std::size_t kMin = Bridging::VlanId::min, kMax = Bridging::VlanId::max;
  for (std::size_t id = std::max(first, kMin); id <= std::min(last, kMax); ++id) vlans.set(id);
}

// What IFLA_AF_SPEC of family bridge says: each VLAN, or the two ends of a range one after the
// other.
VlanSet vlansOf(nlattr const& afSpec) {
  VlanSet vlans;
  std::size_t first = 0;
  forEachNested(afSpec, [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) != IFLA_BRIDGE_VLAN_INFO) return;
    auto const info = attributeValue<bridge_vlan_info>(attribute);
    if (!info) return;
    if (info->flags & BRIDGE_VLAN_INFO_RANGE_BEGIN) {
      first = info->vid;
      return;
    }
    bool const ends = (info->flags & BRIDGE_VLAN_INFO_RANGE_END) && first != 0;
    insert(vlans, ends ? first : info->vid, info->vid);
    first = 0;
  });
  return vlans;
}

// A port's own driver says how it bridges in hardware; that is not what its bridge says of it.
bool isSelf(nlattr const& afSpec) {
  bool isSelf = false;
  forEachNested(afSpec, [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) == IFLA_BRIDGE_FLAGS)
      isSelf = (attributeValue<std::uint16_t>(attribute).value_or(0) & BRIDGE_FLAGS_SELF) != 0;
  });
  return isSelf;
}

bool readMember(nlmsghdr const& message, ifinfomsg const& header, BridgeVlans& vlans) {
  // It left the bridge, or lost a VLAN: some kernels say both in these words.
  if (message.nlmsg_type == RTM_DELLINK) return true;
  int bridge = header.ifi_index;  // the bridge's own entry, where it names no other
  VlanSet members;                // of a member of no VLAN nothing is said
  bool isOfItsDriver = false;
  forEachAttribute(message, sizeof(ifinfomsg), [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) == IFLA_MASTER)
      bridge = attributeValue<std::int32_t>(attribute).value_or(bridge);
    if (mnl_attr_get_type(&attribute) != IFLA_AF_SPEC) return;
    members = vlansOf(attribute);
    isOfItsDriver = isSelf(attribute);
  });
  if (isOfItsDriver) return false;
  vlans.memberIs(header.ifi_index, bridge, members);
  return false;
}

void readBridgeData(nlattr const& data, Bridge& bridge) {
  forEachNested(data, [&](nlattr const& attribute) {
    bool const isOn = attributeValue<std::uint8_t>(attribute).value_or(0) != 0;
    switch (mnl_attr_get_type(&attribute)) {
      case IFLA_BR_VLAN_FILTERING:
        bridge.filters = isOn;
        break;
      case IFLA_BR_VLAN_STATS_ENABLED:
        bridge.counts = isOn;
        break;
      case IFLA_BR_VLAN_STATS_PER_PORT:
        bridge.countsPerPort = isOn;
        break;
      default:
        break;
    }
  });
}

void readLink(nlmsghdr const& message, ifinfomsg const& header, BridgeVlans& vlans) {
  if (message.nlmsg_type == RTM_DELLINK) return vlans.linkDel(header.ifi_index);
  Bridge bridge{.ifindex = header.ifi_index, .name = {}};
  nlattr const* data = nullptr;
  std::string_view kind;
  forEachAttribute(message, sizeof(ifinfomsg), [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) == IFLA_IFNAME) bridge.name = attributeText(attribute);
    if (mnl_attr_get_type(&attribute) != IFLA_LINKINFO) return;
    forEachNested(attribute, [&](nlattr const& info) {
      if (mnl_attr_get_type(&info) == IFLA_INFO_KIND) kind = attributeText(info);
      if (mnl_attr_get_type(&info) == IFLA_INFO_DATA) data = &info;
    });
  });
  if (kind != "bridge" || !data) return;
  readBridgeData(*data, bridge);
  vlans.bridgeIs(bridge);
}

void readVlanNews(nlmsghdr const& message, BridgeVlans& vlans) {
  auto const header = fixedHeader<br_vlan_msg>(message);
  if (!header || header->family != AF_BRIDGE) return;
  VlanSet named;
  forEachAttribute(message, sizeof(br_vlan_msg), [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) != BRIDGE_VLANDB_ENTRY) return;
    std::optional<bridge_vlan_info> info;
    std::optional<std::uint16_t> last;
    forEachNested(attribute, [&](nlattr const& entry) {
      if (mnl_attr_get_type(&entry) == BRIDGE_VLANDB_ENTRY_INFO)
        info = attributeValue<bridge_vlan_info>(entry);
      if (mnl_attr_get_type(&entry) == BRIDGE_VLANDB_ENTRY_RANGE)
        last = attributeValue<std::uint16_t>(entry);
    });
    if (info) insert(named, info->vid, last.value_or(info->vid));
  });
  int const member = static_cast<int>(header->ifindex);
  if (message.nlmsg_type == RTM_NEWVLAN)
    vlans.vlansAdd(member, named);
  else
    vlans.vlansDel(member, named);
}

}  // namespace

bool readBridgeMessage(nlmsghdr const& message, BridgeVlans& vlans) {
  switch (message.nlmsg_type) {
    case RTM_NEWVLAN:
    case RTM_DELVLAN:
      readVlanNews(message, vlans);
      return false;
    case RTM_NEWLINK:
    case RTM_DELLINK:
      break;
    default:
      return false;
  }
  auto const header = fixedHeader<ifinfomsg>(message);
  if (!header) return false;
  if (header->ifi_family == AF_BRIDGE) return readMember(message, *header, vlans);
  if (header->ifi_family == AF_UNSPEC) readLink(message, *header, vlans);
  return false;
}

}  // namespace Hardware::Linux
