// Polls of the VLAN counters, requests to clear them, and what is reached by name.
#include <limits>
#include <stdexcept>

#include "platform/kel/type_node.h"
#include "tests/counters/vlan_counters_fixture.h"
#include "tests/support/no_memory.h"
#include "tests/support/virtual_slot.h"

namespace VlanTest {
namespace {

// --- when it polls ---

TEST_F(VlanCountersSm, PollsFirstAfterTheLargerOfMinimumAndIntervalThenEachInterval) {
  helper->minimum = 5.0;
  config->vlanConfigIs({v10});
  make();
  runTo(kStart + 4.99);
  EXPECT_EQ(polls(), 0u);
  runTo(kStart + 5.0);
  EXPECT_EQ(polls(), 1u);
  runTo(kStart + 6.99);
  EXPECT_EQ(polls(), 1u);
  runTo(kStart + 7.0);
  EXPECT_EQ(polls(), 2u);
  runTo(kStart + 5.0 + 7200.0);
  EXPECT_EQ(polls(), 3601u);
  EXPECT_EQ(log.count("minimumPollInterval"), 1u);
}

TEST_F(VlanCountersSm, ASmallerMinimumDoesNotMatter) {
  helper->minimum = 1.0;
  config->vlanConfigIs({v10});
  make();
  runTo(kStart + 1.99);
  EXPECT_EQ(polls(), 0u);
  runTo(kStart + 2.0);
  EXPECT_EQ(polls(), 1u);
}

TEST_F(VlanCountersSm, IntervalZeroAtTheStartSetsNoWakeUpAndAsksNothing) {
  makeWithTwo();
  sut->clockDel();
  sut->pollIntervalIs(0.0);
  sut->clockIs(wheel);
  sut->initializedIs(false);
  sut->handleInitialized();
  EXPECT_TRUE(sut->initialized());
  EXPECT_EQ(log.count("minimumPollInterval"), 0u);
  EXPECT_EQ(wheel->nextRun(), Wib::TimerWheel::kNever);
  runTo(kStart + 600.0);
  EXPECT_EQ(polls(), 0u);
}

TEST_F(VlanCountersSm, AnotherIntervalHoldsFromTheNextWakeUp) {
  makeWithTwo();
  sut->pollIntervalIs(10.0);
  runTo(kStart + 2.0);
  EXPECT_EQ(polls(), 1u);
  runTo(kStart + 11.99);
  EXPECT_EQ(polls(), 1u);
  runTo(kStart + 12.0);
  EXPECT_EQ(polls(), 2u);
}

TEST_F(VlanCountersSm, IntervalZeroStopsItForGood) {
  makeWithTwo();
  sut->pollIntervalIs(0.0);
  runTo(kStart + 600.0);
  sut->pollIntervalIs(2.0);
  runTo(kStart + 1200.0);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(VlanCountersSm, WhatIsNoIntervalIsRefused) {
  makeWithTwo();
  for (Kel::Seconds const none :
       {-1.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()})
    EXPECT_THROW(sut->pollIntervalIs(none), Kel::RangeException) << none;
  EXPECT_EQ(sut->pollInterval(), 2.0);
}

TEST_F(VlanCountersSm, UninitializedAWakeUpDoesNothing) {
  makeWithTwo();
  sut->initializedIs(false);
  runTo(kStart + 600.0);
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(wheel->nextRun(), Wib::TimerWheel::kNever);
}

TEST_F(VlanCountersSm, APollThatFailsIsNotTheLast) {
  makeWithTwo();
  Kel::frameworkTraceHandle().levelsIs(0);
  helper->duringGet = [](VlanId) { throw std::runtime_error("the chip is away"); };
  runTo(kStart + 2.0);
  helper->duringGet = nullptr;
  helper->now[v10] = counts(100);
  runTo(kStart + 4.0);
  EXPECT_EQ(live->vlanCounter(v10), row(v10, counts(100), kStart + 4.0));
}

// --- a poll ---

TEST_F(VlanCountersSm, APollAsksForEachRowAndWritesItInPlace) {
  makeWithTwo();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  helper->now[v10] = counts(100);
  wheel->timeIs(kStart + 1.5);
  sut->updateCounters();
  EXPECT_EQ(log.calls(),
            (Calls{"getVlanCounters 1", "live.directWrite 1", "live.vlanCounterCommit 1",
                   "getVlanCounters 10", "live.directWrite 10", "live.vlanCounterCommit 10"}));
  EXPECT_EQ(trace.lines(), Calls{"8 OruVlanCountersSm::updateCounters"});
  EXPECT_EQ(live->vlanCounter(v1), row(v1, {}, kStart + 1.5));
  EXPECT_EQ(live->vlanCounter(v10), row(v10, counts(100), kStart + 1.5));
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v10), VlanCounter(v10));
}

TEST_F(VlanCountersSm, PollsAddWhatWasCountedBetweenTheSamples) {
  makeWithTwo();
  live->vlanCounterIs(row(v10, counts(1000), 7.0));
  helper->before[v10] = counts(100);
  helper->now[v10] = counts(130);
  sut->updateCounters();
  VlanCounts expected = counts(1000);
  for (auto* counter : {&expected.inOctets, &expected.inUcastPkts, &expected.inMulticastPkts,
                        &expected.inBroadcastPkts, &expected.outOctets, &expected.outUcastPkts,
                        &expected.outMulticastPkts, &expected.outBroadcastPkts})
    *counter += 30;
  EXPECT_EQ(live->vlanCounter(v10), row(v10, expected, kStart));
  sut->updateCounters();  // nothing was counted since
  EXPECT_EQ(live->vlanCounter(v10), row(v10, expected, kStart));
}

TEST_F(VlanCountersSm, CountersWrapAt64Bits) {
  makeWithTwo();
  VlanCounts most;
  most.inOctets = ~std::uint64_t{0} - 1;
  live->vlanCounterIs(row(v10, most, 7.0));
  helper->before[v10].inOctets = ~std::uint64_t{0};  // the chip's counter wrapped, and the row does
  helper->now[v10].inOctets = 4;
  helper->before[v10].outOctets = 5;  // this one went back
  helper->now[v10].outOctets = 3;
  sut->updateCounters();
  EXPECT_EQ(live->vlanCounter(v10).counts.inOctets, 3u);
  EXPECT_EQ(live->vlanCounter(v10).counts.outOctets, ~std::uint64_t{0} - 1);
}

TEST_F(VlanCountersSm, UninitializedAPollOnlyTraces) {
  makeWithTwo();
  sut->initializedIs(false);
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->updateCounters();
  EXPECT_EQ(trace.lines(), Calls{"8 OruVlanCountersSm::updateCounters"});
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(VlanCountersSm, AVlanThatGoesDuringItsPollLeavesNoRow) {
  makeWithTwo();
  helper->duringGet = [&](VlanId vlanId) {
    if (vlanId == v1) config->vlanConfigDelAll();
  };
  sut->updateCounters();
  EXPECT_EQ(live->members(), 0u);
  EXPECT_EQ(log.count("getVlanCounters 10"), 0u);
}

TEST_F(VlanCountersSm, ARowThatTheTableRefusesIsAsItWas) {
  makeWithTwo();
  helper->now[v1] = counts(100);
  live->full = true;
  EXPECT_THROW(sut->updateCounters(), Dov::ResourceException);
  live->full = false;
  EXPECT_EQ(live->vlanCounter(v1), VlanCounter(v1));
}

TEST_F(VlanCountersSm, WithoutAClockAPollIsRefusedBeforeTheChipIsAsked) {
  makeWithTwo();
  sut->clockDel();
  EXPECT_THROW(sut->updateCounters(), Kel::RangeException);
  EXPECT_THROW(sut->handleTime(), Kel::RangeException);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(VlanCountersSm, WithoutMemoryForASampleAPollIsTheRangeErrorOfANullPtr) {
  makeWithTwo();
  Support::NoMemory const none;
  EXPECT_EQ(Support::rangeErrorOf([&] { sut->updateCounters(); }), "null ValidPtr");
  EXPECT_EQ(log.calls(), Calls{});
}

// --- requests to clear ---

TEST_F(VlanCountersSm, WithoutAClockNothingIsCleared) {
  makeWithTwo();
  sut->clockDel();
  EXPECT_THROW(sut->doTakeSnapshot(v1), Kel::RangeException);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(VlanCountersSm, AClearWithoutRoomIsRefusedAndTheSnapshotIsAsItWas) {
  makeWithTwo();
  helper->now[v1] = counts(5);
  sut->updateCounters();
  snapshot->full = true;
  EXPECT_THROW(sut->doTakeSnapshot(v1), Dov::ResourceException);
  snapshot->full = false;
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v1), VlanCounter(v1));
}

TEST_F(VlanCountersSm, AClearCopiesTheLiveRowBesideItWithTheTimeOfNow) {
  makeWithTwo();
  config->vlanConfigIs({v20});
  live->vlanCounterIs(row(v10, counts(100), 7.0));
  auto const before20 = snapshot->vlanCounterSnapshot(v20);
  wheel->timeIs(kStart + 1.25);
  log.clear();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  requests->clearCountersRequestIs(v10, true);
  EXPECT_EQ(trace.lines(), (Calls{"8 OruVlanCountersSm::handleClearCountersRequest VLAN10",
                                  "8 OruVlanCountersSm::doTakeSnapshot"}));
  EXPECT_EQ(log.calls(),
            (Calls{"snapshot.directWrite 10", "snapshot.vlanCounterSnapshotCommit 10"}));
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v10), row(v10, counts(100), kStart + 1.25));
  EXPECT_EQ(live->vlanCounter(v10), row(v10, counts(100), 7.0));
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v20), before20);
}

