// The protocol of the index, proved for its readers: whatever a search may come to under the memory
// model while keys come and go along chains that share buckets and go around the end.
#include <gtest/gtest.h>

#include "tests/platform/glim/model/find_checks.h"
#include "tests/platform/glim/model/index_scripts.h"
#include "tests/platform/glim/model/lacking.h"
#include "tests/platform/glim/model/report.h"

namespace GlimModel {
namespace {

class GlimIndexProtocol : public testing::Test {
 protected:
  void expectRight(RecordedTable const& table, Program const& program, ReaderLacks lacks = {}) {
    for (Key const key : keys.all()) {
      FindFindings const findings = search(table, program, key, lacks);
      ASSERT_EQ(findings.wrong, "");
      all.found += findings.found;
      all.absent += findings.absent;
      all.longWays += findings.longWays;
      all.runs += findings.runs;
      all.states += findings.states;
    }
  }
  void expectRight(RecordedTable const& table) { expectRight(table, table.program()); }

  Keys const keys;
  FindFindings all;
};

TEST_F(GlimIndexProtocol, AKeyIsFoundWhileItIsThereWhateverComesAndGoesAroundIt) {
  RecordedTable sut(Glim::rowShape<Row>(), Keys::maxRows);
  keys.begin(sut);
  keys.comeAndGo(sut);
  expectRight(sut);
  EXPECT_GT(all.found, 0u);
  EXPECT_GT(all.absent, 0u);
  EXPECT_GT(all.longWays, 0u);
  report(all.runs, all.states);
}

TEST_F(GlimIndexProtocol, SoItIsWhereverAWriterIsKilledAndTheNextOneGoesOn) {
  RecordedTable whole(Glim::rowShape<Row>(), Keys::maxRows);
  keys.begin(whole);
  keys.comeAndGo(whole);
  std::size_t rebuilt = 0;
  for (std::size_t stores = 0; stores < whole.stores(); ++stores) {
    RecordedTable sut(Glim::rowShape<Row>(), Keys::maxRows);
    keys.begin(sut);
    sut.dieAfter(stores);
    ASSERT_FALSE(sut.survives([&] { keys.comeAndGo(sut); }));
    sut.reign();
    rebuilt += sut.writer().conquest().indexRebuilt;
    keys.goOn(sut);
    expectRight(sut);
  }
  EXPECT_GT(rebuilt, 0u);
  EXPECT_LT(rebuilt, whole.stores());
  report(all.runs, all.states);
}

TEST_F(GlimIndexProtocol, SoItIsWhereverAWriterIsKilledThatRewritesARow) {
  RecordedTable whole(Glim::rowShape<Row>(), Keys::maxRows);
  keys.begin(whole);
  keys.rewrite(whole);
  for (std::size_t stores = 0; stores < whole.stores(); ++stores) {
    RecordedTable sut(Glim::rowShape<Row>(), Keys::maxRows);
    keys.begin(sut);
    sut.dieAfter(stores);
    ASSERT_FALSE(sut.survives([&] { keys.rewrite(sut); }));
    sut.reign();
    keys.goOn(sut);
    expectRight(sut);
  }
  report(all.runs, all.states);
}

// The first one dies while it moves entries, the second one at each store of its rebuilding.
TEST_F(GlimIndexProtocol, SoItIsWhereverItsSuccessorIsKilledThatRebuildsTheIndex) {
  std::size_t deaths = 0;
  for (bool alive = false; !alive; ++deaths) {
    RecordedTable sut(Glim::rowShape<Row>(), Keys::maxRows);
    keys.begin(sut);
    sut.dieAfter(7);
    ASSERT_FALSE(sut.survives([&] { keys.comeAndGo(sut); }));
    alive = sut.survives([&] { sut.reign(deaths); });
    if (!alive) sut.reign();
    keys.goOn(sut);
    expectRight(sut);
  }
  EXPECT_GT(deaths, 2 * Keys::maxRows);
  report(all.runs, all.states);
}

TEST_F(GlimIndexProtocol, SoItIsInTheFormWithoutFences) {
  RecordedTable sut(Glim::rowShape<Row>(), Keys::maxRows);
  keys.begin(sut);
  keys.comeAndGo(sut);
  expectRight(sut, Lacking(sut.geometry(), sut.initial()).fences(sut.program()), {.fences = true});
}

// The liberty that find_checks.h speaks of: an old entry leads to the slot, where the new row is
// published already. Who then asks again may be told that it is absent, until it is linked.
TEST_F(GlimIndexProtocol, ARowMayBeFoundAndMissedOnceMoreBeforeItsInsertionIsDone) {
  RecordedTable sut(Glim::rowShape<Row>(), Keys::maxRows);
  keys.begin(sut);
  keys.comeAndGo(sut);
  EXPECT_TRUE(maybeFoundAndThenMissed(sut, keys.c));
  EXPECT_FALSE(maybeFoundAndThenMissed(sut, keys.last));
}

}  // namespace
}  // namespace GlimModel
