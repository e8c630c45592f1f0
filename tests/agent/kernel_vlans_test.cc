// The VLANs of the kernel's bridge, as they come and go.
#include "tests/agent/kernel_vlans_fixture.h"

namespace Agent {
namespace {

using Hardware::Linux::Test::vlanSet;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint64_t kKindsOfPackets = 0b11001100;  // multicast and broadcast, both ways

TEST_F(KernelVlansTest, VlansOfTheBridgeAreCountedAndDescribed) {
  agentWithTwoVlans();
  EXPECT_THAT(counted(), ElementsAre(10, 20));
  EXPECT_EQ(octets(10), 100u);
  EXPECT_EQ(octets(20), 200u);
  auto const described = tables.vlanDescriptions()->lookup(VlanId(10u));
  EXPECT_EQ(described.bridge.view(), "br0");
  EXPECT_EQ(described.unsupported, kKindsOfPackets);
}

TEST_F(KernelVlansTest, TheFirstVlanAndTheLastAreCounted) {
  agentComes();
  bridgeIs();
  portIsIn({1, 4094});
  starts();
  EXPECT_THAT(counted(), ElementsAre(1, 4094));
  bridges->all.vlansDel(kPort, vlanSet({1, 4094}));
  news();
  EXPECT_THAT(counted(), IsEmpty());
}

TEST_F(KernelVlansTest, VlansComeAndGoWithTheNews) {
  agentWithTwoVlans();
  portIsIn({20, 30});
  news();
  EXPECT_THAT(counted(), ElementsAre(20, 30));
  EXPECT_THAT(kept(), ElementsAre(20));
}

TEST_F(KernelVlansTest, NewsIsReadWhenTheLoopSaysSo) {
  agentWithTwoVlans();
  turn();
  EXPECT_EQ(bridges->polls, 0);
  news();
  EXPECT_EQ(bridges->polls, 1);
  EXPECT_EQ(bridges->starts, 1);
}

TEST_F(KernelVlansTest, AVlanThatIsRemovedAndAddedBeginsAnew) {
  agentWithTwoVlans();
  bridges->all.vlansDel(kPort, vlanSet({10}));
  bridges->all.vlansAdd(kPort, vlanSet({10}));
  kernelCounts(10, 3);
  news();
  EXPECT_THAT(counted(), ElementsAre(10, 20));
  EXPECT_EQ(octets(10), 3u);
  EXPECT_EQ(octets(20), 200u);
}

TEST_F(KernelVlansTest, ABridgeThatIsRenamedKeepsItsCounts) {
  agentWithTwoVlans();
  kernelCounts(10, 3);
  vlans->poll();
  ASSERT_EQ(octets(10), 103u);
  bridgeIs("lan0");
  news();
  EXPECT_EQ(tables.vlanDescriptions()->lookup(VlanId(10u)).bridge.view(), "lan0");
  vlans->poll();
  EXPECT_EQ(octets(10), 103u);
}

TEST_F(KernelVlansTest, ABridgeThatGoesTakesItsVlansAlong) {
  agentWithTwoVlans();
  bridges->all.linkDel(kBridge);
  news();
  EXPECT_THAT(counted(), IsEmpty());
  EXPECT_THAT(kept(), IsEmpty());
}

TEST_F(KernelVlansTest, VlansOfAnotherBridgeAreOthers) {
  agentWithTwoVlans();
  kernelCounts(10, 7, kBridge + 1);
  bridges->all.linkDel(kBridge);
  bridges->all.bridgeIs({.ifindex = kBridge + 1, .name = "br1", .filters = true, .counts = true});
  bridges->all.memberIs(kPort, kBridge + 1, vlanSet({10}));
  news();
  EXPECT_THAT(counted(), ElementsAre(10));
  EXPECT_EQ(octets(10), 7u);
}

class FullKernelVlans : public KernelVlansTest {
 protected:
  FullKernelVlans() : KernelVlansTest(2) {}
};

TEST_F(FullKernelVlans, ThoseWithoutRoomAreKnownAndToldAgainWhenTheyAreAskedFor) {
  agentWithTwoVlans();
  portIsIn({10, 20, 30, 40});
  news();
  EXPECT_THAT(counted(), ElementsAre(10, 20));
  EXPECT_EQ(vlans->withoutRoom(), 2u);
  EXPECT_THAT(vlans->whyNoRoom(), HasSubstr("VLAN 30: "));
  vlans->vlanDel(VlanId(20u));  // behind its back: room, of which there is no news
  turn();
  EXPECT_THAT(counted(), ElementsAre(10));
  sut->retellRefused();
  EXPECT_THAT(counted(), ElementsAre(10, 30));
  EXPECT_EQ(vlans->withoutRoom(), 1u);
}

TEST_F(FullKernelVlans, OneThatGoesIsNoLongerWithoutRoom) {
  agentWithTwoVlans();
  portIsIn({10, 20, 30});
  news();
  portIsIn({10, 20});
  news();
  EXPECT_EQ(vlans->withoutRoom(), 0u);
}

}  // namespace
}  // namespace Agent