TEST_F(VlanCountersSm, ARequestThatIsChangedTakesAnotherSnapshotWhateverItsFlag) {
  makeWithTwo();
  requests->clearCountersRequestIs(v10, false);
  live->vlanCounterIs(row(v10, counts(100), 7.0));
  requests->clearCountersRequestIs(v10, true);
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 10"), 2u);
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v10).counts, counts(100));
  requests->clearCountersRequestIs(v10, true);  // no change
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 10"), 2u);
}

TEST_F(VlanCountersSm, ARequestThatIsRemovedIsTracedAndChangesNothing) {
  makeWithTwo();
  requests->clearCountersRequestIs(v10, true);
  log.clear();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  requests->clearCountersRequestDel(v10);
  EXPECT_EQ(trace.lines(),
            (Calls{"8 OruVlanCountersSm::handleClearCountersRequest VLAN10", "4 VLAN10 deleted"}));
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(VlanCountersSm, ASnapshotOfAVlanWithoutRowsIsEmptyButForItsTime) {
  makeWithTwo();
  sut->doTakeSnapshot(v20);
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v20), row(v20, {}, kStart));
  EXPECT_FALSE(live->contains(v20));
}

TEST_F(VlanCountersSm, OtherRequestsAreTakenAtOnceAndFollowed) {
  makeWithTwo();
  auto const other = Kel::make<Bridging::VlanCountersCliReq>();
  other->clearCountersRequestIs(v1, true);
  sut->vlanCountersCliReqIs(other);
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 1"), 1u);
  other->clearCountersRequestIs(v10, true);
  requests->clearCountersRequestIs(v10, true);
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 10"), 1u);
}

