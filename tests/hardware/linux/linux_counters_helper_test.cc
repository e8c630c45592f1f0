#include "hardware/linux/linux_counters_helper.h"

#include <gtest/gtest.h>

#include "counters/pollers/counter_records.h"
#include "hardware/linux/network_generation.h"
#include "tests/hardware/linux/helper_stand_ins.h"
#include "tests/hardware/linux/network_namespace.h"

namespace Hardware::Linux {
namespace {

using Test::FakeLinks;
using Test::FakeMacs;
using Test::Rows;
using SharedStore = Linux::Test::SharedStore<StoredOffsets>;

class LinuxCountersHelperTest : public ::testing::Test {
 protected:
  void SetUp() override { startAgent(); }

  void startAgent() {
    LinuxCountersHelper::Parts parts = Linux::Test::standInParts();
    auto fakeLinks = std::make_unique<FakeLinks>();
    auto fakeMacs = std::make_unique<FakeMacs>();
    auto fakeStore = std::make_unique<SharedStore>(kept);
    if (links) fakeLinks->links = links->links;  // the kernel goes on
    links = fakeLinks.get();
    macs = fakeMacs.get();
    store = fakeStore.get();
    parts.links = std::move(fakeLinks);
    parts.macs = std::move(fakeMacs);
    parts.offsets = std::move(fakeStore);
    parts.publishedRow = [this](Pekt::IntfId const& id) { return rows.row(id); };
    parts.now = [this] { return now; };
    parts.generation = 1;
    sut = Kel::make<LinuxCountersHelper>("linux", std::move(parts));
    sut->hwInit();
    sut->linkIs(kPort, {.ifindex = 2});
    rows.initialize(*sut, kPort);
  }
  void poll() {
    now += 1.0;
    rows.poll(*sut, kPort);
  }
  std::uint64_t published() const { return rows.row(kPort)->statistics.inUcastPkts; }

