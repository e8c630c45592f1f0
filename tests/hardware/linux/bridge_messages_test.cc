// The kernel's messages on bridges and their VLANs, made by hand.
#include <gtest/gtest.h>
#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <vector>

#include "hardware/linux/bridge_monitor.h"
#include "tests/hardware/linux/cut_message.h"
#include "tests/hardware/linux/vlan_stand_ins.h"

namespace Hardware::Linux {
namespace {

using Test::forEveryCut;
using Test::vlanSet;

constexpr int kBridge = 5, kPort = 7, kPort2 = 8;

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
  EXPECT_EQ(sut.vlans(), vlanSet({1, 10, 20}));
}

TEST_F(BridgeMessages, ARangeHasBothEndsAndWhatIsBetween) {
  member(kPort, {info(1), info(10, BRIDGE_VLAN_INFO_RANGE_BEGIN),
                 info(13, BRIDGE_VLAN_INFO_RANGE_END), info(20)});
  EXPECT_EQ(sut.vlans(), vlanSet({1, 10, 11, 12, 13, 20}));
}

TEST_F(BridgeMessages, ARangeThatHasNoBeginningIsItsEndAndNoVlanIsBeyondTheLast) {
  member(kPort, {info(20, BRIDGE_VLAN_INFO_RANGE_END), info(4094, BRIDGE_VLAN_INFO_RANGE_BEGIN),
                 info(0xffff, BRIDGE_VLAN_INFO_RANGE_END), info(0)});
  EXPECT_EQ(sut.vlans(), vlanSet({20, 4094}));
}

TEST_F(BridgeMessages, NewsOfRangesAddsAndRemoves) {
  member(kPort, {info(10)});
  vlanNews(RTM_NEWVLAN, kPort, 11, 13);
  EXPECT_EQ(sut.vlans(), vlanSet({10, 11, 12, 13}));
  vlanNews(RTM_DELVLAN, kPort, 10, 12);
  EXPECT_EQ(sut.vlans(), vlanSet({13}));
  EXPECT_EQ(sut.takeGone(), vlanSet({10, 11, 12}));
}

TEST_F(BridgeMessages, AVlanThatCameBackWasGoneAllTheSame) {
  member(kPort, {info(10)});
  vlanNews(RTM_DELVLAN, kPort, 10);
  vlanNews(RTM_NEWVLAN, kPort, 10);
  EXPECT_EQ(sut.vlans(), vlanSet({10}));
  EXPECT_EQ(sut.takeGone(), vlanSet({10}));
  EXPECT_EQ(sut.takeGone(), vlanSet({}));
}

TEST_F(BridgeMessages, AVlanThatAnotherPortIsInWasNeverGone) {
  member(kPort, {info(10)});
  member(kPort2, {info(10)});
  vlanNews(RTM_DELVLAN, kPort, 10);
  vlanNews(RTM_NEWVLAN, kPort, 10);
  EXPECT_EQ(sut.takeGone(), vlanSet({}));
}

TEST_F(BridgeMessages, AMemberOfWhichNoVlanIsToldIsInNone) {
  member(kPort, {info(10)});
  member(kPort, {});
  EXPECT_EQ(sut.vlans(), vlanSet({}));
}

TEST_F(BridgeMessages, WhatAPortsOwnDriverSaysIsNotWhatItsBridgeSays) {
  member(kPort, {info(10)});
  NetlinkRequest request(RTM_NEWLINK, header(AF_BRIDGE, kPort));
  request.put(IFLA_MASTER, kBridge).nest(IFLA_AF_SPEC, [](NetlinkRequest& spec) {
    spec.put(IFLA_BRIDGE_FLAGS, std::uint16_t{BRIDGE_FLAGS_SELF});
  });
  EXPECT_FALSE(read(request));
  EXPECT_EQ(sut.vlans(), vlanSet({10}));
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
  EXPECT_EQ(sut.takeGone(), vlanSet({10}));
  bridge(kBridge, "br0");
  EXPECT_EQ(sut.vlans(), vlanSet({10}));
  NetlinkRequest request(RTM_DELLINK, header(AF_UNSPEC, kBridge));
  EXPECT_FALSE(read(request));
  EXPECT_EQ(sut.vlans(), vlanSet({}));
  EXPECT_EQ(sut.takeGone(), vlanSet({10}));
}

TEST_F(BridgeMessages, AMessageThatIsCutAnywhereIsReadAsFarAsItGoes) {
  NetlinkRequest request(RTM_NEWLINK, header(AF_BRIDGE, kPort));
  request.put(IFLA_MASTER, kBridge).nest(IFLA_AF_SPEC, [](NetlinkRequest& spec) {
    spec.put(IFLA_BRIDGE_VLAN_INFO, info(10)).put(IFLA_BRIDGE_VLAN_INFO, info(11));
  });
  std::vector<VlanSet> told;
  forEveryCut(request.header(), sizeof(ifinfomsg), 1, [&] {
    read(request);
    if (told.empty() || told.back() != sut.vlans()) told.push_back(sut.vlans());
  });
  EXPECT_EQ(told, (std::vector{vlanSet({}), vlanSet({10})}));
}

}  // namespace
}  // namespace Hardware::Linux
