// VLANs without room in their tables.
#include "tests/agent/vlans_fixture.h"

namespace Agent {
namespace {

using testing::HasSubstr;

class FullVlans : public VlansTest {
 protected:
  FullVlans() : VlansTest(2) {
    EXPECT_TRUE(sut.vlanIs(described(v10)));
    EXPECT_TRUE(sut.vlanIs(described(v20)));
  }
};

TEST_F(FullVlans, OneWithoutRoomHasNoRowsAndIsNotConfigured) {
  EXPECT_FALSE(sut.vlanIs(described(v30)));
  EXPECT_FALSE(hasRows(v30));
  EXPECT_FALSE(sut.isConfigured(v30));
  EXPECT_EQ(sut.withoutRoom(), 1u);
  EXPECT_THAT(sut.whyNoRoom(), HasSubstr("VLAN 30: "));
  sut.start(chip);
  sut.pollNews();
  EXPECT_FALSE(hasRows(v30));
}

TEST_F(FullVlans, TheFirstOfThemAndItsReasonAreTold) {
  EXPECT_EQ(sut.whyNoRoom(), "");
  for (std::uint64_t const id : {32u, 31u, 31u, 33u})
    EXPECT_FALSE(sut.vlanIs(described(VlanId(id))));
  EXPECT_EQ(sut.withoutRoom(), 3u);
  EXPECT_THAT(sut.whyNoRoom(), HasSubstr("VLAN 31: "));
  EXPECT_THAT(sut.whyNoRoom(), HasSubstr("full"));
}

TEST_F(FullVlans, OneThatIsThereIsDescribedAnewAllTheSame) {
  EXPECT_TRUE(sut.vlanIs(described(v10, "lan0")));
  EXPECT_EQ(tables.vlanDescriptions()->lookup(v10).bridge.view(), "lan0");
}

TEST_F(FullVlans, WhereRoomComesItIsCountedWhenItIsToldAgain) {
  sut.start(chip);
  sut.pollNews();
  EXPECT_FALSE(sut.vlanIs(described(v30)));
  sut.vlanDel(v10);
  EXPECT_TRUE(sut.vlanIs(described(v30)));
  EXPECT_EQ(sut.withoutRoom(), 0u);
  EXPECT_TRUE(hasRows(v30));
  chip->counts[v30].inOctets = 7;
  sut.pollNews();
  EXPECT_EQ(live(v30).counts.inOctets, 7u);
}

TEST_F(FullVlans, OneThatGoesIsNoLongerWithoutRoom) {
  EXPECT_FALSE(sut.vlanIs(described(v30)));
  sut.vlanDel(v30);
  EXPECT_EQ(sut.withoutRoom(), 0u);
}

// Room for the live row alone.
TEST_F(FullVlans, HalfMadeRowsAreTakenBack) {
  sut.vlanDel(v10);
  tables.vlanDescriptions()->descriptionIs(described(VlanId(99u)));
  EXPECT_FALSE(sut.vlanIs(described(v30)));
  EXPECT_FALSE(hasRows(v30));
  tables.vlanDescriptions()->descriptionDel(VlanId(99u));
  EXPECT_TRUE(sut.vlanIs(described(v30)));
}

// A row that an agent before left, of a VLAN that is there: it is not counted, and so not shown.
TEST_F(FullVlans, RowsOfOneThatIsThereAndWithoutRoomForAllGo) {
  sut.vlanDel(v10);
  tables.vlanDescriptions()->descriptionIs(described(VlanId(99u)));
  tables.vlanCounters()->vlanCounterIs(Glim::Bridging::VlanCounter(v30));
  EXPECT_FALSE(sut.vlanIs(described(v30)));
  EXPECT_FALSE(hasRows(v30));
}

TEST_F(FullVlans, OneThatIsCountedKeepsItsRowsWhereItsDescriptionFindsNoRoom) {
  tables.vlanDescriptions()->descriptionDel(v10);
  tables.vlanDescriptions()->descriptionIs(described(VlanId(99u)));
  EXPECT_FALSE(sut.vlanIs(described(v10)));
  EXPECT_TRUE(tables.vlanCounters()->contains(v10));
  EXPECT_TRUE(sut.isConfigured(v10));
  EXPECT_EQ(sut.withoutRoom(), 0u);
  EXPECT_TRUE(sut.areRefused());
  tables.vlanDescriptions()->descriptionDel(VlanId(99u));
  EXPECT_TRUE(sut.vlanIs(described(v10)));
  EXPECT_FALSE(sut.areRefused());
}

}  // namespace
}  // namespace Agent
