#include "hardware/linux/ethtool_stats.h"

#include <linux/genetlink.h>

#include <span>

namespace Hardware::Linux {
namespace {

bool readCounts(nlattr const& nest, std::span<MacStats::Count> counts) {
  bool any = false;
  forEachNested(nest, [&](nlattr const& attribute) {
    std::size_t const which = mnl_attr_get_type(&attribute);
    auto const value = attributeValue<std::uint64_t>(attribute);
    if (which >= counts.size() || !value) return;  // newer than we are, or padding
    counts[which] = value;
    any = true;
  });
  return any;
}

bool readBucket(nlattr const& nest, std::vector<MacStats::SizeBucket>& buckets) {
  MacStats::SizeBucket bucket;
  bool counted = false;
  forEachNested(nest, [&](nlattr const& attribute) {
    switch (mnl_attr_get_type(&attribute)) {
      case ETHTOOL_A_STATS_GRP_HIST_BKT_LOW:
        bucket.low = attributeValue<std::uint32_t>(attribute).value_or(0);
        break;
      case ETHTOOL_A_STATS_GRP_HIST_BKT_HI:
        bucket.high = attributeValue<std::uint32_t>(attribute).value_or(0);
        break;
      case ETHTOOL_A_STATS_GRP_HIST_VAL:
        if (auto const frames = attributeValue<std::uint64_t>(attribute)) {
          bucket.frames = *frames;
          counted = true;
        }
        break;
      default:
        break;
    }
  });
  if (counted) buckets.push_back(bucket);
  return counted;
}

std::span<MacStats::Count> groupOf(std::uint32_t id, MacStats& stats) {
  switch (id) {
    case ETHTOOL_STATS_ETH_PHY:
      return stats.phy;
    case ETHTOOL_STATS_ETH_MAC:
      return stats.mac;
    case ETHTOOL_STATS_ETH_CTRL:
      return stats.control;
    case ETHTOOL_STATS_RMON:
      return stats.rmon;
    default:
      return {};
  }
}

bool readGroup(nlattr const& nest, MacStats& stats) {
  std::span<MacStats::Count> counts;
  forEachNested(nest, [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) == ETHTOOL_A_STATS_GRP_ID)
      counts = groupOf(attributeValue<std::uint32_t>(attribute).value_or(~0U), stats);
  });
  bool any = false;
  forEachNested(nest, [&](nlattr const& attribute) {
    switch (mnl_attr_get_type(&attribute)) {
      case ETHTOOL_A_STATS_GRP_STAT:
        any |= readCounts(attribute, counts);
        break;
      case ETHTOOL_A_STATS_GRP_HIST_RX:
        any |= readBucket(attribute, stats.inSizes);
        break;
      case ETHTOOL_A_STATS_GRP_HIST_TX:
        any |= readBucket(attribute, stats.outSizes);
        break;
      default:
        break;
    }
  });
  return any;
}

constexpr std::uint32_t kGroups = 1U << ETHTOOL_STATS_ETH_PHY | 1U << ETHTOOL_STATS_ETH_MAC |
                                  1U << ETHTOOL_STATS_ETH_CTRL | 1U << ETHTOOL_STATS_RMON;

}  // namespace

bool readStatsAnswer(nlmsghdr const& message, MacStats& stats) {
  bool any = false;
  forEachAttribute(message, sizeof(genlmsghdr), [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) == ETHTOOL_A_STATS_GRP) any |= readGroup(attribute, stats);
  });
  return any;
}

bool readPauseAnswer(nlmsghdr const& message, MacStats& stats) {
  forEachAttribute(message, sizeof(genlmsghdr), [&](nlattr const& attribute) {
    if (mnl_attr_get_type(&attribute) != ETHTOOL_A_PAUSE_STATS) return;
    forEachNested(attribute, [&](nlattr const& count) {
      auto const value = attributeValue<std::uint64_t>(count);
      if (!value) return;
      auto const type = mnl_attr_get_type(&count);
      if (type == ETHTOOL_A_PAUSE_STAT_RX_FRAMES) stats.inPauseFrames = value;
      if (type == ETHTOOL_A_PAUSE_STAT_TX_FRAMES) stats.outPauseFrames = value;
    });
  });
  return stats.inPauseFrames || stats.outPauseFrames;
}

MacReading EthtoolStats::read(double now, int ifindex) {
  Link& link = _links[ifindex];
  if (!link.hasGroups && !link.hasPause) return {};
  link.reading.at(now, [&] {
    link.any = false;
    link.unavailable = false;
    link.stats = {};
    if (link.hasGroups) readGroups(ifindex, link);
    if (link.hasPause) readPause(ifindex, link);
  });
  if (link.unavailable) return {nullptr, true};
  return {link.any ? &link.stats : nullptr, false};
}

void EthtoolStats::settle(std::error_code error, bool any, Link& link, bool& has) {
  link.any |= any;
  // No other error means "never": a link that is down or resetting may answer at the next tick.
  bool const never = error == std::errc::operation_not_supported;
  if (never || (!error && !any)) has = false;
  if (error && !never) link.unavailable = true;
}

void EthtoolStats::readGroups(int ifindex, Link& link) {
  ++_requests;
  bool any = false;
  auto const error = _socket.get(
      ETHTOOL_MSG_STATS_GET, ETHTOOL_A_STATS_HEADER, ifindex, 0,
      [&](nlmsghdr const& message) { any |= readStatsAnswer(message, link.stats); },
      [](NetlinkRequest& request) {
        request.nest(ETHTOOL_A_STATS_GROUPS, [](NetlinkRequest& bits) {
          bits.putFlag(ETHTOOL_A_BITSET_NOMASK)
              .put(ETHTOOL_A_BITSET_SIZE, std::uint32_t{ETHTOOL_STATS_RMON + 1})
              .put(ETHTOOL_A_BITSET_VALUE, kGroups);
        });
      });
  settle(error, any, link, link.hasGroups);
}

void EthtoolStats::readPause(int ifindex, Link& link) {
  ++_requests;
  bool any = false;
  auto const error =
      _socket.get(ETHTOOL_MSG_PAUSE_GET, ETHTOOL_A_PAUSE_HEADER, ifindex, ETHTOOL_FLAG_STATS,
                  [&](nlmsghdr const& message) { any |= readPauseAnswer(message, link.stats); });
  settle(error, any, link, link.hasPause);
}

}  // namespace Hardware::Linux
