#include "platform/glim/table_check.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>

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
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(TableCheck, AWholeTableIsWithoutDamage) {
  table->remove({3});
  auto const report = check();
  EXPECT_EQ(report.damage, 0u) << testing::PrintToString(lines(report.findings));
  EXPECT_THAT(report.unfinished, IsEmpty());
  EXPECT_FALSE(report.overtaken || report.replaced);
  EXPECT_EQ(report.liveRows, rows - 1);
  EXPECT_EQ(report.deadRows, 1u);
  EXPECT_EQ(report.neverUsed, 64 - rows);
  EXPECT_EQ(report.indexEntries, rows - 1);
  EXPECT_EQ(report.passes, 1u);
}

TEST_F(TableCheck, ATableThatWasLetGoOfOrRetiredIsCheckedToo) {
  EXPECT_EQ(checkDamaged([](Vandal&) {}).damage, 0u);
  EXPECT_EQ(checkDamaged([](Vandal& v) {
              v.word(Layout::stateOffset) = static_cast<Word>(Layout::TableState::retired);
            }).damage,
            0u);
}

TEST_F(TableCheck, ProgressIsToldUpToTheEnd) {
  std::vector<Word> told;
  options.progress = [&](Word done, Word of) {
    EXPECT_EQ(of, 64u);
    told.push_back(done);
  };
  check();
  EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
  EXPECT_EQ(told.back(), 64u);
}

TEST_F(TableCheck, OnlyTheFirstFindingsAreToldOneByOne) {
  options.mostFindings = 3;
  auto const report = checkDamaged([](Vandal& v) {
    for (Word slot = 0; slot < 5; ++slot) v.rowWord(slot, 1) ^= 1;
    for (Word slot = 5; slot < rows; ++slot) bucketOf(v, slot) = 0;
  });
  EXPECT_EQ(report.damage, rows);
  EXPECT_THAT(report.findings, SizeIs(3));
}

// --- slots ---

TEST_F(TableCheck, EveryWordOfEveryVisibleRowIsChecked) {
  table = nullptr;
  for (Word slot = 0; slot < rows; ++slot) {
    for (std::size_t word = 0; word < 2; ++word) {
      Vandal vandal(file());
      vandal.rowWord(slot, word) ^= 1;
      auto const report = check();
      EXPECT_EQ(report.corruptRows, 1u);
      EXPECT_THAT(lines(report.findings),
                  ElementsAre("slot " + std::to_string(slot) + ": the checksum of the row fails"));
      vandal.rowWord(slot, word) ^= 1;
    }
  }
  EXPECT_EQ(check().damage, 0u);
}

TEST_F(TableCheck, EveryBitOfARowsMetaWordIsChecked) {
  table = nullptr;
  Vandal vandal(file());
  for (unsigned bit = 0; bit < 64; ++bit) {
    Word& meta = *(&vandal.rowWord(4, 0) - 1);
    meta ^= Word{1} << bit;
    auto const report = check();
    EXPECT_EQ(report.damage, 1u) << bit;
    EXPECT_EQ(report.findings[0].slot, 4u);
    meta ^= Word{1} << bit;
  }
}

TEST_F(TableCheck, ARowThatIsNeitherLiveNorDeadIsToldAsSuch) {
  auto const report = checkDamaged([](Vandal& v) { *(&v.rowWord(4, 0) - 1) |= 3; });
  EXPECT_THAT(lines(report.findings),
              ElementsAre("slot 4: its row is neither live nor dead: state 3"));
}

TEST_F(TableCheck, AnotherVersionIsDamage) {
  for (Word const version : {Word{4}, Word{6}, Word{1} << 40}) {
    auto const report = checkDamaged([=](Vandal& v) { v.slotWord(4, 0) = version; });
    EXPECT_EQ(report.corruptRows, 1u) << version;
    EXPECT_THAT(lines(report.findings), ElementsAre(HasSubstr("slot 4: ")));
  }
}

TEST_F(TableCheck, AVersionThatNobodyCountsToIsToldAsSuch) {
  auto const report = checkDamaged([](Vandal& v) { v.slotWord(4, 0) = ~Word{0}; });
  EXPECT_THAT(lines(report.findings),
              ElementsAre("slot 4: its version is beyond what any writer counts to"));
}

TEST_F(TableCheck, ASlotWhoseVersionIsLostIsToldByTheIndexAndTheCount) {
  auto const report = checkDamaged([](Vandal& v) { v.slotWord(4, 0) = 0; });
  EXPECT_THAT(lines(report.findings),
              testing::UnorderedElementsAre(HasSubstr("leads to slot 4, which has no row"),
                                            "the header says 10 rows, and there are 9"));
}

TEST_F(TableCheck, ADamagedDeadRowIsToldAsSuch) {
  table->remove({3});
  auto const report = checkDamaged([](Vandal& v) { *(&v.rowWord(2, 0) - 1) ^= 1u << 20; });
  EXPECT_THAT(lines(report.findings), ElementsAre("slot 2: the checksum of the dead row fails"));
}

TEST_F(TableCheck, TheHiddenHalfIsNobodysBusiness) {
  auto const report = checkDamaged([](Vandal& v) {
    v.slotWord(4, 0) |= 1;
    for (std::size_t i = 1; i <= 3; ++i) v.slotWord(4, i) = 0x5a5a;  // half 0; version 1 is in 1
  });
  EXPECT_EQ(report.damage, 0u);
  EXPECT_EQ(report.halfWritten, 1u);
}

TEST_F(TableCheck, AKeyThatTwoSlotsHaveIsDamage) {
  auto const report = checkDamaged([](Vandal& v) {
    // The row of key 5 once more, in a slot of its own and with the checksum of that slot.
    std::array<Word, 2> const row{5, 50};
    RowSlot(&v.slotWord(20, 0), 2, 20).publish(0, row.data());
  });
  EXPECT_THAT(lines(report.findings), Contains("slot 20 (5): slot 4 has the same key"));
}

TEST_F(TableCheck, AKeyThatTheCallerDislikesIsDamage) {
  options.keyProblem = [](void const* key) {
    return keyAt<GlimTest::NumberKey>(key).value == 5 ? "an odd key" : "";
  };
  EXPECT_THAT(lines(check().findings), ElementsAre("slot 4 (5): an odd key"));
}

}  // namespace
}  // namespace Glim
