// Tables of VLANs that turn out to be damaged: what the agent has to do goes on all the same.
#include "tests/agent/damaged_tables.h"
#include "tests/agent/vlans_fixture.h"

namespace Agent {
namespace {

class DamagedVlans : public VlansTest {
 protected:
  void damage(std::string_view table) { damageFirstRow(place.directory(), table); }
  void expectLost(std::string_view table) { Agent::expectLost(tables, table); }
};

class DamagedTable : public DamagedVlans, public testing::WithParamInterface<std::string_view> {};

INSTANTIATE_TEST_SUITE_P(Vlans, DamagedTable,
                         testing::Values(Bridging::kVlanCounters, Bridging::kVlanCounterSnapshots,
                                         Bridging::kVlanDescriptions));

TEST_P(DamagedTable, IsGivenUpByAVlanThatGoes) {
  sut.vlanIs(described(v10));
  sut.start(chip);
  damage(GetParam());
  EXPECT_NO_THROW(sut.vlanDel(v10));
  EXPECT_FALSE(sut.isConfigured(v10));
  expectLost(GetParam());
}

TEST_P(DamagedTable, IsGivenUpAtTheStartByRowsOfAVlanThatWent) {
  leaveRows(v20, 8);
  damage(GetParam());
  EXPECT_NO_THROW(sut.start(chip));
  expectLost(GetParam());
}

TEST_P(DamagedTable, IsGivenUpByAVlanThatIsTold) {
  leaveRows(v10, 7);
  damage(GetParam());
  EXPECT_NO_THROW(sut.vlanIs(described(v10)));
  expectLost(GetParam());
}

// Of a VLAN of which the live row alone is missing, so that its snapshot is made anew.
TEST_F(DamagedVlans, ASnapshotIsGivenUpByAVlanThatIsNew) {
  leaveRows(v10, 7);
  tables.vlanCounters()->vlanCounterDel(v10);
  damage(Bridging::kVlanCounterSnapshots);
  EXPECT_NO_THROW(sut.vlanIs(described(v10)));
  expectLost(Bridging::kVlanCounterSnapshots);
}

}  // namespace
}  // namespace Agent
