// Which VLANs are counted, when, and what rows they have.
#include "agent/vlans.h"

#include "tests/agent/vlans_fixture.h"

namespace Agent {
namespace {

using testing::IsEmpty;

TEST_F(VlansTest, AVlanHasAllItsRowsFromWhenItIsTold) {
  EXPECT_FALSE(sut.isConfigured(v10));
  EXPECT_TRUE(sut.vlanIs(described(v10)));
  EXPECT_TRUE(hasRows(v10));
  EXPECT_TRUE(sut.isConfigured(v10));
  EXPECT_FALSE(hasRows(v20));
  EXPECT_EQ(sut.withoutRoom(), 0u);
  EXPECT_EQ(sut.withRows(), std::vector<VlanId>{v10});
}

TEST_F(VlansTest, ToldAgainItIsDescribedAnewAndItsCountsStay) {
  leaveRows(v10, 7);
  sut.vlanIs(described(v10));
  sut.vlanIs(described(v10, "lan0"));
  EXPECT_EQ(tables.vlanDescriptions()->lookup(v10).bridge.view(), "lan0");
  EXPECT_EQ(live(v10).counts.inOctets, 7u);
  EXPECT_EQ(clearedOctets(v10), 7u);
}

TEST_F(VlansTest, ASnapshotWithoutALiveRowIsOfAVlanOfBefore) {
  leaveRows(v10, 7);
  tables.vlanCounters()->vlanCounterDel(v10);
  sut.vlanIs(described(v10));
  EXPECT_EQ(clearedOctets(v10), 0u);
}

TEST_F(VlansTest, ALiveRowWithoutASnapshotGetsOne) {
  leaveRows(v10, 7);
  tables.vlanCounterSnapshots()->vlanCounterSnapshotDel(v10);
  sut.vlanIs(described(v10));
  EXPECT_TRUE(hasRows(v10));
  EXPECT_EQ(live(v10).counts.inOctets, 7u);
}

TEST_F(VlansTest, AVlanThatGoesTakesItsRowsAndRequestsAlong) {
  sut.vlanIs(described(v10));
  sut.start(chip);
  sut.requests()->clearCountersRequestIs(v10, true);
  sut.vlanDel(v10);
  EXPECT_FALSE(hasRows(v10));
  EXPECT_FALSE(sut.isConfigured(v10));
  EXPECT_TRUE(sut.requests()->clearCountersRequest().empty());
}

TEST_F(VlansTest, RowsOfVlansThatWereNotToldGoAtTheStart) {
  leaveRows(v10, 7);
  leaveRows(v20, 8);
  sut.vlanIs(described(v10));
  EXPECT_TRUE(hasRows(v20));
  sut.start(chip);
  EXPECT_TRUE(hasRows(v10));
  EXPECT_FALSE(hasRows(v20));
  EXPECT_EQ(live(v10).counts.inOctets, 7u);
}

TEST_F(VlansTest, SnapshotsAndDescriptionsWithoutALiveRowGoAtTheStartToo) {
  leaveRows(v20, 8);
  leaveRows(v10, 7);
  tables.vlanCounters()->vlanCounterDel(v20);
  sut.vlanIs(described(v10));
  sut.start(chip);
  EXPECT_FALSE(hasRows(v20));
  EXPECT_TRUE(hasRows(v10));
}

TEST_F(VlansTest, AllRowsAreDroppedAtOnce) {
  leaveRows(v10, 7);
  leaveRows(v20, 8);
  sut.dropAllRows();
  EXPECT_FALSE(hasRows(v10));
  EXPECT_FALSE(hasRows(v20));
  EXPECT_THAT(sut.withRows(), IsEmpty());
}

TEST_F(VlansTest, ArePolledWithTheirPeriod) {
  sut.vlanIs(described(v10));
  sut.start(chip);
  int polls = 0;
  chip->onPoll = [&](auto) { ++polls; };
  time.runFor(kPeriod - 0.5);
  EXPECT_EQ(polls, 0);
  time.runFor(1.0);
  EXPECT_EQ(polls, 1);
  time.runFor(kPeriod);
  EXPECT_EQ(polls, 2);
}

TEST_F(VlansTest, NewOnesArePolledAtOnceAndOnce) {
  sut.vlanIs(described(v10));
  chip->counts[v10].inOctets = 7;
  sut.start(chip);
  EXPECT_EQ(live(v10).counts.inOctets, 7u);
  chip->counts[v10].inOctets = 9;
  EXPECT_EQ(sut.pollNews(), Kel::Clock::kNever);
  EXPECT_EQ(live(v10).counts.inOctets, 7u);
  sut.vlanIs(described(v10, "lan0"));  // no news to the counters
  sut.pollNews();
  EXPECT_EQ(live(v10).counts.inOctets, 7u);
  sut.vlanIs(described(v20));
  sut.pollNews();
  EXPECT_EQ(live(v10).counts.inOctets, 9u);
}

TEST_F(VlansTest, BeforeTheStartNothingIsPolledAndTheNewsIsKept) {
  sut.vlanIs(described(v10));
  chip->counts[v10].inOctets = 7;
  EXPECT_EQ(sut.pollNews(), Kel::Clock::kNever);
  EXPECT_FALSE(sut.counters());
  sut.start(chip);
  sut.pollNews();
  EXPECT_EQ(live(v10).counts.inOctets, 7u);
}

TEST_F(VlansTest, NewOnesOneAfterTheOtherArePolledTenTimesASecondAtMost) {
  sut.start(chip);
  int polls = 0;
  chip->onPoll = [&](VlanId vlanId) { polls += vlanId == v10 ? 1 : 0; };
  sut.vlanIs(described(v10));
  EXPECT_EQ(sut.pollNews(), Kel::Clock::kNever);
  EXPECT_EQ(polls, 1);
  chip->counts[v20].inOctets = 7;
  sut.vlanIs(described(v20));
  EXPECT_NEAR(sut.pollNews(), 0.1, 1e-6);
  time.runFor(0.06);
  sut.vlanIs(described(v30));
  Kel::Seconds const left = sut.pollNews();
  ASSERT_NEAR(left, 0.04, 1e-6);
  EXPECT_EQ(polls, 1);
  time.runFor(left);
  EXPECT_EQ(sut.pollNews(), Kel::Clock::kNever);
  EXPECT_EQ(polls, 2);
  EXPECT_EQ(live(v20).counts.inOctets, 7u);
}

TEST_F(VlansTest, NewOnesDoNotWaitForAClockThatWasSetBack) {
  sut.start(chip);
  sut.vlanIs(described(v10));
  sut.pollNews();
  time.nowIs(time.now() - 500.0);
  time.clock()->timeWasSetTo(time.now());
  chip->counts[v20].inOctets = 7;
  sut.vlanIs(described(v20));
  EXPECT_EQ(sut.pollNews(), Kel::Clock::kNever);
  EXPECT_EQ(live(v20).counts.inOctets, 7u);
}

TEST_F(VlansTest, APollOfNewsThatFailsIsToldAndTheNextIsThatOfThePeriod) {
  sut.vlanIs(described(v10));
  sut.start(chip);
  sut.vlanIs(described(v20));
  chip->counts[v10].inOctets = 7;
  chip->onPoll = [](auto) { throw std::runtime_error("it is away"); };
  testing::internal::CaptureStderr();
  EXPECT_NO_THROW(sut.pollNews());
  EXPECT_NO_THROW(sut.pollNews());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "oru-agentd: the VLANs could not be polled: it is away\n");
  chip->onPoll = {};
  time.runFor(kPeriod + 0.5);
  EXPECT_EQ(live(v10).counts.inOctets, 7u);
}

// --- Start ---

TEST_F(VlansTest, TheStartPreparesEachOnceAndAsksOnceForTheLeastPeriod) {
  for (VlanId const vlanId : {v10, v20}) sut.vlanIs(described(vlanId));
  sut.start(chip);
  sut.pollNews();
  EXPECT_EQ(chip->askedForItsMinimum, 1);
  EXPECT_EQ(chip->initialized, (std::map<VlanId, int>{{v10, 1}, {v20, 1}}));
}

TEST_F(VlansTest, AStartThatFailsIsToldOnceAndTriedAgain) {
  leaveRows(v20, 8);
  sut.vlanIs(described(v10));
  chip->onInitialize = [](auto) { throw std::runtime_error("it is away"); };
  testing::internal::CaptureStderr();
  EXPECT_NO_THROW(sut.start(chip));
  EXPECT_NO_THROW(sut.start(chip));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "oru-agentd: the VLANs cannot be counted, trying on: it is away\n");
  EXPECT_FALSE(sut.counters());
  EXPECT_TRUE(hasRows(v10));
  time.runFor(kPeriod + 0.5);
  EXPECT_EQ(live(v10).lastUpdate, 0.0);

