// The start of the VLAN counters, and VLANs that come and go.
#include "platform/dov/exception.h"
#include "tests/counters/vlan_counters_fixture.h"
#include "tests/support/no_memory.h"

namespace VlanTest {
namespace {

// --- the start ---

TEST_F(VlanCountersSm, StartsWithRowsForEachVlanAndWithoutThoseOfVlansThatWent) {
  live->vlanCounterIs(row(v20, counts(100), 7.0));
  snapshot->vlanCounterSnapshotIs(row(v20, counts(50), 6.0));
  config->vlanConfigIs({v10});
  config->vlanConfigIs({v1});
  log.clear();
  make();
  EXPECT_EQ(log.calls(), (Calls{"live.vlanCounterIs 1", "snapshot.vlanCounterSnapshotIs 1",
                                "initializeVlanCounters 1", "live.vlanCounterIs 10",
                                "snapshot.vlanCounterSnapshotIs 10", "initializeVlanCounters 10",
                                "live.vlanCounterDel 20", "snapshot.vlanCounterSnapshotDel 20",
                                "minimumPollInterval"}));
  EXPECT_EQ(live->vlanCounter(v1), VlanCounter(v1));
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v10), VlanCounter(v10));
  EXPECT_FALSE(live->contains(v20));
  EXPECT_FALSE(snapshot->contains(v20));
  EXPECT_TRUE(sut->initialized());
  EXPECT_TRUE(sut->hasNotificationActive());
  EXPECT_EQ(sut->pollInterval(), 2.0);
}

TEST_F(VlanCountersSm, TracesItsStart) {
  live->vlanCounterIs(row(v20, counts(100), 7.0));
  live->vlanCounterIs(row(v10, counts(100), 7.0));
  config->vlanConfigIs({v1});
  config->vlanConfigIs({v10});
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  make();
  EXPECT_EQ(trace.lines(), (Calls{"8 OruVlanCountersSm::handleInitialized",
                                  "8 OruVlanCountersSm::handleVlanConfig",
                                  "8 OruVlanCountersSm::handleVlanConfig VLAN1", "7 Adding VLAN1",
                                  "6 Adding VLAN counter glim collections",
                                  "6 Adding VLAN counter snapshot glim collections",
                                  "8 OruVlanCountersSm::handleVlanConfig VLAN10", "7 Adding VLAN10",
                                  "6 Adding VLAN counter snapshot glim collections",
                                  "8 OruVlanCountersSm::removeGlimCollections Deleting VLAN20"}));
}

TEST_F(VlanCountersSm, StartsWithAllVlansThatThereCanBe) {
  for (std::uint64_t id = 1; id <= 4094; ++id) {
    if (id % 3 != 0) config->vlanConfigIs({VlanId(id), id % 7 == 0});
    if (id % 2 != 0) continue;
    live->vlanCounterIs(row(VlanId(id), counts(id), 7.0));
    snapshot->vlanCounterSnapshotIs(row(VlanId(id), counts(id + 1), 6.0));
  }
  make();
  for (std::uint64_t id = 1; id <= 4094; ++id) {
    bool const there = id % 3 != 0 && id % 7 != 0;
    ASSERT_EQ(live->contains(VlanId(id)), there) << id;
    ASSERT_EQ(snapshot->contains(VlanId(id)), there) << id;
    ASSERT_EQ(log.count("initializeVlanCounters " + std::to_string(id)), there) << id;
    if (!there) continue;
    ASSERT_EQ(live->vlanCounter(VlanId(id)),
              id % 2 == 0 ? row(VlanId(id), counts(id), 7.0) : VlanCounter(VlanId(id)));
    ASSERT_EQ(snapshot->vlanCounterSnapshot(VlanId(id)),
              id % 2 == 0 ? row(VlanId(id), counts(id + 1), 6.0) : VlanCounter(VlanId(id)));
  }
}

