#include "reader/live_rates.h"

#include <gtest/gtest.h>

#include "reader/counters.h"
#include "tests/reader/made_up.h"

namespace Show {
namespace {

class LiveRatesOfAnIntf : public testing::Test {
 protected:
  LiveRatesOfAnIntf() {
    giveRates(intf(), 111.0, 222.0, 33.0);
    statistics().inOctets = 1'000'000;
    statistics().outOctets = 2'000'000;
    statistics().lastUpdate = kNow;
  }
  Intf& intf() { return snapshot.interfaces[0]; }
  Interface::IntfStatistics& statistics() { return intf().counters->statistics; }
  // The agent samples again, so many seconds after it did so last.
  void sample(double seconds, std::uint64_t inOctets, std::uint64_t packets = 0) {
    statistics().lastUpdate += seconds;
    statistics().inOctets += inOctets;
    statistics().inUcastPkts += packets;
    statistics().outMulticastPkts += packets;
  }
  double inBits() {
    sut.see(snapshot);
    auto const shown = liveRates(intf());
    return shown ? shown->inBitsRate : -1.0;
  }

  Snapshot snapshot = Show::snapshot({Show::intf("Ethernet1", "eth0")});
  LiveRates sut;
};

TEST_F(LiveRatesOfAnIntf, AreThoseOfTheRowAtFirst) { EXPECT_EQ(inBits(), 111.0); }

TEST_F(LiveRatesOfAnIntf, AreTheDifferenceOfTheTotalsOverTheTimeBetweenTheSamples) {
  inBits();
  sample(2.0, 1000, 50);
  EXPECT_DOUBLE_EQ(inBits(), 4000.0);
  EXPECT_DOUBLE_EQ(liveRates(intf())->inPktsRate, 25.0);
  EXPECT_DOUBLE_EQ(liveRates(intf())->outPktsRate, 25.0);
  EXPECT_DOUBLE_EQ(liveRates(intf())->outBitsRate, 0.0);
}

TEST_F(LiveRatesOfAnIntf, FollowTheTrafficAtOnce) {
  inBits();
  sample(1.0, 125'000'000);
  EXPECT_DOUBLE_EQ(inBits(), 1e9);
  sample(1.0, 0);
  EXPECT_DOUBLE_EQ(inBits(), 0.0);
}

TEST_F(LiveRatesOfAnIntf, StayUntilThereIsANewSample) {
  inBits();
  EXPECT_EQ(inBits(), 111.0) << "no sample since the first";
  sample(1.0, 100);
  EXPECT_DOUBLE_EQ(inBits(), 800.0);
  snapshot.now += 1.0;
  EXPECT_DOUBLE_EQ(inBits(), 800.0);
}

TEST_F(LiveRatesOfAnIntf, AreThoseOfTheRowAcrossATotalThatFell) {
  inBits();
  sample(1.0, 100);
  inBits();
  sample(1.0, 0);
  statistics().inOctets = 7;
  EXPECT_EQ(inBits(), 111.0);
  sample(1.0, 100);
  EXPECT_DOUBLE_EQ(inBits(), 800.0) << "from the lower total on";
}

TEST_F(LiveRatesOfAnIntf, AreThoseOfTheRowWhereTheClockWentBack) {
  inBits();
  sample(-5.0, 100);
  EXPECT_EQ(inBits(), 111.0);
  sample(1.0, 100);
  EXPECT_DOUBLE_EQ(inBits(), 800.0);
}

TEST_F(LiveRatesOfAnIntf, OfAnIntfThatAppearsAreThoseOfItsRow) {
  inBits();
  snapshot.interfaces.push_back(Show::intf("Ethernet2", "eth1"));
  giveRates(snapshot.interfaces[1], 5.0, 6.0, 7.0);
  sample(1.0, 100);
  EXPECT_DOUBLE_EQ(inBits(), 800.0);
  EXPECT_EQ(liveRates(snapshot.interfaces[1])->inBitsRate, 5.0);
}

TEST_F(LiveRatesOfAnIntf, OfALinkThatIsGoneAreNone) {
  inBits();
  sample(1.0, 100);
  inBits();
  intf().description->operState = Interface::OperState::notPresent;
  EXPECT_EQ(inBits(), -1.0);
}

TEST_F(LiveRatesOfAnIntf, LeaveTheRatesOfTheRowAsTheyAre) {
  inBits();
  sample(1.0, 100);
  inBits();
  EXPECT_EQ(rates(intf())->inBitsRate, 111.0);
}

}  // namespace
}  // namespace Show
