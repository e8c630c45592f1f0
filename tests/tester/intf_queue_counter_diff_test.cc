// The counters of an interface as seen since the last clear.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <limits>
#include <string>

#include "platform/interface/counter_tables.h"
#include "platform/kel/exceptions.h"
#include "tester/intf_queue_counters_helper.h"
#include "tests/platform/glim/table_fixture.h"
#include "tests/support/temporary_tables.h"
#include "tests/tester/queue_record.h"

namespace {

using Helper = Oru::Counters::IntfQueueCountersHelper;
using Interface::QueueCounter::IntfQueueCounter;
using Interface::QueueCounter::QueueIndex;
using TesterTest::record;

Pekt::IntfId const eth1("Ethernet1");
constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();

class IntfQueueCounterDiff : public testing::Test {
 public:
  using Table = Interface::QueueCounter::AllIntfQueueCounters;

  void now(IntfQueueCounter const& row) { current->intfQueueCounterIs(row); }
  void whenCleared(IntfQueueCounter const& row) { cleared->intfQueueCounterIs(row); }
  IntfQueueCounter diff() { return Helper::computeIntfQueueCounterDiff(current, cleared, eth1); }

  // Writes into a row of a table's file, as a stray pointer of another process would.
  void damage(char const* table) {
    GlimTest::Vandal((tables.directory() / table).string() + ".glim").rowWord(0, 8) ^= 1;
  }

