// The counts of a bridge's VLANs, in messages made by hand.
#include "hardware/linux/vlan_stats.h"

#include <gtest/gtest.h>
#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include <deque>
#include <set>
#include <vector>

#include "tests/hardware/linux/cut_message.h"
#include "tests/hardware/linux/network_namespace.h"

namespace Hardware::Linux {
namespace {

using Test::forEveryCut;

constexpr int kBridge = 5;

class VlanStatsMessages : public testing::Test {
 protected:
  VlanStatsMessages() : request(RTM_NEWSTATS, fixed()) {}
  static if_stats_msg fixed() {
    if_stats_msg message{};
    message.ifindex = kBridge;
    return message;
  }
  static bridge_vlan_xstats entry(std::uint16_t vid, std::uint64_t count, std::uint16_t flags) {
    bridge_vlan_xstats stats{};
    stats.rx_bytes = count;
    stats.rx_packets = count + 1;
    stats.tx_bytes = count + 2;
    stats.tx_packets = count + 3;
    stats.vid = vid;
    stats.flags = flags;
    return stats;
  }
  void put(std::vector<bridge_vlan_xstats> const& entries,
           std::uint16_t what = IFLA_STATS_LINK_XSTATS,
           std::uint16_t type = LINK_XSTATS_TYPE_BRIDGE) {
    request.nest(what, [&](NetlinkRequest& xstats) {
      xstats.nest(type, [&](NetlinkRequest& bridge) {
        for (auto const& each : entries) bridge.put(BRIDGE_XSTATS_VLAN, each);
      });
    });
  }
  VlanCountsByBridge read() {
    VlanCountsByBridge counts;
    readVlanStats(request.header(), counts);
    return counts;
  }
  NetlinkRequest request;
};

TEST_F(VlanStatsMessages, TellWhatEachVlanCounted) {
  put({entry(10, 100, BRIDGE_VLAN_INFO_MASTER),
       entry(20, 200, BRIDGE_VLAN_INFO_MASTER | BRIDGE_VLAN_INFO_BRENTRY)});
  EXPECT_EQ(read(), (VlanCountsByBridge{{{kBridge, 10}, {100, 101, 102, 103}},
                                        {{kBridge, 20}, {200, 201, 202, 203}}}));
}

TEST_F(VlanStatsMessages, EntriesOfPortsAreLeftOut) {
  put({entry(10, 100, 0)});
  put({entry(10, 100, BRIDGE_VLAN_INFO_MASTER)}, IFLA_STATS_LINK_XSTATS_SLAVE);
  put({entry(10, 100, BRIDGE_VLAN_INFO_MASTER)}, IFLA_STATS_LINK_XSTATS, LINK_XSTATS_TYPE_BOND);
  EXPECT_TRUE(read().empty());
}

TEST_F(VlanStatsMessages, CutAnywhereHaveNoHalfEntries) {
  put({entry(10, 100, BRIDGE_VLAN_INFO_MASTER), entry(20, 200, BRIDGE_VLAN_INFO_MASTER)});
  auto const all = read();
  ASSERT_EQ(all.size(), 2u);
  std::set<std::size_t> entries;
  forEveryCut(request.header(), sizeof(if_stats_msg), 2, [&] {
    auto const some = read();
    entries.insert(some.size());
    for (auto const& [key, counts] : some) EXPECT_EQ(counts, all.at(key));
  });
  EXPECT_EQ(entries, (std::set<std::size_t>{0, 1}));
}

TEST_F(VlanStatsMessages, OfAnotherTypeSayNothing) {
  put({entry(10, 100, BRIDGE_VLAN_INFO_MASTER)});
  request.header().nlmsg_type = RTM_NEWLINK;
  EXPECT_TRUE(read().empty());
}

// --- Reading them ---

class VlanStatsTest : public VlanStatsMessages {
 protected:
  // One dump: what it tells, and how it ends.
  struct Told {
    std::vector<std::uint16_t> vlans;
    std::error_code error;
  };
  void SetUp() override { put({entry(10, 100, BRIDGE_VLAN_INFO_MASTER)}); }
  std::error_code dump(NetlinkRequest& asked, NetlinkSocket::Visitor const& visit) {
    EXPECT_EQ(asked.header().nlmsg_type, RTM_GETSTATS);
    Told const told = answers.empty() ? Told{{10}, {}} : answers.front();
    if (!answers.empty()) answers.pop_front();
    for (std::uint16_t const vlan : told.vlans) {
      NetlinkRequest message(RTM_NEWSTATS, fixed());
      message.nest(IFLA_STATS_LINK_XSTATS, [&](NetlinkRequest& xstats) {
        xstats.nest(LINK_XSTATS_TYPE_BRIDGE, [&](NetlinkRequest& bridge) {
          bridge.put(BRIDGE_XSTATS_VLAN, entry(vlan, vlan, BRIDGE_VLAN_INFO_MASTER));
        });
      });
      visit(message.header());
    }
    return told.error;
  }
  bool has(std::uint16_t vlan) const { return sut.find(kBridge, vlan) != nullptr; }

