// The simulated chip's VLANs.
#include "hardware/simulated/vlan_counters_helper.h"

#include <gtest/gtest.h>

#include "tests/support/virtual_time.h"

namespace Hardware::Simulated {
namespace {

using Bridging::VlanCounts;
using Bridging::VlanId;

VlanId const v10(10), v20(20);

class SimulatedVlans : public testing::Test {
 protected:
  // Another rate and another size of each fate, so that no counter can stand for another.
  SimulatedVlans() {
    double framesPerSecond = 1;
    for (Fate const fate : {Fate::inUcastPkts, Fate::inMulticastPkts, Fate::inBroadcastPkts,
                            Fate::outUcastPkts, Fate::outMulticastPkts, Fate::outBroadcastPkts}) {
      chip->vlan(v10).add({.fate = fate, .framesPerSecond = framesPerSecond, .octets = 100});
      framesPerSecond *= 2;
    }
  }
  // What v10 has counted after so many seconds.
  static VlanCounts after(std::uint64_t seconds) {
    return {.inOctets = 700 * seconds,
            .inUcastPkts = seconds,
            .inMulticastPkts = 2 * seconds,
            .inBroadcastPkts = 4 * seconds,
            .outOctets = 5600 * seconds,
            .outUcastPkts = 8 * seconds,
            .outMulticastPkts = 16 * seconds,
            .outBroadcastPkts = 32 * seconds};
  }
  void get(VlanId vlanId) {
    now = Kel::make<OruTypes::VlanCounters>(vlanId);
    before = Kel::make<OruTypes::VlanCounters>(vlanId);
    sut->getVlanCounters(vlanId, now, before);
  }

  Support::VirtualTime time;
  std::shared_ptr<Chip> const chip = std::make_shared<Chip>();
  Kel::Ptr<VlanCountersHelper> sut = Kel::make<VlanCountersHelper>(Kel::Name("vlans"), chip);
  Kel::Ptr<OruTypes::VlanCounters> now, before;
};

TEST_F(SimulatedVlans, AVlanTellsEachOfItsCounters) {
  time.nowIs(time.now() + 3.0);
  get(v10);
  EXPECT_EQ(now->counts(), after(3));
  EXPECT_EQ(before->counts(), VlanCounts{});
}

TEST_F(SimulatedVlans, TheSampleBeforeIsThatOfTheSameVlan) {
  chip->vlan(v20).add({.framesPerSecond = 1, .octets = 64});
  time.nowIs(time.now() + 3.0);
  get(v10);
  get(v20);
  time.nowIs(time.now() + 2.0);
  get(v10);
  EXPECT_EQ(now->counts(), after(5));
  EXPECT_EQ(before->counts(), after(3));
}

TEST_F(SimulatedVlans, AVlanThatTheChipDoesNotHaveStandsStill) {
  time.nowIs(time.now() + 3.0);
  get(v20);
  EXPECT_EQ(now->counts(), VlanCounts{});
  EXPECT_EQ(before->counts(), VlanCounts{});
}

TEST_F(SimulatedVlans, CountSinceTheChipWasSwitchedOn) {
  sut = Kel::make<VlanCountersHelper>(Kel::Name("vlans"), chip, time.now() - 10.0);
  get(v10);
  EXPECT_EQ(now->counts(), after(10));
}

}  // namespace
}  // namespace Hardware::Simulated
