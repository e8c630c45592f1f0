#include "reader/queue_counters.h"

#include <gmock/gmock.h>

#include <cstring>

#include "tests/reader/made_up.h"

namespace Show {
namespace {

using Interface::QueueCounter::QueueCounts;
using Interface::QueueCounter::QueueIndex;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr auto kNone = std::nullopt;

class QueuesOfAnIntf : public testing::Test {
 protected:
  void queuesAre(std::uint32_t n) { intf.queues = queueRow(intf, n); }
  QueueCounts& counts(std::uint32_t queue) {
    return intf.queues->statistics[QueueIndex(queue)].counts;
  }
  std::vector<Queue> total() const { return queues(intf, Basis::total); }
  std::vector<Queue> sinceClear() const { return queues(intf, Basis::sinceClear); }

  Intf intf = Show::intf("Ethernet1", "eth0");
};

TEST_F(QueuesOfAnIntf, WithoutARowThereAreNone) {
  EXPECT_THAT(total(), IsEmpty());
  EXPECT_FALSE(queuesAreCountedTogether(intf));
  EXPECT_THAT(allQueues(intf, Basis::total), Each(kNone));
}

TEST_F(QueuesOfAnIntf, EachHasItsFourCounts) {
  queuesAre(2);
  ASSERT_THAT(total(), SizeIs(2));
  EXPECT_EQ(total()[1].first, 1u);
  EXPECT_THAT(total()[1].values, ElementsAre(101, 6464, 1, 64));
  EXPECT_THAT(allQueues(intf, Basis::total), ElementsAre(201, 12864, 1, 64));
}

TEST_F(QueuesOfAnIntf, ATypeThatIsNoneHasNoName) {
  queuesAre(2);
  intf.queues->statistics[QueueIndex(1)].queueType = OruTypes::QueueType::multicast;
  EXPECT_EQ(name(total()[0].type), "unicast");
  EXPECT_EQ(name(total()[1].type), "multicast");
  EXPECT_EQ(name(static_cast<OruTypes::QueueType>(7)), "");
}

TEST_F(QueuesOfAnIntf, WhatTheChipCannotCountOfASingleQueueHasNoValue) {
  queuesAre(1);
  for (std::uint32_t bits = 0; bits <= Interface::kNoSingleQueues; ++bits) {
    intf.description->unsupportedQueue = bits;
    auto const values = total()[0].values;
    for (std::size_t i = 0; i < values.size(); ++i)
      EXPECT_EQ(values[i].has_value(), (bits >> i & 1) == 0) << bits << " " << i;
    EXPECT_THAT(allQueues(intf, Basis::total), Each(testing::Ne(kNone)));
  }
}

TEST_F(QueuesOfAnIntf, WhatTheChipCannotCountOfAllTogetherHasNoValue) {
  queuesAre(1);
  for (std::uint32_t bits = 0; bits < 16; ++bits) {
    intf.description->unsupportedQueue = bits << 4;
    auto const values = allQueues(intf, Basis::total);
    for (std::size_t i = 0; i < values.size(); ++i)
      EXPECT_EQ(values[i].has_value(), (bits >> i & 1) == 0) << bits << " " << i;
    EXPECT_EQ(queuesAreCountedTogether(intf), bits != 15);
    EXPECT_THAT(total()[0].values, Each(testing::Ne(kNone)));
  }
}

TEST_F(QueuesOfAnIntf, WithoutADescriptionAllIsTakenAsCounted) {
  queuesAre(1);
  intf.description.reset();
  EXPECT_THAT(total()[0].values, Each(testing::Ne(kNone)));
  EXPECT_TRUE(queuesAreCountedTogether(intf));
}

TEST_F(QueuesOfAnIntf, BeforeTheFirstSampleTheZerosOfARowAreNoCounts) {
  queuesAre(1);
  intf.counters->statistics.lastUpdate = 0.0;
  EXPECT_THAT(total()[0].values, Each(kNone));
  EXPECT_THAT(allQueues(intf, Basis::total), Each(kNone));
}

TEST_F(QueuesOfAnIntf, TheirCountsDoNotNeedTheIntfsRow) {
  queuesAre(1);
  intf.counters.reset();
  EXPECT_EQ(total()[0].values[0], 100u);
}

TEST_F(QueuesOfAnIntf, CountsSinceTheClearLeaveOutWhatWasBefore) {
  queuesAre(2);
  intf.queuesAtLastClear = intf.queues;
  counts(1).dropPkts += 5;
  intf.queues->intfCounts.dropPkts += 5;
  EXPECT_THAT(sinceClear()[0].values, Each(0));
  EXPECT_THAT(sinceClear()[1].values, ElementsAre(0, 0, 5, 0));
  EXPECT_THAT(allQueues(intf, Basis::sinceClear), ElementsAre(0, 0, 5, 0));
  EXPECT_EQ(total()[1].values[2], 6u);
}

TEST_F(QueuesOfAnIntf, CountsSinceTheClearSurviveAWrap) {
  queuesAre(1);
  intf.queuesAtLastClear = intf.queues;
  counts(0).octets = 5;
  intf.queuesAtLastClear->statistics[QueueIndex(0)].counts.octets = ~std::uint64_t{0};
  EXPECT_EQ(sinceClear()[0].values[1], 6u);
}

TEST_F(QueuesOfAnIntf, AClearThatIsAheadOfTheCountersSaysNothing) {
  queuesAre(1);
  intf.queuesAtLastClear = intf.queues;
  counts(0).pkts = 7;
  intf.queues->intfCounts.pkts = 8;
  EXPECT_EQ(sinceClear()[0].values[0], 7u);
  EXPECT_EQ(allQueues(intf, Basis::sinceClear)[0], 8u);
}

TEST_F(QueuesOfAnIntf, AQueueThatTheClearDidNotKnowCountsWhole) {
  queuesAre(1);
  intf.queuesAtLastClear = intf.queues;
  queuesAre(2);
  EXPECT_EQ(sinceClear()[0].values[0], 0u);
  EXPECT_EQ(sinceClear()[1].values[0], 101u);
}

TEST_F(QueuesOfAnIntf, TheLastOf17IsTheSumOfTheRestWhenThereAreMore) {
  queuesAre(17);
  intf.description->txQueues = 64;
  ASSERT_THAT(total(), SizeIs(17));
  EXPECT_FALSE(total()[15].isSum());
  EXPECT_TRUE(total()[16].isSum());
  EXPECT_EQ(total()[16].last, 63u);
}

TEST_F(QueuesOfAnIntf, SeventeenQueuesAreThemselves) {
  queuesAre(17);
  for (std::uint32_t const known : {0u, 17u}) {
    intf.description->txQueues = known;
    EXPECT_FALSE(total()[16].isSum()) << known;
  }
}

TEST_F(QueuesOfAnIntf, ARowOfFewerThan17HasNoSumYet) {
  queuesAre(16);
  intf.description->txQueues = 64;
  EXPECT_FALSE(total()[15].isSum());
}

TEST_F(QueuesOfAnIntf, ARowThatClaimsTooManyQueuesHasWhatThereIs) {
  queuesAre(17);
  std::uint32_t const claimed = 4000000000u;
  constexpr std::size_t countOffset = 17 * sizeof(Interface::QueueCounter::IntfQueueStat);
  std::memcpy(reinterpret_cast<char*>(&intf.queues->statistics) + countOffset, &claimed,
              sizeof claimed);
  intf.queuesAtLastClear = intf.queues;
  ASSERT_EQ(intf.queues->statistics.size(), claimed);
  EXPECT_THAT(total(), SizeIs(17));
  EXPECT_THAT(sinceClear(), SizeIs(17));
}

}  // namespace
}  // namespace Show
