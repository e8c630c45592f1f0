#include "hardware/simulated/counters_helper.h"

#include <gtest/gtest.h>

#include "counters/pollers/counter_records.h"
#include "platform/kel/system.h"

namespace Hardware::Simulated {
namespace {

using Interface::EthCounter;

constexpr Kel::Seconds switchedOn = 1'000.0;
Kel::Seconds virtualNow = switchedOn;

class CountersHelperTest : public testing::Test {
 protected:
  CountersHelperTest() {
    virtualNow = switchedOn;
    Kel::System::timeSource = [] { return virtualNow; };
    sut = Kel::make<CountersHelper>(Kel::Name("simulated"), chip);
  }
  ~CountersHelperTest() override { Kel::System::timeSource = &Kel::System::wallClock; }

  Kel::Ptr<OruTypes::IntfCounters> counters() {
    auto sample = Kel::make<OruTypes::IntfCounters>();
    sut->getCounters(ethernet, sample, previous);
    return sample;
  }

  Kel::Ptr<OruTypes::IntfQueueCounters> queues() {
    auto sample = Kel::make<OruTypes::IntfQueueCounters>();
    sut->getIntfQueueCounters(ethernet, sample);
    return sample;
  }

  using QueueCounts = Interface::QueueCounter::QueueCounts;
  using QueueIndex = Interface::QueueCounter::QueueIndex;
  Pekt::IntfId const ethernet{"Ethernet1"};
  Pekt::IntfId const vlan{"Vlan10"};
  std::shared_ptr<Chip> const chip = std::make_shared<Chip>();
  Kel::Ptr<OruTypes::IntfCounters> const previous = Kel::make<OruTypes::IntfCounters>();
  Kel::Ptr<CountersHelper> sut;
};

TEST_F(CountersHelperTest, FillsEachTrafficCounterFromItsOwnFlow) {
  double rate = 1;
  for (Fate const fate : {Fate::inUcastPkts, Fate::inMulticastPkts, Fate::inBroadcastPkts,
                          Fate::outUcastPkts, Fate::outMulticastPkts, Fate::outBroadcastPkts,
                          Fate::inDiscards, Fate::outDiscards, Fate::inUnknownProtos}) {
    chip->port(ethernet).add({.fate = fate, .framesPerSecond = rate++, .octets = 100});
  }
  virtualNow += 1;
  auto const stats = counters()->intfStats();
  EXPECT_EQ(stats.inUcastPkts, 1u);
  EXPECT_EQ(stats.inMulticastPkts, 2u);
  EXPECT_EQ(stats.inBroadcastPkts, 3u);
  EXPECT_EQ(stats.inOctets, 600u);
  EXPECT_EQ(stats.outUcastPkts, 4u);
  EXPECT_EQ(stats.outMulticastPkts, 5u);
  EXPECT_EQ(stats.outBroadcastPkts, Wib::MaybeU63(6));
  EXPECT_EQ(stats.outOctets, 1'500u);
  EXPECT_EQ(stats.inDiscards, 7u);
  EXPECT_EQ(stats.outDiscards, 8u);
  EXPECT_EQ(stats.inUnknownProtos, Wib::MaybeU63(9));
}

TEST_F(CountersHelperTest, FillsEachCounterOfTheMacFromItsOwnFlow) {
  std::array const named{
      "alignmentErrors",           "fcsErrors",          "frameTooLongs",  "frameTooShorts",
      "internalMacReceiveErrors",  "sqeTestErrors",      "lateCollisions", "excessiveCollisions",
      "internalMacTransmitErrors", "carrierSenseErrors", "inPauseFrames",  "outPauseFrames"};
  double rate = 1;
  for (auto const* const name : named) {
    chip->port(ethernet).add({.fate = fateNamed(name).value(), .framesPerSecond = rate++});
  }
  virtualNow += 1;
  auto const stats = counters()->ethStats();
  std::uint64_t expected = 1;
  for (std::string_view const name : named) {
    for (std::size_t counter = 0; counter < Interface::kEthCounters; ++counter) {
      if (Interface::kEthCounterNames[counter] != name) continue;
      EXPECT_EQ(stats.plain[counter], expected++) << name;
    }
  }
  EXPECT_EQ(expected, named.size() + 1);
}

TEST_F(CountersHelperTest, FilesFramesUnderTheirSizes) {
  chip->port(ethernet).add({.fate = Fate::inUcastPkts, .framesPerSecond = 3, .octets = 1000});
  chip->port(ethernet).add({.fate = Fate::outUcastPkts, .framesPerSecond = 5, .octets = 9000});
  virtualNow += 1;
  auto const stats = counters()->ethStats();
  EXPECT_EQ(stats[EthCounter::in512To1023Octets], 3u);
  EXPECT_EQ(stats[EthCounter::out1519ToMaxOctets], 5u);
  EXPECT_EQ(stats[EthCounter::in1519ToMaxOctets], 0u);
}

TEST_F(CountersHelperTest, StampsASampleWithTheCurrentTime) {
  chip->port(ethernet);
  virtualNow = 1'234.5;
  EXPECT_EQ(counters()->intfStats().lastUpdate, 1'234.5);
}

TEST_F(CountersHelperTest, KeepsTheErrorTotalsEqualToTheSumsOfTheirClasses) {
  *chip = Chip::seeded(1, 3);
  chip->port(ethernet).countsFrom(~std::uint64_t{0} - 5);
  for (int hour = 0; hour < 100; ++hour) {
    virtualNow += 3'600;
    auto const sample = counters();
    ASSERT_EQ(sample->intfStats().inErrors, receiveErrorSum(sample->ethStats()));
    ASSERT_EQ(sample->intfStats().outErrors, transmitErrorSum(sample->ethStats()));
  }
}

TEST_F(CountersHelperTest, BreaksTheErrorTotalsOnDemand) {
  chip->port(ethernet).breakInErrorsAt(10);
  chip->port(ethernet).breakOutErrorsAt(20);
  virtualNow = switchedOn + 10;
  auto sample = counters();
  EXPECT_NE(sample->intfStats().inErrors, receiveErrorSum(sample->ethStats()));
  EXPECT_EQ(sample->intfStats().outErrors, transmitErrorSum(sample->ethStats()));
  virtualNow = switchedOn + 20;
  sample = counters();
  EXPECT_NE(sample->intfStats().outErrors, transmitErrorSum(sample->ethStats()));
}

TEST_F(CountersHelperTest, GivesOptionalCountersNoValueWhereTheChipHasNone) {
  chip->port(ethernet).hasOptionalCounters(false);
  auto const sample = counters();
  EXPECT_FALSE(sample->intfStats().outBroadcastPkts.hasValue());
  EXPECT_FALSE(sample->intfStats().inUnknownProtos.hasValue());
  EXPECT_FALSE(sample->ethStats().inPfcFrames.entries[7].hasValue());
  EXPECT_FALSE(sample->ethStats().outPfcPauseMicros.entries[0].hasValue());
}

TEST_F(CountersHelperTest, RepeatsThePreviousSampleOfAPortThatVanished) {
  chip->port(ethernet).add({.framesPerSecond = 100});
  chip->port(ethernet).vanishAt(10);
  virtualNow = switchedOn + 9;
  auto const before = counters();
  previous->intfStatsIs(before->intfStats());
  previous->ethStatsIs(before->ethStats());
  virtualNow = switchedOn + 11;
  auto const after = counters();
  EXPECT_EQ(after->intfStats(), before->intfStats());
  EXPECT_EQ(after->ethStats(), before->ethStats());
}

TEST_F(CountersHelperTest, RepeatsThePreviousSampleOfAPortThatItDoesNotHave) {
  previous->intfStats().inOctets = 7;
  EXPECT_EQ(counters()->intfStats().inOctets, 7u);
}

TEST_F(CountersHelperTest, CountsOnWhereAPortHadVanishedAndCameBack) {
  chip->port(ethernet).add({.framesPerSecond = 100});
  chip->port(ethernet).vanishAt(10);
  chip->port(ethernet).appearAt(20);
  virtualNow = switchedOn + 30;
  EXPECT_EQ(counters()->intfStats().inUcastPkts, 3'000u);
}

TEST_F(CountersHelperTest, CountsAVlanInterface) {
  chip->port(vlan).add({.framesPerSecond = 100, .octets = 200});
  virtualNow += 2;
  auto const sample = Kel::make<OruTypes::VlanIntfCounters>();
  sut->getVlanIntfCounters(vlan, sample, Kel::make<OruTypes::VlanIntfCounters>());
  EXPECT_EQ(sample->intfStats().inUcastPkts, 200u);
  EXPECT_EQ(sample->intfStats().inOctets, 40'000u);
  EXPECT_EQ(sample->intfStats().lastUpdate, virtualNow);
}

TEST_F(CountersHelperTest, RepeatsThePreviousSampleOfAVlanInterfaceThatItDoesNotHave) {
  auto const last = Kel::make<OruTypes::VlanIntfCounters>();
  last->intfStats().inOctets = 7;
  auto const sample = Kel::make<OruTypes::VlanIntfCounters>();
  sut->getVlanIntfCounters(vlan, sample, last);
  EXPECT_EQ(sample->intfStats().inOctets, 7u);
}

TEST_F(CountersHelperTest, CanCountTheVlanInterfacesThatTheChipHas) {
  chip->port(vlan);
  EXPECT_TRUE(sut->initializeVlanIntfCounters(vlan, 10));
  EXPECT_FALSE(sut->initializeVlanIntfCounters("Vlan11", 11));
}

TEST_F(CountersHelperTest, TellsTheDropsOfAccessLists) {
  chip->port(ethernet).add({.fate = Fate::aclDrops, .framesPerSecond = 4});
  virtualNow += 3;
  EXPECT_TRUE(sut->aclDropCountersSupported());
  EXPECT_EQ(sut->getIntfAclDropCounters(ethernet), 12u);
  EXPECT_EQ(sut->getIntfAclDropCounters("Ethernet2"), 0u);
}

TEST_F(CountersHelperTest, HasEightUnicastQueuesOnEachPort) {
  chip->port(ethernet);
  auto const types = Kel::make<OruTypes::IntfQueueType>();
  sut->getIntfQueueType("Ethernet2", types);
  EXPECT_TRUE(types->queueType().empty());
  sut->getIntfQueueType(ethernet, types);
  EXPECT_EQ(types->queueType().size(), 8u);
  EXPECT_EQ(types->queueType().at(7), OruTypes::QueueType::unicast);
}

TEST_F(CountersHelperTest, FillsEachQueueFromItsOwnFlowAndAddsThemUp) {
  chip->port(ethernet).add(
      {.fate = Fate::outUcastPkts, .framesPerSecond = 3, .octets = 100, .queue = 0});
  chip->port(ethernet).add(
      {.fate = Fate::outDiscards, .framesPerSecond = 2, .octets = 50, .queue = 7});
  virtualNow += 1;
  auto const sample = queues();
  for (std::uint32_t i = 0; i <= QueueIndex::max; ++i)
    EXPECT_EQ(sample->contains(QueueIndex(i)), i < 8) << i;
  EXPECT_EQ(sample->queueCounts(QueueIndex(0)), (QueueCounts{3, 300, 0, 0}));
  EXPECT_EQ(sample->queueCounts(QueueIndex(7)), (QueueCounts{0, 0, 2, 100}));
  EXPECT_EQ(sample->queueCounts(QueueIndex(3)), QueueCounts());
  EXPECT_EQ(sample->intfCounts(), (QueueCounts{3, 300, 2, 100}));
}

TEST_F(CountersHelperTest, LeavesTheQueuesOfAPortThatIsNotThereAsTheyWere) {
  chip->port(ethernet).add({.fate = Fate::outUcastPkts, .framesPerSecond = 3, .octets = 100});
  chip->port(ethernet).vanishAt(10);
  virtualNow += 2;
  auto const sample = queues();
  virtualNow += 20;
  sut->getIntfQueueCounters(ethernet, sample);
  EXPECT_EQ(sample->queueCounts(QueueIndex(0)).pkts, 6u);
}

TEST_F(CountersHelperTest, TellsQueueCountersAsIncrementsWhereItIsToldTo) {
  chip->port(ethernet).add({.fate = Fate::outUcastPkts, .framesPerSecond = 3, .octets = 100});
  sut->queueCountersIncrementIs(true);
  virtualNow += 2;
  EXPECT_EQ(queues()->queueCounts(QueueIndex(0)), (QueueCounts{6, 600, 0, 0}));
  virtualNow += 1;
  auto const sample = queues();
  EXPECT_EQ(sample->queueCounts(QueueIndex(0)), (QueueCounts{3, 300, 0, 0}));
  EXPECT_EQ(sample->intfCounts(), (QueueCounts{3, 300, 0, 0}));
  EXPECT_EQ(queues()->queueCounts(QueueIndex(0)), QueueCounts());
}

TEST_F(CountersHelperTest, AfterAResetIncrementsAreWhatWasCountedSince) {
  chip->port(ethernet).add({.fate = Fate::outUcastPkts, .framesPerSecond = 3, .octets = 100});
  chip->port(ethernet).resetAt(5);
  sut->queueCountersIncrementIs(true);
  virtualNow = switchedOn + 4;
  queues();
  virtualNow = switchedOn + 6;
  EXPECT_EQ(queues()->queueCounts(QueueIndex(0)).pkts, 3u);
}

TEST_F(CountersHelperTest, APortThatIsNotThereHasNoIncrements) {
  chip->port(ethernet).add({.fate = Fate::outUcastPkts, .framesPerSecond = 3, .octets = 100});
  chip->port(ethernet).vanishAt(10);
  sut->queueCountersIncrementIs(true);
  virtualNow += 2;
  queues();
  virtualNow += 20;
  auto const sample = queues();
  EXPECT_FALSE(sample->contains(QueueIndex(0)));
  EXPECT_EQ(sample->intfCounts(), std::nullopt);
}

TEST_F(CountersHelperTest, DelaysTheFirstSampleAsItWasTold) {
  EXPECT_EQ(sut->firstSyncDelay(), 0.0);
  sut->firstSyncDelayIs(30.0);
  EXPECT_EQ(sut->firstSyncDelay(), 30.0);
}

}  // namespace
}  // namespace Hardware::Simulated