TEST_F(VlanCountersSm, HasItsInputs) {
  make();
  EXPECT_EQ(sut->bridgingConfig(), config);
  EXPECT_EQ(sut->vlanCountersCliReq(), requests);
  EXPECT_EQ(sut->vlanCounterDir(), live);
  EXPECT_EQ(sut->vlanCounterSnapshotDir(), snapshot);
  EXPECT_EQ(sut->clock(), wheel);
  EXPECT_EQ(sut->platformHelper(), helper);
}

TEST_F(VlanCountersSm, WithoutMemoryItIsTheRangeErrorOfANullPtr) {
  Support::NoMemory const none;
  EXPECT_EQ(Support::rangeErrorOf([&] { make(); }), "null ValidPtr");
}

TEST_F(VlanCountersSm, AStartWithoutRoomForALiveRowIsRefusedAndMakesNoSnapshot) {
  config->vlanConfigIs({v1});
  live->full = true;
  EXPECT_THROW(make(), Dov::ResourceException);
  EXPECT_EQ(log.calls(), Calls{"live.vlanCounterIs 1"});
  EXPECT_EQ(snapshot->members(), 0u);
}

TEST_F(VlanCountersSm, ANewVlanWithoutRoomForItsSnapshotIsNotPrepared) {
  makeWithTwo();
  snapshot->full = true;
  auto const before = Kel::notificationExceptions();
  config->vlanConfigIs({v20});
  EXPECT_EQ(Kel::notificationExceptions(), before + 1);
  EXPECT_EQ(log.calls(), (Calls{"live.vlanCounterIs 20", "snapshot.vlanCounterSnapshotIs 20"}));
  snapshot->full = false;  // told again, it is made up for
  log.clear();
  config->vlanConfigIs({v20, false});
  sut->handleVlanConfig(v20);
  EXPECT_TRUE(snapshot->contains(v20));
  EXPECT_EQ(log.count("initializeVlanCounters 20"), 1u);
}

TEST_F(VlanCountersSmDeathTest, WithoutAConfigurationItsStartEndsTheProcess) {
  config = nullptr;
  EXPECT_DEATH(make(),
               "OruCountersSm:[0-9]+: .*VlanCountersSm::handleVlanConfig\\(\\).*"
               "Assertion `bridgingConfig\\(\\)' failed");
}

TEST_F(VlanCountersSmDeathTest, WithoutAConfigurationAKeyEndsTheProcess) {
  makeWithTwo();
  sut->bridgingConfigDel();
  EXPECT_DEATH(sut->handleVlanConfig(v1),
               "OruCountersSm:[0-9]+: .*VlanCountersSm::handleVlanConfig\\(Bridging::VlanId\\).*"
               "Assertion `bridgingConfig\\(\\)' failed");
}

TEST_F(VlanCountersSm, IsInitializedOnlyOnceItsRowsAreThere) {
  config->vlanConfigIs({v10});
  make();
  sut->initializedIs(false);
  helper->duringInitialize = [&](VlanId) { log("initialized", sut->initialized()); };
  log.clear();
  sut->handleInitialized();
  EXPECT_EQ(log.count("initialized 0"), 1u);
}

TEST_F(VlanCountersSm, AClockThatGoesDuringAPollIsNotSet) {
  config->vlanConfigIs({v1});
  make();
  helper->duringGet = [&](VlanId) { sut->clockDel(); };
  auto const before = Kel::notificationExceptions();
  runTo(kStart + 2.0);
  EXPECT_EQ(Kel::notificationExceptions(), before);
  EXPECT_EQ(live->vlanCounter(v1).lastUpdate, kStart + 2.0);
}

