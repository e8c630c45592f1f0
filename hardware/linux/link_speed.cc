#include "hardware/linux/link_speed.h"

#include <linux/ethtool.h>
#include <linux/ethtool_netlink.h>
#include <linux/genetlink.h>

namespace Hardware::Linux {

std::optional<std::uint64_t> readSpeedAnswer(nlmsghdr const& message) {
  constexpr std::uint32_t kUnknown = ~0U;        // SPEED_UNKNOWN
  constexpr std::uint64_t kMegabit = 1'000'000;  // the kernel counts in Mbit/s
  std::optional<std::uint64_t> speed;
  forEachAttribute(message, sizeof(genlmsghdr), [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) != ETHTOOL_A_LINKMODES_SPEED) return;
    auto const value = attributeValue<std::uint32_t>(attribute);
    if (value && *value != kUnknown && *value != 0) speed = *value * kMegabit;
  });
  return speed;
}

std::optional<std::uint64_t> LinkSpeed::of(int ifindex) {
  std::optional<std::uint64_t> speed;
  auto const error = _socket.get(
      ETHTOOL_MSG_LINKMODES_GET, ETHTOOL_A_LINKMODES_HEADER, ifindex, ETHTOOL_FLAG_COMPACT_BITSETS,
      [&](nlmsghdr const& message) { speed = readSpeedAnswer(message); });
  return error ? std::nullopt : speed;
}

}  // namespace Hardware::Linux
