// VLAN interfaces as the chip's ports: what is read of their links, and that their rows go on.
#include <gtest/gtest.h>
#include <linux/if_arp.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include "hardware/linux/link_monitor.h"
#include "platform/interface/vlan_intf_counter.h"
#include "tests/hardware/linux/helper_stand_ins.h"

namespace Hardware::Linux {
namespace {

using Linux::Test::FakeLinks;
using Linux::Test::FakeQdiscs;
using RowsOf = LinuxCountersHelper::RowsOf;

// What a kernel says of a link of a kind with data, in either order.
std::optional<LinkNews> news(char const* kind, std::uint16_t id, bool dataFirst = false) {
  ifinfomsg header{};
  header.ifi_type = ARPHRD_ETHER;
  header.ifi_index = 7;
  NetlinkRequest message(RTM_NEWLINK, header);
  message.putText(IFLA_IFNAME, "eth0.10");
  message.nest(IFLA_LINKINFO, [&](NetlinkRequest& info) {
    auto const data = [&](NetlinkRequest& each) { each.put(IFLA_VLAN_ID, id); };
    if (dataFirst) info.nest(IFLA_INFO_DATA, data);
    info.putText(IFLA_INFO_KIND, kind);
    if (!dataFirst) info.nest(IFLA_INFO_DATA, data);
  });
  return readLinkMessage(message.header());
}

TEST(VlanLinkMessage, TellsTheVlan) {
  EXPECT_EQ(news("vlan", 10)->link.vlanId, 10);
  EXPECT_EQ(news("vlan", 10, true)->link.vlanId, 10);
  EXPECT_EQ(news("vlan", 4094)->link.vlanId, 4094);
}

TEST(VlanLinkMessage, OfAVlanThatIsReservedTellsNone) {
  EXPECT_EQ(news("vlan", 0)->link.vlanId, 0);
  EXPECT_EQ(news("vlan", 4095)->link.vlanId, 0);
}

// IFLA_VLAN_ID is another attribute in the data of every other kind.
TEST(VlanLinkMessage, OfAnotherKindTellsNone) { EXPECT_EQ(news("macvlan", 10)->link.vlanId, 0); }

class VlanInterfaceTest : public ::testing::Test {
 protected:
  void SetUp() override { startAgent(); }

  void startAgent() {
    auto parts = Linux::Test::standInParts();
    auto fakeLinks = std::make_unique<FakeLinks>();
    if (links) fakeLinks->links = links->links;  // the kernel goes on
    links = fakeLinks.get();
    parts.links = std::move(fakeLinks);
    parts.offsets = std::make_unique<Linux::Test::SharedStore<StoredOffsets>>(kept);
    auto fakeQdiscs = std::make_unique<FakeQdiscs>();
    qdiscs = fakeQdiscs.get();
    parts.qdiscs = std::move(fakeQdiscs);
    parts.publishedRow = [this](Pekt::IntfId const&) {
      return row ? std::optional(asPort(*row)) : std::nullopt;
    };
    parts.now = [this] { return now; };
    sut = Kel::make<LinuxCountersHelper>("linux", std::move(parts));
    sut->hwInit();
    linkIs(7);
    ASSERT_TRUE(sut->initializeVlanIntfCounters(kVlan, 10));
    if (!row) row.emplace().intfId = kVlan;
    previous = Kel::make<OruTypes::VlanIntfCounters>();
  }
  void linkIs(int ifindex) {
    sut->linkIs(kVlan, {.ifindex = ifindex, .kind = "vlan", .vlanId = 10});
  }
  // As the poller does.
  void poll() {
    now += 1.0;
    auto const sample = Kel::make<OruTypes::VlanIntfCounters>();
    sut->getVlanIntfCounters(kVlan, sample, previous);
    row->statistics = row->statistics + (sample->intfStats() - previous->intfStats());
    previous->intfStatsIs(sample->intfStats());
  }

