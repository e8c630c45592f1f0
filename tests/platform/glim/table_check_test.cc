#include "platform/glim/table_check.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <fstream>

#include "platform/glim/header_check.h"
#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using GlimTest::exitedWith;
using GlimTest::inChild;
using GlimTest::Small;
using GlimTest::TableTest;
using GlimTest::Vandal;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr Word rows = 10;

std::vector<std::string> lines(std::vector<Finding> const& findings) {
  std::vector<std::string> found;
  for (Finding const& finding : findings) found.push_back(finding.text);
  return found;
}

class TableCheck : public TableTest {
 protected:
  void SetUp() override {
    table = makeTable<Small>({.maxRows = 64});
    for (std::uint64_t key = 1; key <= rows; ++key) table->write({{key}, key * 10});
  }
  CheckReport check() {
    TableFile sut;
    EXPECT_EQ(sut.open(file(), {}), Answer::ok);
    return checkTable(sut, options);
  }
  // The writer lets go, so that nothing may be unfinished; then the file is damaged.
  CheckReport checkDamaged(std::function<void(Vandal&)> const& damage) {
    table = nullptr;
    Vandal vandal(file());
    damage(vandal);
    return check();
  }
  // The bucket that leads to a slot.
  static Word& bucketOf(Vandal& vandal, Word slot) {
    for (Word i = 0; i < vandal.geometry().buckets; ++i)
      if (vandal.bucket(i) != 0 && Layout::entrySlot(vandal.bucket(i)) == slot)
        return vandal.bucket(i);
    throw std::runtime_error("no bucket leads to the slot");
  }
  static Word& emptyBucket(Vandal& vandal) {
    for (Word i = 0; i < vandal.geometry().buckets; ++i)
      if (vandal.bucket(i) == 0) return vandal.bucket(i);
    throw std::runtime_error("no bucket is empty");
  }

  Table<Small> table;
  CheckOptions options{
      .keyHash = [](void const* key) { return keyAt<GlimTest::NumberKey>(key).hash(); },
      .keyText = [](void const* key) { return keyAt<GlimTest::NumberKey>(key).stringValue(); }};
};

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

TEST_F(TableCheck, OnlyTheFirstFindingsAreToldOneByOne) {
  options.mostFindings = 3;
  auto const report = checkDamaged([](Vandal& v) {
    for (Word slot = 0; slot < 5; ++slot) v.rowWord(slot, 1) ^= 1;
    for (Word slot = 5; slot < rows; ++slot) bucketOf(v, slot) = 0;
  });
  EXPECT_EQ(report.damage, rows);
  EXPECT_THAT(report.findings, SizeIs(3));
}

// --- what a writer explains ---

TEST_F(TableCheck, AStepThatAKilledWriterLeftUndoneIsUnfinished) {
  Vandal vandal(file());
  bucketOf(vandal, 4) = 0;
  vandal.word(Layout::membersOffset) = rows - 1;
  auto const report = check();
  EXPECT_EQ(report.damage, 0u);
  EXPECT_THAT(lines(report.unfinished),
              ElementsAre("the header says 9 rows, and there are 10",
                          "slot 4 (5): no bucket of the index leads to the row"));
}

TEST_F(TableCheck, TwoStepsAreMoreThanAKillLeavesUndone) {
  Vandal vandal(file());
  bucketOf(vandal, 4) = 0;
  bucketOf(vandal, 5) = 0;
  auto const report = check();
  EXPECT_EQ(report.damage, 2u);
  EXPECT_THAT(report.unfinished, IsEmpty());
}

TEST_F(TableCheck, AWriterThatLetGoLeavesNothingUndone) {
  auto const report = checkDamaged([](Vandal& v) { bucketOf(v, 4) = 0; });
  EXPECT_EQ(report.damage, 1u);
}

