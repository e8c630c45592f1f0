#include "hardware/linux/queue_account.h"

#include <gtest/gtest.h>
#include <linux/pkt_sched.h>

#include "counters/pollers/counter_records.h"
#include "platform/interface/intf_description.h"

namespace Hardware::Linux {
namespace {

using Interface::QueueCounter::IntfQueueCounter;
using Interface::QueueCounter::QueueIndex;
using Row = IntfQueueCounter;

Qdisc root(QdiscKind kind, QdiscCounts const& counts = {}, std::uint64_t source = 100) {
  return {0x10000, TC_H_ROOT, kind, source, counts};
}
Qdisc child(std::uint32_t queue, QdiscCounts const& counts, std::uint64_t source = 0) {
  return {0, 0x10001 + queue, QdiscKind::other, source != 0 ? source : 200 + queue, counts};
}

TEST(QueueReading, ChildrenOfAnMqAreItsQueuesByTheirPlace) {
  std::vector<Qdisc> const qdiscs{root(QdiscKind::queues, {9, 900, 0}), child(3, {4, 400, 1}),
                                  child(0, {5, 500, 2})};
  auto const reading = queueReading(qdiscs, 4);
  ASSERT_EQ(reading.queues.size(), 2u);
  EXPECT_EQ(reading.queues[0].number, 3u);
  EXPECT_EQ(reading.queues[0].counts, (QdiscCounts{4, 400, 1}));
  EXPECT_EQ(reading.queues[1].number, 0u);
  EXPECT_FALSE(reading.together);
}

TEST(QueueReading, WhatHangsBelowAQueueIsNoQueue) {
  Qdisc below = child(1, {7, 700, 0});
  below.parent = 0x20001;  // a class of the queue's own discipline
  std::vector<Qdisc> const qdiscs{root(QdiscKind::queues), child(0, {5, 500, 0}), below};
  EXPECT_EQ(queueReading(qdiscs, 4).queues.size(), 1u);
}

TEST(QueueReading, FiltersAreNoQueueOfAnMqWithoutAHandle) {
  Qdisc mq = root(QdiscKind::queues);
  mq.handle = 0;
  Qdisc first = child(0, {5, 500, 0});
  first.parent = 1;
  Qdisc const filters{0xffff0000, TC_H_CLSACT, QdiscKind::filters, 7, QdiscCounts{3, 300, 0}};
  EXPECT_EQ(queueReading(std::vector{mq, first, filters}, 4).queues.size(), 1u);
}

TEST(QueueReading, OfAnotherRootAreAllQueuesTogether) {
  auto const reading = queueReading(std::vector{root(QdiscKind::other, {5, 500, 1})}, 4);
  EXPECT_TRUE(reading.queues.empty());
  ASSERT_TRUE(reading.together);
  EXPECT_EQ(reading.together->counts, (QdiscCounts{5, 500, 1}));
  EXPECT_EQ(unsupportedQueueCounters(reading), Interface::kNoSingleQueues | 0x80);
}

TEST(QueueReading, TheOnlyQueueIsWhatTheRootCounts) {
  auto const reading = queueReading(std::vector{root(QdiscKind::other, {5, 500, 1})}, 1);
  ASSERT_EQ(reading.queues.size(), 1u);
  EXPECT_EQ(reading.queues[0].number, 0u);
  EXPECT_TRUE(reading.together);
  EXPECT_EQ(unsupportedQueueCounters(reading), 0x88u);
}

TEST(QueueReading, WithoutAQueueOrARootNothingIsCounted) {
  std::uint32_t const nothing = Interface::kNoSingleQueues | Interface::kNoQueuesTogether;
  EXPECT_EQ(unsupportedQueueCounters(queueReading({}, 1)), nothing);
  EXPECT_EQ(unsupportedQueueCounters(queueReading(std::vector{root(QdiscKind::none)}, 1)), nothing);
  Qdisc silent = root(QdiscKind::other);
  silent.counts.reset();
  EXPECT_EQ(unsupportedQueueCounters(queueReading(std::vector{silent}, 1)), nothing);
}

TEST(QueueReading, OfAnMqOnlyDropOctetsAreNotCounted) {
  std::vector<Qdisc> const qdiscs{root(QdiscKind::queues), child(0, {5, 500, 2})};
  EXPECT_EQ(unsupportedQueueCounters(queueReading(qdiscs, 4)), 0x88u);
}

TEST(QueueReading, DropsOfFiltersAreThoseOfTheirOwnDiscipline) {
  Qdisc const filters{0xffff0000, TC_H_CLSACT, QdiscKind::filters, 7, QdiscCounts{3, 300, 2}};
  EXPECT_EQ(filterCounts(std::vector{root(QdiscKind::other, {5, 500, 9}), filters})->drops, 2u);
  EXPECT_FALSE(filterCounts(std::vector{root(QdiscKind::other, {5, 500, 9})}));
}

/// What the poller does with an account: the row holds what was handed over.
class QueueAccountTest : public ::testing::Test {
 protected:
  void start() { sut.emplace(row, stored); }
  void read(std::vector<Qdisc> const& qdiscs, std::uint32_t txQueues = 4) {
    sut->advance(identity, queueReading(qdiscs, txQueues));
    stored = sut->stored();
    sut->saved();
    auto const sample = Kel::make<OruTypes::IntfQueueCounters>();
    sut->sample(*sample);
    if (!row) row.emplace();
    if (sample->intfCounts()) row->intfCounts = *sample->intfCounts();
    for (std::uint32_t i = 0; i <= QueueIndex::max; ++i) {
      if (!sample->contains(QueueIndex(i))) continue;
      row->statistics[QueueIndex(i)].counts = sample->queueCounts(QueueIndex(i));
      row->statistics.sizeIs(std::max(row->statistics.size(), i + 1));
    }
  }
  void readMq(std::vector<Qdisc> children, std::uint64_t source = 100) {
    children.push_back(root(QdiscKind::queues, {}, source));
    read(children);
  }
  Interface::QueueCounter::QueueCounts const& queue(std::uint32_t i) const {
    return row->statistics[QueueIndex(i)].counts;
  }

