// Tables of VLAN counters that turn out to be damaged.
#include <filesystem>

#include "platform/dov/exception.h"
#include "tests/counters/vlan_counters_fixture.h"
#include "tests/platform/glim/table_fixture.h"

namespace VlanTest {
namespace {

class DamagedVlanTables : public VlanCountersSm {
 public:
  // Writes into the first row of a table's file, as a stray pointer of another process would.
  void damage(char const* table) {
    GlimTest::Vandal((tables.directory() / table).string() + ".glim").rowWord(0, 2) ^= 1;
  }
  bool leftAFile(char const* table) const {
    return std::filesystem::exists(tables.directory() / (std::string(table) + ".corruption"));
  }
};

TEST_F(DamagedVlanTables, ARowThatIsDamagedAtAPollDetachesTheTableAndNoMore) {
  makeWithTwo();
  auto const exceptions = Kel::notificationExceptions();
  damage("live");
  runTo(kStart + 20.0);
  EXPECT_FALSE(live->attached());
  EXPECT_TRUE(leftAFile("live"));
  EXPECT_TRUE(snapshot->attached());
  EXPECT_EQ(Kel::notificationExceptions(), exceptions);
  EXPECT_NE(wheel->nextRun(), Kel::Clock::kNever);  // the wake-ups go on
}

TEST_F(DamagedVlanTables, ARowThatIsDamagedAtAClearDetachesTheTableAndKeepsTheCleared) {
  makeWithTwo();
  helper->now[v1] = counts(5);
  sut->updateCounters();
  requests->clearCountersRequestIs(v1, true);
  auto const cleared = snapshot->vlanCounterSnapshot(v1);
  ASSERT_EQ(cleared.counts, counts(5));
  damage("live");
  requests->clearCountersRequestDel(v1);
  requests->clearCountersRequestIs(v1, true);
  EXPECT_FALSE(live->attached());
  EXPECT_TRUE(leftAFile("live"));
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v1).counts, cleared.counts);
}

TEST_F(DamagedVlanTables, ATableThatWasLostBeforeClearsNothing) {
  makeWithTwo();
  helper->now[v10] = counts(5);
  sut->updateCounters();
  sut->doTakeSnapshot(v10);
  live->detach();
  sut->doTakeSnapshot(v10);
  EXPECT_EQ(snapshot->vlanCounterSnapshot(v10).counts, counts(5));
}

TEST_F(DamagedVlanTables, ASnapshotThatIsDamagedIsGivenUpAndTheLiveRowsAreNot) {
  makeWithTwo();
  helper->now[v1] = counts(5);
  sut->updateCounters();
  damage("snapshot");
  EXPECT_THROW(sut->doTakeSnapshot(v1), Dov::AssertException);  // nowhere to write
  EXPECT_FALSE(snapshot->attached());
  EXPECT_TRUE(leftAFile("snapshot"));
  sut->updateCounters();
  EXPECT_TRUE(live->attached());
  EXPECT_EQ(live->vlanCounter(v1).counts, counts(5));
}

TEST_F(DamagedVlanTables, ASnapshotThatIsDamagedHoldsUpNoVlan) {
  makeWithTwo();
  damage("snapshot");
  log.clear();
  sut->handleVlanConfig(v1);
  EXPECT_FALSE(snapshot->attached());
  EXPECT_EQ(log.count("initializeVlanCounters 1"), 1u);
}

TEST_F(DamagedVlanTables, ARowThatIsDamagedAtTheStartDetachesTheTableAndNoMore) {
  live->vlanCounterIs(row(v1, counts(1), 7.0));
  live->vlanCounterIs(row(v20, counts(2), 7.0));
  damage("live");
  config->vlanConfigIs({v1});
  make();
  EXPECT_FALSE(live->attached());
  EXPECT_TRUE(leftAFile("live"));
  EXPECT_TRUE(sut->initialized());
  EXPECT_TRUE(snapshot->contains(v1));
}

}  // namespace
}  // namespace VlanTest
