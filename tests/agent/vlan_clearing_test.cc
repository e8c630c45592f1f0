#include "agent/vlan_clearing.h"

#include "agent/control_request.h"
#include "tests/agent/counted_vlans.h"

namespace Agent {
namespace {

using testing::HasSubstr;
using Names = std::vector<std::string>;

class VlanClearingTest : public CountedVlans {
 protected:
  std::string refusal(Names const& ids) {
    try {
      ids.empty() ? void(sut.all()) : void(sut.these(ids));
      return "cleared";
    } catch (ControlError const& error) {
      code = error.code();
      return error.what();
    }
  }
  bool nothingIsCleared() {
    return cleared(v10).lastUpdate == 0.0 && cleared(v20).lastUpdate == 0.0;
  }
  ControlCode code = ControlCode::badRequest;
  VlanClearing sut{counters, requests, couldRead()};
};

TEST_F(VlanClearingTest, WhatCameBeforeTheClearIsPolledAndTakenAway) {
  EXPECT_EQ(octets(v10), 0u);
  EXPECT_EQ(sut.these({"10"}), Names{"10"});
  EXPECT_EQ(octets(v10), 7u);
  EXPECT_EQ(cleared(v10).counts, live->vlanCounter(v10).counts);
  EXPECT_EQ(cleared(v10).lastUpdate, kNow + 0.5);
}

TEST_F(VlanClearingTest, OtherVlansAreLeftAlone) {
  sut.these({"10"});
  EXPECT_EQ(cleared(v20), Glim::Bridging::VlanCounter(v20));
}

TEST_F(VlanClearingTest, AllAreClearedWithOnePollOfEach) {
  std::map<Bridging::VlanId, int> polls;
  chip->onPoll = [&](Bridging::VlanId vlanId) { ++polls[vlanId]; };
  EXPECT_EQ(sut.all(), 2u);
  EXPECT_EQ(cleared(v10).counts.inOctets, 7u);
  EXPECT_EQ(cleared(v20).counts.inOctets, 7u);
  EXPECT_EQ(polls, (std::map<Bridging::VlanId, int>{{v10, 1}, {v20, 1}}));
}

TEST_F(VlanClearingTest, WithoutAnyVlanAllAreNone) {
  config->vlanConfigDelAll();
  EXPECT_EQ(sut.all(), 0u);
}

TEST_F(VlanClearingTest, EachIsAnsweredOnceInTheOrderGiven) {
  EXPECT_EQ(sut.these({"20", "10", "20"}), (Names{"20", "10"}));
}

TEST_F(VlanClearingTest, AnotherClearTakesAnotherSnapshot) {
  sut.these({"10"});
  later(0.25);
  chip->counts[v10].inOctets = 9;
  sut.these({"10"});
  EXPECT_EQ(cleared(v10).counts.inOctets, 9u);
  EXPECT_EQ(cleared(v10).lastUpdate, kNow + 0.75);
}

TEST_F(VlanClearingTest, ARequestThatStandsAlreadyIsNoHindrance) {
  for (bool const flag : {false, true}) {
    requests->clearCountersRequestIs(v10, flag);
    later(0.25);
    EXPECT_EQ(refusal({"10"}), "cleared") << flag;
    EXPECT_EQ(cleared(v10).lastUpdate, wheel->time());
  }
}

TEST_F(VlanClearingTest, NoRequestStandsThatWouldBeCarriedOutOnceMore) {
  sut.these({"10", "20"});
  EXPECT_TRUE(requests->clearCountersRequest().empty());
  auto const before = cleared(v10);
  later(0.25);
  counters->vlanCountersCliReqDel();
  counters->vlanCountersCliReqIs(requests);
  EXPECT_EQ(cleared(v10), before);
}

TEST_F(VlanClearingTest, AVlanWithoutARowIsRefusedAndNothingIsCleared) {
  EXPECT_EQ(refusal({"10", "30"}), "there is no VLAN 30, and nothing was cleared");
  EXPECT_EQ(code, ControlCode::unknownVlan);
  EXPECT_TRUE(nothingIsCleared());
  EXPECT_TRUE(requests->clearCountersRequest().empty());
}

TEST_F(VlanClearingTest, WhatIsNoVlanIdIsRefusedAndNothingIsCleared) {
  for (std::string const id : {"0", "4095", "10-20", "Vlan10", "", "-1", "1e1"}) {
    EXPECT_EQ(refusal({"10", id}),
              "'" + id + "' is no VLAN id, which are 1 to 4094, and nothing was cleared");
    EXPECT_EQ(code, ControlCode::wrongArguments);
  }
  EXPECT_TRUE(nothingIsCleared());
}

TEST_F(VlanClearingTest, WithoutVlanCountersItIsRefused) {
  for (VlanClearing const& none : {VlanClearing(), VlanClearing(nullptr, requests, couldRead()),
                                   VlanClearing(counters, nullptr, couldRead())}) {
    sut = none;
    for (Names const& ids : {Names{}, {"10"}}) {
      EXPECT_EQ(refusal(ids), "this agent counts no VLANs");
      EXPECT_EQ(code, ControlCode::notSupported);
    }
  }
}

// They would end the agent that is asked before they are initialized.
TEST_F(VlanClearingTest, CountersThatAreStoppedAreNotAsked) {
  counters->initializedIs(false);
  EXPECT_THAT(refusal({"10"}), HasSubstr("initialized is false, and nothing was cleared"));
  EXPECT_EQ(code, ControlCode::failed);
  EXPECT_THAT(refusal({}), HasSubstr("nothing was cleared"));
  EXPECT_TRUE(nothingIsCleared());
}

TEST_F(VlanClearingTest, APollThatFailsClearsNothing) {
  chip->onPoll = [](auto) { throw std::runtime_error("it is away"); };
  for (Names const& ids : {Names{}, {"10"}}) {
    EXPECT_EQ(refusal(ids), "nothing was cleared: the VLANs could not be polled: it is away");
    EXPECT_EQ(code, ControlCode::failed);
  }
  EXPECT_TRUE(nothingIsCleared());
}

TEST_F(VlanClearingTest, WithAVlanThatCannotBeReadNothingIsCleared) {
  chip->unreadable = {v20};
  for (Names const& ids : {Names{}, {"10", "20"}}) {
    EXPECT_EQ(refusal(ids), "nothing was cleared: VLAN 20 could not be read just now; try again");
    EXPECT_EQ(code, ControlCode::failed);
  }
  EXPECT_TRUE(nothingIsCleared());
  EXPECT_TRUE(requests->clearCountersRequest().empty());
  EXPECT_EQ(refusal({"10"}), "cleared");
  chip->unreadable.clear();
  EXPECT_EQ(refusal({}), "cleared");
  EXPECT_EQ(cleared(v20).counts.inOctets, 7u);
}

TEST_F(VlanClearingTest, AVlanThatGoesWithThePollClearsNothing) {
  chip->onPoll = [this](auto) { config->vlanConfigDel(v20); };
  EXPECT_EQ(refusal({"10", "20"}), "nothing was cleared: VLAN 20 went meanwhile");
  EXPECT_EQ(code, ControlCode::failed);
  EXPECT_TRUE(nothingIsCleared());
}

TEST_F(VlanClearingTest, AClearThatNobodyCarriesOutIsToldAsFailed) {
  counters->vlanCountersCliReqDel();
  EXPECT_THAT(refusal({"10"}), HasSubstr("VLAN 10 could not be cleared"));
  EXPECT_EQ(code, ControlCode::failed);
}

}  // namespace
}  // namespace Agent