  Support::TemporaryTables tables;
  Kel::Ptr<Table> current = tables.table<Table>("current");
  Kel::Ptr<Table> cleared = tables.table<Table>("cleared");
};
using IntfQueueCounterDiffDeathTest = IntfQueueCounterDiff;

// A record as damaged memory may hold it, which says that it has so many queues.
IntfQueueCounter withQueues(std::uint32_t count, IntfQueueCounter row) {
  auto const* const base = reinterpret_cast<std::byte const*>(&row.statistics);
  std::size_t const offset = 17 * sizeof(Interface::QueueCounter::IntfQueueStat);
  std::memcpy(const_cast<std::byte*>(base) + offset, &count, sizeof count);
  return row;
}

TEST_F(IntfQueueCounterDiff, IsOfEachCounterOfEachQueueAndOfAllTogether) {
  now(record("Ethernet1", {{0, {10, 200, 30, 400}}, {1, {5, 6, 7, 8}}}, {100, 200, 300, 400}));
  whenCleared(record("Ethernet1", {{0, {1, 20, 3, 40}}, {1, {5, 5, 5, 5}}}, {10, 20, 30, 40}));
  EXPECT_EQ(diff(),
            record("Ethernet1", {{0, {9, 180, 27, 360}}, {1, {0, 1, 2, 3}}}, {90, 180, 270, 360}));
}

TEST_F(IntfQueueCounterDiff, LeavesBothTablesAsTheyAre) {
  auto const a = record("Ethernet1", {{0, {.pkts = 3}}}),
             b = record("Ethernet1", {{0, {.pkts = 1}}});
  now(a);
  whenCleared(b);
  diff();
  EXPECT_EQ(current->intfQueueCounter(eth1), a);
  EXPECT_EQ(cleared->intfQueueCounter(eth1), b);
}

TEST_F(IntfQueueCounterDiff, CountersThatWrappedSinceGoOn) {
  now(record("Ethernet1", {{0, {.pkts = 4}}}));
  whenCleared(record("Ethernet1", {{0, {.pkts = kLargest}}}));
  EXPECT_EQ(diff(), record("Ethernet1", {{0, {.pkts = 5}}}));
}

TEST_F(IntfQueueCounterDiff, WithoutAClearedRowIsTheCurrentOne) {
  auto const row = record("Ethernet1", {{0, {.pkts = 3}}, {16, {.octets = 4}}}, {.pkts = 3}, 9);
  now(row);
  EXPECT_EQ(diff(), row);
}

TEST_F(IntfQueueCounterDiff, QueuesWithoutAPartnerAreAsTheyAre) {
  now(record("Ethernet1", {{0, {.pkts = 3}}, {1, {.pkts = 4}}}));
  whenCleared(record("Ethernet1", {{0, {.pkts = 1}}}));
  EXPECT_EQ(diff(), record("Ethernet1", {{0, {.pkts = 2}}, {1, {.pkts = 4}}}));
}

TEST_F(IntfQueueCounterDiff, QueuesThatOnlyTheClearedRowHasAreNoMatter) {
  now(record("Ethernet1", {{0, {.pkts = 3}}}));
  whenCleared(record("Ethernet1", {{0, {.pkts = 1}}, {1, {.pkts = 4}}}));
  EXPECT_EQ(diff(), record("Ethernet1", {{0, {.pkts = 2}}}));
}

TEST_F(IntfQueueCounterDiff, KeepsTheTypesOfTheQueues) {
  auto const row = record("Ethernet1", {{0, {.pkts = 3}}, {1, {.pkts = 4}}}, {}, 1);
  now(row);
  whenCleared(row);
  EXPECT_EQ(diff(), record("Ethernet1", {{0, {}}, {1, {}}}, {}, 1));
}

TEST_F(IntfQueueCounterDiff, WithoutACurrentRowIsEmpty) {
  whenCleared(record("Ethernet1", {{0, {.pkts = 1}}}, {.pkts = 1}));
  now(record("Ethernet2", {{0, {.pkts = 1}}}));
  EXPECT_EQ(diff(), record("Ethernet1", {}));
}

TEST_F(IntfQueueCounterDiff, OfLostTablesIsThatOfAbsentRows) {
  auto const row = record("Ethernet1", {{0, {.pkts = 3}}});
  now(row);
  whenCleared(row);
  cleared->detach();
  EXPECT_EQ(diff(), row);
  current->detach();
  EXPECT_EQ(diff(), record("Ethernet1", {}));
}

TEST_F(IntfQueueCounterDiff, ARowThatSaysMoreThan17QueuesIsRefusedInEitherTable) {
  auto const refusal = [&] {
    try {
      diff();
    } catch (Kel::RangeException const& e) {
      return std::string(e.what());
    }
    return std::string("not refused");
  };
  auto const good = record("Ethernet1", {{16, {.pkts = 3}}});
  std::string const text = "QueueIndex::value < QueueIndex::min or > QueueIndex::max not allowed";
  now(good);
  whenCleared(withQueues(18, good));
  EXPECT_EQ(refusal(), text);
  whenCleared(good);
  EXPECT_EQ(refusal(), "not refused");
  now(withQueues(18, good));
  EXPECT_EQ(refusal(), text);
}

TEST_F(IntfQueueCounterDiff, OfADamagedCurrentTableIsEmptyAndDetachesIt) {
  now(record("Ethernet1", {{0, {.pkts = 3}}}));
  damage("current");
  EXPECT_EQ(diff(), record("Ethernet1", {}));
  EXPECT_FALSE(current->attached());
  EXPECT_TRUE(cleared->attached());
  EXPECT_TRUE(std::filesystem::exists(tables.directory() / "current.corruption"));
}

TEST_F(IntfQueueCounterDiff, WithADamagedClearTableIsTheCurrentRow) {
  auto const row = record("Ethernet1", {{0, {.pkts = 3}}});
  now(row);
  whenCleared(row);
  damage("cleared");
  EXPECT_EQ(diff(), row);
  EXPECT_FALSE(cleared->attached());
}

TEST_F(IntfQueueCounterDiffDeathTest, QueuesOfTwoTypesEndTheProcess) {
  now(record("Ethernet1", {{0, {}}, {1, {}}}, {}, 1));
  whenCleared(record("Ethernet1", {{0, {}}, {1, {}}}));
  EXPECT_DEATH(diff(),
               "OruIntfQueueTester:30: .*IntfQueueCountersHelper::computeIntfQueueCounterDiff\\(.*"
               "Assertion `qs\\.queueType\\(\\) == i->queueType\\(\\)' failed");
}

}  // namespace
