#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include <sys/socket.h>

#include "hardware/linux/link_monitor.h"
#include "hardware/linux/netlink_message.h"

namespace Hardware::Linux {
namespace {

OperState operState(std::uint8_t value) {
  switch (value) {
    case IF_OPER_UP:
      return OperState::up;
    case IF_OPER_DOWN:
      return OperState::down;
    case IF_OPER_LOWERLAYERDOWN:
      return OperState::lowerLayerDown;
    case IF_OPER_DORMANT:
      return OperState::dormant;
    case IF_OPER_TESTING:
      return OperState::testing;
    case IF_OPER_NOTPRESENT:
      return OperState::notPresent;
    default:
      return OperState::unknown;
  }
}

// A link for VLAN 0, which only tags priorities, is of no VLAN.
std::uint16_t vlanIdOf(nlattr const& infoData) {
  constexpr std::uint16_t kReserved = 4095;
  std::uint16_t id = 0;
  forEachNested(infoData, [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) == IFLA_VLAN_ID)
      id = attributeValue<std::uint16_t>(attribute).value_or(0);
  });
  return id < kReserved ? id : std::uint16_t{0};
}

// The meaning of the data depends on the kind, whichever comes first.
void readInfo(nlattr const& linkInfo, Link& link) {
  nlattr const* data = nullptr;
  forEachNested(linkInfo, [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) == IFLA_INFO_KIND) link.kind = attributeText(attribute);
    if (mnl_attr_get_type(&attribute) == IFLA_INFO_DATA) data = &attribute;
  });
  if (link.kind == "vlan" && data) link.vlanId = vlanIdOf(*data);
}

}  // namespace

std::optional<LinkNews> readLinkMessage(nlmsghdr const& message) {
  if (message.nlmsg_type != RTM_NEWLINK && message.nlmsg_type != RTM_DELLINK) return std::nullopt;
  auto const header = fixedHeader<ifinfomsg>(message);
  if (!header || header->ifi_family != AF_UNSPEC) return std::nullopt;
  LinkNews news;
  news.gone = message.nlmsg_type == RTM_DELLINK || header->ifi_type != ARPHRD_ETHER;
  Link& link = news.link;
  link.ifindex = header->ifi_index;
  link.adminUp = (header->ifi_flags & IFF_UP) != 0;
  bool describesLink = true;
  forEachAttribute(message, sizeof(ifinfomsg), [&](nlattr const& attribute) {
    switch (mnl_attr_get_type(&attribute)) {
      case IFLA_IFNAME:
        link.name = attributeText(attribute);
        break;
      case IFLA_IFALIAS:
        link.alias = attributeText(attribute);
        break;
      case IFLA_MTU:
        link.mtu = attributeValue<std::uint32_t>(attribute).value_or(0);
        break;
      case IFLA_NUM_TX_QUEUES:
        link.txQueues = attributeValue<std::uint32_t>(attribute).value_or(0);
        break;
      case IFLA_OPERSTATE:
        link.operState = operState(attributeValue<std::uint8_t>(attribute).value_or(0));
        break;
      case IFLA_LINKINFO:
        readInfo(attribute, link);
        break;
      case IFLA_WIRELESS:
        describesLink = false;
        break;
      default:
        break;
    }
  });
  if (!describesLink) return std::nullopt;
  return news;
}

}  // namespace Hardware::Linux
