#include <linux/genetlink.h>

#include "hardware/linux/ethtool_stats.h"
#include "hardware/linux/link_speed.h"
#include "tests/hardware/linux/network_namespace.h"

namespace Hardware::Linux {
namespace {

using EthtoolInKernel = Test::NetworkNamespace;

TEST_F(EthtoolInKernel, DriverWithoutCountersIsAskedOnce) {
  addVethPair("a", "b");
  EthtoolStats sut;
  EXPECT_EQ(sut.read(1.0, indexOf("a")).stats, nullptr);
  EXPECT_FALSE(sut.read(1.0, indexOf("a")).unavailable);
  auto const asked = sut.requests();
  EXPECT_GE(asked, 1u);
  for (double tick = 2.0; tick < 10.0; tick += 1.0)
    EXPECT_EQ(sut.read(tick, indexOf("a")).stats, nullptr);
  EXPECT_EQ(sut.requests(), asked);
}

TEST_F(EthtoolInKernel, ForgottenLinkIsAskedAgain) {
  addVethPair("a", "b");
  EthtoolStats sut;
  sut.read(1.0, indexOf("a"));
  auto const asked = sut.requests();
  sut.forget(indexOf("a"));
  sut.read(2.0, indexOf("a"));
  EXPECT_EQ(sut.requests(), 2 * asked);
}

TEST_F(EthtoolInKernel, LinkThatIsGoneIsAskedAgainAtTheNextTick) {
  EthtoolStats sut;
  EXPECT_TRUE(sut.read(1.0, 4711).unavailable);
  auto const asked = sut.requests();
  EXPECT_TRUE(sut.read(1.0, 4711).unavailable);
  EXPECT_EQ(sut.requests(), asked);
  EXPECT_TRUE(sut.read(2.0, 4711).unavailable);
  EXPECT_EQ(sut.requests(), 2 * asked);
}

TEST_F(EthtoolInKernel, LinkThatIsGoneHasNoSpeed) {
  LinkSpeed sut;
  EXPECT_EQ(sut.of(4711), std::nullopt);
}

// No driver of this kind is at hand in every machine: the kernel's answers are made by hand.

genlmsghdr answer(std::uint8_t command) { return {.cmd = command, .version = 1, .reserved = 0}; }

NetlinkRequest& putStat(NetlinkRequest& group, std::uint16_t which, std::uint64_t value) {
  return group.nest(ETHTOOL_A_STATS_GRP_STAT,
                    [&](NetlinkRequest& stat) { stat.put(which, value); });
}

void putGroup(NetlinkRequest& message, std::uint32_t id,
              std::function<void(NetlinkRequest&)> const& fill) {
  message.nest(ETHTOOL_A_STATS_GRP, [&](NetlinkRequest& group) {
    group.put(ETHTOOL_A_STATS_GRP_ID, id).put(ETHTOOL_A_STATS_GRP_SS_ID, std::uint32_t{0});
    fill(group);
  });
}

TEST(EthtoolAnswer, CountsOfEveryGroupAreRead) {
  NetlinkRequest message(32, answer(ETHTOOL_MSG_STATS_GET_REPLY));
  putGroup(message, ETHTOOL_STATS_ETH_MAC, [](NetlinkRequest& group) {
    putStat(group, ETHTOOL_A_STATS_ETH_MAC_6_FCS_ERR, 6);
    putStat(group, ETHTOOL_A_STATS_ETH_MAC_2_TX_PKT, 2);
  });
  putGroup(message, ETHTOOL_STATS_ETH_CTRL,
           [](NetlinkRequest& group) { putStat(group, ETHTOOL_A_STATS_ETH_CTRL_4_RX, 4); });
  putGroup(message, ETHTOOL_STATS_ETH_PHY,
           [](NetlinkRequest& group) { putStat(group, ETHTOOL_A_STATS_ETH_PHY_5_SYM_ERR, 5); });
  putGroup(message, ETHTOOL_STATS_RMON, [](NetlinkRequest& group) {
    putStat(group, ETHTOOL_A_STATS_RMON_JABBER, 9);
    group.nest(ETHTOOL_A_STATS_GRP_HIST_RX, [](NetlinkRequest& bucket) {
      bucket.put(ETHTOOL_A_STATS_GRP_HIST_BKT_LOW, std::uint32_t{65})
          .put(ETHTOOL_A_STATS_GRP_HIST_BKT_HI, std::uint32_t{127})
          .put(ETHTOOL_A_STATS_GRP_HIST_VAL, std::uint64_t{70});
    });
  });
  MacStats stats;
  EXPECT_TRUE(readStatsAnswer(message.header(), stats));
  MacStats wanted;
  wanted.mac[ETHTOOL_A_STATS_ETH_MAC_6_FCS_ERR] = 6;
  wanted.mac[ETHTOOL_A_STATS_ETH_MAC_2_TX_PKT] = 2;
  wanted.control[ETHTOOL_A_STATS_ETH_CTRL_4_RX] = 4;
  wanted.phy[ETHTOOL_A_STATS_ETH_PHY_5_SYM_ERR] = 5;
  wanted.rmon[ETHTOOL_A_STATS_RMON_JABBER] = 9;
  wanted.inSizes = {{.low = 65, .high = 127, .frames = 70}};
  EXPECT_EQ(stats, wanted);
}

TEST(EthtoolAnswer, EmptyGroupsHoldNoCount) {
  NetlinkRequest message(32, answer(ETHTOOL_MSG_STATS_GET_REPLY));
  putGroup(message, ETHTOOL_STATS_ETH_MAC, [](NetlinkRequest&) {});
  MacStats stats;
  EXPECT_FALSE(readStatsAnswer(message.header(), stats));
  EXPECT_EQ(stats, MacStats{});
}

TEST(EthtoolAnswer, CountsAndGroupsOfALaterKernelAreLeftOut) {
  NetlinkRequest message(32, answer(ETHTOOL_MSG_STATS_GET_REPLY));
  putGroup(message, 99, [](NetlinkRequest& group) { putStat(group, 1, 11); });
  putGroup(message, ETHTOOL_STATS_ETH_MAC, [](NetlinkRequest& group) { putStat(group, 200, 12); });
  MacStats stats;
  EXPECT_FALSE(readStatsAnswer(message.header(), stats));
  EXPECT_EQ(stats, MacStats{});
}

TEST(EthtoolAnswer, PauseFramesAreRead) {
  NetlinkRequest message(32, answer(ETHTOOL_MSG_PAUSE_GET_REPLY));
  message.nest(ETHTOOL_A_PAUSE_STATS, [](NetlinkRequest& stats) {
    stats.put(ETHTOOL_A_PAUSE_STAT_TX_FRAMES, std::uint64_t{3})
        .put(ETHTOOL_A_PAUSE_STAT_RX_FRAMES, std::uint64_t{4});
  });
  MacStats stats;
  EXPECT_TRUE(readPauseAnswer(message.header(), stats));
  EXPECT_EQ(stats.outPauseFrames, 3u);
  EXPECT_EQ(stats.inPauseFrames, 4u);
}

TEST(EthtoolAnswer, SpeedIsInBitsPerSecond) {
  NetlinkRequest message(32, answer(ETHTOOL_MSG_LINKMODES_GET_REPLY));
  message.put(ETHTOOL_A_LINKMODES_SPEED, std::uint32_t{400'000});
  EXPECT_EQ(readSpeedAnswer(message.header()), 400'000'000'000u);
}

TEST(EthtoolAnswer, UnknownSpeedIsNoSpeed) {
  NetlinkRequest message(32, answer(ETHTOOL_MSG_LINKMODES_GET_REPLY));
  message.put(ETHTOOL_A_LINKMODES_SPEED, ~std::uint32_t{0});
  EXPECT_EQ(readSpeedAnswer(message.header()), std::nullopt);
}

}  // namespace
}  // namespace Hardware::Linux
