// What the VLAN counters' state machine declares, by name.
#include "tests/counters/vlan_counters_fixture.h"
#include "tests/support/reflection.h"

namespace VlanTest {
namespace {

TEST_F(VlanCountersSm, DeclaresItsAttributes) {
  makeWithTwo();
  EXPECT_EQ(sut->fwkType(), &Oru::Counters::VlanCountersSm::_kelType);
  EXPECT_EQ(
      Support::names(*sut->fwkType()),
      (Calls{"bridgingConfig", "vlanCountersCliReq", "vlanCounterDir", "vlanCounterSnapshotDir",
             "clock", "platformHelper", "pollInterval", "initialized", "handleVlanConfig",
             "doTakeSnapshot", "handleClearCountersRequest", "removeGlimCollections", "handleTime",
             "handleInitialized"}));
}

TEST_F(VlanCountersSm, EveryAttributeAnswers) {
  makeWithTwo();
  Support::expectEveryAttributeAnswers(*sut);
}

TEST_F(VlanCountersSm, ItsInputsAreReadByName) {
  makeWithTwo();
  auto const same = [&](char const* name, Kel::PtrInterface const& object) {
    EXPECT_EQ(Kel::read(*sut, name), Kel::toStrep(Kel::Ptr<Kel::PtrInterface const>(&object)))
        << name;
  };
  same("bridgingConfig", *config);
  same("vlanCountersCliReq", *requests);
  same("vlanCounterDir", *live);
  same("vlanCounterSnapshotDir", *snapshot);
  same("clock", *wheel);
  same("platformHelper", *helper);
}

TEST_F(VlanCountersSm, ItsIntervalIsSetByName) {
  makeWithTwo();
  Kel::set(*sut, "pollInterval", "5");
  EXPECT_EQ(sut->pollInterval(), 5.0);
  EXPECT_THROW(Kel::set(*sut, "pollInterval", "-1"), Kel::RangeException);
  EXPECT_EQ(Kel::read(*sut, "pollInterval"), "5");
}

TEST_F(VlanCountersSm, EveryOperationCanBeInvoked) {
  makeWithTwo();
  requests->clearCountersRequestIs(v10, true);
  log.clear();
  Kel::invoke(*sut, "handleVlanConfig", {"1"});
  Kel::invoke(*sut, "doTakeSnapshot", {"1"});
  Kel::invoke(*sut, "handleClearCountersRequest", {"10"});
  Kel::invoke(*sut, "handleTime");
  Kel::invoke(*sut, "removeGlimCollections", {"1"});
  Kel::invoke(*sut, "handleInitialized");
  EXPECT_EQ(log.calls(), (Calls{"live.vlanCounterIs 1",
                                "snapshot.vlanCounterSnapshotIs 1",
                                "initializeVlanCounters 1",
                                "snapshot.directWrite 1",
                                "snapshot.vlanCounterSnapshotCommit 1",
                                "snapshot.directWrite 10",
                                "snapshot.vlanCounterSnapshotCommit 10",
                                "getVlanCounters 1",
                                "live.directWrite 1",
                                "live.vlanCounterCommit 1",
                                "getVlanCounters 10",
                                "live.directWrite 10",
                                "live.vlanCounterCommit 10",
                                "live.vlanCounterDel 1",
                                "snapshot.vlanCounterSnapshotDel 1",
                                "live.vlanCounterIs 1",
                                "snapshot.vlanCounterSnapshotIs 1",
                                "initializeVlanCounters 1",
                                "initializeVlanCounters 10",
                                "minimumPollInterval"}));
}

}  // namespace
}  // namespace VlanTest
