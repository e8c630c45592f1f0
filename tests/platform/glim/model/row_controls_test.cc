// What becomes of a row when one part of its protocol is left out: if the model found nothing then,
// its finding nothing otherwise would say nothing. Each test wants a counterexample;
// ORU_MODEL_REPORT=1 prints it.
//
// In each case the version check lets a torn copy pass, and the checksum calls it corrupt: it is a
// second line of defence, and readers would still never be handed a torn row, but be told of
// damage that is none.
#include <gtest/gtest.h>

#include "tests/platform/glim/model/lacking.h"
#include "tests/platform/glim/model/model_rows.h"
#include "tests/platform/glim/model/report.h"
#include "tests/platform/glim/model/row_checks.h"

namespace GlimModel {
namespace {

class GlimRowWithout : public testing::Test {
 protected:
  GlimRowWithout() {
    table.record();
    for (std::uint64_t count = 1; count <= 4; ++count) {
      WideRow const row{{1}, count, count};
      table.write(&row);
    }
  }
  void SetUp() override {
    if (Glim::Words::fenceFree) GTEST_SKIP() << "the form without fences has other parts";
  }

  void expectTorn(Program const& program, ReaderLacks const& lacks = {}) {
    expectTorn(table, program, lacks);
  }
  void expectTorn(RecordedTable const& of, Program const& program, ReaderLacks const& lacks = {}) {
    RowFindings const findings = readAgainAndAgain(of, program, 0, lacks);
    report(findings.torn);
    EXPECT_NE(findings.torn, "");
    EXPECT_NE(findings.corrupt, "");
    EXPECT_EQ(findings.misjudged, "");
  }

  RecordedTable table{Glim::rowShape<WideRow>(), 1};
  Lacking without{table.geometry(), table.initial()};
};

TEST_F(GlimRowWithout, NothingNoTornCopyIsAccepted) {
  EXPECT_EQ(readAgainAndAgain(table, table.program(), 0).torn, "");
}

TEST_F(GlimRowWithout, FenceAfterTheBeginMarkATornCopyIsAccepted) {
  expectTorn(without.fenceAfterBeginMark(table.program()));
}

// A reader may begin with a begin mark, 2k + 1: what it says is that version k is whole.
TEST_F(GlimRowWithout, ReleaseOfTheBeginMarkATornCopyIsAccepted) {
  expectTorn(without.releaseOfBeginMark(table.program()));
}

TEST_F(GlimRowWithout, ReleaseOfTheCommitMarkATornCopyIsAccepted) {
  expectTorn(without.releaseOfCommitMark(table.program()));
}

TEST_F(GlimRowWithout, AcquireOfTheFirstLoadATornCopyIsAccepted) {
  expectTorn(table.program(), {.acquireOfSlotVersion = true});
}

TEST_F(GlimRowWithout, FenceBeforeTheCheckATornCopyIsAccepted) {
  expectTorn(table.program(), {.fenceBeforeSlotCheck = true});
}

TEST_F(GlimRowWithout, TheCheckATornCopyIsAccepted) {
  expectTorn(table.program(), {.slotCheck = true});
}

// Taken back to 2k, the version would no longer tell a reader of version k - 1 that its half was
// opened.
TEST_F(GlimRowWithout, TheBeginMarkOfADeadWriterATornCopyIsAccepted) {
  RecordedTable killed(Glim::rowShape<WideRow>(), 1);
  killed.record();
  WideRow row{{1}, 1, 1};
  killed.write(&row);
  row = {{1}, 2, 2};
  killed.write(&row);
  killed.dieAfter(3);  // the mark, the key, the count
  row = {{1}, 3, 3};
  ASSERT_FALSE(killed.survives([&] { killed.write(&row); }));
  killed.reign();
  expectTorn(killed, without.markOfTheDead(killed.program()));
}

}  // namespace
}  // namespace GlimModel
