// The kernel's messages on bridges and their VLANs, made by hand.
#include <gtest/gtest.h>
#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <vector>

#include "hardware/linux/bridge_monitor.h"
#include "hardware/linux/vlan_stats.h"

namespace Hardware::Linux {
namespace {

constexpr int kBridge = 5, kPort = 7, kPort2 = 8;

VlanSet vlans(std::initializer_list<std::size_t> ids) {
  VlanSet set;
  for (std::size_t const id : ids) set.set(id);
  return set;
}
bridge_vlan_info info(std::uint16_t vid, std::uint16_t flags = 0) {
  return {.flags = flags, .vid = vid};
}

ifinfomsg header(unsigned char family, int ifindex) {
  ifinfomsg fixed{};
  fixed.ifi_family = family;
  fixed.ifi_index = ifindex;
  return fixed;
}

class BridgeMessages : public testing::Test {
 protected:
  BridgeMessages() { bridge(kBridge, "br0"); }

  bool read(NetlinkRequest& request) { return readBridgeMessage(request.header(), sut); }
  void bridge(int ifindex, char const* name, bool filters = true, char const* kind = "bridge") {
    NetlinkRequest request(RTM_NEWLINK, header(AF_UNSPEC, ifindex));
    request.putText(IFLA_IFNAME, name).nest(IFLA_LINKINFO, [&](NetlinkRequest& link) {
      link.putText(IFLA_INFO_KIND, kind).nest(IFLA_INFO_DATA, [&](NetlinkRequest& data) {
        data.put(IFLA_BR_VLAN_FILTERING, static_cast<std::uint8_t>(filters))
            .put(IFLA_BR_VLAN_STATS_ENABLED, std::uint8_t{1});
      });
    });
    EXPECT_FALSE(read(request));
  }
  void member(int ifindex, std::vector<bridge_vlan_info> const& infos, int master = kBridge) {
    NetlinkRequest request(RTM_NEWLINK, header(AF_BRIDGE, ifindex));
    request.put(IFLA_MASTER, master);
    if (!infos.empty())
      request.nest(IFLA_AF_SPEC, [&](NetlinkRequest& spec) {
        for (auto const& each : infos) spec.put(IFLA_BRIDGE_VLAN_INFO, each);
      });
    EXPECT_FALSE(read(request));
  }
  void vlanNews(std::uint16_t type, int ifindex, std::uint16_t first, std::uint16_t last = 0) {
    br_vlan_msg fixed{};
    fixed.family = AF_BRIDGE;
    fixed.ifindex = static_cast<std::uint32_t>(ifindex);
    NetlinkRequest request(type, fixed);
    request.nest(BRIDGE_VLANDB_ENTRY, [&](NetlinkRequest& entry) {
      entry.put(BRIDGE_VLANDB_ENTRY_INFO, info(first));
      if (last != 0) entry.put(BRIDGE_VLANDB_ENTRY_RANGE, last);
    });
    EXPECT_FALSE(read(request));
  }

