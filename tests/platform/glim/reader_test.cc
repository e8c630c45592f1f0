#include "platform/glim/reader.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <set>

#include "platform/glim/schema.h"
#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using GlimTest::Colliding;
using GlimTest::exitedWith;
using GlimTest::inChild;
using GlimTest::Middle;
using GlimTest::NameKey;
using GlimTest::Small;
using GlimTest::TableTest;
using GlimTest::Vandal;
using GlimTest::WiderSmall;

class GlimReader : public TableTest {
 protected:
  void SetUp() override {
    table = makeTable<Small>();
    for (std::uint64_t key = 1; key <= 10; ++key) table->write({{key}, key * 10});
  }
  std::set<std::uint64_t> walk() {
    std::set<std::uint64_t> keys;
    last = sut.forEach([&](Small const& row) { keys.insert(row.key.value); });
    return keys;
  }

  Table<Small> table;
  Reader<Small> sut{path()};
  WalkResult last;
  Small out;
};

TEST_F(GlimReader, FindsRowsByKey) {
  ASSERT_EQ(sut.attach(), Answer::ok);
  EXPECT_EQ(sut.lookup({3}, out), Answer::ok);
  EXPECT_EQ(out, (Small{{3}, 30}));
  EXPECT_EQ(sut.lookup({11}, out), Answer::absent);
}

TEST_F(GlimReader, WalksOverAllRowsAndNoDeadOnes) {
  ASSERT_EQ(sut.attach(), Answer::ok);
  table->remove({3});
  EXPECT_EQ(walk(), (std::set<std::uint64_t>{1, 2, 4, 5, 6, 7, 8, 9, 10}));
  EXPECT_EQ(last.rows, 9u);
  EXPECT_EQ(last.end, Answer::ok);
}

TEST_F(GlimReader, SeesEveryChangeAtOnce) {
  ASSERT_EQ(sut.attach(), Answer::ok);
  table->write({{3}, 31});
  EXPECT_EQ(sut.lookup({3}, out), Answer::ok);
  EXPECT_EQ(out.count, 31u);
  table->remove({3});
  EXPECT_EQ(sut.lookup({3}, out), Answer::absent);
}

TEST_F(GlimReader, ReadsInAnotherProcess) {
  int const status = inChild([&] {
    Reader<Small> reader(path());
    Small row;
    return reader.attach() == Answer::ok && reader.lookup({3}, row) == Answer::ok && row.count == 30
               ? 0
               : 1;
  });
  EXPECT_TRUE(exitedWith(status, 0));
}

TEST_F(GlimReader, KnowsTheStateOfTheTable) {
  ASSERT_EQ(sut.attach(), Answer::ok);
  table->heartbeat();
  TableStatus const status = sut.status();
  EXPECT_EQ(status.state, TableStatus::State::ready);
  EXPECT_EQ(status.epoch, 1u);
  EXPECT_EQ(status.writerPid, static_cast<Word>(::getpid()));
  EXPECT_EQ(status.rows, 10u);
  EXPECT_EQ(status.maxRows, 16384u);
  EXPECT_GE(status.allocatedRows, 10u);
  EXPECT_GE(status.heartbeatAge, 0.0);
  EXPECT_LT(status.heartbeatAge, 60.0);
}

TEST_F(GlimReader, TheAgeOfTheHeartbeatCountsSecondsSinceTheLast) {
  ASSERT_EQ(sut.attach(), Answer::ok);
  Vandal(file()).word(Layout::heartbeatOffset) -= 1000'000'000'000u;
  EXPECT_GT(sut.status().heartbeatAge, 999.0);
  table->heartbeat();
  EXPECT_LT(sut.status().heartbeatAge, 999.0);
}

TEST_F(GlimReader, ReadsATableOfUnknownRecordsByItsSchema) {
  auto const middle = makeTable<Middle>({}, "middle");
  middle->write({NameKey("Ethernet1"), {11, 12, 13, 14, 15}, 5, 0});
  TableReader reader(path("middle"));
  ASSERT_EQ(reader.attach(), Answer::ok);
  auto const schema = parseSchema(reader.schema(), reader.rowWords() * 8);
  ASSERT_TRUE(schema.has_value());
  EXPECT_EQ(schema->record, "Middle");
  std::vector<Word> row(reader.rowWords());
  ASSERT_EQ(reader.rowAt(0, row.data()), Answer::ok);
  EXPECT_EQ(row[schema->fields[1].offset / 8], 11u);
}