  Pekt::IntfId const kPort{"Ethernet2"};
  Rows rows;
  MemoryOffsetStore kept;
  double now = 100.0;
  FakeLinks* links = nullptr;
  FakeMacs* macs = nullptr;
  SharedStore* store = nullptr;
  Kel::Ptr<LinuxCountersHelper> sut;
};

TEST_F(LinuxCountersHelperTest, PollPublishesTheKernelsCount) {
  links->links[2].rx_packets = 10;
  poll();
  EXPECT_EQ(published(), 10u);
  links->links[2].rx_packets = 25;
  poll();
  EXPECT_EQ(published(), 25u);
}

TEST_F(LinuxCountersHelperTest, SampleBearsTheTimeOfItsReading) {
  links->links[2] = {};
  poll();
  EXPECT_EQ(rows.row(kPort)->statistics.lastUpdate, 101.0);
}

TEST_F(LinuxCountersHelperTest, ReadingIsAskedForUnderTheTimeOfTheAgentsClock) {
  links->links[2] = {};
  poll();
  EXPECT_EQ(links->times, (std::vector{101.0}));
}

TEST_F(LinuxCountersHelperTest, PortWithoutALinkKeepsItsCounts) {
  links->links[2].rx_packets = 10;
  poll();
  links->links.clear();
  poll();
  EXPECT_EQ(published(), 10u);
  EXPECT_EQ(rows.row(kPort)->statistics.lastUpdate, 101.0);  // and says how old they are
}

TEST_F(LinuxCountersHelperTest, PortThatNeverHadALinkIsZero) {
  sut->linkDel(kPort);
  poll();
  EXPECT_EQ(published(), 0u);
}

TEST_F(LinuxCountersHelperTest, FailedReadingKeepsTheCounts) {
  links->links[2].rx_packets = 10;
  poll();
  links->error = std::make_error_code(std::errc::no_buffer_space);
  poll();
  EXPECT_EQ(published(), 10u);
}

TEST_F(LinuxCountersHelperTest, LinkThatComesBackAsAnotherGoesOnFromTheOldOne) {
  links->links[2].rx_packets = 10;
  poll();
  links->links.clear();
  sut->linkDel(kPort);
  poll();
  links->links[7].rx_packets = 12;
  sut->linkIs(kPort, {.ifindex = 7});
  poll();
  EXPECT_EQ(published(), 22u);
}

TEST_F(LinuxCountersHelperTest, RestartDoublesNothing) {
  links->links[2].rx_packets = 10;
  poll();
  links->links[2].rx_packets = 14;
  startAgent();
  poll();
  EXPECT_EQ(published(), 14u);
}

TEST_F(LinuxCountersHelperTest, RestartAfterAResetDoublesNothing) {
  links->links[2].rx_packets = 10;
  poll();
  links->links[2].rx_packets = 3;
  poll();
  EXPECT_EQ(published(), 13u);
  startAgent();
  links->links[2].rx_packets = 50;
  poll();
  EXPECT_EQ(published(), 60u);
}

TEST_F(LinuxCountersHelperTest, CountingGoesOnWhileOffsetsCannotBeKeptAndTheyAreTriedAgain) {
  links->links[2].rx_packets = 10;
  poll();
  store->full = true;
  links->links[2].rx_packets = 3;
  poll();
  EXPECT_EQ(published(), 13u);
  EXPECT_EQ(sut->offsetsNotSaved(), 1u);
  store->full = false;
  poll();
  EXPECT_EQ(sut->offsetsNotSaved(), 1u);
  startAgent();
  links->links[2].rx_packets = 20;
  poll();
  EXPECT_EQ(published(), 30u);
}

TEST_F(LinuxCountersHelperTest, OffsetsGoWithTheRow) {
  links->links[2].rx_packets = 10;
  poll();
  ASSERT_TRUE(kept.load(kPort));
  sut->deinitialize(kPort);
  EXPECT_TRUE(kept.load(kPort));  // the row stayed
  rows.remove(kPort);
  sut->deinitialize(kPort);
  EXPECT_FALSE(kept.load(kPort));
}

TEST_F(LinuxCountersHelperTest, OffsetsWithoutARowAreDroppedAtTheStart) {
  kept.save("Ethernet99", {});
  links->links[2].rx_packets = 10;
  poll();
  startAgent();
  EXPECT_FALSE(kept.load("Ethernet99"));
  EXPECT_TRUE(kept.load(kPort));
}

TEST_F(LinuxCountersHelperTest, NewsOfALinkLetsItsMacBeAskedAgain) {
  sut->linkIs(kPort, {.ifindex = 2});
  EXPECT_EQ(macs->forgotten, (std::vector{2}));
}

TEST_F(LinuxCountersHelperTest, UnsupportedCountersAreThoseOfTheLink) {
  links->links[2] = {};
  EXPECT_FALSE(sut->unsupportedCounters(kPort).value().contains("inMulticastPkts"));
  sut->linkIs(kPort, {.ifindex = 2, .kind = "veth"});
  EXPECT_TRUE(sut->unsupportedCounters(kPort).value().contains("inMulticastPkts"));
}

TEST_F(LinuxCountersHelperTest, PortWithoutALinkHasNothingToSayOfItsCounters) {
  sut->linkDel(kPort);
  EXPECT_FALSE(sut->unsupportedCounters(kPort));
}

TEST_F(LinuxCountersHelperTest, FailedReadingHasNothingToSayOfTheCounters) {
  links->links[2] = {};
  links->error = std::make_error_code(std::errc::no_buffer_space);
  EXPECT_FALSE(sut->unsupportedCounters(kPort));
}

TEST_F(LinuxCountersHelperTest, LinkThatWasNotReadHasNothingToSayOfItsCounters) {
  EXPECT_FALSE(sut->unsupportedCounters(kPort));
}

TEST_F(LinuxCountersHelperTest, MacThatCouldNotBeReadHasNothingToSayOfItsCounters) {
  links->links[2] = {};
  macs->unavailable = true;
  EXPECT_FALSE(sut->unsupportedCounters(kPort));
}

TEST_F(LinuxCountersHelperTest, RowsAreOfTheLinkThatWasCountedLast) {
  using RowsOf = LinuxCountersHelper::RowsOf;
  EXPECT_EQ(sut->rowsOf(kPort, 2), RowsOf::nobody);
  links->links[2].rx_packets = 10;
  poll();
  EXPECT_EQ(sut->rowsOf(kPort, 2), RowsOf::thisLink);
  EXPECT_EQ(sut->rowsOf(kPort, 3), RowsOf::another);
}

TEST_F(LinuxCountersHelperTest, RowsOfAnotherNetworkNamespaceAreOfAnotherLink) {
  links->links[2].rx_packets = 10;
  poll();
  auto elsewhere = *kept.load(kPort);
  elsewhere.identity.generation = 2;
  kept.save(kPort, elsewhere);
  EXPECT_EQ(sut->rowsOf(kPort, 2), LinuxCountersHelper::RowsOf::another);
}

TEST_F(LinuxCountersHelperTest, RowsWithoutOffsetsAndOffsetsWithoutRowsAreOfNobody) {
  links->links[2].rx_packets = 10;
  poll();
  auto const offsets = *kept.load(kPort);
  sut->forget(kPort);
  EXPECT_EQ(sut->rowsOf(kPort, 2), LinuxCountersHelper::RowsOf::nobody);
  kept.save(kPort, offsets);
  rows.remove(kPort);
  EXPECT_EQ(sut->rowsOf(kPort, 2), LinuxCountersHelper::RowsOf::nobody);
}

TEST_F(LinuxCountersHelperTest, ReservedRoomIsThatOfThisLinkWithoutAnOffset) {
  EXPECT_TRUE(sut->reserve(kPort, 2));
  EXPECT_EQ(kept.load(kPort), (StoredOffsets{{1, 2}, {}}));
}

TEST_F(LinuxCountersHelperTest, ReservedRoomLeavesOffsetsAsTheyAre) {
  StoredOffsets offsets{{1, 7}, {}};
  offsets.offsets[PortField::inPkts] = 5;
  kept.save(kPort, offsets);
  EXPECT_TRUE(sut->reserve(kPort, 2));
  EXPECT_EQ(kept.load(kPort), offsets);
}

TEST_F(LinuxCountersHelperTest, LinkThatMovesHereAddsOnlyWhatItCountsFromThen) {
  links->links[2].rx_packets = 10;
  poll();
  links->links[7].rx_packets = 1000;
  sut->deinitialize(kPort);
  EXPECT_TRUE(sut->moveTo(kPort, 7));
  EXPECT_EQ(sut->rowsOf(kPort, 7), LinuxCountersHelper::RowsOf::thisLink);
  sut->linkIs(kPort, {.ifindex = 7});
  rows.initialize(*sut, kPort);
  links->links[7].rx_packets = 1003;
  poll();
  EXPECT_EQ(published(), 13u);
}

TEST_F(LinuxCountersHelperTest, LinkThatCannotBeReadDoesNotMove) {
  links->links[2].rx_packets = 10;
  poll();
  EXPECT_FALSE(sut->moveTo(kPort, 7));
  EXPECT_EQ(sut->rowsOf(kPort, 2), LinuxCountersHelper::RowsOf::thisLink);
}

TEST_F(LinuxCountersHelperTest, FullStoreHasNoRoomToReserve) {
  store->full = true;
  EXPECT_FALSE(sut->reserve(kPort, 2));
}

TEST_F(LinuxCountersHelperTest, FirstSampleIsWorthReadingAtOnce) {
  EXPECT_EQ(sut->firstSyncDelay(), 0.0);
}

/// The same over the kernel.
class LinuxCountersHelperInKernel : public Test::NetworkNamespace {
 protected:
  void startAgent() {
    sut = Kel::make<LinuxCountersHelper>(
        "linux",
        LinuxCountersHelper::kernelParts(Linux::Test::standInAgentParts(
            std::make_unique<SharedStore>(kept),
            [this](Pekt::IntfId const& id) { return rows.row(id); }, [this] { return now; })));
    sut->hwInit();
    sut->linkIs(kPort, {.ifindex = indexOf("b"), .kind = "veth"});
    rows.initialize(*sut, kPort);
  }
  void poll() {
    now += 1.0;
    rows.poll(*sut, kPort);
  }
  Interface::IntfStatistics published() const { return rows.row(kPort)->statistics; }