TEST_F(TableCheck, ADifferenceThatGoesAwayIsNone) {
  Vandal vandal(file());
  Word& bucket = bucketOf(vandal, 4);
  Word const entry = std::exchange(bucket, 0);
  options.writerLives = true;
  options.wait = [&] { bucket = entry; };
  auto const report = check();
  EXPECT_EQ(report.damage, 0u);
  EXPECT_THAT(report.unfinished, IsEmpty());
  EXPECT_FALSE(report.overtaken);
  EXPECT_EQ(report.passes, 2u);
}

TEST_F(TableCheck, ADifferenceThatOutlivesAHeartbeatIsDamage) {
  Vandal vandal(file());
  bucketOf(vandal, 4) = 0;
  options.writerLives = true;
  unsigned waits = 0;
  options.wait = [&] {
    if (++waits == 3) table->heartbeat();
  };
  auto const report = check();
  EXPECT_EQ(waits, 3u);
  EXPECT_EQ(report.damage, 1u);
  EXPECT_THAT(report.unfinished, IsEmpty());
}

TEST_F(TableCheck, AWriterThatStandsStillMayBeInTheMiddleOfAStep) {
  Vandal vandal(file());
  bucketOf(vandal, 4) = 0;
  options.writerLives = true;
  auto const report = check();
  EXPECT_EQ(report.passes, options.passes);
  EXPECT_EQ(report.damage, 0u);
  EXPECT_THAT(report.unfinished, SizeIs(1));
}

TEST_F(TableCheck, RowsThatComeAndGoBetweenPassesAreNotDamage) {
  Vandal vandal(file());
  Word& bucket = bucketOf(vandal, 4);
  Word const entry = std::exchange(bucket, 0);  // makes a second pass
  options.writerLives = true;
  options.wait = [&] {
    bucket = entry;
    table->remove({3});
    for (std::uint64_t key = 100; key < 120; ++key) table->write({{key}, 1});
    table->heartbeat();
  };
  auto const report = check();
  EXPECT_EQ(report.damage, 0u) << testing::PrintToString(lines(report.findings));
  EXPECT_EQ(report.liveRows, rows - 1 + 20);
}

// The same difference again and again, while rows go in between: it may be another each time.
TEST_F(TableCheck, ACountThatDiffersWhileRowsComeAndGoIsNotBelieved) {
  Vandal vandal(file());
  vandal.word(Layout::membersOffset) = rows - 1;
  options.writerLives = true;
  options.wait = [&] {
    vandal.word(Layout::indexVersionOffset) += 2;
    table->heartbeat();
  };
  auto const report = check();
  EXPECT_EQ(report.damage, 0u) << testing::PrintToString(lines(report.findings));
  EXPECT_TRUE(report.overtaken);
}

TEST_F(TableCheck, AnIndexThatNeverRestsIsOvertaken) {
  Vandal vandal(file());
  vandal.word(Layout::indexVersionOffset) = 1;
  options.writerLives = true;
  options.wait = [&] { vandal.word(Layout::indexVersionOffset) += 2; };
  auto const report = check();
  EXPECT_TRUE(report.overtaken);
  EXPECT_EQ(report.damage, 0u);
  EXPECT_EQ(report.passes, options.passes);
}