// --- what the outside world may do ---

TEST_F(GlimReader, AMissingTableIsMissing) {
  EXPECT_EQ(Reader<Small>(path("none")).attach(), Answer::missing);
  EXPECT_EQ(Reader<Small>(directory + "/none/table").attach(), Answer::missing);
  EXPECT_EQ(sut.lookup({1}, out), Answer::missing);
}

TEST_F(GlimReader, ATableThatMayNotBeReadIsUnreadable) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  ::chmod(file().c_str(), 0600);
  int const status = inChild([&] {
    if (::setuid(65534) != 0) return 2;
    return Reader<Small>(path()).attach() == Answer::unreadable ? 0 : 1;
  });
  EXPECT_TRUE(exitedWith(status, 0));
}

TEST_F(GlimReader, AnyUserMayReadATable) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs to become another user";
  int const status = inChild([&] {
    if (::setuid(65534) != 0) return 2;
    return Reader<Small>(path()).attach() == Answer::ok ? 0 : 1;
  });
  EXPECT_TRUE(exitedWith(status, 0));
}

TEST_F(GlimReader, WhatIsNoTableIsNotATable) {
  std::ofstream(file("a")) << "hello";
  EXPECT_EQ(Reader<Small>(path("a")).attach(), Answer::notATable);
  std::ofstream(file("b")) << std::string(100000, 'x');
  EXPECT_EQ(Reader<Small>(path("b")).attach(), Answer::notATable);
  std::ofstream(file("empty"));
  EXPECT_EQ(Reader<Small>(path("empty")).attach(), Answer::notATable);
}

TEST_F(GlimReader, AnotherLayoutVersionIsToldApart) {
  Vandal(file()).word(8 * Layout::fixedLayoutVersion) = 2;
  EXPECT_EQ(sut.attach(), Answer::otherLayout);
}

TEST_F(GlimReader, AnotherSchemaIsToldApart) {
  EXPECT_EQ(Reader<WiderSmall>(path()).attach(), Answer::otherSchema);
}

TEST_F(GlimReader, ATableThatOthersMayWriteIsUnsafe) {
  ::chmod(file().c_str(), 0646);
  EXPECT_EQ(sut.attach(), Answer::unsafe);
  ::chmod(file().c_str(), 0664);
  EXPECT_EQ(sut.attach(), Answer::unsafe);
}

TEST_F(GlimReader, WhatIsNoRegularFileIsUnsafe) {
  std::filesystem::create_symlink(file(), file("link"));
  EXPECT_EQ(Reader<Small>(path("link")).attach(), Answer::unsafe);
  ASSERT_EQ(::mkfifo(file("pipe").c_str(), 0644), 0);
  EXPECT_EQ(Reader<Small>(path("pipe")).attach(), Answer::unsafe);
  std::filesystem::create_directory(file("directory"));
  EXPECT_EQ(Reader<Small>(path("directory")).attach(), Answer::unsafe);
}

TEST_F(GlimReader, ATableOfAnOwnerWhoIsNotExpectedIsUnsafe) {
  EXPECT_EQ(Reader<Small>(path(), {.owner = ::geteuid()}).attach(), Answer::ok);
  EXPECT_EQ(Reader<Small>(path(), {.owner = ::geteuid() + 1}).attach(), Answer::unsafe);
}

TEST_F(GlimReader, AStrangersTableIsTrustedOnlyInTheStrangersOwnDirectory) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs to give files away";
  ASSERT_EQ(::chown(file().c_str(), 1234, 1234), 0);
  EXPECT_EQ(sut.attach(), Answer::unsafe);
  ASSERT_EQ(::chown(directory.c_str(), 1234, 1234), 0);
  EXPECT_EQ(sut.attach(), Answer::ok);
  ::chmod(directory.c_str(), 0777);
  EXPECT_EQ(sut.attach(), Answer::unsafe);
}

TEST_F(GlimReader, ATruncatedTableIsTruncated) {
  ASSERT_EQ(::truncate(file().c_str(), 8192), 0);
  EXPECT_EQ(sut.attach(), Answer::truncated);
}

