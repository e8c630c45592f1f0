#include <gtest/gtest.h>

#include "tests/counters/counters_fixture.h"

namespace {

using Support::Calls;
using Support::eth1;
using Support::eth2;

class Clearing : public Support::CountersFixture {
 public:
  Clearing() {
    for (auto const& id : {eth1, eth2}) {
      Interface::EthIntfCounterGlim row;
      row.intfId = id;
      row.statistics.inOctets = 10;
      allIntfCounters->counterIs(row);
    }
    make();
    log.clear();
  }
};

TEST_F(Clearing, AllCopiesEveryRowAndTellsTheHelper) {
  cliConfig->clearCountersRequestIs("all");
  EXPECT_EQ(log.calls(), (Calls{"clear.counterIs Ethernet1", "clear.counterIs Ethernet2",
                                "helper.doClearCounters all"}));
  EXPECT_EQ(allIntfClearCounters->counter(eth1), row(eth1));
  EXPECT_EQ(row(eth1).statistics.inOctets, 10u);
}

TEST_F(Clearing, OneInterfaceLeavesTheOthersUntouched) {
  cliConfig->clearCountersRequestIs("Ethernet2");
  EXPECT_EQ(log.calls(), (Calls{"clear.counterIs Ethernet2", "helper.doClearCounters Ethernet2"}));
}

TEST_F(Clearing, TheSameRequestAgainIsActedOnAgain) {
  cliConfig->clearCountersRequestIs("Ethernet2");
  cliConfig->clearCountersRequestIs("Ethernet2");
  EXPECT_EQ(log.count("helper.doClearCounters Ethernet2"), 2u);
}

TEST_F(Clearing, AllOfAnEmptyTableStillTellsTheHelper) {
  allIntfCounters->counterDel(eth1);
  allIntfCounters->counterDel(eth2);
  log.clear();
  sut->doClearCounters("all");
  EXPECT_EQ(log.calls(), (Calls{"helper.doClearCounters all"}));
}

TEST_F(Clearing, WhatIsNoEthernetInterfaceIsDroppedSilently) {
  for (std::string const request : {"All", "Vlan7", "Cpu", "", "nonsense"})
    sut->doClearCounters(request);
  sut->doClearCounters(std::string(200, 'x'));
  sut->doClearCounters(std::string("Ethernet1\0", 10));
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(Clearing, AnInterfaceWithoutARowGetsAZeroRowOfItsOwn) {
  sut->doClearCounters("Ethernet9");
  Interface::EthIntfCounterGlim zero;
  zero.intfId = "Ethernet9";
  EXPECT_TRUE(allIntfClearCounters->contains("Ethernet9"));
  EXPECT_EQ(allIntfClearCounters->counter("Ethernet9"), zero);
  EXPECT_FALSE(allIntfCounters->contains("Ethernet9"));
}

TEST_F(Clearing, WithoutATableEveryRequestGoesToTheHelper) {
  allIntfCounters = nullptr;
  make();
  log.clear();
  sut->doClearCounters("All");
  EXPECT_EQ(log.calls(), (Calls{"helper.doClearCounters All"}));
}

}  // namespace