  Pekt::IntfId const kVlan{"Vlan10"};
  std::optional<Interface::VlanIntfCounterGlim> row;
  MemoryOffsetStore kept;
  double now = 100.0;
  FakeLinks* links = nullptr;
  FakeQdiscs* qdiscs = nullptr;
  Kel::Ptr<LinuxCountersHelper> sut;
  Kel::Ptr<OruTypes::VlanIntfCounters> previous;
};

TEST_F(VlanInterfaceTest, PublishesTheKernelsCounts) {
  rtnl_link_stats64& counts = links->links[7];
  counts.rx_packets = 10;
  counts.rx_bytes = 1000;
  counts.multicast = 2;
  counts.tx_packets = 5;
  counts.tx_bytes = 500;
  counts.rx_dropped = 1;
  counts.tx_dropped = 3;
  counts.rx_errors = 4;
  counts.tx_errors = 6;
  poll();
  Interface::IntfStatistics const& shown = row->statistics;
  EXPECT_EQ(shown.inUcastPkts, 8u);
  EXPECT_EQ(shown.inMulticastPkts, 2u);
  EXPECT_EQ(shown.inOctets, 1000u);
  EXPECT_EQ(shown.outUcastPkts, 5u);
  EXPECT_EQ(shown.outOctets, 500u);
  EXPECT_EQ(shown.inDiscards, 1u);
  EXPECT_EQ(shown.outDiscards, 3u);
  EXPECT_EQ(shown.inErrors, 4u);
  EXPECT_EQ(shown.outErrors, 6u);
  EXPECT_FALSE(shown.outBroadcastPkts.hasValue());
  EXPECT_EQ(shown.lastUpdate, now);
}

TEST_F(VlanInterfaceTest, WithoutItsLinkIsNotAccepted) {
  EXPECT_FALSE(sut->initializeVlanIntfCounters("Vlan11", 11));
  sut->linkDel(kVlan);
  EXPECT_FALSE(sut->initializeVlanIntfCounters(kVlan, 10));
}

TEST_F(VlanInterfaceTest, WithALinkOfAnotherVlanIsNotAccepted) {
  sut->linkIs("Vlan12", {.ifindex = 8, .kind = "vlan", .vlanId = 13});
  EXPECT_FALSE(sut->initializeVlanIntfCounters("Vlan12", 12));
}

TEST_F(VlanInterfaceTest, InitializedAgainCountsOn) {
  links->links[7].rx_packets = 10;
  poll();
  EXPECT_TRUE(sut->initializeVlanIntfCounters(kVlan, 10));
  links->links[7].rx_packets = 12;
  poll();
  EXPECT_EQ(row->statistics.inUcastPkts, 12u);
}

TEST_F(VlanInterfaceTest, CountThatWentBackwardsExtendsTheTotal) {
  links->links[7].rx_packets = 10;
  poll();
  links->links[7].rx_packets = 3;
  poll();
  EXPECT_EQ(row->statistics.inUcastPkts, 13u);
}

TEST_F(VlanInterfaceTest, LinkThatGoesInTheMiddleOfAPollKeepsTheCounts) {
  links->links[7].rx_packets = 10;
  poll();
  links->links.clear();
  poll();
  EXPECT_EQ(row->statistics.inUcastPkts, 10u);
  EXPECT_EQ(row->statistics.lastUpdate, 101.0);
}

TEST_F(VlanInterfaceTest, RestartDoublesNothingAndLosesNothing) {
  rtnl_link_stats64& counts = links->links[7];
  counts.rx_packets = 10;
  counts.rx_errors = 4;
  counts.tx_errors = 2;
  poll();
  EXPECT_EQ(sut->rowsOf(kVlan, 7), RowsOf::thisLink);
  links->links[7].rx_packets = 14;
  links->links[7].rx_errors = 5;
  startAgent();
  poll();
  EXPECT_EQ(row->statistics.inUcastPkts, 14u);
  EXPECT_EQ(row->statistics.inErrors, 5u);
  EXPECT_EQ(row->statistics.outErrors, 2u);
}

TEST_F(VlanInterfaceTest, RestartAfterAResetKeepsTheTotals) {
  links->links[7].rx_packets = 10;
  links->links[7].rx_errors = 4;
  poll();
  links->links[7].rx_packets = 3;
  links->links[7].rx_errors = 1;
  poll();
  startAgent();
  poll();
  EXPECT_EQ(row->statistics.inUcastPkts, 13u);
  EXPECT_EQ(row->statistics.inErrors, 5u);
}

TEST_F(VlanInterfaceTest, DeletedAndMadeAgainGoesOnFromItsRow) {
  links->links[7].rx_packets = 10;
  poll();
  sut->deleteVlanIntfCounters(kVlan);
  links->links[7].rx_packets = 12;
  ASSERT_TRUE(sut->initializeVlanIntfCounters(kVlan, 10));
  previous = Kel::make<OruTypes::VlanIntfCounters>();
  poll();
  EXPECT_EQ(row->statistics.inUcastPkts, 12u);
}

TEST_F(VlanInterfaceTest, AnotherLinkOfTheVlanGoesOnWhereTheOldOneEnded) {
  links->links[7].rx_packets = 10;
  poll();
  sut->linkDel(kVlan);
  sut->deleteVlanIntfCounters(kVlan);
  links->links[9].rx_packets = 12;
  linkIs(9);
  EXPECT_EQ(sut->rowsOf(kVlan, 9), RowsOf::another);
  ASSERT_TRUE(sut->initializeVlanIntfCounters(kVlan, 10));
  previous = Kel::make<OruTypes::VlanIntfCounters>();
  poll();
  EXPECT_EQ(row->statistics.inUcastPkts, 22u);
}

TEST_F(VlanInterfaceTest, RowMovesToALinkWithoutWhatThatCountedBefore) {
  links->links[7].rx_packets = 10;
  poll();
  links->links[9].rx_packets = 1000;
  ASSERT_TRUE(sut->moveTo(kVlan, 9));
  startAgent();
  linkIs(9);
  links->links[9].rx_packets = 1003;
  poll();
  EXPECT_EQ(row->statistics.inUcastPkts, 13u);
}

TEST_F(VlanInterfaceTest, RowMovesWhetherOrNotDisciplinesCanBeRead) {
  links->links[7].rx_packets = 10;
  poll();
  qdiscs->error = std::make_error_code(std::errc::no_buffer_space);
  EXPECT_TRUE(sut->moveTo(kVlan, 7));
}

// As agents do whose --interfaces choose the one and the other.
TEST_F(VlanInterfaceTest, TwoLinksThatHaveTheRowInTurnsAddEachFrameOnce) {
  links->links[7].rx_packets = 5;
  links->links[9].rx_packets = 3;  // nobody counts it
  poll();
  std::uint64_t total = 5;
  for (int const ifindex : {9, 7, 9, 7}) {
    startAgent();
    EXPECT_EQ(sut->rowsOf(kVlan, ifindex), RowsOf::another);
    ASSERT_TRUE(sut->moveTo(kVlan, ifindex));
    sut->deleteVlanIntfCounters(kVlan);
    linkIs(ifindex);
    ASSERT_TRUE(sut->initializeVlanIntfCounters(kVlan, 10));
    links->links[ifindex].rx_packets += 2;
    poll();
    total += 2;
    EXPECT_EQ(row->statistics.inUcastPkts, total);
  }
}

TEST_F(VlanInterfaceTest, KeepsOffsetsAndNoneOfQueues) {
  EXPECT_TRUE(sut->reserve(kVlan, 7));
  EXPECT_TRUE(kept.load(kVlan));
  EXPECT_FALSE(sut->unsupportedQueueCounters(kVlan));
}

TEST_F(VlanInterfaceTest, DoesNotCountWhatItsKernelDoesNot) {
  links->links[7] = {};
  auto const unsupported = sut->unsupportedCounters(kVlan);
  ASSERT_TRUE(unsupported);
  for (char const* const name : {"inBroadcastPkts", "outMulticastPkts", "fcsErrors"})
    EXPECT_TRUE(unsupported->contains(name)) << name;
  for (char const* const name : {"inOctets", "inMulticastPkts", "inErrors", "outDiscards"})
    EXPECT_FALSE(unsupported->contains(name)) << name;
}

}  // namespace
}  // namespace Hardware::Linux
