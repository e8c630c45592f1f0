// VLANs, their rows and their state machine, of a chip that is made up, in virtual time.
#include "agent/vlans.h"

#include <gmock/gmock.h>

#include "tests/agent/counted_vlans.h"
#include "tests/platform/glim/table_fixture.h"
#include "tests/support/virtual_time.h"

namespace Agent {
namespace {

using Bridging::VlanDescription;
using Bridging::VlanId;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr Kel::Seconds kPeriod = 3.0;

class VlansTest : public testing::Test {
 protected:
  explicit VlansTest(std::uint32_t maxRows = 16, Kel::Seconds period = kPeriod)
      : tables(place.directory().string(), {.maxRows = maxRows}),
        sut(tables, time.clock(), period) {}

  static VlanDescription described(VlanId vlanId, char const* bridge = "br0") {
    return {.vlanId = vlanId, .bridge = std::string_view(bridge), .name = {}, .unsupported = 0};
  }
  bool hasRows(VlanId vlanId) {
    bool const has = tables.vlanCounters()->contains(vlanId);
    EXPECT_EQ(tables.vlanCounterSnapshots()->contains(vlanId), has) << vlanId;
    EXPECT_EQ(tables.vlanDescriptions()->contains(vlanId), has) << vlanId;
    return has;
  }
  // As an agent before left it.
  void leaveRows(VlanId vlanId, std::uint64_t octets) {
    Glim::Bridging::VlanCounter row(vlanId);
    row.counts.inOctets = octets;
    tables.vlanCounters()->vlanCounterIs(row);
    tables.vlanCounterSnapshots()->vlanCounterSnapshotIs(row);
    tables.vlanDescriptions()->descriptionIs(described(vlanId));
  }
  Glim::Bridging::VlanCounter live(VlanId vlanId) {
    return tables.vlanCounters()->vlanCounter(vlanId);
  }
  std::uint64_t clearedOctets(VlanId vlanId) {
    return tables.vlanCounterSnapshots()->vlanCounterSnapshot(vlanId).counts.inOctets;
  }

  Support::VirtualTime time;
  Support::TemporaryTables place;
  Tables tables;
  VlanId const v10{10u}, v20{20u}, v30{30u};
  Kel::Ptr<CountingChip> chip = Kel::make<CountingChip>();
  Vlans sut;
};

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

// --- Damaged tables ---

class DamagedVlans : public VlansTest {
 protected:
  // The table's first row, as somebody else would who can write its file.
  void damage(std::string_view table) {
    GlimTest::Vandal((place.directory() / table).string() + ".glim").slotWord(0, 0) += 2;
  }
  void expectLost(std::string_view table) {
    try {
      tables.heartbeat();
      ADD_FAILURE() << table << ": nothing was noticed";
    } catch (TableLost const& lost) {
      EXPECT_THAT(lost.what(), HasSubstr("/" + std::string(table) + " was damaged"));
    }
  }
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

// --- Full tables ---

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