  BridgeVlans sut;
};

TEST_F(BridgeMessages, ABridgeIsDescribed) {
  ASSERT_NE(sut.served(), nullptr);
  EXPECT_EQ(*sut.served(),
            (Bridge{.ifindex = kBridge, .name = "br0", .filters = true, .counts = true}));
}

TEST_F(BridgeMessages, ALinkOfAnotherKindIsNoBridge) {
  bridge(3, "bond0", true, "bond");
  EXPECT_EQ(sut.bridges().size(), 1u);
}

TEST_F(BridgeMessages, VlansOfTheBridgeAndOfItsPortsAreItsVlans) {
  member(kBridge, {info(1)});
  member(kPort, {info(10), info(20)});
  member(9, {info(30)}, 4);
  EXPECT_EQ(sut.vlans(), vlans({1, 10, 20}));
}

TEST_F(BridgeMessages, ARangeHasBothEndsAndWhatIsBetween) {
  member(kPort, {info(1), info(10, BRIDGE_VLAN_INFO_RANGE_BEGIN),
                 info(13, BRIDGE_VLAN_INFO_RANGE_END), info(20)});
  EXPECT_EQ(sut.vlans(), vlans({1, 10, 11, 12, 13, 20}));
}

TEST_F(BridgeMessages, ARangeThatHasNoBeginningIsItsEndAndNoVlanIsBeyondTheLast) {
  member(kPort, {info(20, BRIDGE_VLAN_INFO_RANGE_END), info(4094, BRIDGE_VLAN_INFO_RANGE_BEGIN),
                 info(0xffff, BRIDGE_VLAN_INFO_RANGE_END), info(0)});
  EXPECT_EQ(sut.vlans(), vlans({20, 4094}));
}

TEST_F(BridgeMessages, NewsOfRangesAddsAndRemoves) {
  member(kPort, {info(10)});
  vlanNews(RTM_NEWVLAN, kPort, 11, 13);
  EXPECT_EQ(sut.vlans(), vlans({10, 11, 12, 13}));
  vlanNews(RTM_DELVLAN, kPort, 10, 12);
  EXPECT_EQ(sut.vlans(), vlans({13}));
  EXPECT_EQ(sut.takeGone(), vlans({10, 11, 12}));
}

TEST_F(BridgeMessages, AVlanThatCameBackWasGoneAllTheSame) {
  member(kPort, {info(10)});
  vlanNews(RTM_DELVLAN, kPort, 10);
  vlanNews(RTM_NEWVLAN, kPort, 10);
  EXPECT_EQ(sut.vlans(), vlans({10}));
  EXPECT_EQ(sut.takeGone(), vlans({10}));
  EXPECT_EQ(sut.takeGone(), vlans({}));
}

TEST_F(BridgeMessages, AVlanThatAnotherPortIsInWasNeverGone) {
  member(kPort, {info(10)});
  member(kPort2, {info(10)});
  vlanNews(RTM_DELVLAN, kPort, 10);
  vlanNews(RTM_NEWVLAN, kPort, 10);
  EXPECT_EQ(sut.takeGone(), vlans({}));
}

TEST_F(BridgeMessages, AMemberOfWhichNoVlanIsToldIsInNone) {
  member(kPort, {info(10)});
  member(kPort, {});
  EXPECT_EQ(sut.vlans(), vlans({}));
}

TEST_F(BridgeMessages, WhatAPortsOwnDriverSaysIsNotWhatItsBridgeSays) {
  member(kPort, {info(10)});
  NetlinkRequest request(RTM_NEWLINK, header(AF_BRIDGE, kPort));
  request.put(IFLA_MASTER, kBridge).nest(IFLA_AF_SPEC, [](NetlinkRequest& spec) {
    spec.put(IFLA_BRIDGE_FLAGS, std::uint16_t{BRIDGE_FLAGS_SELF});
  });
  EXPECT_FALSE(read(request));
  EXPECT_EQ(sut.vlans(), vlans({10}));
}

TEST_F(BridgeMessages, APortThatLeftTakesAList) {
  member(kPort, {info(10)});
  NetlinkRequest request(RTM_DELLINK, header(AF_BRIDGE, kPort));
  request.put(IFLA_MASTER, kBridge);
  EXPECT_TRUE(read(request));
}

TEST_F(BridgeMessages, ABridgeThatIsDeletedOrStopsFilteringIsServedNoMore) {
  member(kPort, {info(10)});
  bridge(kBridge, "br0", false);
  EXPECT_EQ(sut.served(), nullptr);
  EXPECT_EQ(sut.takeGone(), vlans({10}));
  bridge(kBridge, "br0");
  EXPECT_EQ(sut.vlans(), vlans({10}));
  NetlinkRequest request(RTM_DELLINK, header(AF_UNSPEC, kBridge));
  EXPECT_FALSE(read(request));
  EXPECT_EQ(sut.vlans(), vlans({}));
  EXPECT_EQ(sut.takeGone(), vlans({10}));
}

TEST_F(BridgeMessages, AMessageThatIsCutAnywhereIsReadAsFarAsItGoes) {
  NetlinkRequest request(RTM_NEWLINK, header(AF_BRIDGE, kPort));
  request.put(IFLA_MASTER, kBridge).nest(IFLA_AF_SPEC, [](NetlinkRequest& spec) {
    spec.put(IFLA_BRIDGE_VLAN_INFO, info(10)).put(IFLA_BRIDGE_VLAN_INFO, info(11));
  });
  std::uint32_t const whole = request.header().nlmsg_len;
  for (std::uint32_t cut = sizeof(nlmsghdr); cut < whole; ++cut) {
    request.header().nlmsg_len = cut;
    read(request);
    EXPECT_EQ(sut.vlans() & ~vlans({10, 11}), vlans({})) << cut;
  }
}

// Of a bridge that is made now, the news of its VLANs comes alone.
TEST(BridgeVlans, ThoseOfTheBridgeItselfAreKnownFromNewsAlone) {
  constexpr int bridge = 5, port = 6, other = 7;
  VlanSet const one = VlanSet().set(1);
  BridgeVlans sut;
  sut.bridgeIs({.ifindex = bridge, .name = "br0", .filters = true});
  sut.vlansAdd(bridge, one);
  sut.vlansAdd(other, VlanSet().set(2));  // nobody knows whose port that is
  EXPECT_EQ(sut.vlans(), one);
  sut.memberIs(port, bridge, one);
  sut.vlansDel(port, one);
  EXPECT_EQ(sut.vlans(), one);
  EXPECT_EQ(sut.takeGone(), VlanSet());
  sut.vlansDel(bridge, one);
  EXPECT_EQ(sut.vlans(), VlanSet());
  EXPECT_EQ(sut.takeGone(), one);
}

TEST(BridgeVlans, OfSeveralThatFilterTheFirstIsServed) {
  BridgeVlans sut;
  sut.bridgeIs({.ifindex = 9, .name = "br9", .filters = true});
  sut.bridgeIs({.ifindex = 3, .name = "br3", .filters = false});
  EXPECT_EQ(sut.served()->ifindex, 9);
  sut.bridgeIs({.ifindex = 4, .name = "br4", .filters = true});
  EXPECT_EQ(sut.served()->ifindex, 4);
}

TEST(BridgeVlans, TheNamedOneIsServedAndNoOther) {
  BridgeVlans sut("br9");
  sut.bridgeIs({.ifindex = 3, .name = "br3", .filters = true});
  EXPECT_EQ(sut.served(), nullptr);
  sut.bridgeIs({.ifindex = 9, .name = "br9", .filters = false});
  EXPECT_EQ(sut.served(), nullptr);
  sut.bridgeIs({.ifindex = 9, .name = "br9", .filters = true});
  EXPECT_EQ(sut.served()->ifindex, 9);
}

TEST(BridgeVlans, VlansOfOneBridgeAreGoneWhenAnotherIsServed) {
  BridgeVlans sut;
  sut.bridgeIs({.ifindex = 9, .name = "br9", .filters = true});
  sut.memberIs(9, 9, vlans({10, 20}));
  sut.memberIs(4, 4, vlans({10}));
  sut.bridgeIs({.ifindex = 4, .name = "br4", .filters = true});
  EXPECT_EQ(sut.vlans(), vlans({10}));
  EXPECT_EQ(sut.takeGone(), vlans({10, 20}));
}

TEST(BridgeVlans, WhatAListDoesNotTellIsGone) {
  BridgeVlans sut;
  sut.bridgeIs({.ifindex = 9, .name = "br9", .filters = true});
  sut.memberIs(kPort, 9, vlans({10}));
  sut.memberIs(kPort2, 9, vlans({20}));
  sut.listBegins();
  sut.bridgeIs({.ifindex = 9, .name = "br9", .filters = true});
  sut.memberIs(kPort2, 9, vlans({20}));
  sut.listEnds();
  EXPECT_EQ(sut.vlans(), vlans({20}));
  EXPECT_EQ(sut.takeGone(), vlans({10}));
}

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
  std::uint32_t const whole = request.header().nlmsg_len;
  for (std::uint32_t cut = sizeof(nlmsghdr); cut < whole; ++cut) {
    request.header().nlmsg_len = cut;
    for (auto const& [key, counts] : read()) EXPECT_EQ(counts, all.at(key)) << cut;
  }
}

TEST_F(VlanStatsMessages, OfAnotherTypeSayNothing) {
  put({entry(10, 100, BRIDGE_VLAN_INFO_MASTER)});
  request.header().nlmsg_type = RTM_NEWLINK;
  EXPECT_TRUE(read().empty());
}

}  // namespace
}  // namespace Hardware::Linux