TEST_F(VlanCountersSm, AClockThatGoesBetweenTheVlansOfAPollEndsIt) {
  makeWithTwo();
  helper->duringGet = [&](VlanId) { sut->clockDel(); };
  auto const before = Kel::notificationExceptions();
  Kel::frameworkTraceHandle().levelsIs(0);
  runTo(kStart + 2.0);
  EXPECT_EQ(Kel::notificationExceptions(), before + 1);  // the time of the second could not be told
  EXPECT_EQ(live->vlanCounter(v1).lastUpdate, kStart + 2.0);
  EXPECT_EQ(live->vlanCounter(v10).lastUpdate, 0.0);
}

TEST_F(VlanCountersSm, WithoutAClockItStartsAndPollsOnceItHasOne) {
  auto const late = wheel;
  wheel = nullptr;
  config->vlanConfigIs({v10});
  make();
  EXPECT_TRUE(sut->initialized());
  EXPECT_EQ(polls(), 0u);
  sut->clockIs(late);
  EXPECT_EQ(polls(), 1u);
  wheel = late;
  runTo(kStart + 2.0);
  EXPECT_EQ(polls(), 2u);
}

TEST_F(VlanCountersSm, RequestsThatStandAtTheStartAreNotTaken) {
  requests->clearCountersRequestIs(v10, true);
  config->vlanConfigIs({v10});
  make();
  EXPECT_EQ(log.count("snapshot.directWrite 10"), 0u);
}

TEST_F(VlanCountersSm, ItsEndLeavesTheRows) {
  makeWithTwo();
  sut = nullptr;
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_TRUE(live->contains(v10));
  runTo(kStart + 100.0);
  config->vlanConfigDel(v10);
  requests->clearCountersRequestIs(v1, true);
  EXPECT_EQ(log.calls(), Calls{});
}

// --- VLANs that come and go ---

TEST_F(VlanCountersSm, AVlanThatComesGetsItsRowsAndIsPrepared) {
  makeWithTwo();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  config->vlanConfigIs({v20});
  EXPECT_EQ(log.calls(), (Calls{"live.vlanCounterIs 20", "snapshot.vlanCounterSnapshotIs 20",
                                "initializeVlanCounters 20"}));
  EXPECT_EQ(trace.lines(), (Calls{"8 OruVlanCountersSm::handleVlanConfig VLAN20", "7 Adding VLAN20",
                                  "6 Adding VLAN counter glim collections",
                                  "6 Adding VLAN counter snapshot glim collections"}));
}

TEST_F(VlanCountersSm, ASecondNotificationLeavesRowsThatCountAndPreparesAgain) {
  makeWithTwo();
  live->vlanCounterIs(row(v10, counts(100), 7.0));
  snapshot->vlanCounterSnapshotIs(row(v10, counts(50), 6.0));
  log.clear();
  sut->handleVlanConfig(v10);
  EXPECT_EQ(log.calls(), Calls{"initializeVlanCounters 10"});
  EXPECT_EQ(live->vlanCounter(v10), row(v10, counts(100), 7.0));
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v10), row(v10, counts(50), 6.0));
}

TEST_F(VlanCountersSm, ASecondNotificationWritesRowsThatAreStillEmptyOnceMore) {
  makeWithTwo();
  snapshot->vlanCounterSnapshotIs(row(v10, {}, 6.0));  // a clear of nothing is no empty record
  log.clear();
  sut->handleVlanConfig(v10);
  EXPECT_EQ(log.calls(), (Calls{"live.vlanCounterIs 10", "initializeVlanCounters 10"}));
  EXPECT_EQ(live->vlanCounter(v10), VlanCounter(v10));
}

TEST_F(VlanCountersSm, ARowOfZerosThatWasPolledIsNoEmptyRecord) {
  makeWithTwo();
  live->vlanCounterIs(row(v10, {}, 7.0));
  sut->handleVlanConfig(v10);
  EXPECT_EQ(live->vlanCounter(v10), row(v10, {}, 7.0));
}

