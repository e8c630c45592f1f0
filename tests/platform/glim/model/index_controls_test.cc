// What becomes of searches when one part of the index's protocol is left out. Where it is needed, a
// key that is there throughout is missed; ORU_MODEL_REPORT=1 prints how. Where it is not, the test
// says what does its work.
#include <gtest/gtest.h>

#include "tests/platform/glim/model/find_checks.h"
#include "tests/platform/glim/model/index_scripts.h"
#include "tests/platform/glim/model/lacking.h"
#include "tests/platform/glim/model/report.h"

namespace GlimModel {
namespace {

class GlimIndexWithout : public testing::Test {
 protected:
  GlimIndexWithout() {
    keys.begin(table);
    keys.comeAndGo(table);
  }
  void SetUp() override {
    if (Glim::Words::fenceFree) GTEST_SKIP() << "the form without fences has other parts";
  }

  // Of the key that is there throughout: what is right to say of it needs no truth of the program.
  std::string wrong(Program const& program, ReaderLacks const& lacks = {}) {
    FindFindings const findings = search(table, program, keys.last, lacks);
    report(findings.wrong);
    return findings.wrong;
  }
  // Of all keys. REQUIRES: the stamps of the program are the table's own.
  void expectRight(Program const& program, ReaderLacks const& lacks = {}) {
    for (Key const key : keys.all()) EXPECT_EQ(search(table, program, key, lacks).wrong, "");
  }
  void expectRightAlthoughLeftOut(Program const& program) {
    EXPECT_NE(program, table.program());
    expectRight(program);
  }

  Keys const keys;
  RecordedTable table{Glim::rowShape<Row>(), Keys::maxRows};
  Lacking without{table.geometry(), table.initial()};
};

TEST_F(GlimIndexWithout, NothingNoKeyIsMissed) { expectRight(table.program()); }

TEST_F(GlimIndexWithout, TheRaisedVersionAKeyIsMissed) {
  EXPECT_NE(wrong(without.raisedIndexVersion(table.program())), "");
}

TEST_F(GlimIndexWithout, TheCheckOfTheVersionAKeyIsMissed) {
  EXPECT_NE(wrong(table.program(), {.indexCheck = true}), "");
}

TEST_F(GlimIndexWithout, AcquireOfTheVersionAKeyIsMissed) {
  EXPECT_NE(wrong(table.program(), {.acquireOfIndexVersion = true}), "");
}

TEST_F(GlimIndexWithout, CopyingAnEntryBeforeItsOldPlaceIsClearedAKeyIsMissed) {
  EXPECT_NE(wrong(without.copyBeforeClearing(table.program())), "");
}

TEST_F(GlimIndexWithout, TheOddVersionAKeyIsMissedWhileTheIndexIsBuiltAnew) {
  RecordedTable rebuilt(Glim::rowShape<Row>(), Keys::maxRows);
  keys.begin(rebuilt);
  rebuilt.dieAfter(7);  // while entries are moved
  ASSERT_FALSE(rebuilt.survives([&] { keys.comeAndGo(rebuilt); }));
  rebuilt.reign();
  ASSERT_TRUE(rebuilt.writer().conquest().indexRebuilt);
  EXPECT_EQ(search(rebuilt, rebuilt.program(), keys.last).wrong, "");
  FindFindings const findings =
      search(rebuilt, without.oddIndexVersion(rebuilt.program()), keys.last);
  report(findings.wrong);
  EXPECT_NE(findings.wrong, "");
}

// That who sees an entry overwritten sees the version raised takes one thing on the writer's side,
// the fence between the two or the release of the entry, and one on the reader's, the acquire of
// the entry or the fence before the check. The code has both on both sides; each is enough.
TEST_F(GlimIndexWithout, TheFenceAfterTheVersionNoKeyIsMissedSinceBucketsAreReleased) {
  expectRightAlthoughLeftOut(without.fenceAfterIndexVersion(table.program()));
}
TEST_F(GlimIndexWithout, ReleaseOfBucketsNoKeyIsMissedSinceThereIsTheFence) {
  expectRightAlthoughLeftOut(without.releaseOfBuckets(table.program()));
}
TEST_F(GlimIndexWithout, BothFenceAndReleaseAKeyIsMissed) {
  EXPECT_NE(wrong(without.releaseOfBuckets(without.fenceAfterIndexVersion(table.program()))), "");
}
TEST_F(GlimIndexWithout, AcquireOfBucketsNoKeyIsMissedSinceThereIsTheFenceBeforeTheCheck) {
  expectRight(table.program(), {.acquireOfBuckets = true});
}
TEST_F(GlimIndexWithout, TheFenceBeforeTheCheckNoKeyIsMissedSinceBucketsAreAcquired) {
  expectRight(table.program(), {.fenceBeforeIndexCheck = true});
}
TEST_F(GlimIndexWithout, BothAcquireAndFenceAKeyIsMissed) {
  EXPECT_NE(wrong(table.program(), {.acquireOfBuckets = true, .fenceBeforeIndexCheck = true}), "");
}

// A search that comes to an entry whose row is not live goes on behind it, as it does anyway when a
// row was published dead and is not unlinked yet. So readers do not need this order. A writer
// killed in between leaves an index that differs from the rows in either order, and it is built
// anew.
TEST_F(GlimIndexWithout, PublishingARowBeforeItIsLinkedNoKeyIsMissed) {
  expectRightAlthoughLeftOut(without.publishingBeforeLinking(table.program()));
}

}  // namespace
}  // namespace GlimModel
