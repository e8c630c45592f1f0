#include "hardware/simulated/port.h"

#include <gtest/gtest.h>

#include <numeric>

namespace Hardware::Simulated {
namespace {

std::uint64_t total(std::array<std::uint64_t, frameSizes> const& sizes) {
  return std::accumulate(sizes.begin(), sizes.end(), std::uint64_t{0});
}

class PortTest : public testing::Test {
 protected:
  Port sut;
};

TEST_F(PortTest, CountsFramesAndOctetsByDirectionAndCast) {
  sut.add({.fate = Fate::inUcastPkts, .framesPerSecond = 100, .octets = 512});
  sut.add({.fate = Fate::outMulticastPkts, .framesPerSecond = 10, .octets = 1500});
  Sample const sample = sut.sample(3);
  EXPECT_EQ(sample.frames(Fate::inUcastPkts), 300u);
  EXPECT_EQ(sample.inOctets, 300u * 512);
  EXPECT_EQ(sample.frames(Fate::outMulticastPkts), 30u);
  EXPECT_EQ(sample.outOctets, 30u * 1500);
}

TEST_F(PortTest, FilesEachFrameUnderItsSize) {
  std::uint64_t rate = 1;
  for (std::uint32_t const octets : {64u, 65u, 127u, 128u, 512u, 1023u, 1518u, 1519u, 9000u}) {
    sut.add({.framesPerSecond = static_cast<double>(rate), .octets = octets});
    rate *= 10;
  }
  std::array<std::uint64_t, frameSizes> const expected = {1,       110,       1'000,      0,
                                                          110'000, 1'000'000, 110'000'000};
  EXPECT_EQ(sut.sample(1).inSizes, expected);
  EXPECT_EQ(total(sut.sample(1).outSizes), 0u);
}

TEST_F(PortTest, SumsTheClassesOfErrors) {
  sut.add({.fate = Fate::fcsErrors, .framesPerSecond = 2});
  sut.add({.fate = Fate::frameTooShorts, .framesPerSecond = 3});
  sut.add({.fate = Fate::carrierSenseErrors, .framesPerSecond = 7});
  Sample const sample = sut.sample(10);
  EXPECT_EQ(sample.inErrors, 50u);
  EXPECT_EQ(sample.outErrors, 70u);
}

TEST_F(PortTest, CountsNoOctetsForErrorsAndDiscards) {
  sut.add({.fate = Fate::fcsErrors, .framesPerSecond = 2});
  sut.add({.fate = Fate::outDiscards, .framesPerSecond = 2});
  Sample const sample = sut.sample(10);
  EXPECT_EQ(sample.inOctets, 0u);
  EXPECT_EQ(sample.outOctets, 0u);
}

TEST_F(PortTest, GivesAnErrorTotalThatIsOffByOneOnceBroken) {
  sut.add({.fate = Fate::fcsErrors, .framesPerSecond = 2});
  sut.breakInErrorsAt(5);
  sut.breakOutErrorsAt(7);
  EXPECT_EQ(sut.sample(4).inErrors, 8u);
  EXPECT_EQ(sut.sample(5).inErrors, 11u);
  EXPECT_EQ(sut.sample(6).outErrors, 0u);
  EXPECT_EQ(sut.sample(7).outErrors, 1u);
}

TEST_F(PortTest, StandsAtZeroAfterAReset) {
  sut.add({.framesPerSecond = 100, .octets = 64});
  sut.resetAt(20);
  EXPECT_EQ(sut.sample(20), Sample{});
  EXPECT_EQ(sut.sample(21).frames(Fate::inUcastPkts), 100u);
  EXPECT_EQ(sut.sample(19).frames(Fate::inUcastPkts), 1900u);
}

TEST_F(PortTest, CountsFromTheLastOfSeveralResets) {
  sut.add({.framesPerSecond = 100});
  sut.resetAt(30);
  sut.resetAt(20);
  EXPECT_EQ(sut.sample(25).frames(Fate::inUcastPkts), 500u);
  EXPECT_EQ(sut.sample(31).frames(Fate::inUcastPkts), 100u);
}

TEST_F(PortTest, WrapsACounterThatStartsNearItsEnd) {
  sut.countsFrom(~std::uint64_t{0} - 49);
  sut.add({.framesPerSecond = 100});
  EXPECT_EQ(sut.sample(0).frames(Fate::inUcastPkts), ~std::uint64_t{0} - 49);
  EXPECT_EQ(sut.sample(1).frames(Fate::inUcastPkts), 50u);
}

TEST_F(PortTest, KeepsTheErrorTotalsEqualToTheirClassesWhileTheyWrap) {
  sut.countsFrom(~std::uint64_t{0});
  sut.add({.fate = Fate::fcsErrors, .framesPerSecond = 3});
  Sample const sample = sut.sample(1);
  EXPECT_EQ(sample.inErrors, sample.frames(Fate::alignmentErrors) + sample.frames(Fate::fcsErrors) +
                                 sample.frames(Fate::frameTooLongs) +
                                 sample.frames(Fate::frameTooShorts) +
                                 sample.frames(Fate::internalMacReceiveErrors));
}

TEST_F(PortTest, FallsToZeroNotToWhereItStartedOnAReset) {
  sut.countsFrom(1'000);
  sut.resetAt(1);
  EXPECT_EQ(sut.sample(0).inOctets, 1'000u);
  EXPECT_EQ(sut.sample(1), Sample{});
}

TEST_F(PortTest, EndsItsTrafficWhenStopped) {
  sut.add({.framesPerSecond = 100});
  sut.stopAt(2);
  sut.add({.framesPerSecond = 10, .from = 2});
  EXPECT_EQ(sut.sample(3).frames(Fate::inUcastPkts), 210u);
}

TEST_F(PortTest, TellsTheSameHoweverOftenItIsAsked) {
  sut.add({.framesPerSecond = 1e6 / 7, .every = 3, .lasts = 0.7});
  sut.resetAt(11);
  Port const askedOnce = sut;
  for (double now = 0; now < 50; now += 0.1) sut.sample(now);
  EXPECT_EQ(sut.sample(50), askedOnce.sample(50));
  EXPECT_EQ(sut.sample(5), askedOnce.sample(5));
}

TEST_F(PortTest, IsThereUntilItVanishes) {
  sut.vanishAt(10);
  EXPECT_TRUE(sut.presentAt(9));
  EXPECT_FALSE(sut.presentAt(10));
}

TEST_F(PortTest, CanComeBack) {
  sut.appearAt(20);
  sut.vanishAt(10);
  EXPECT_FALSE(sut.presentAt(19));
  EXPECT_TRUE(sut.presentAt(20));
}

TEST_F(PortTest, NamesTheNextTimeItComesOrGoes) {
  sut.vanishAt(10);
  sut.vanishAt(15);
  sut.appearAt(20);
  EXPECT_EQ(sut.nextChangeAfter(0), 10);
  EXPECT_EQ(sut.nextChangeAfter(10), 20);
  EXPECT_EQ(sut.nextChangeAfter(20), Flow::forever);
}

TEST_F(PortTest, PutsWhatGoesOutInItsQueue) {
  sut.add({.fate = Fate::outUcastPkts, .framesPerSecond = 10, .octets = 100, .queue = 3});
  sut.add({.fate = Fate::outDiscards, .framesPerSecond = 2, .octets = 1000, .queue = 3});
  sut.add({.fate = Fate::inUcastPkts, .framesPerSecond = 5});
  auto const queues = sut.queues(1);
  EXPECT_EQ(queues[3],
            (QueueSample{.pkts = 10, .octets = 1000, .dropPkts = 2, .dropOctets = 2000}));
  EXPECT_EQ(queues[0], QueueSample{});
}

TEST_F(PortTest, CountsFramesThatItsAccessListDropped) {
  sut.add({.fate = Fate::aclDrops, .framesPerSecond = 4});
  EXPECT_EQ(sut.aclDrops(2), 8u);
  EXPECT_EQ(sut.sample(2).frames(Fate::inDiscards), 0u);
}

TEST_F(PortTest, ProvidesOptionalCountersUnlessToldNotTo) {
  EXPECT_TRUE(sut.sample(0).optionalCounters);
  sut.hasOptionalCounters(false);
  EXPECT_FALSE(sut.sample(0).optionalCounters);
}

}  // namespace
}  // namespace Hardware::Simulated
