// A check of a table: its index, and what its header counts.
#include <gmock/gmock.h>

#include <utility>

#include "tests/platform/glim/table_check_fixture.h"

namespace Glim {
namespace {

using GlimTest::lines;
using GlimTest::rows;
using GlimTest::TableCheck;
using GlimTest::Vandal;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

// --- index ---

TEST_F(TableCheck, ARowThatNoBucketLeadsToIsDamage) {
  auto const report = checkDamaged([](Vandal& v) { bucketOf(v, 4) = 0; });
  EXPECT_THAT(lines(report.findings),
              Contains("slot 4 (5): no bucket of the index leads to the row"));
}

TEST_F(TableCheck, AnEntryToASlotWithoutRowIsDamage) {
  auto const report =
      checkDamaged([](Vandal& v) { emptyBucket(v) = Layout::bucketEntry(1234, 30); });
  EXPECT_THAT(lines(report.findings), Contains(HasSubstr("leads to slot 30, which has no row")));
}

TEST_F(TableCheck, AnEntryBeyondTheSlotsIsDamage) {
  auto const report =
      checkDamaged([](Vandal& v) { emptyBucket(v) = Layout::bucketEntry(1234, 64); });
  EXPECT_THAT(lines(report.findings), Contains(HasSubstr("leads to slot 64, which there is not")));
}

TEST_F(TableCheck, ASecondEntryToARowIsDamage) {
  auto const report = checkDamaged([](Vandal& v) { emptyBucket(v) = bucketOf(v, 4); });
  EXPECT_THAT(lines(report.findings), Contains(HasSubstr("(5), as another one does")));
}

TEST_F(TableCheck, AnEntryUnderAnotherHashIsDamageWhereHashesAreKnown) {
  auto const report = checkDamaged([](Vandal& v) { bucketOf(v, 4) ^= Word{1} << 40; });
  EXPECT_THAT(lines(report.findings),
              ElementsAre(HasSubstr("(5) under a hash that is not its key's")));
}

TEST_F(TableCheck, AnEntryThatASearchDoesNotReachIsDamageWithoutKnownHashesToo) {
  options.keyHash = nullptr;
  auto const report = checkDamaged([](Vandal& v) {
    // Just before its home: the whole circle would have to be taken.
    Word& bucket = bucketOf(v, 4);
    Word const entry = std::exchange(bucket, 0);
    Word const home = Layout::homeBucket(Layout::entryHash(entry), v.geometry().buckets);
    for (Word n = 1;; ++n) {
      Word const before = (home - n) & (v.geometry().buckets - 1);
      if (v.bucket(before) != 0) continue;
      v.bucket(before) = entry;
      return;
    }
  });
  EXPECT_THAT(lines(report.findings),
              ElementsAre(HasSubstr("(5), and a search for its key ends before it")));
}

TEST_F(TableCheck, AnIndexWithoutAnEmptyBucketIsToldAndEndsTheCheckToo) {
  auto const report = checkDamaged([](Vandal& v) {
    for (Word i = 0; i < v.geometry().buckets; ++i)
      if (v.bucket(i) == 0) v.bucket(i) = Layout::bucketEntry(1, 5);
  });
  EXPECT_THAT(lines(report.findings), Contains("no bucket of the index is empty"));
}

TEST_F(TableCheck, AnIndexWhoseBuildingWasCutOffIsToldAlone) {
  auto const report = checkDamaged([](Vandal& v) {
    v.word(Layout::indexVersionOffset) |= 1;
    for (Word i = 0; i < v.geometry().buckets; ++i) v.bucket(i) = 0;
  });
  EXPECT_THAT(lines(report.findings), ElementsAre(HasSubstr("the index is being built anew")));
}

// --- what the header counts ---

// It counts from the machine's start, and a copy may be read after the next one.
TEST_F(TableCheck, AHeartbeatInTheFutureIsDamageOfALivingWriterAlone) {
  table = nullptr;
  Vandal(file()).word(Layout::heartbeatOffset) = ~Word{0};
  EXPECT_EQ(check().damage, 0u);
  options.writerLives = true;
  EXPECT_THAT(lines(check().findings), ElementsAre("the heartbeat lies in the future"));
}

TEST_F(TableCheck, EveryWordThatTheWriterChangesIsChecked) {
  struct {
    std::size_t offset;
    Word value;
    char const* text;
  } const cases[] = {
      {Layout::stateOffset, 0, "the state of the table is 0, which is none"},
      {Layout::stateOffset, 77, "the state of the table is 77, which is none"},
      {Layout::epochOffset, 0, "the epoch is 0: no table has had that many writers"},
      {Layout::epochOffset, ~Word{0}, ": no table has had that many writers"},
      {Layout::writerPidOffset, 0, "the writer's process id is 0, which is none"},
      {Layout::writerPidOffset, ~Word{0}, "which is none"},
      {Layout::membersOffset, 9, "the header says 9 rows, and there are 10"},
      {Layout::membersOffset, 5000, "the header says 5000 rows, and there are 10"},
      {Layout::allocatedRowsOffset, 65,
       "the header says 65 allocated rows, and the file has "
       "memory for 64"},
      {Layout::allocatedRowsOffset, 63, "the header says 63 allocated rows"},
  };
  table = nullptr;
  for (auto const& one : cases) {
    Vandal vandal(file());
    Word const was = std::exchange(vandal.word(one.offset), one.value);
    EXPECT_THAT(lines(check().findings), Contains(HasSubstr(one.text)));
    vandal.word(one.offset) = was;
    EXPECT_EQ(check().damage, 0u);
  }
}

TEST_F(TableCheck, ACorruptRowMayBeAmongTheCounted) {
  auto const report = checkDamaged([](Vandal& v) { v.rowWord(4, 1) ^= 1; });
  EXPECT_EQ(report.damage, 1u);
}

}  // namespace
}  // namespace Glim
