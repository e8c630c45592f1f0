#include "hardware/linux/bridge_vlans.h"

#include <gtest/gtest.h>

#include "tests/hardware/linux/vlan_stand_ins.h"

namespace Hardware::Linux {
namespace {

using Test::vlanSet;

constexpr int kBridge = 9, kPort = 7, kOther = 8;

Bridge filtering(int ifindex, std::string name = "br9") {
  return {.ifindex = ifindex, .name = std::move(name), .filters = true};
}

// Of a bridge that is made now, the news of its VLANs comes alone.
TEST(BridgeVlans, ThoseOfTheBridgeItselfAreKnownFromNewsAlone) {
  constexpr int bridge = 5, port = 6, other = 7;
  VlanSet const one = VlanSet().set(1);
  BridgeVlans sut;
  sut.bridgeIs({.ifindex = bridge, .name = "br0", .filters = true});
  sut.vlansAdd(bridge, one);
  sut.vlansAdd(other, VlanSet().set(2));  // nobody knows whose port that is
  EXPECT_EQ(sut.vlans(), one);
  sut.memberIs(port, bridge, one);
  sut.vlansDel(port, one);
  EXPECT_EQ(sut.vlans(), one);
  EXPECT_EQ(sut.takeGone(), VlanSet());
  sut.vlansDel(bridge, one);
  EXPECT_EQ(sut.vlans(), VlanSet());
  EXPECT_EQ(sut.takeGone(), one);
}

TEST(BridgeVlans, OfSeveralThatFilterTheFirstIsServed) {
  BridgeVlans sut;
  sut.bridgeIs({.ifindex = 9, .name = "br9", .filters = true});
  sut.bridgeIs({.ifindex = 3, .name = "br3", .filters = false});
  EXPECT_EQ(sut.served()->ifindex, 9);
  sut.bridgeIs({.ifindex = 4, .name = "br4", .filters = true});
  EXPECT_EQ(sut.served()->ifindex, 4);
}

TEST(BridgeVlans, TheNamedOneIsServedAndNoOther) {
  BridgeVlans sut("br9");
  sut.bridgeIs({.ifindex = 3, .name = "br3", .filters = true});
  EXPECT_EQ(sut.served(), nullptr);
  sut.bridgeIs({.ifindex = 9, .name = "br9", .filters = false});
  EXPECT_EQ(sut.served(), nullptr);
  sut.bridgeIs({.ifindex = 9, .name = "br9", .filters = true});
  EXPECT_EQ(sut.served()->ifindex, 9);
}

TEST(BridgeVlans, VlansOfOneBridgeAreGoneWhenAnotherIsServed) {
  BridgeVlans sut;
  sut.bridgeIs({.ifindex = 9, .name = "br9", .filters = true});
  sut.memberIs(9, 9, vlanSet({10, 20}));
  sut.memberIs(4, 4, vlanSet({10}));
  sut.bridgeIs({.ifindex = 4, .name = "br4", .filters = true});
  EXPECT_EQ(sut.vlans(), vlanSet({10}));
  EXPECT_EQ(sut.takeGone(), vlanSet({10, 20}));
}

// --- Lists ---

class BridgeVlansListed : public testing::Test {
 protected:
  BridgeVlansListed() { sut.bridgeIs(filtering(kBridge)); }
  // The beginning of each list.
  void listBegins() {
    sut.listBegins();
    sut.bridgeIs(filtering(kBridge));
  }
  BridgeVlans sut;
};

TEST_F(BridgeVlansListed, WhatAListDoesNotTellIsGone) {
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  sut.memberIs(kOther, kBridge, vlanSet({20}));
  listBegins();
  sut.memberIs(kOther, kBridge, vlanSet({20}));
  sut.listEnds();
  EXPECT_EQ(sut.vlans(), vlanSet({20}));
  EXPECT_EQ(sut.takeGone(), vlanSet({10}));
}

TEST_F(BridgeVlansListed, AVlanThatTheListTellsOfAnotherPortWasNeverGone) {
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  listBegins();
  sut.memberIs(kPort, kBridge, {});
  sut.memberIs(kOther, kBridge, vlanSet({10}));
  sut.listEnds();
  EXPECT_EQ(sut.takeGone(), vlanSet({}));
  EXPECT_EQ(sut.vlans(), vlanSet({10}));
}

TEST_F(BridgeVlansListed, ABridgeThatTheListTellsFirstTakesNothingFromTheOneThatIsServed) {
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  sut.listBegins();
  sut.bridgeIs(filtering(3, "br3"));  // as it was before news of it was lost
  sut.bridgeIs({.ifindex = 3, .name = "br3", .filters = false});
  sut.bridgeIs(filtering(kBridge));
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  sut.listEnds();
  EXPECT_EQ(sut.takeGone(), vlanSet({}));
}

TEST_F(BridgeVlansListed, UntilItEndsTheVlansAreThoseOfBefore) {
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  listBegins();
  sut.memberIs(kPort, kBridge, vlanSet({20}));
  EXPECT_EQ(sut.vlans(), vlanSet({10}));
  sut.listEnds();
  EXPECT_EQ(sut.vlans(), vlanSet({20}));
}

TEST_F(BridgeVlansListed, AVlanThatNewsRemovesAndAddsMeanwhileWasGone) {
  sut.memberIs(kPort, kBridge, vlanSet({10, 20}));
  listBegins();
  sut.memberIs(kPort, kBridge, vlanSet({10, 20}));
  sut.vlansDel(kPort, vlanSet({10}));
  sut.vlansAdd(kPort, vlanSet({10}));
  sut.listEnds();
  EXPECT_EQ(sut.vlans(), vlanSet({10, 20}));
  EXPECT_EQ(sut.takeGone(), vlanSet({10}));
}

TEST_F(BridgeVlansListed, NewsOfAPortTakesNothingThatOnlyTheListTookYet) {
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  listBegins();
  sut.memberIs(kPort, kBridge, {});
  sut.vlansDel(kPort, vlanSet({30}));
  sut.memberIs(kOther, kBridge, vlanSet({10}));
  sut.listEnds();
  EXPECT_EQ(sut.takeGone(), vlanSet({}));
}

TEST_F(BridgeVlansListed, ALinkThatIsDeletedMeanwhileTakesItsVlans) {
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  listBegins();
  sut.linkDel(kPort);
  sut.memberIs(kOther, kBridge, vlanSet({20}));
  sut.listEnds();
  EXPECT_EQ(sut.vlans(), vlanSet({20}));
  EXPECT_EQ(sut.takeGone(), vlanSet({10}));
}

// News that another port is in it was lost before the list.
TEST_F(BridgeVlansListed, AVlanOfALinkThatIsDeletedMeanwhileStaysWithAPortThatTheListTellsLater) {
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  listBegins();
  sut.linkDel(kPort);
  sut.memberIs(kOther, kBridge, vlanSet({10}));
  sut.listEnds();
  EXPECT_EQ(sut.vlans(), vlanSet({10}));
  EXPECT_EQ(sut.takeGone(), vlanSet({}));
}

TEST_F(BridgeVlansListed, AVlanThatAPortLeavesMeanwhileStaysWithOneThatTheListTellsLater) {
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  listBegins();
  sut.vlansDel(kPort, vlanSet({10}));
  sut.memberIs(kPort, kBridge, {});
  sut.memberIs(kOther, kBridge, vlanSet({10}));
  sut.listEnds();
  EXPECT_EQ(sut.takeGone(), vlanSet({}));
}

TEST_F(BridgeVlansListed, AVlanThatNewsTakesAndGivesToAnotherPortMeanwhileWasGone) {
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  listBegins();
  sut.linkDel(kPort);
  sut.vlansAdd(kOther, vlanSet({10}));
  sut.memberIs(kOther, kBridge, vlanSet({10}));  // by the list, which came to it later
  sut.listEnds();
  EXPECT_EQ(sut.vlans(), vlanSet({10}));
  EXPECT_EQ(sut.takeGone(), vlanSet({10}));
}

TEST_F(BridgeVlansListed, AVlanThatNewsGivesToAPortBeforeItTakesItFromAnotherWasNeverGone) {
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  listBegins();
  sut.vlansAdd(kOther, vlanSet({10}));  // nobody knows yet whose port that is
  sut.vlansDel(kPort, vlanSet({10}));
  sut.memberIs(kPort, kBridge, {});
  sut.memberIs(kOther, kBridge, vlanSet({10}));
  sut.listEnds();
  EXPECT_EQ(sut.takeGone(), vlanSet({}));
}

TEST_F(BridgeVlansListed, AVlanOfAPortOfAnotherBridgeIsGoneAllTheSame) {
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  listBegins();
  sut.linkDel(kPort);
  sut.memberIs(kOther, 3, vlanSet({10}));
  sut.listEnds();
  EXPECT_EQ(sut.takeGone(), vlanSet({10}));
}

TEST_F(BridgeVlansListed, WhatNewsTookDuringAListThatFailedIsJudgedByTheNext) {
  sut.memberIs(kPort, kBridge, vlanSet({10, 20, 30}));
  listBegins();
  sut.vlansDel(kPort, vlanSet({10, 20, 30}));
  sut.vlansAdd(kOther, vlanSet({30}));
  // It fails here.
  EXPECT_EQ(sut.takeGone(), vlanSet({}));
  listBegins();
  sut.memberIs(kPort, kBridge, {});
  sut.memberIs(kOther, kBridge, vlanSet({10, 30}));
  sut.listEnds();
  EXPECT_EQ(sut.takeGone(), vlanSet({20, 30}));
}

class BridgeVlansListedAgain : public BridgeVlansListed {
 protected:
  // In the list before, news took a VLAN from the port and gave it back.
  BridgeVlansListedAgain() {
    sut.memberIs(kPort, kBridge, vlanSet({10}));
    listBegins();
    sut.vlansDel(kPort, vlanSet({10}));
    sut.vlansAdd(kPort, vlanSet({10}));
    sut.memberIs(kPort, kBridge, vlanSet({10}));
    sut.listEnds();
    sut.takeGone();
  }
};

TEST_F(BridgeVlansListedAgain, WhatWasTakenBeforeIsGoneOnce) {
  listBegins();
  sut.vlansAdd(kPort, vlanSet({10}));  // a flag of it changed
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  sut.listEnds();
  EXPECT_EQ(sut.takeGone(), vlanSet({}));
}

TEST_F(BridgeVlansListedAgain, WhatNewsGaveAPortBeforeItIsInAllAlong) {
  sut.memberIs(kOther, kBridge, vlanSet({10}));
  sut.memberIs(kPort, kBridge, {});
  listBegins();
  sut.linkDel(kOther);
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  sut.listEnds();
  EXPECT_EQ(sut.takeGone(), vlanSet({}));
}

TEST_F(BridgeVlansListed, ABridgeThatIsMadeAnewMeanwhileBeginsAnew) {
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  sut.listBegins();
  sut.linkDel(kBridge);
  sut.bridgeIs(filtering(kBridge));
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  sut.listEnds();
  EXPECT_EQ(sut.vlans(), vlanSet({10}));
  EXPECT_EQ(sut.takeGone(), vlanSet({10}));
}

// What it told is not whole, nor is what news changes of it.
TEST_F(BridgeVlansListed, AfterOneThatFailedNothingIsToldUntilTheNextEnds) {
  sut.memberIs(kPort, kBridge, vlanSet({10}));
  listBegins();
  sut.memberIs(kPort, kBridge, {});
  // It fails here; news comes.
  sut.memberIs(5, kBridge, vlanSet({30}));
  sut.vlansAdd(5, vlanSet({31}));
  EXPECT_EQ(sut.vlans(), vlanSet({10}));
  EXPECT_EQ(sut.takeGone(), vlanSet({}));
  listBegins();
  sut.memberIs(kOther, kBridge, vlanSet({10}));
  sut.listEnds();
  EXPECT_EQ(sut.vlans(), vlanSet({10}));
  EXPECT_EQ(sut.takeGone(), vlanSet({}));
  sut.vlansDel(kOther, vlanSet({10}));
  EXPECT_EQ(sut.vlans(), vlanSet({}));
}

}  // namespace
}  // namespace Hardware::Linux