  std::vector<std::uint8_t> const kUnicast{0x02, 0, 0, 0, 0, 0x01};
  Pekt::IntfId const kPort{"Ethernet2"};
  Rows rows;
  MemoryOffsetStore kept;
  double now = 100.0;
  Kel::Ptr<LinuxCountersHelper> sut;
};

TEST_F(LinuxCountersHelperInKernel, KnownFramesGiveExactlyThoseCounts) {
  addVethPair("a", "b");
  startAgent();
  sendFrames("a", 40, 1000, kUnicast);
  sendFrames("b", 7, 60, kUnicast);
  poll();
  EXPECT_EQ(published().inUcastPkts, 40u);
  EXPECT_EQ(published().inOctets, 40'000u);
  EXPECT_EQ(published().outUcastPkts, 7u);
  EXPECT_EQ(published().outOctets, 420u);
  EXPECT_EQ(published().inErrors, 0u);
  EXPECT_FALSE(published().outBroadcastPkts.hasValue());
}

TEST_F(LinuxCountersHelperInKernel, FramesOfTheAgentsAbsenceAreInTheNextPollOnce) {
  addVethPair("a", "b");
  startAgent();
  sendFrames("a", 40, 100, kUnicast);
  poll();
  sut = nullptr;
  sendFrames("a", 5, 100, kUnicast);
  startAgent();
  poll();
  EXPECT_EQ(published().inUcastPkts, 45u);
  poll();
  EXPECT_EQ(published().inUcastPkts, 45u);
}

TEST_F(LinuxCountersHelperInKernel, LinkMadeAgainWhileTheAgentWasAwayGoesOn) {
  addVethPair("a", "b");
  startAgent();
  sendFrames("a", 10, 100, kUnicast);
  poll();
  sut = nullptr;
  deleteLink("a");
  addVethPair("a", "b");
  sendFrames("a", 25, 100, kUnicast);  // more than the old link ever counted
  startAgent();
  poll();
  EXPECT_EQ(published().inUcastPkts, 35u);
}

TEST_F(LinuxCountersHelperInKernel, LinkThatVanishesInMidPollIsAnAnswer) {
  addVethPair("a", "b");
  startAgent();
  sendFrames("a", 10, 100, kUnicast);
  poll();
  deleteLink("a");
  poll();
  EXPECT_EQ(published().inUcastPkts, 10u);
}

TEST_F(LinuxCountersHelperInKernel, GenerationIsThatOfTheNetworkNamespace) {
  auto const here = networkGeneration();
  EXPECT_EQ(networkGeneration(), here);
  SetUp();
  EXPECT_NE(networkGeneration(), here);
}

}  // namespace
}  // namespace Hardware::Linux
