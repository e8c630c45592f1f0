#include "reader/vlan_ids.h"

#include <gmock/gmock.h>

namespace Show {
namespace {

using testing::ElementsAre;

TEST(VlanIds, AnIdIsARangeOfOne) {
  auto const range = vlanRangeOf("30");
  ASSERT_TRUE(range);
  EXPECT_EQ(range->first, Bridging::VlanId(30u));
  EXPECT_EQ(range->last, Bridging::VlanId(30u));
}

TEST(VlanIds, ARangeContainsBothItsEnds) {
  auto const range = vlanRangeOf("10-20");
  ASSERT_TRUE(range);
  for (std::uint64_t const id : {10u, 15u, 20u}) EXPECT_TRUE(range->contains(Bridging::VlanId(id)));
  for (std::uint64_t const id : {9u, 21u}) EXPECT_FALSE(range->contains(Bridging::VlanId(id)));
}

TEST(VlanIds, TheFirstAndTheLastIdAreSome) {
  EXPECT_TRUE(vlanRangeOf("1-4094"));
  EXPECT_FALSE(vlanRangeOf("0"));
  EXPECT_FALSE(vlanRangeOf("4095"));
  EXPECT_FALSE(vlanRangeOf("1-4095"));
}

TEST(VlanIds, WhatIsNoIdOrRangeIsNone) {
  for (char const* const text : {"", "x", "1x", "-", "1-", "-1", "1-2-3", "20-10", " 1", "1 - 2",
                                 "+1", "1.0", "18446744073709551617", "Vlan10", "1,2"})
    EXPECT_FALSE(vlanRangeOf(text)) << text;
}

TEST(VlanIds, ListsAreTakenApart) {
  EXPECT_THAT(vlanElements(std::vector<std::string>{"10-20,30", "40"}),
              ElementsAre("10-20", "30", "40"));
  EXPECT_THAT(vlanElements(std::string("1,,2,")), ElementsAre("1", "", "2", ""));
}

TEST(VlanIds, WhatIsWrongWithAListIsTold) {
  EXPECT_EQ(wrongVlans("10-20,30"), "");
  EXPECT_EQ(wrongVlans("10,4095"),
            "'4095' is no VLAN: give ids from 1 to 4094, ranges of them, or lists: 10-20,30");
  for (char const* const list : {"", ",", "10,", "10,,20"}) EXPECT_NE(wrongVlans(list), "") << list;
}

}  // namespace
}  // namespace Show