TEST_F(VlanCountersSm, AVlanThatGoesLosesItsRowsAndTheHelperIsNotAsked) {
  makeWithTwo();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  config->vlanConfigDel(v10);
  EXPECT_EQ(log.calls(), (Calls{"live.vlanCounterDel 10", "snapshot.vlanCounterSnapshotDel 10"}));
  EXPECT_EQ(trace.lines(), (Calls{"8 OruVlanCountersSm::handleVlanConfig VLAN10",
                                  "8 OruVlanCountersSm::removeGlimCollections Deleting VLAN10"}));
}

TEST_F(VlanCountersSm, AVlanThatIsFlaggedCountsAsAbsent) {
  makeWithTwo();
  config->vlanConfigIs({v20, true});
  config->vlanConfigIs({v10, true});
  EXPECT_EQ(log.calls(), (Calls{"live.vlanCounterDel 20", "snapshot.vlanCounterSnapshotDel 20",
                                "live.vlanCounterDel 10", "snapshot.vlanCounterSnapshotDel 10"}));
}

TEST_F(VlanCountersSm, AVlanThatReturnsBeginsAnew) {
  makeWithTwo();
  helper->now[v10] = counts(100);
  sut->updateCounters();
  config->vlanConfigDel(v10);
  config->vlanConfigIs({v10});
  EXPECT_EQ(live->vlanCounter(v10), VlanCounter(v10));
}

TEST_F(VlanCountersSm, AllVlansThatGoAtOnceLoseTheirRows) {
  makeWithTwo();
  config->vlanConfigDelAll();
  EXPECT_EQ(live->members(), 0u);
  EXPECT_EQ(snapshot->members(), 0u);
}

TEST_F(VlanCountersSm, AnotherConfigurationIsFollowedFromThenOn) {
  makeWithTwo();
  auto const other = Kel::make<Bridging::Config>();
  other->vlanConfigIs({v20});
  sut->bridgingConfigIs(other);
  EXPECT_EQ(live->members(), 1u);
  EXPECT_TRUE(live->contains(v20));
  config->vlanConfigIs({VlanId(30)});
  EXPECT_FALSE(live->contains(VlanId(30)));
  other->vlanConfigIs({v1});
  EXPECT_TRUE(live->contains(v1));
}

TEST_F(VlanCountersSm, AWalkEndsWithTheConfigurationThatItWalks) {
  makeWithTwo();
  auto const other = Kel::make<Bridging::Config>();
  other->vlanConfigIs({v20});
  helper->duringInitialize = [&](VlanId vlanId) {
    if (vlanId == v1) sut->bridgingConfigIs(other);
  };
  sut->handleVlanConfig();
  EXPECT_EQ(log.count("initializeVlanCounters 10"), 0u);
  EXPECT_EQ(live->members(), 1u);
  EXPECT_TRUE(live->contains(v20));
  helper->duringInitialize = [&](VlanId) { sut->bridgingConfigDel(); };
  sut->handleVlanConfig();
  EXPECT_EQ(sut->bridgingConfig(), nullptr);
}

TEST_F(VlanCountersSm, AWalkSurvivesVlansThatGoMeanwhile) {
  makeWithTwo();
  config->vlanConfigIs({v20});
  helper->duringInitialize = [&](VlanId vlanId) {
    if (vlanId == v1) config->vlanConfigDel(v10);
  };
  log.clear();
  sut->handleVlanConfig();
  EXPECT_EQ(log.count("initializeVlanCounters 10"), 0u);
  EXPECT_EQ(log.count("initializeVlanCounters 20"), 1u);
}

TEST_F(VlanCountersSm, WithNotificationsOffNothingIsHandled) {
  makeWithTwo();
  sut->hasNotificationActiveIs(false);
  config->vlanConfigIs({v20});
  requests->clearCountersRequestIs(v10, true);
  runTo(kStart + 10.0);
  EXPECT_EQ(log.calls(), Calls{});
}

}  // namespace
}  // namespace VlanTest
