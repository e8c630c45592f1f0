// The VLANs of an agent with a simulated chip.
#include "tests/agent/host_fixture.h"

namespace Agent {
namespace {

class VlansOfTheHost : public HostTest {
 protected:
  static constexpr std::uint64_t kFirst = 10;
  std::optional<Glim::Bridging::VlanCounter> vlan(std::uint64_t id) {
    return rowOf<Glim::Bridging::VlanCounter>(Bridging::kVlanCounters, Bridging::VlanId(id));
  }
};

TEST_F(VlansOfTheHost, HaveRowsADescriptionAndAllTheirCountersAtOnce) {
  options.period = 600.0;
  time.nowIs(time.now() + 10.0);
  start();
  turnsFor(0.2);
  ASSERT_TRUE(vlan(kFirst));
  ASSERT_TRUE(vlan(kFirst + 1));
  EXPECT_FALSE(vlan(kFirst + 2));
  EXPECT_GT(vlan(kFirst)->lastUpdate, 0.0);
  auto const described =
      rowOf<Bridging::VlanDescription>(Bridging::kVlanDescriptions, Bridging::VlanId(kFirst));
  ASSERT_TRUE(described);
  EXPECT_EQ(described->bridge.view(), "simulated");
  EXPECT_EQ(described->unsupported, 0u);
}

TEST_F(VlansOfTheHost, ArePolledWithTheirPeriodFromTheStart) {
  options.period = 0.5;
  start();
  for (int i = 0; i < 6; ++i) {
    turnsFor(0.5);
    EXPECT_NEAR(vlan(kFirst)->lastUpdate, time.now(), 0.7);
  }
  Bridging::VlanCounts const counts = vlan(kFirst)->counts;
  EXPECT_GT(counts.inUcastPkts, 0u);
  EXPECT_GT(counts.outUcastPkts, 0u);
  EXPECT_GT(counts.inOctets, 64 * counts.inUcastPkts);
  EXPECT_GT(counts.inMulticastPkts, 0u);
  EXPECT_GT(counts.outBroadcastPkts, 0u);
}

TEST_F(VlansOfTheHost, ArePolledOnAndStampedTrulyWhenTheClockIsSet) {
  options.period = 1.0;
  for (Kel::Seconds const step : {-500.0, 86400.0}) {
    start();
    turnsFor(10.0);
    auto const before = vlan(kFirst)->counts.inOctets;
    setClockBy(step);
    turnsFor(0.2);
    EXPECT_NEAR(vlan(kFirst)->lastUpdate, time.now(), 0.3) << step;
    turnsFor(2.0);
    EXPECT_NEAR(vlan(kFirst)->lastUpdate, time.now(), 1.2) << step;
    if (step > 0.0) {
      EXPECT_GT(vlan(kFirst)->counts.inOctets, before);
    }
    sut.reset();
  }
}

TEST_F(VlansOfTheHost, RowsOfVlansThatWentWhileNoAgentRanGo) {
  options.vlanInterfaces = 3;
  start();
  ASSERT_TRUE(vlan(kFirst + 2));
  sut.reset();
  options.vlanInterfaces = 2;
  start();
  EXPECT_TRUE(vlan(kFirst + 1));
  EXPECT_FALSE(vlan(kFirst + 2));
  EXPECT_FALSE(rowOf<Glim::Bridging::VlanCounter>(Bridging::kVlanCounterSnapshots,
                                                  Bridging::VlanId(kFirst + 2)));
  EXPECT_FALSE(
      rowOf<Bridging::VlanDescription>(Bridging::kVlanDescriptions, Bridging::VlanId(kFirst + 2)));
}

TEST_F(VlansOfTheHost, WithoutRoomAreNotCountedWhileTheOthersAre) {
  options.vlanInterfaces = 5;
  testing::internal::CaptureStderr();
  start({.maxRows = 3});
  turnsFor(12.0);
  EXPECT_TRUE(vlan(kFirst));
  EXPECT_TRUE(vlan(kFirst + 2));
  EXPECT_FALSE(vlan(kFirst + 3));
  EXPECT_NEAR(vlan(kFirst + 2)->lastUpdate, time.now(), options.period + 0.2);
  std::string const said = testing::internal::GetCapturedStderr();
  // The only one of its kind.
  auto const line = [&](std::string const& kind) {
    auto const at = said.find(kind + " are not counted for want of room, the first is ");
    EXPECT_NE(at, std::string::npos) << kind << " in " << said;
    if (at == std::string::npos) return std::string();
    EXPECT_EQ(said.find(kind + " are", at + 1), std::string::npos) << said;
    return said.substr(at, said.find('\n', at) - at);
  };
  EXPECT_THAT(line("2 VLANs"), testing::HasSubstr("VLAN 13: "));
  EXPECT_THAT(line("2 VLANs"), testing::HasSubstr("tried again every few seconds"));
  EXPECT_THAT(line("5 interfaces"), testing::HasSubstr("Vlan10: "));
  EXPECT_THAT(line("3 policing classes"), testing::HasSubstr("copp-ospf: "));
}

}  // namespace
}  // namespace Agent
