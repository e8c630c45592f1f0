// What an agent goes on with that one before it left, and what it does not know yet when it begins.
#include "tests/agent/kernel_vlans_fixture.h"

namespace Agent {
namespace {

using Hardware::Linux::Test::vlanSet;
using testing::ElementsAre;

// --- Restarts ---

TEST_F(KernelVlansTest, RowsOfTheSameBridgeGoOn) {
  agentWithTwoVlans();
  kernelCounts(10, 3);
  vlans->poll();
  ASSERT_EQ(octets(10), 103u);
  agentComes();
  bridgeIs();
  portIsIn({10, 20});
  starts();
  turn();
  EXPECT_EQ(octets(10), 103u);
  kernelCounts(10, 50);
  vlans->poll();
  EXPECT_EQ(octets(10), 150u);
}

TEST_F(KernelVlansTest, ACountThatBeganAnewWhileNoAgentRanGoesOn) {
  agentWithTwoVlans();
  agentComes();
  bridgeIs();
  portIsIn({10, 20});
  kernelCounts(10, 3);
  starts();
  turn();
  EXPECT_EQ(octets(10), 103u);
}

TEST_F(KernelVlansTest, RowsOfAnotherBridgeBeginAnew) {
  agentWithTwoVlans();
  agentComes();
  bridges->all.bridgeIs({.ifindex = 6, .name = "br1", .filters = true, .counts = true});
  bridges->all.memberIs(kPort, 6, vlanSet({10}));
  kernelCounts(10, 3, 6);
  starts();
  turn();
  EXPECT_THAT(counted(), ElementsAre(10));
  EXPECT_EQ(octets(10), 3u);
  EXPECT_THAT(kept(), ElementsAre(10));
}

TEST_F(KernelVlansTest, OffsetsWithoutARowAreOfNothingThatGoesOn) {
  agentWithTwoVlans();
  kernelCounts(10, 50);
  vlans->poll();
  ASSERT_EQ(octets(10), 150u);
  vlans->dropRows(VlanId(10u));
  agentComes();
  bridgeIs();
  portIsIn({10, 20});
  kernelCounts(10, 60);
  sut->start(*loop);
  EXPECT_THAT(kept(), ElementsAre(20));
  turn();
  EXPECT_EQ(octets(10), 60u);
  EXPECT_EQ(octets(20), 200u);
}

TEST_F(KernelVlansTest, OfVlansThatWentWhileNoAgentRanNothingIsKept) {
  agentWithTwoVlans();
  agentComes();
  bridgeIs();
  portIsIn({20});
  starts();
  EXPECT_THAT(counted(), ElementsAre(20));
  EXPECT_THAT(kept(), ElementsAre(20));
}

// --- Bridges that cannot be listed ---

TEST_F(KernelVlansTest, WhileBridgesCannotBeListedAtTheStartRowsAndOffsetsStay) {
  agentWithTwoVlans();
  agentComes();
  bridges->error = std::make_error_code(std::errc::timed_out);
  std::string const told = said([&] {
    starts();
    turn();
    turn();
  });
  EXPECT_EQ(told, "oru-agentd: cannot read news of bridges, trying on: Connection timed out\n");
  EXPECT_FALSE(sut->areTold());
  EXPECT_FALSE(vlans->counters());
  EXPECT_THAT(counted(), ElementsAre(10, 20));
  EXPECT_THAT(kept(), ElementsAre(10, 20));
  sut->retellRefused();
  EXPECT_FALSE(sut->areTold());

  bridges->error = {};
  bridgeIs();
  portIsIn({10});
  kernelCounts(10, 150);
  turn();
  EXPECT_TRUE(sut->areTold());
  EXPECT_THAT(counted(), ElementsAre(10));
  EXPECT_EQ(octets(10), 150u);
  EXPECT_EQ(bridges->starts, 4);  // it was never open
}

TEST_F(KernelVlansTest, WhereTheListAloneFailedItIsAskedForByItsNews) {
  agentComes();
  bridges->error = std::make_error_code(std::errc::timed_out);
  bridges->opensAllTheSame = true;
  said([&] { starts(); });
  bridges->error = {};
  bridgeIs();
  portIsIn({10});
  turn();
  EXPECT_EQ(bridges->starts, 1);
  EXPECT_EQ(bridges->polls, 1);
  EXPECT_THAT(counted(), ElementsAre(10));
  turn();
  EXPECT_EQ(bridges->polls, 1);
}

TEST_F(KernelVlansTest, NewsThatCannotBeReadChangesNothing) {
  agentWithTwoVlans();
  bridges->error = std::make_error_code(std::errc::timed_out);
  portIsIn({20});
  std::string const told = said([&] {
    news();
    turn();
  });
  EXPECT_EQ(bridges->polls, 3);
  EXPECT_EQ(told, "oru-agentd: cannot read news of bridges, trying on: Connection timed out\n");
  EXPECT_THAT(counted(), ElementsAre(10, 20));
  sut->retellRefused();
  EXPECT_THAT(counted(), ElementsAre(10, 20));
}

}  // namespace
}  // namespace Agent
