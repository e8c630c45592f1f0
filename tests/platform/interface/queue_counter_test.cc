#include "platform/interface/queue_counter.h"

#include <gtest/gtest.h>

#include "platform/kel/exceptions.h"

namespace Interface::QueueCounter {
namespace {

TEST(QueueIndex, Is0To16) {
  EXPECT_EQ(QueueIndex(QueueIndex::min).value(), 0u);
  EXPECT_EQ(QueueIndex(QueueIndex::max).value(), 16u);
}

TEST(QueueIndex, OutsideIsRefusedToTheLetter) {
  try {
    QueueIndex const sut(17);
    FAIL() << "not refused: " << sut.value();
  } catch (Kel::RangeException const& e) {
    EXPECT_STREQ(e.what(), "QueueIndex::value < QueueIndex::min or > QueueIndex::max not allowed");
  }
  EXPECT_THROW(QueueIndex(~0u), Kel::RangeException);
}

TEST(IntfQueueCounter, EqualsOverAllMembers) {
  IntfQueueCounter const sut{.intfId = "Ethernet1", .statistics = {}, .intfCounts = {}};
  EXPECT_EQ(sut, (IntfQueueCounter{.intfId = "Ethernet1", .statistics = {}, .intfCounts = {}}));
  EXPECT_NE(sut, (IntfQueueCounter{.intfId = "Ethernet2", .statistics = {}, .intfCounts = {}}));
  IntfQueueCounter other = sut;
  other.statistics.sizeIs(1);
  EXPECT_NE(sut, other);
}

TEST(IntfQueueCounter, IsKeyedByItsInterface) {
  IntfQueueCounter const sut{.intfId = "Ethernet1", .statistics = {}, .intfCounts = {}};
  EXPECT_EQ(Glim::RecordTraits<IntfQueueCounter>::key(sut), Pekt::IntfId("Ethernet1"));
}

}  // namespace
}  // namespace Interface::QueueCounter
