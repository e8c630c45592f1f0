// How a table passes from one writer to the next, in its file.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "tests/platform/glim/conquest_fixture.h"

namespace Glim {
namespace {

using GlimTest::exitedWith;
using GlimTest::inChild;
using GlimTest::killed;
using GlimTest::Large;
using GlimTest::largeRow;
using GlimTest::NameKey;
using GlimTest::Small;
using GlimTest::Vandal;

class GlimConquest : public GlimTest::ConquestTest {};

TEST_F(GlimConquest, ANewTableIsCreatedEmpty) {
  auto const sut = makeTable<Small>();
  EXPECT_EQ(sut->conquest()->kind, Conquest::Kind::created);
  EXPECT_EQ(sut->members(), 0u);
  EXPECT_EQ(sut->map().writer()->epoch(), 1u);
  EXPECT_TRUE(exists("table.glim"));
  EXPECT_FALSE(exists("table.glim.new"));
}

TEST_F(GlimConquest, OnlyTheDataFileIsOpenToOthers) {
  auto const sut = makeTable<Small>();
  struct stat data {};
  struct stat lock {};
  ASSERT_EQ(::stat(file().c_str(), &data), 0);
  ASSERT_EQ(::stat((path() + ".lock").c_str(), &lock), 0);
  EXPECT_EQ(data.st_mode & 0777, 0644u);
  EXPECT_EQ(lock.st_mode & 0777, 0600u);
}

TEST_F(GlimConquest, RowsSurviveTheWriter) {
  writeTenRows();
  auto const sut = makeTable<Small>();
  EXPECT_EQ(sut->conquest()->kind, Conquest::Kind::adopted);
  EXPECT_EQ(sut->conquest()->rows, 10u);
  EXPECT_EQ(sut->conquest()->corruptRows, 0u);
  EXPECT_FALSE(sut->conquest()->indexRebuilt);
  EXPECT_EQ(sut->map().writer()->epoch(), 2u);
  expectRows(sut, 1, 10);
}

TEST_F(GlimConquest, AnAdoptedTableIsWrittenOn) {
  writeTenRows();
  auto const sut = makeTable<Small>();
  sut->remove({1});
  sut->write({{2}, 20});
  sut->write({{11}, 110});
  expectRows(sut, 2, 11);
}

TEST_F(GlimConquest, AWriterKilledInTheMiddleOfARowLeavesTheRowAsItWas) {
  int const status = inChild([&] {
    auto const table = makeTable<Small>();
    for (std::uint64_t key = 1; key <= 10; ++key) table->write({{key}, key * 10});
    for (std::uint64_t key = 1; key <= 10; ++key) table->directWrite({key})->count = 999;
    table->directWrite({11})->count = 999;
    return ::kill(::getpid(), SIGKILL);
  });
  ASSERT_TRUE(killed(status));
  Reader<Small> reader(path());
  ASSERT_EQ(reader.attach(), Answer::ok);
  Small out;
  EXPECT_EQ(reader.lookup({5}, out), Answer::ok);
  EXPECT_EQ(out.count, 50u);
  EXPECT_EQ(reader.lookup({11}, out), Answer::absent);

  auto const sut = makeTable<Small>();
  EXPECT_EQ(sut->conquest()->kind, Conquest::Kind::adopted);
  EXPECT_EQ(sut->conquest()->corruptRows, 0u);
  expectRows(sut, 1, 10);
}

TEST_F(GlimConquest, AReaderStaysAttachedAcrossTenWriters) {
  writeTenRows();
  Reader<Small> reader(path());
  ASSERT_EQ(reader.attach(), Answer::ok);
  for (std::uint64_t reign = 2; reign <= 11; ++reign) {
    // Every other one is killed.
    int const status = inChild([&] {
      auto const table = makeTable<Small>();
      table->write({{1}, reign});
      return reign % 2 == 0 ? ::kill(::getpid(), SIGKILL) : 0;
    });
    EXPECT_TRUE(killed(status) || exitedWith(status, 0));
    Small out;
    EXPECT_EQ(reader.lookup({1}, out), Answer::ok);
    EXPECT_EQ(out.count, reign);
    EXPECT_EQ(reader.lookup({10}, out), Answer::ok);
    EXPECT_EQ(out.count, 100u);
    EXPECT_EQ(reader.status().epoch, reign);
  }
  EXPECT_EQ(reader.refresh(), Answer::ok);
}

TEST_F(GlimConquest, ACorruptRowIsGivenUpAndTheOthersStay) {
  writeTenRows();
  Vandal(file()).rowWord(9, 1) ^= 1;  // key 10
  auto const sut = makeTable<Small>();
  EXPECT_EQ(sut->conquest()->rows, 9u);
  EXPECT_EQ(sut->conquest()->corruptRows, 1u);
  EXPECT_EQ(texts(1), (std::vector<std::string>{"table " + path() +
                                                ": adopted 9 rows, gave up 1 corrupt row"}));
  expectRows(sut, 1, 9);
  sut->write({{10}, 100});
  expectRows(sut, 1, 10);
}

TEST_F(GlimConquest, ASlotWhoseVersionIsDamagedCanBeUsedAgain) {
  for (Word const damage : {~Word{0}, ~Word{0} - 1, Word{1} << 63, (Word{1} << 63) - 2}) {
    writeTenRows();
    Vandal(file()).slotWord(9, 0) = damage;
    auto sut = makeTable<Small>();
    EXPECT_EQ(sut->conquest()->corruptRows, 1u);
    sut->write({{10}, 100});
    Reader<Small> reader(path());
    ASSERT_EQ(reader.attach(), Answer::ok);
    Small out;
    EXPECT_EQ(reader.lookup({10}, out), Answer::ok) << damage;
    EXPECT_EQ(out.count, 100u);
    sut->remove({10});
    EXPECT_EQ(reader.lookup({10}, out), Answer::absent);
  }
}

TEST_F(GlimConquest, ASoundRowWhoseVersionIsNearItsEndIsGivenUp) {
  writeTenRows();
  for (Layout::RowState const state : {Layout::rowLive, Layout::rowDead}) {
    {
      Vandal vandal(file());
      TableMapping table = TableMapping::map(vandal.fd(), vandal.geometry(), true);
      Small const row{{10}, 100};
      constexpr Word last = (Word{1} << 63) - 1;
      RowSlot slot = table.slot(9);
      slot.publish(last - 1, &row);
      if (state == Layout::rowDead) slot.publishDead(last - 1);
    }
    auto const sut = makeTable<Small>();
    EXPECT_EQ(sut->conquest()->corruptRows, 1u);
    sut->write({{10}, 100});
    sut->write({{10}, 100});
    Reader<Small> reader(path());
    ASSERT_EQ(reader.attach(), Answer::ok);
    Small out;
    EXPECT_EQ(reader.lookup({10}, out), Answer::ok);
    expectRows(sut, 1, 10);
  }
}

TEST_F(GlimConquest, AFileThatWasCutShortIsNoticedAndLetGo) {
  for (off_t const bytes : {8192, 4096, 0}) {
    auto const sut = makeTable<Small>();
    ASSERT_EQ(::truncate(file().c_str(), bytes), 0);
    EXPECT_FALSE(sut->map().implementation().validateFiles());
    sut->detach();
    EXPECT_FALSE(sut->attached());
  }
}

TEST_F(GlimConquest, AFileThatWasCutWithinASlotGrowsAgain) {
  writeTenRows();
  Word const end = Vandal(file()).geometry().bytesFor(4);
  std::filesystem::resize_file(file(), end + 16);  // slot 4 still has a version and no row
  auto const sut = makeTable<Small>();
  expectRows(sut, 1, 4);
  for (std::uint64_t key = 5; key <= 10; ++key) sut->write({{key}, key * 10});
  expectRows(sut, 1, 10);
}

TEST_F(GlimConquest, AnEpochThatNobodyCountsToBeginsAnew) {
  writeTenRows();
  Vandal(file()).word(Layout::epochOffset) = ~Word{0};
  auto const sut = makeTable<Small>();
  EXPECT_EQ(sut->map().writer()->epoch(), 1u);
  expectRows(sut, 1, 10);
}

TEST_F(GlimConquest, TwoRowsOfOneKeyLeaveOne) {
  writeTenRows();
  {
    Vandal vandal(file());
    // Slot 9 becomes a sound row of key 1.
    Small const copy{{1}, 77};
    vandal.slotWord(9, 0) = 0;
    TableMapping table = TableMapping::map(vandal.fd(), vandal.geometry(), true);
    table.slot(9).publish(0, &copy);
  }
  auto const sut = makeTable<Small>();
  EXPECT_EQ(sut->conquest()->corruptRows, 1u);
  expectRows(sut, 1, 9);
}

TEST_F(GlimConquest, ADamagedIndexIsRebuiltFromTheRows) {
  writeTenRows();
  {
    Vandal vandal(file());
    for (Word i = 0; i < vandal.geometry().buckets; ++i) vandal.bucket(i) = ~Word{0};
  }
  auto const sut = makeTable<Small>();
  EXPECT_TRUE(sut->conquest()->indexRebuilt);
  expectRows(sut, 1, 10);
  Reader<Small> reader(path());
  ASSERT_EQ(reader.attach(), Answer::ok);
  Small out;
  for (std::uint64_t key = 1; key <= 10; ++key) EXPECT_EQ(reader.lookup({key}, out), Answer::ok);
  EXPECT_EQ(reader.lookup({11}, out), Answer::absent);
}

TEST_F(GlimConquest, ARowThatWasNotYetLinkedIsLinked) {
  writeTenRows();
  Vandal vandal(file());
  for (Word i = 0; i < vandal.geometry().buckets; ++i) {
    if (vandal.bucket(i) != 0 && Layout::entrySlot(vandal.bucket(i)) == 4) vandal.bucket(i) = 0;
  }
  auto const sut = makeTable<Small>();
  EXPECT_TRUE(sut->conquest()->indexRebuilt);
  expectRows(sut, 1, 10);
}

TEST_F(GlimConquest, DamagedCountsInTheHeaderDoNoHarm) {
  writeTenRows();
  for (Word const wrong : {Word{0}, Word{3}, ~Word{0}}) {
    {
      Vandal vandal(file());
      vandal.word(Layout::allocatedRowsOffset) = wrong;
      vandal.word(Layout::membersOffset) = wrong;
      vandal.word(Layout::stateOffset) = wrong;
      vandal.word(Layout::indexVersionOffset) = wrong;
    }
    auto const sut = makeTable<Small>();
    expectRows(sut, 1, 10);
  }
}

// --- no memory ---

TEST_F(GlimConquest, NoMemoryToGrowIsACleanErrorAndDetachesNothing) {
  int const status = inChild([&] {
    auto const table = makeTable<Large>({.maxRows = 2000});
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit const limit{600'000, 600'000};  // bytes; stands in for a tmpfs that is full
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 2;
    std::uint64_t written = 0;
    std::string message;
    try {
      for (; written < 2000; ++written) table->write(largeRow(std::to_string(written), written));
    } catch (Dov::ResourceException const& exception) {
      message = exception.message();
    }
    if (written == 0 || written == 2000) return 3;
    if (message.find("table " + path() + " cannot grow beyond " + std::to_string(written) +
                     " rows: ") != 0) {
      return 4;
    }
    if (!table->attached() || table->members() != written) return 5;
    for (std::uint64_t i = 0; i < written; ++i) {
      if (table->lookup(NameKey(std::to_string(i))).counts[0] != i) return 6;
    }
    table->write(largeRow("0", 7));
    return table->lookup(NameKey("0")).counts[0] == 7 ? 0 : 7;
  });
  EXPECT_TRUE(exitedWith(status, 0)) << WEXITSTATUS(status);
}

TEST_F(GlimConquest, NoMemoryToMakeATableIsACleanError) {
  int const status = inChild([&] {
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit const limit{10'000, 10'000};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 2;
    return messageOf<Dov::ResourceException>([&] { makeTable<Large>(); }).find("cannot allocate") !=
                   std::string::npos
               ? 0
               : 1;
  });
  EXPECT_TRUE(exitedWith(status, 0));
  EXPECT_FALSE(exists("table.glim"));
}

}  // namespace
}  // namespace Glim