TEST_F(TableCheck, ATableThatIsReplacedMeanwhileIsToldAsSuch) {
  Vandal vandal(file());
  options.progress = [&](Word, Word) {
    vandal.word(Layout::stateOffset) = static_cast<Word>(Layout::TableState::retired);
  };
  EXPECT_TRUE(check().replaced);
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

// Rows change, come and go as fast as a process can make them; no check may find damage.
TEST_F(TableCheck, AWriterThatNeverRestsIsNoDamage) {
  table = nullptr;
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  pid_t const writer = ::fork();
  if (writer == 0) {
    auto const mine = makeTable<Small>({.maxRows = 4096});
    for (std::uint64_t n = 0;; ++n) {
      for (std::uint64_t key = 1; key <= 40; ++key) mine->write({{key}, n});
      for (std::uint64_t key = 50; key < 90; ++key) mine->write({{key + n % 7}, n});
      for (std::uint64_t key = 50; key < 100; ++key) mine->remove({key});
      mine->heartbeat();
      if (n == 0 && ::write(ends[1], "!", 1) != 1) ::_exit(1);
    }
  }
  char begun;
  ASSERT_EQ(::read(ends[0], &begun, 1), 1);
  options.writerLives = true;
  options.passes = 1000;
  // How many passes a check takes is up to what the writer and the machine are doing meanwhile.
  unsigned whole = 0;
  Word passes = 0;
  for (unsigned i = 0; i < 500 && passes < (whole == 0 ? 20000 : 4000); ++i) {
    auto const report = check();
    EXPECT_EQ(report.damage, 0u) << testing::PrintToString(lines(report.findings));
    EXPECT_THAT(report.unfinished, IsEmpty());
    whole += !report.overtaken;
    passes += report.passes;
  }
  EXPECT_GT(whole, 0u);
  ::kill(writer, SIGKILL);
  ::waitpid(writer, nullptr, 0);
  for (int const end : ends) ::close(end);
}

// --- kills ---

TEST_F(TableCheck, WhereverAWriterIsKilledThereIsNoDamage) {
  for (unsigned round = 0; round < 40; ++round) {
    table = nullptr;
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    pid_t const writer = ::fork();
    if (writer == 0) {
      auto const mine = makeTable<Small>({.maxRows = 64});
      for (std::uint64_t n = 0;; ++n) {
        for (std::uint64_t key = 20; key < 50; ++key) mine->write({{key}, n});
        if (n == 0 && ::write(ends[1], "!", 1) != 1) ::_exit(1);
        for (std::uint64_t key = 20; key < 50; ++key) mine->remove({key});
      }
    }
    char begun;
    ASSERT_EQ(::read(ends[0], &begun, 1), 1);
    ::kill(writer, SIGKILL);
    ::waitpid(writer, nullptr, 0);
    for (int const end : ends) ::close(end);
    auto const report = check();
    EXPECT_EQ(report.damage, 0u) << testing::PrintToString(lines(report.findings));
  }
}

// --- header ---

class HeaderCheck : public TableCheck {
 protected:
  std::vector<std::string> problems() {
    FileDescriptor const fd(::open(file().c_str(), O_RDONLY | O_CLOEXEC));
    return headerProblems(fd.get());
  }
  std::vector<std::string> problemsWith(std::size_t fixedWord, Word value) {
    Vandal vandal(file());
    Word& word = vandal.word(fixedWord * sizeof(Word));
    Word const was = std::exchange(word, value);
    auto const found = problems();
    word = was;
    return found;
  }
};

TEST_F(HeaderCheck, AGoodHeaderHasNone) { EXPECT_THAT(problems(), IsEmpty()); }

TEST_F(HeaderCheck, EveryFixedWordIsToldByItsName) {
  using testing::StartsWith;
  struct {
    Layout::FixedWord word;
    Word value;
    char const* text;
  } const cases[] = {
      {Layout::fixedMagic, 1, "the file does not begin with ORUGLIM1"},
      {Layout::fixedMagic, __builtin_bswap64(Layout::magic), "the table is of a machine of the"},
      {Layout::fixedLayoutVersion, 2, "the layout version is 2, and this program knows 1"},
      {Layout::fixedSchemaHash, 1, "the header's checksum fails, and the schema's hash is 0x0000"},
      {Layout::fixedRowWords, 0, "the header says 0 words a row"},
      {Layout::fixedRowWords, 9, "the header says stride 64, and from its other words follows 192"},
      {Layout::fixedKeyBytes, 17, "the header says 2 words a row, 17 bytes a key"},
      {Layout::fixedKeyBytes, 16, "the header's checksum fails"},
      {Layout::fixedMaxRows, 1u << 21, "the header says 2 words a row"},
      {Layout::fixedMaxRows, 65, "the header says buckets 128"},
      {Layout::fixedSchemaBytes, 0, "the header says 2 words a row"},
      {Layout::fixedSchemaBytes, 12, "the header's checksum fails, and the schema's hash"},
      {Layout::fixedStride, 128, "the header says stride 128"},
      {Layout::fixedBuckets, 256, "the header says buckets 256"},
      {Layout::fixedIndexOffset, 8192, "the header says index offset 8192"},
      {Layout::fixedSlotsOffset, 4096, "the header says slots offset 4096"},
      {Layout::fixedFileBytes, 1, "the header says file size 1"},
      {Layout::fixedCreated, 1, "the header's checksum fails"},
      {Layout::fixedReserved, 1, "the header's checksum fails"},
      {Layout::fixedChecksum, 1, "the header's checksum fails"},
  };
  for (auto const& one : cases)
    EXPECT_THAT(problemsWith(one.word, one.value), Contains(StartsWith(one.text))) << one.word;
}

TEST_F(HeaderCheck, TheSchemaTextIsChecked) {
  Vandal(file()).word(Layout::schemaOffset) ^= 0x20;
  EXPECT_THAT(problems(), ElementsAre(HasSubstr("and the schema's hash is")));
}

TEST_F(HeaderCheck, ASchemaThatDoesNotFillTheRowIsToldWhere) {
  table = nullptr;
  auto const problemsOf = [&](std::string const& schema) {
    Vandal vandal(file());
    EXPECT_EQ(schema.size(), vandal.geometry().schemaBytes);
    auto const fixed = Layout::makeFixedWords(vandal.geometry(), schema, schemaHashOf(schema), 0);
    EXPECT_EQ(::pwrite(vandal.fd(), fixed.data(), sizeof fixed, 0),
              static_cast<ssize_t>(sizeof fixed));
    EXPECT_EQ(::pwrite(vandal.fd(), schema.data(), schema.size(), Layout::schemaOffset),
              static_cast<ssize_t>(schema.size()));
    return problems();
  };
  EXPECT_THAT(problemsOf("Small\nkey:u64:0:1\ncount:u64:8:1\n"), IsEmpty());
  EXPECT_THAT(problemsOf("Small\nkey:u64:0:1\ncount:u32:8:1\n"),
              ElementsAre("the schema's fields are 12 bytes of a row's 16 bytes"));
  EXPECT_THAT(problemsOf("Small\nkey:u64:0:1\ncount:u64:0:1\n"),
              ElementsAre("the schema's field count is out of its place"));
  EXPECT_THAT(problemsOf("Small\nkey:u32:0:1\ncount:u32:4:3\n"),
              ElementsAre("the key does not end where a field ends"));
  EXPECT_THAT(problemsOf("Small\nkey:u64:0:1\ncount:i64:8:1\n"),
              ElementsAre("the schema text is none of a row's fields"));
}

TEST_F(HeaderCheck, AFileThatIsCutShortIsToldWhere) {
  auto const cutTo = [&](std::uintmax_t size) {
    std::filesystem::resize_file(file(), size);
    return problems();
  };
  table = nullptr;
  std::uintmax_t const size = std::filesystem::file_size(file());
  EXPECT_THAT(cutTo(size + 64), ElementsAre(HasSubstr("more than the")));
  EXPECT_THAT(cutTo(size - 10), ElementsAre(HasSubstr("ends within a slot, 54 bytes")));
  EXPECT_THAT(cutTo(size - 64), IsEmpty());
  EXPECT_THAT(cutTo(4096), ElementsAre(HasSubstr("its slots would begin at 8192")));
  EXPECT_THAT(cutTo(520), ElementsAre(HasSubstr("ends within its schema text")));
  EXPECT_THAT(cutTo(11), ElementsAre("the file has 11 bytes, too few for a header"));
}

TEST_F(HeaderCheck, AFileWithHolesIsToldAsSuch) {
  table = nullptr;
  std::uintmax_t const size = std::filesystem::file_size(file());
  std::filesystem::resize_file(file(), size - 4096);
  std::filesystem::resize_file(file(), size);
  EXPECT_THAT(problems(), ElementsAre(HasSubstr("the file has holes")));
}

}  // namespace
}  // namespace Glim
