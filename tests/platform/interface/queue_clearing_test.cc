#include "platform/interface/queue_clearing.h"

#include <gtest/gtest.h>

#include "tests/support/temporary_tables.h"

namespace Interface::QueueCounter {
namespace {

class QueueClearing : public ::testing::Test {
 protected:
  static IntfQueueCounter row(Pekt::IntfId const& id, std::uint64_t pkts) {
    IntfQueueCounter row;
    row.intfId = id;
    row.statistics.sizeIs(8);
    row.statistics[QueueIndex(7)] = {OruTypes::QueueType::multicast, {}, {pkts, 2, 3, 4}};
    row.intfCounts = {pkts, 6, 7, 8};
    return row;
  }

  Support::TemporaryTables place;
  Kel::Ptr<AllIntfQueueCounters> const live = place.table<AllIntfQueueCounters>("live");
  Kel::Ptr<AllIntfQueueCounters> const cleared = place.table<AllIntfQueueCounters>("cleared");
  Clearing const sut{live, cleared};
};

TEST_F(QueueClearing, OfAllCopiesEveryRowUnchanged) {
  live->intfQueueCounterIs(row("Ethernet1", 5));
  live->intfQueueCounterIs(row("Ethernet2", 9));
  sut.clear("all");
  EXPECT_EQ(cleared->lookup("Ethernet1"), row("Ethernet1", 5));
  EXPECT_EQ(cleared->lookup("Ethernet2"), row("Ethernet2", 9));
  EXPECT_EQ(live->lookup("Ethernet2"), row("Ethernet2", 9));
}

TEST_F(QueueClearing, OfOneInterfaceLeavesTheOthers) {
  live->intfQueueCounterIs(row("Ethernet1", 5));
  live->intfQueueCounterIs(row("Ethernet2", 9));
  cleared->intfQueueCounterIs(row("Ethernet1", 1));
  sut.clear("Ethernet2");
  EXPECT_EQ(cleared->lookup("Ethernet1"), row("Ethernet1", 1));
  EXPECT_EQ(cleared->lookup("Ethernet2"), row("Ethernet2", 9));
}

TEST_F(QueueClearing, OfAnInterfaceWithoutARowMakesNone) {
  sut.clear("Ethernet3");
  EXPECT_EQ(cleared->members(), 0u);
}

TEST_F(QueueClearing, OfWhatIsNoNameChangesNothing) {
  live->intfQueueCounterIs(row("Ethernet1", 5));
  sut.clear(std::string(500, 'x'));
  sut.clear("");
  sut.clear("All");
  EXPECT_EQ(cleared->members(), 0u);
}

TEST_F(QueueClearing, WithoutTablesDoesNothing) { Clearing().clear("all"); }

}  // namespace
}  // namespace Interface::QueueCounter