TEST_F(VlanCountersSm, AllRequestsRemovedAtOnceChangeNothing) {
  makeWithTwo();
  requests->clearCountersRequestIs(v10, true);
  log.clear();
  requests->clearCountersRequestDelAll();
  EXPECT_EQ(log.calls(), Calls{});
}

// Requests that change as a whole, with some that stand afterwards.
class Requests : public Bridging::VlanCountersCliReq {
 public:
  void changeAsAWhole() { notify(&NotifieeConst::onClearCountersRequestkelImmediate); }
};

TEST_F(VlanCountersSm, AChangeOfAllRequestsTakesEachThatStandsWhateverItsFlag) {
  auto const whole = Kel::make<Requests>();
  requests = whole;
  makeWithTwo();
  requests->clearCountersRequestIs(v1, false);
  requests->clearCountersRequestIs(v10, true);
  log.clear();
  whole->changeAsAWhole();
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 1"), 1u);
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 10"), 1u);
}

TEST_F(VlanCountersSm, WithoutRequestsAKeyIsAsOneThatWasRemoved) {
  requests = nullptr;
  makeWithTwo();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->handleClearCountersRequest(v10);
  EXPECT_EQ(trace.lines().back(), "4 VLAN10 deleted");
  sut->handleClearCountersRequest();
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(VlanCountersSmDeathTest, ARequestBeforeTheStartEndsTheProcess) {
  makeWithTwo();
  sut->initializedIs(false);
  EXPECT_DEATH(requests->clearCountersRequestIs(v10, true),
               "OruCountersSm:[0-9]+: .*VlanCountersSm::handleClearCountersRequest.*"
               "Assertion `initialized\\(\\)' failed");
}

// --- by name ---

TEST_F(VlanCountersSm, IsReachedByName) {
  makeWithTwo();
  EXPECT_EQ(Kel::read(*sut, "pollInterval"), "2");
  Kel::set(*sut, "pollInterval", "0.5");
  EXPECT_EQ(sut->pollInterval(), 0.5);
  EXPECT_EQ(Kel::read(*sut, "initialized"), "true");
  Kel::invoke(*sut, "handleVlanConfig", {"10"});
  EXPECT_EQ(log.count("initializeVlanCounters 10"), 1u);
  Kel::invoke(*sut, "handleTime", {});
  EXPECT_EQ(polls(), 1u);
  Kel::invoke(*sut, "doTakeSnapshot", {"10"});
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 10"), 1u);
  requests->clearCountersRequestIs(v1, true);
  Kel::invoke(*sut, "handleClearCountersRequest", {"1"});
  EXPECT_EQ(log.count("snapshot.vlanCounterSnapshotCommit 1"), 2u);
  Kel::invoke(*sut, "removeGlimCollections", {"10"});
  EXPECT_FALSE(live->contains(v10));
  Kel::invoke(*sut, "handleInitialized", {});
  EXPECT_TRUE(live->contains(v10));
  for (auto const* noVlan : {"0", "4095", "ten", ""})
    EXPECT_THROW(Kel::invoke(*sut, "handleVlanConfig", {noVlan}), Kel::RangeException) << noVlan;
}

TEST_F(VlanCountersSm, ByNameWhatWouldEndTheProcessIsRefused) {
  makeWithTwo();
  sut->initializedIs(false);
  EXPECT_THROW(Kel::invoke(*sut, "handleClearCountersRequest", {"1"}), Kel::RangeException);
  sut->bridgingConfigDel();
  EXPECT_THROW(Kel::invoke(*sut, "handleVlanConfig", {"1"}), Kel::RangeException);
  EXPECT_THROW(Kel::invoke(*sut, "handleInitialized", {}), Kel::RangeException);
}

TEST(VlanCountersSlots, AreInContractOrder) {
  using Sm = Oru::Counters::VlanCountersSm;
  EXPECT_EQ(Support::slot(&Sm::kelDoZombieReactors),
            Support::slot(&Kel::PtrInterface::fwkType) + 3);
  using H = OruHelper::OruVlanCountersHelper;
  std::size_t const first = Support::slot(&Kel::PtrInterface::fwkType) + 3;
  EXPECT_EQ(Support::slot(&H::initializeVlanCounters), first);
  EXPECT_EQ(Support::slot(&H::minimumPollInterval), first + 1);
  EXPECT_EQ(Support::slot(&H::getVlanCounters), first + 2);
}

}  // namespace
}  // namespace VlanTest
