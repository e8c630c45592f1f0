#include "platform/bridging/vlan_counter.h"

#include <gtest/gtest.h>

namespace Bridging {
namespace {

VlanCounts counting(std::uint64_t first, std::uint64_t step) {
  return {.inOctets = first,
          .inUcastPkts = first + step,
          .inMulticastPkts = first + 2 * step,
          .inBroadcastPkts = first + 3 * step,
          .outOctets = first + 4 * step,
          .outUcastPkts = first + 5 * step,
          .outMulticastPkts = first + 6 * step,
          .outBroadcastPkts = first + 7 * step};
}

TEST(VlanCounts, SubtractCounterByCounter) {
  EXPECT_EQ(counting(1000, 30) - counting(100, 10), counting(900, 20));
}

TEST(VlanCounts, AddCounterByCounter) {
  EXPECT_EQ(counting(900, 20) + counting(100, 10), counting(1000, 30));
}

TEST(VlanCounts, ThatWentBackwardsDifferByTheirWrappedDifference) {
  EXPECT_EQ(counting(5, 0) - counting(7, 0), counting(~std::uint64_t{0} - 1, 0));
}

TEST(VlanCounts, ADifferenceAddedBackRestoresTheWhole) {
  VlanCounts const a = counting(1000, 3), b = counting(100'000, 70);
  EXPECT_EQ(a - b + b, a);
}

TEST(VlanCounter, OfAVlanIsItsEmptyRecord) {
  Glim::Bridging::VlanCounter const sut(VlanId(10));
  EXPECT_EQ(sut.vlanId, VlanId(10));
  EXPECT_EQ(sut.counts, VlanCounts());
  EXPECT_EQ(sut.lastUpdate, 0.0);
}

}  // namespace
}  // namespace Bridging