  std::error_code const interrupted = std::make_error_code(std::errc::interrupted);
  std::error_code const failed = std::make_error_code(std::errc::no_buffer_space);
  std::deque<Told> answers;
  VlanStats sut{[this](NetlinkRequest& asked, auto const& visit) { return dump(asked, visit); }};
};

TEST_F(VlanStatsTest, AllVlansOfATickCostOneDump) {
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(sut.refresh(1.0));
  EXPECT_EQ(sut.dumps(), 1u);
  EXPECT_FALSE(sut.refresh(2.0));
  EXPECT_EQ(sut.dumps(), 2u);
  ASSERT_TRUE(has(10));
  EXPECT_EQ(sut.find(kBridge, 10)->rxOctets, 10u);
  EXPECT_FALSE(has(11));
  EXPECT_EQ(sut.find(kBridge + 1, 10), nullptr);
}

TEST_F(VlanStatsTest, ADumpThatWasInterruptedIsAskedForAgain) {
  answers = {{{10, 20}, interrupted}, {{}, interrupted}, {{10, 30}, {}}};
  EXPECT_FALSE(sut.refresh(1.0));
  EXPECT_TRUE(has(10));
  EXPECT_TRUE(has(30));
  EXPECT_FALSE(has(20));  // of another moment
  EXPECT_EQ(sut.dumps(), 3u);
}

TEST_F(VlanStatsTest, ThreeTimesAtMostAndWhatTheLastToldIsTrue) {
  answers = {{{}, interrupted}, {{}, interrupted}, {{10}, interrupted}, {{10, 20}, {}}};
  EXPECT_FALSE(sut.refresh(1.0));
  EXPECT_EQ(sut.dumps(), 3u);
  EXPECT_TRUE(has(10));
  EXPECT_FALSE(has(20));
}

TEST_F(VlanStatsTest, ADumpThatFailedHasNoCountsAllThroughItsTick) {
  EXPECT_FALSE(sut.refresh(1.0));
  answers = {{{10}, failed}};
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(sut.refresh(2.0), failed);
    EXPECT_FALSE(has(10));
  }
  EXPECT_EQ(sut.dumps(), 2u);
  EXPECT_FALSE(sut.refresh(3.0));
  EXPECT_TRUE(has(10));
}

using VlanStatsInKernel = Test::NetworkNamespace;

TEST_F(VlanStatsInKernel, AMachineWithoutABridgeHasNoCounts) {
  VlanStats kernel;
  EXPECT_FALSE(kernel.refresh(1.0));
  EXPECT_EQ(kernel.find(1, 1), nullptr);
}

}  // namespace
}  // namespace Hardware::Linux
