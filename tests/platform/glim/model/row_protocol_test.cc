// The protocol of a row, proved for its readers: all that they may come to under the memory model,
// over publications of each kind, over writers that are killed at every store, and over the writers
// that come next. weak_memory.h tells the model, model_reader.h the method.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/platform/glim/model/lacking.h"
#include "tests/platform/glim/model/model_rows.h"
#include "tests/platform/glim/model/report.h"
#include "tests/platform/glim/model/row_checks.h"

namespace GlimModel {
namespace {

constexpr Word slot = 0;

class Table : public RecordedTable {
 public:
  Table() : RecordedTable(Glim::rowShape<WideRow>(), 1) { record(); }

  void write(std::uint64_t key, std::uint64_t count) {
    WideRow const row{{key}, count, count};
    RecordedTable::write(&row);
  }
  void writeDirectly(std::uint64_t key, std::uint64_t count, bool commit) {
    Key const opened{key};
    auto const open = RecordedTable::open(&opened);
    WideRow const row{{key}, count, count};
    std::memcpy(open.row, &row, sizeof row);
    if (commit) RecordedTable::commit(open);
  }
  // Seven versions, so that each half is used again and again; a direct write, one that is
  // abandoned, a removal, another key.
  void sevenVersions() {
    write(1, 11);
    write(1, 12);
    writeDirectly(1, 13, true);
    writeDirectly(1, 99, false);
    write(1, 14);
    Key const key{1};
    remove(&key);
    write(2, 16);
    write(2, 17);
  }
  // Whatever a former writer came to: each half once.
  void goOn() {
    Key const other{2};
    remove(&other);
    write(1, 21);
    writeDirectly(1, 22, true);
  }
};

class GlimRowProtocol : public testing::Test {
 protected:
  // Whatever any number of reads by one reader come to.
  void expectRight(RecordedTable const& table, Program const& program, ReaderLacks lacks = {}) {
    findings = readAgainAndAgain(table, program, slot, lacks);
    ASSERT_EQ(findings.torn, "");
    ASSERT_EQ(findings.wentBack, "");
    ASSERT_EQ(findings.corrupt, "");
    ASSERT_EQ(findings.misjudged, "");
    runs += findings.runs;
    states += findings.states;
  }
  void expectRight(RecordedTable const& table) {
    expectRight(table, table.program());
    ASSERT_EQ(readWhereverTheWriterStops(table, slot), "");
  }

  RowFindings findings;
  std::size_t runs = 0;
  std::size_t states = 0;
};

TEST_F(GlimRowProtocol, AnAcceptedCopyIsOneWholeVersionAndVersionsNeverGoBack) {
  Table sut;
  sut.sevenVersions();
  expectRight(sut);
  EXPECT_EQ(findings.accepted.size(), 8u);  // each of them, and none yet
  EXPECT_GT(findings.refusedMixtures, 0u);  // there was something to protect from
  report(runs, states);
}

TEST_F(GlimRowProtocol, SoItIsWhereverAWriterIsKilledAndTheNextOneGoesOn) {
  Table whole;
  whole.sevenVersions();
  for (std::size_t stores = 0; stores < whole.stores(); ++stores) {
    Table sut;
    sut.dieAfter(stores);
    ASSERT_FALSE(sut.survives([&] { sut.sevenVersions(); }));
    sut.reign();
    sut.goOn();
    expectRight(sut);
  }
  report(runs, states);
}

// The first one dies at each store of a third version, the second one at each of its own.
TEST_F(GlimRowProtocol, SoItIsWhereverItsSuccessorIsKilledAsWell) {
  bool firstAlive = false;
  for (std::size_t first = 0; !firstAlive; ++first) {
    bool secondAlive = false;
    for (std::size_t second = 0; !secondAlive; ++second) {
      Table sut;
      sut.write(1, 31);
      sut.write(1, 32);
      sut.dieAfter(first);
      firstAlive = sut.survives([&] { sut.write(1, 33); });
      secondAlive = sut.survives([&] {
        sut.reign(second);
        sut.goOn();
      });
      if (!secondAlive) sut.reign();
      sut.goOn();
      expectRight(sut);
    }
  }
  report(runs, states);
}

TEST_F(GlimRowProtocol, SoItIsInTheFormWithoutFences) {
  Table sut;
  sut.sevenVersions();
  expectRight(sut, Lacking(sut.geometry(), sut.initial()).fences(sut.program()), {.fences = true});
}

// Of seven versions, a read that begins with the first can be overtaken by the third to the
// seventh, once by each. So 64 attempts are used up only by a writer that begins more than 64
// versions of one row while a reader copies it 64 times.
TEST_F(GlimRowProtocol, EachAttemptThatFailsSawAnotherVersionBegun) {
  Table sut;
  sut.sevenVersions();
  EXPECT_TRUE(mayBeBusy(sut, slot, 5));
  EXPECT_FALSE(mayBeBusy(sut, slot, 6));
}

}  // namespace
}  // namespace GlimModel
