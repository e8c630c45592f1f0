#include "platform/bridging/vlan_description.h"

#include <gtest/gtest.h>

namespace Bridging {
namespace {

TEST(VlanCounterBit, IsAnothersForEachCounter) {
  std::uint64_t all = 0;
  for (Glim::Field const& field : kVlanCountsFields) {
    EXPECT_NE(vlanCounterBit(field.name), 0u) << field.name;
    EXPECT_EQ(all & vlanCounterBit(field.name), 0u) << field.name;
    all |= vlanCounterBit(field.name);
  }
  EXPECT_EQ(all, kNoVlanCounters);
}

TEST(VlanCounterBit, IsTheCountersPlaceInTheRow) {
  EXPECT_EQ(vlanCounterBit("inOctets"), 0x01u);
  EXPECT_EQ(vlanCounterBit("outBroadcastPkts"), 0x80u);
}

TEST(VlanCounterBit, OfAnotherNameIsNone) {
  EXPECT_EQ(vlanCounterBit("lastUpdate"), 0u);
  EXPECT_EQ(vlanCounterBit(""), 0u);
}

TEST(VlanDescription, IsKeyedByItsVlan) {
  VlanDescription sut;
  sut.vlanId = VlanId(10);
  EXPECT_EQ(Glim::RecordTraits<VlanDescription>::key(sut), VlanId(10));
}

}  // namespace
}  // namespace Bridging