TEST_F(GlimReader, SlotsBeyondTheFilesEndAreNotTouched) {
  Vandal vandal(file());
  Word const end = vandal.geometry().bytesFor(4);
  table->detach();
  ASSERT_EQ(::truncate(file().c_str(), static_cast<off_t>(end)), 0);
  ASSERT_EQ(sut.attach(), Answer::ok);
  vandal.word(Layout::allocatedRowsOffset) = ~Word{0};
  EXPECT_EQ(sut.slots(), 4u);
  EXPECT_EQ(walk(), (std::set<std::uint64_t>{1, 2, 3, 4}));
  EXPECT_EQ(sut.lookup({5}, out), Answer::absent);
}

TEST_F(GlimReader, ACorruptRowIsCorruptAndTheOthersAreNot) {
  ASSERT_EQ(sut.attach(), Answer::ok);
  Vandal(file()).rowWord(2, 1) ^= 1;
  EXPECT_EQ(sut.lookup({3}, out), Answer::corrupt);
  EXPECT_EQ(sut.lookup({4}, out), Answer::ok);
  EXPECT_EQ(walk().size(), 9u);
  EXPECT_EQ(last.corrupt, 1u);
}

TEST_F(GlimReader, AnIndexThatIsBeingBuiltIsGoneAround) {
  ASSERT_EQ(sut.attach(), Answer::ok);
  Vandal vandal(file());
  vandal.word(Layout::indexVersionOffset) |= 1;
  for (Word i = 0; i < vandal.geometry().buckets; ++i) vandal.bucket(i) = 0;
  EXPECT_EQ(sut.lookup({3}, out), Answer::ok);
  EXPECT_EQ(sut.lookup({11}, out), Answer::absent);
}

TEST_F(GlimReader, WithoutTheIndexACorruptRowMayBeAnyKeys) {
  Vandal vandal(file());
  vandal.rowWord(0, 1) ^= 1;
  vandal.word(Layout::indexVersionOffset) |= 1;
  ASSERT_EQ(sut.attach(), Answer::ok);
  EXPECT_EQ(sut.lookup({1000}, out), Answer::corrupt);
}

TEST_F(GlimReader, AnIndexFullOfRubbishIsGoneAround) {
  ASSERT_EQ(sut.attach(), Answer::ok);
  Vandal vandal(file());
  for (Word const rubbish :
       {~Word{0}, Layout::bucketEntry(3, 1u << 30), Layout::bucketEntry(3, 0)}) {
    for (Word i = 0; i < vandal.geometry().buckets; ++i) vandal.bucket(i) = rubbish;
    EXPECT_EQ(sut.lookup({3}, out), Answer::ok);
    EXPECT_EQ(out.count, 30u);
    EXPECT_EQ(sut.lookup({11}, out), Answer::absent);
  }
}

TEST_F(GlimReader, SlotsWithoutMemoryAreNotTouched) {
  Vandal vandal(file());
  table->detach();
  Word const held = vandal.geometry().rowsWithin(std::filesystem::file_size(file()));
  std::filesystem::resize_file(file(), vandal.geometry().fileBytes);  // a hole behind the rows
  vandal.word(Layout::allocatedRowsOffset) = vandal.geometry().maxRows;
  ASSERT_EQ(sut.attach(), Answer::ok);
  EXPECT_LE(sut.slots(), held + 4096 / vandal.geometry().stride);
  EXPECT_EQ(walk().size(), 10u);
  struct stat status {};
  ASSERT_EQ(::stat(file().c_str(), &status), 0);
  EXPECT_LE(status.st_blocks * 512, static_cast<off_t>(vandal.geometry().bytesFor(held)) + 4096);
}