  leaveRows(v30, 9);
  chip->onInitialize = {};
  chip->counts[v10].inOctets = 7;
  sut.start(chip);
  ASSERT_TRUE(sut.counters());
  EXPECT_EQ(live(v10).counts.inOctets, 7u);
  EXPECT_FALSE(hasRows(v20));
  EXPECT_FALSE(hasRows(v30));
  chip->counts[v10].inOctets = 9;
  time.runFor(kPeriod + 0.5);
  EXPECT_EQ(live(v10).counts.inOctets, 9u);
}

TEST_F(VlansTest, AFirstPollThatFailsIsToldAndTheNextIsThatOfThePeriod) {
  sut.vlanIs(described(v10));
  chip->counts[v10].inOctets = 7;
  chip->onPoll = [](auto) { throw std::runtime_error("it is away"); };
  testing::internal::CaptureStderr();
  EXPECT_NO_THROW(sut.start(chip));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "oru-agentd: the VLANs could not be polled: it is away\n");
  EXPECT_TRUE(sut.counters());
  chip->onPoll = {};
  time.runFor(kPeriod - 0.5);
  EXPECT_EQ(live(v10).counts.inOctets, 0u);
  time.runFor(1.0);
  EXPECT_EQ(live(v10).counts.inOctets, 7u);
}

class VlansThatAreNotPolled : public VlansTest {
 protected:
  VlansThatAreNotPolled() : VlansTest(16, 0.0) {}
};

TEST_F(VlansThatAreNotPolled, AreSoWhenTheyAreNewAllTheSame) {
  chip->counts[v10].inOctets = 7;
  sut.vlanIs(described(v10));
  sut.start(chip);
  sut.pollNews();
  EXPECT_EQ(live(v10).counts.inOctets, 7u);
  chip->counts[v10].inOctets = 9;
  time.runFor(100.0);
  EXPECT_EQ(live(v10).counts.inOctets, 7u);
}

// Of a period shorter than the two seconds that the counters begin with.
class VlansThatArePolledOften : public VlansTest {
 protected:
  VlansThatArePolledOften() : VlansTest(16, 0.5) {}
};

TEST_F(VlansThatArePolledOften, AreSoFromTheStart) {
  sut.vlanIs(described(v10));
  sut.start(chip);
  int polls = 0;
  chip->onPoll = [&](auto) { ++polls; };
  time.runFor(2.1);
  EXPECT_EQ(polls, 4);
}

}  // namespace
}  // namespace Agent