  LinkIdentity identity{1, 2};
  std::optional<Row> row;
  std::optional<StoredQueueOffsets> stored;
  std::optional<QueueAccount> sut;
};

TEST_F(QueueAccountTest, HandsOverWhatTheKernelCounts) {
  start();
  readMq({child(0, {5, 500, 1}), child(2, {7, 700, 0})});
  EXPECT_EQ(queue(0), (Interface::QueueCounter::QueueCounts{5, 500, 1, 0}));
  EXPECT_EQ(queue(1).pkts, 0u);
  EXPECT_EQ(queue(2).octets, 700u);
  EXPECT_EQ(row->statistics.size(), 3u);
  EXPECT_EQ(row->intfCounts, (Interface::QueueCounter::QueueCounts{12, 1200, 1, 0}));
}

TEST_F(QueueAccountTest, QueuesBeyondTheLastAreFoldedIntoIt) {
  start();
  std::vector<Qdisc> children;
  for (std::uint32_t i = 0; i < 64; ++i) children.push_back(child(i, {i, 10 * i, 1}));
  readMq(children);
  EXPECT_EQ(row->statistics.size(), 17u);
  EXPECT_EQ(queue(15).pkts, 15u);
  EXPECT_EQ(queue(16).pkts, (16u + 63u) * 48u / 2u);
  EXPECT_EQ(queue(16).dropPkts, 48u);
  EXPECT_EQ(row->intfCounts.pkts, 63u * 64u / 2u);
}

TEST_F(QueueAccountTest, AQueueThatIsReplacedGoesOn) {
  start();
  readMq({child(0, {5, 500, 1}), child(1, {7, 700, 0})});
  readMq({child(0, {2, 200, 0}), child(1, {8, 800, 0})});
  EXPECT_EQ(queue(0), (Interface::QueueCounter::QueueCounts{7, 700, 1, 0}));
  EXPECT_EQ(queue(1).pkts, 8u);
  EXPECT_EQ(row->intfCounts.pkts, 15u);
}

TEST_F(QueueAccountTest, ASuccessorThatCountedMoreAlreadyIsKnownByItsSource) {
  start();
  readMq({child(0, {5, 500, 1})});
  readMq({child(0, {50, 5000, 1}, 999)});
  EXPECT_EQ(queue(0).pkts, 55u);
  EXPECT_EQ(row->intfCounts.pkts, 55u);
}

TEST_F(QueueAccountTest, AnotherRootHasOtherQueues) {
  start();
  readMq({child(0, {5, 500, 1})}, 100);
  readMq({child(0, {50, 5000, 1})}, 101);
  EXPECT_EQ(queue(0).pkts, 55u);
}

TEST_F(QueueAccountTest, OfFoldedQueuesOneThatIsReplacedGoesOnAndTheOthersAreNotDoubled) {
  start();
  readMq({child(16, {5, 500, 0}), child(17, {1000, 100000, 0})});
  readMq({child(16, {2, 200, 0}), child(17, {1001, 100100, 0})});
  EXPECT_EQ(queue(16).pkts, 1008u);
  EXPECT_EQ(row->intfCounts.pkts, 1008u);
}

TEST_F(QueueAccountTest, DropsGoOnWhenTheir32BitsWrap) {
  start();
  readMq({child(0, {5, 500, 0xfffffff0})});
  readMq({child(0, {6, 600, 0x10})});
  EXPECT_EQ(queue(0).dropPkts, 0x100000010u);
  readMq({child(0, {7, 700, 0x20})});
  EXPECT_EQ(queue(0).dropPkts, 0x100000020u);
  start();
  readMq({child(0, {8, 800, 0x30})});
  EXPECT_EQ(queue(0).dropPkts, 0x100000030u);
}

TEST_F(QueueAccountTest, DropsThatWrapBetweenTwoAgentsGoOn) {
  start();
  readMq({child(0, {5, 500, 0xfffffff0})});
  start();
  readMq({child(0, {6, 600, 0x10})});
  EXPECT_EQ(queue(0).dropPkts, 0x100000010u);
}

TEST_F(QueueAccountTest, PacketsOf32BitsGoOnWhenTheyWrap) {
  start();
  readMq({child(0, {0xfffffff0, 500, 0})});
  readMq({child(0, {0x10, 600, 0})});
  EXPECT_EQ(queue(0).pkts, 0x100000010u);
}

TEST_F(QueueAccountTest, AQueueThatIsHiddenForAWhileIsNotDoubled) {
  start();
  readMq({child(0, {5, 500, 0}), child(1, {7, 700, 0})});
  readMq({child(0, {6, 600, 0})});
  EXPECT_EQ(queue(1).pkts, 7u);
  EXPECT_EQ(row->intfCounts.pkts, 13u);
  readMq({child(0, {6, 600, 0}), child(1, {9, 900, 0})});
  EXPECT_EQ(queue(1).pkts, 9u);
  EXPECT_EQ(row->intfCounts.pkts, 15u);
}

TEST_F(QueueAccountTest, AQueueThatIsHiddenAtTheStartIsNotDoubled) {
  start();
  readMq({child(0, {5, 500, 0}), child(1, {7, 700, 0})});
  start();
  readMq({child(0, {6, 600, 0})});
  readMq({child(0, {6, 600, 0}), child(1, {9, 900, 0})});
  EXPECT_EQ(queue(1).pkts, 9u);
  EXPECT_EQ(row->intfCounts.pkts, 15u);
}

TEST_F(QueueAccountTest, RestartsNeitherDoubleNorLose) {
  start();
  readMq({child(0, {5, 500, 1})});
  start();
  readMq({child(0, {8, 800, 2})});
  EXPECT_EQ(queue(0), (Interface::QueueCounter::QueueCounts{8, 800, 2, 0}));
  readMq({child(0, {3, 300, 0})});  // replaced
  start();
  readMq({child(0, {4, 400, 0})});
  EXPECT_EQ(queue(0), (Interface::QueueCounter::QueueCounts{12, 1200, 2, 0}));
  EXPECT_EQ(row->intfCounts.pkts, 12u);
}

TEST_F(QueueAccountTest, AQueueThatIsReplacedBetweenTwoAgentsGoesOn) {
  start();
  readMq({child(0, {5, 500, 0})});
  start();
  readMq({child(0, {50, 5000, 0}, 999)});
  EXPECT_EQ(queue(0).pkts, 55u);
  EXPECT_EQ(row->intfCounts.pkts, 55u);
}

TEST_F(QueueAccountTest, FoldedQueuesOfWhichOneWasReplacedBetweenTwoAgentsDoNotGoBackNorDouble) {
  start();
  readMq({child(16, {5, 500, 0}), child(17, {1000, 100000, 0})});
  start();
  readMq({child(16, {2, 200, 0}), child(17, {1001, 100100, 0})});
  EXPECT_EQ(queue(16).pkts, 1005u);
  readMq({child(16, {3, 300, 0}), child(17, {1001, 100100, 0})});
  EXPECT_EQ(queue(16).pkts, 1006u);
}

TEST_F(QueueAccountTest, AnotherLinkAddsAllThatItCounted) {
  start();
  readMq({child(0, {5, 500, 0})});
  identity.ifindex = 9;
  readMq({child(0, {50, 5000, 0})});
  EXPECT_EQ(queue(0).pkts, 55u);
  start();
  identity.ifindex = 10;
  readMq({child(0, {60, 6000, 0})});
  EXPECT_EQ(queue(0).pkts, 115u);
}

TEST_F(QueueAccountTest, AnotherLinkThatCountsNothingAtFirstAddsAllThatItCountsThen) {
  start();
  readMq({child(0, {5, 500, 0})});
  identity.ifindex = 9;
  read({root(QdiscKind::none)});
  start();
  readMq({child(0, {50, 5000, 0})});
  EXPECT_EQ(queue(0).pkts, 55u);
  EXPECT_EQ(row->intfCounts.pkts, 55u);
}

TEST_F(QueueAccountTest, OffsetsThatWereLostDoubleNothing) {
  start();
  readMq({child(0, {5, 500, 0})});
  for (auto const& lost :
       {std::optional<StoredQueueOffsets>(), std::optional(StoredQueueOffsets{identity, {}, {}})}) {
    stored = lost;
    start();
    readMq({child(0, {8, 800, 0})});
    EXPECT_EQ(queue(0).pkts, 8u);
    EXPECT_EQ(row->intfCounts.pkts, 8u);
  }
}

TEST_F(QueueAccountTest, ALinkThatMovesHereAddsOnlyWhatItCountsFromThen) {
  start();
  readMq({child(0, {5, 500, 0})});
  start();
  identity.ifindex = 9;
  std::vector<Qdisc> const qdiscs{root(QdiscKind::queues), child(0, {1000, 100000, 3})};
  sut->moveTo(identity, queueReading(qdiscs, 4));
  EXPECT_TRUE(sut->mustSave());
  stored = sut->stored();
  start();
  readMq({child(0, {1003, 100300, 4})});
  EXPECT_EQ(queue(0), (Interface::QueueCounter::QueueCounts{8, 800, 1, 0}));
  EXPECT_EQ(row->intfCounts.pkts, 8u);
}

TEST_F(QueueAccountTest, WhatIsNotCountedStays) {
  start();
  readMq({child(0, {5, 500, 0})});
  Row const before = *row;
  read({root(QdiscKind::none)});
  EXPECT_EQ(*row, before);
}

TEST_F(QueueAccountTest, AllQueuesTogetherGoOnFromOneKindOfRootToAnother) {
  start();
  readMq({child(0, {5, 500, 0}), child(1, {5, 500, 0})});
  read({root(QdiscKind::other, {3, 300, 1}, 101)});
  EXPECT_EQ(row->intfCounts, (Interface::QueueCounter::QueueCounts{13, 1300, 1, 0}));
  EXPECT_EQ(queue(0).pkts, 5u);
  start();
  read({root(QdiscKind::other, {4, 400, 1}, 101)});
  EXPECT_EQ(row->intfCounts.pkts, 14u);
  start();
  readMq({child(0, {2, 200, 0})}, 102);
  EXPECT_EQ(row->intfCounts.pkts, 16u);
  EXPECT_EQ(queue(0).pkts, 7u);
}

TEST_F(QueueAccountTest, TheOnlyQueueAndAllTogetherAreTheRoot) {
  start();
  read({root(QdiscKind::other, {3, 300, 1})}, 1);
  EXPECT_EQ(queue(0).pkts, 3u);
  EXPECT_EQ(row->intfCounts, queue(0));
  read({root(QdiscKind::other, {2, 200, 0})}, 1);
  EXPECT_EQ(queue(0).pkts, 5u);
  EXPECT_EQ(row->intfCounts, queue(0));
}

TEST_F(QueueAccountTest, OffsetsChangeOnlyWhenACountStartedAnew) {
  start();
  readMq({child(0, {5, 500, 0})});
  auto const first = *stored;
  sut->advance(identity,
               queueReading(std::vector{root(QdiscKind::queues), child(0, {9, 900, 3})}, 4));
  EXPECT_FALSE(sut->mustSave());
  EXPECT_EQ(*sut->stored(), first);
  sut->advance(identity,
               queueReading(std::vector{root(QdiscKind::queues), child(0, {1, 100, 0})}, 4));
  EXPECT_TRUE(sut->mustSave());
  EXPECT_EQ(sut->stored()->offsets.pkts[0], 9u);
}

TEST_F(QueueAccountTest, ARowThatBeganAnewIsNotContinuedWithItsOffsets) {
  start();
  readMq({child(0, {5, 500, 0})});
  readMq({child(0, {2, 200, 0})});
  row.emplace();
  start();
  readMq({child(0, {3, 300, 0})});
  EXPECT_EQ(queue(0).pkts, 3u);
}

}  // namespace
}  // namespace Hardware::Linux