TEST_F(GlimReader, RubbishAnywhereBehindTheHeaderIsSurvived) {
  ASSERT_EQ(sut.attach(), Answer::ok);
  std::mt19937_64 random(5);
  Vandal vandal(file());
  for (int round = 0; round < 200; ++round) {
    for (int i = 0; i < 64; ++i) {
      vandal.word(128 + (random() % 48) * 8) = random() % 3 == 0 ? random() % 8 : random();
      vandal.slotWord(random() % 16, random() % 7) = random();
      vandal.bucket(random() % vandal.geometry().buckets) = random();
    }
    // Any answers will do, as long as they come; a row that is given out is one that was written.
    for (std::uint64_t key = 0; key < 12; ++key) {
      if (sut.lookup({key}, out) == Answer::ok) {
        EXPECT_EQ(out, (Small{{key}, key * 10}));
      }
    }
    EXPECT_LE(walk().size(), 10u);
    EXPECT_LE(last.rows + last.busy + last.corrupt, sut.slots());
  }
}

// --- following ---

TEST_F(GlimReader, RefreshAttachesWhenThereIsATable) {
  Reader<Small> reader(path("later"));
  EXPECT_EQ(reader.refresh(), Answer::missing);
  auto const later = makeTable<Small>({}, "later");
  EXPECT_EQ(reader.refresh(), Answer::ok);
  EXPECT_TRUE(reader.attached());
}

TEST_F(GlimReader, RefreshNoticesAFileThatWasCutShort) {
  Word const slots = Vandal(file()).geometry().slotsOffset;
  table->detach();
  for (Word const bytes : {slots + 64 * 4, slots, Word{4096}, Word{0}}) {
    ASSERT_EQ(sut.attach(), Answer::ok);
    ASSERT_EQ(::truncate(file().c_str(), static_cast<off_t>(bytes)), 0);
    Answer const answer = sut.refresh();
    if (answer == Answer::ok) {
      EXPECT_LE(walk().size(), 4u);
    } else {
      EXPECT_FALSE(sut.attached());
    }
    table = {};
    std::filesystem::remove(file());
    SetUp();
    table->detach();
  }
}

// Its writer was killed just before the successor got the name.
TEST_F(GlimReader, ARetiredTableWithoutASuccessorIsReadOn) {
  ASSERT_EQ(sut.attach(), Answer::ok);
  Vandal(file()).word(Layout::stateOffset) = static_cast<Word>(Layout::TableState::retired);
  EXPECT_EQ(sut.lookup({1}, out), Answer::retired);
  walk();
  EXPECT_EQ(last.end, Answer::retired);
  EXPECT_EQ(sut.refresh(), Answer::ok);
  EXPECT_EQ(sut.lookup({1}, out), Answer::ok);
  walk();
  EXPECT_EQ(last.end, Answer::ok);
  Reader<Small> another(path());
  EXPECT_EQ(another.attach(), Answer::ok);
  EXPECT_EQ(another.lookup({1}, out), Answer::ok);
}

TEST_F(GlimReader, TheSuccessorOfARetiredTableIsNoticedByRefresh) {
  Vandal(file()).word(Layout::stateOffset) = static_cast<Word>(Layout::TableState::retired);
  ASSERT_EQ(sut.attach(), Answer::ok);
  table->detach();
  auto const next = makeTable<Small>({.maxRows = 2 * TableLimits().maxRows});
  ASSERT_EQ(next->conquest()->kind, Conquest::Kind::moved);
  next->write({{1}, 99});
  EXPECT_EQ(sut.refresh(), Answer::ok);
  EXPECT_EQ(sut.lookup({1}, out), Answer::ok);
  EXPECT_EQ(out.count, 99u);
}

TEST_F(GlimReader, RefreshNoticesAnotherFileUnderTheName) {
  ASSERT_EQ(sut.attach(), Answer::ok);
  table->detach();
  std::filesystem::remove(file());
  EXPECT_EQ(sut.refresh(), Answer::missing);
  auto const next = makeTable<Small>();
  next->write({{1}, 99});
  EXPECT_EQ(sut.refresh(), Answer::ok);
  EXPECT_EQ(sut.lookup({1}, out), Answer::ok);
  EXPECT_EQ(out.count, 99u);
}

TEST(GlimAnswer, EveryAnswerHasAText) {
  for (Answer const answer :
       {Answer::ok, Answer::absent, Answer::busy, Answer::corrupt, Answer::retired, Answer::missing,
        Answer::unreadable, Answer::unsafe, Answer::notATable, Answer::otherLayout,
        Answer::otherSchema, Answer::truncated}) {
    EXPECT_FALSE(text(answer).empty());
  }
}

}  // namespace
}  // namespace Glim
