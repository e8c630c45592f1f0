// How a table passes from one writer to the next.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>

#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using GlimTest::exitedWith;
using GlimTest::inChild;
using GlimTest::killed;
using GlimTest::Large;
using GlimTest::largeRow;
using GlimTest::LaterSmall;
using GlimTest::NameKey;
using GlimTest::Renumbered;
using GlimTest::Small;
using GlimTest::TableTest;
using GlimTest::Vandal;
using GlimTest::WiderSmall;

class GlimConquest : public TableTest {
 protected:
  // Ten rows, written by a table that is gone again.
  void writeTenRows() {
    auto const table = makeTable<Small>();
    for (std::uint64_t key = 1; key <= 10; ++key) table->write({{key}, key * 10});
  }
  void expectRows(Table<Small> const& table, std::uint64_t from, std::uint64_t to) {
    EXPECT_EQ(table->members(), to - from + 1);
    for (std::uint64_t key = from; key <= to; ++key)
      EXPECT_EQ(table->lookup({key}).count, key * 10);
    EXPECT_TRUE(table->map().implementation().validate());
    EXPECT_TRUE(table->map().implementation().validateFiles());
  }
  bool exists(std::string const& name) const {
    return std::filesystem::exists(directory + "/" + name);
  }
  template <class Thrown, class Call>
  std::string messageOf(Call call) {
    try {
      call();
    } catch (Thrown const& exception) {
      return exception.message();
    }
    return "nothing thrown";
  }
};

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

TEST_F(GlimConquest, ASecondWriterIsRefusedNamingTheFirst) {
  auto const first = makeTable<Small>();
  EXPECT_EQ(messageOf<Dov::NoPermissionException>([&] { makeTable<Small>(); }),
            "table " + path() + ": table.lock: the table already has a writer, process " +
                std::to_string(::getpid()));
  EXPECT_TRUE(first->attached());
  first->write({{1}, 1});
}

TEST_F(GlimConquest, ASecondWriterInAnotherProcessIsRefused) {
  auto const first = makeTable<Small>();
  int const status = inChild([&] {
    std::string const message = messageOf<Dov::NoPermissionException>([&] { makeTable<Small>(); });
    return message.ends_with("process " + std::to_string(::getppid())) ? 0 : 1;
  });
  EXPECT_TRUE(exitedWith(status, 0));
}

TEST_F(GlimConquest, AForkedChildThatOutlivesTheWriterBlocksNobody) {
  // The writer forks a child, which keeps every descriptor and mapping, and is killed.
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  int const status = inChild([&] {
    auto const table = makeTable<Small>();
    table->write({{1}, 1});
    pid_t const child = ::fork();
    if (child == 0) {
      ::pause();
      ::_exit(0);
    }
    if (::write(pipe[1], &child, sizeof child) != sizeof child) return 1;
    return ::kill(::getpid(), SIGKILL);
  });
  ASSERT_TRUE(killed(status));
  pid_t child = 0;
  ASSERT_EQ(::read(pipe[0], &child, sizeof child), static_cast<ssize_t>(sizeof child));
  EXPECT_EQ(::kill(child, 0), 0);  // it lives on
  EXPECT_EQ(makeTable<Small>()->conquest()->rows, 1u);
  ::kill(child, SIGKILL);
  for (int const end : pipe) ::close(end);
}

TEST_F(GlimConquest, AForkedChildThatEndsLeavesTheLockToItsParent) {
  auto const first = makeTable<Small>();
  EXPECT_TRUE(exitedWith(inChild([] { return 0; }), 0));
  int const status = inChild([&] {
    return messageOf<Dov::NoPermissionException>([&] { makeTable<Small>(); }).empty() ? 1 : 0;
  });
  EXPECT_TRUE(exitedWith(status, 0));
}

TEST_F(GlimConquest, ARefusedWriterOfTheSameProcessLeavesTheLockToTheFirst) {
  auto const first = makeTable<Small>();
  EXPECT_THROW(makeTable<Small>(), Dov::NoPermissionException);
  int const status = inChild([&] {
    return messageOf<Dov::NoPermissionException>([&] { makeTable<Small>(); }).empty() ? 1 : 0;
  });
  EXPECT_TRUE(exitedWith(status, 0));
}

TEST_F(GlimConquest, AForkedChildThatDropsTheTableLeavesItToItsParent) {
  auto const sut = makeTable<Small>();
  int const status = inChild([&] {
    sut->detach();
    return 0;
  });
  EXPECT_TRUE(exitedWith(status, 0));
  Reader<Small> reader(path());
  ASSERT_EQ(reader.attach(), Answer::ok);
  EXPECT_EQ(reader.status().state, TableStatus::State::ready);
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

TEST_F(GlimConquest, AnEvenSmallerLimitKeepsTheFileAndItsRows) {
  writeTenRows();
  auto const sut = makeTable<Small>({.maxRows = 10});
  EXPECT_EQ(sut->conquest()->kind, Conquest::Kind::adopted);
  expectRows(sut, 1, 10);
  EXPECT_THROW(sut->write({{11}, 1}), Dov::ResourceException);
}

TEST_F(GlimConquest, AGreaterLimitMovesTheRowsAndReadersFollow) {
  {
    auto const table = makeTable<Small>({.maxRows = 10});
    for (std::uint64_t key = 1; key <= 10; ++key) table->write({{key}, key * 10});
  }
  Reader<Small> reader(path());
  ASSERT_EQ(reader.attach(), Answer::ok);
  auto const sut = makeTable<Small>({.maxRows = 1000});
  EXPECT_EQ(sut->conquest()->kind, Conquest::Kind::moved);
  EXPECT_EQ(sut->conquest()->rows, 10u);
  EXPECT_EQ(sut->map().writer()->epoch(), 2u);
  expectRows(sut, 1, 10);

  Small out;
  EXPECT_EQ(reader.lookup({1}, out), Answer::retired);
  EXPECT_EQ(reader.refresh(), Answer::ok);
  EXPECT_EQ(reader.lookup({1}, out), Answer::ok);
  EXPECT_EQ(reader.status().maxRows, 1000u);
}

TEST_F(GlimConquest, AFileWithHolesIsGivenItsMemoryBeforeItsRowsAreMoved) {
  {
    auto const table = makeTable<Small>({.maxRows = 10});
    for (std::uint64_t key = 1; key <= 10; ++key) table->write({{key}, key * 10});
  }
  Vandal const old(file());
  off_t const page = 4096;
  ASSERT_EQ(::fallocate(old.fd(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, page, page), 0);
  auto const sut = makeTable<Small>({.maxRows = 1000});
  expectRows(sut, 1, 10);
  struct stat status {};
  ASSERT_EQ(::fstat(old.fd(), &status), 0);
  EXPECT_GE(status.st_blocks * 512, status.st_size);
}

TEST_F(GlimConquest, ACorruptRowIsNotMoved) {
  {
    auto const table = makeTable<Small>({.maxRows = 10});
    for (std::uint64_t key = 1; key <= 10; ++key) table->write({{key}, key * 10});
  }
  Vandal(file()).rowWord(9, 1) ^= 1;
  auto const sut = makeTable<Small>({.maxRows = 1000});
  EXPECT_EQ(sut->conquest()->corruptRows, 1u);
  expectRows(sut, 1, 9);
}

TEST_F(GlimConquest, ATableOfAnotherSchemaIsSetAsideAndReported) {
  writeTenRows();
  Reader<Small> reader(path());
  ASSERT_EQ(reader.attach(), Answer::ok);
  said.clear();
  auto const sut = makeTable<WiderSmall>();
  EXPECT_EQ(sut->conquest()->kind, Conquest::Kind::setAside);
  EXPECT_EQ(sut->conquest()->keptAs, "table.glim.aside-1");
  EXPECT_EQ(texts(1),
            (std::vector<std::string>{"table " + path() +
                                      ": set a file aside as table.glim.aside-1: other schema"}));
  EXPECT_EQ(sut->members(), 0u);
  EXPECT_EQ(reader.refresh(), Answer::otherSchema);
  EXPECT_EQ(Reader<WiderSmall>(path()).attach(), Answer::ok);
  ASSERT_TRUE(exists("table.glim.aside-1"));
  Vandal kept(directory + "/table.glim.aside-1");
  EXPECT_EQ(kept.rowWord(0, 1), 10u);
}

TEST_F(GlimConquest, RowsOfAnOlderSchemaAreCarriedOver) {
  writeTenRows();
  said.clear();
  auto const sut = makeTable<LaterSmall>();
  EXPECT_EQ(sut->conquest()->kind, Conquest::Kind::migrated);
  EXPECT_EQ(sut->conquest()->rows, 10u);
  EXPECT_EQ(texts(1), (std::vector<std::string>{"table " + path() +
                                                ": carried 10 rows over from an older schema"}));
  EXPECT_EQ(sut->map().writer()->epoch(), 2u);
  EXPECT_EQ(sut->members(), 10u);
  for (std::uint64_t key = 1; key <= 10; ++key) {
    EXPECT_EQ(sut->lookup({key}), (LaterSmall{{key}, 5, key * 10}));
  }
  EXPECT_FALSE(exists("table.glim.aside-1"));
  EXPECT_FALSE(exists("table.glim.new"));
}

TEST_F(GlimConquest, ReadersOfAnOlderSchemaAreToldAndThoseOfTheNewOneFollow) {
  writeTenRows();
  Reader<Small> older(path());
  ASSERT_EQ(older.attach(), Answer::ok);
  auto const sut = makeTable<LaterSmall>();
  Small out;
  EXPECT_EQ(older.lookup({1}, out), Answer::retired);
  EXPECT_EQ(older.refresh(), Answer::otherSchema);
  Reader<LaterSmall> reader(path());
  ASSERT_EQ(reader.attach(), Answer::ok);
  LaterSmall row;
  EXPECT_EQ(reader.lookup({7}, row), Answer::ok);
  EXPECT_EQ(row.count, 70u);
}

TEST_F(GlimConquest, ACorruptRowOfAnOlderSchemaIsNotCarriedOver) {
  writeTenRows();
  Vandal(file()).rowWord(9, 1) ^= 1;  // key 10
  said.clear();
  auto const sut = makeTable<LaterSmall>();
  EXPECT_EQ(sut->conquest()->corruptRows, 1u);
  EXPECT_EQ(sut->members(), 9u);
  EXPECT_EQ(
      texts(1).at(0),
      "table " + path() + ": carried 9 rows over from an older schema, gave up 1 corrupt row");
}

TEST_F(GlimConquest, MoreRowsOfAnOlderSchemaThanTheLimitAreAllCarriedOver) {
  writeTenRows();
  auto const sut = makeTable<LaterSmall>({.maxRows = 4});
  EXPECT_EQ(sut->members(), 10u);
  EXPECT_THROW(sut->write({{11}, 0, 1}), Dov::ResourceException);
  sut->write({{1}, 0, 11});
  EXPECT_EQ(sut->lookup({1}).count, 11u);
}

TEST_F(GlimConquest, ARecordWithAnotherKeyIsNotCarriedOver) {
  makeTable<Renumbered>({}, "other");  // today's schema of that record
  writeTenRows();
  EXPECT_EQ(makeTable<Renumbered>()->conquest()->kind, Conquest::Kind::setAside);
}

TEST_F(GlimConquest, AFileThatAnInterruptedWriterSetAsideKeepsItsOneName) {
  writeTenRows();
  std::filesystem::create_hard_link(file(), directory + "/table.glim.aside-1");
  EXPECT_EQ(makeTable<WiderSmall>()->conquest()->keptAs, "table.glim.aside-1");
  EXPECT_FALSE(exists("table.glim.aside-2"));
}

TEST_F(GlimConquest, EachFileSetAsideKeepsItsOwnName) {
  writeTenRows();
  makeTable<WiderSmall>();
  makeTable<Small>();
  EXPECT_TRUE(exists("table.glim.aside-1"));
  EXPECT_TRUE(exists("table.glim.aside-2"));
}

TEST_F(GlimConquest, AFileThatWasSetAsideButNotYetReplacedKeepsTheNameItGot) {
  writeTenRows();
  std::filesystem::create_hard_link(file(), file() + ".aside-1");
  auto const sut = makeTable<WiderSmall>();
  EXPECT_EQ(sut->conquest()->keptAs, "table.glim.aside-1");
  EXPECT_FALSE(exists("table.glim.aside-2"));
}

TEST_F(GlimConquest, WhatIsNoTableIsSetAside) {
  std::ofstream(file()) << "hello";
  auto const sut = makeTable<Small>();
  EXPECT_EQ(sut->conquest()->kind, Conquest::Kind::setAside);
  std::ifstream kept(directory + "/table.glim.aside-1");
  std::string text;
  kept >> text;
  EXPECT_EQ(text, "hello");
}

TEST_F(GlimConquest, ATableOfAnotherLayoutIsSetAside) {
  writeTenRows();
  Vandal(file()).word(8 * Layout::fixedLayoutVersion) = 2;
  EXPECT_EQ(makeTable<Small>()->conquest()->kind, Conquest::Kind::setAside);
}

TEST_F(GlimConquest, ATruncatedTableIsSetAside) {
  writeTenRows();
  ASSERT_EQ(::truncate(file().c_str(), 8192), 0);
  EXPECT_EQ(makeTable<Small>()->conquest()->kind, Conquest::Kind::setAside);
}

TEST_F(GlimConquest, WhatAnInterruptedWriterLeftUnderTheWorkingNameIsRemoved) {
  std::ofstream(file() + ".new") << "rest";
  makeTable<Small>();
  EXPECT_FALSE(exists("table.glim.new"));
}

TEST_F(GlimConquest, WhatAWriterKilledWhileMovingLeftIsRemovedByOneThatAdopts) {
  writeTenRows();
  std::ofstream(file() + ".new") << "rest";
  makeTable<Small>();
  EXPECT_FALSE(exists("table.glim.new"));
}

TEST_F(GlimConquest, ARetiredFileThatStillHasTheNameIsAdopted) {
  writeTenRows();
  Vandal(file()).word(Layout::stateOffset) = static_cast<Word>(Layout::TableState::retired);
  auto const sut = makeTable<Small>();
  expectRows(sut, 1, 10);
  EXPECT_EQ(Reader<Small>(path()).attach(), Answer::ok);
}

// --- places that are not for tables ---

TEST_F(GlimConquest, ADirectoryThatIsRefusedIsNotMade) {
  struct statfs system {};
  ASSERT_EQ(::statfs("/var/tmp", &system), 0);
  if (system.f_type == 0x01021994) GTEST_SKIP() << "/var/tmp is on tmpfs here";
  std::string const refused = "/var/tmp/oru-test-" + std::to_string(::getpid());
  RootPath const onDisk(debug, refused + "/table", true);
  EXPECT_THROW(Collection<Small>(debug, onDisk), Dov::NoPermissionException);
  EXPECT_NE(::access(refused.c_str(), F_OK), 0);
}

TEST_F(GlimConquest, ADirectoryOnADiskIsRefused) {
  RootPath const onDisk(debug, "/proc/table", false);
  EXPECT_EQ(messageOf<Dov::NoPermissionException>([&] { Collection<Small>(debug, onDisk); }),
            "table /proc/table: /proc: tables live on tmpfs, and this directory does not");
}

TEST_F(GlimConquest, AMissingDirectoryIsMadeOnlyWhenAskedFor) {
  std::string const where = directory + "/new/table";
  EXPECT_THROW(Collection<Small>(debug, RootPath(debug, where, false)), Dov::ResourceException);
  Collection<Small>(debug, RootPath(debug, where, true));
  EXPECT_TRUE(exists("new/table.glim"));
}

TEST_F(GlimConquest, ADirectoryThatIsMadeIsOpenToReadersWhateverTheUmask) {
  mode_t const umask = ::umask(0077);
  Collection<Small> const sut(debug, RootPath(debug, directory + "/made/table", true));
  ::umask(umask);
  struct stat status {};
  ASSERT_EQ(::stat((directory + "/made").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0755u);
}

TEST_F(GlimConquest, ADirectoryWhereOthersMayWriteIsRefusedUnlessItIsSticky) {
  ::chmod(directory.c_str(), 0777);
  EXPECT_THROW(makeTable<Small>(), Dov::NoPermissionException);
  ::chmod(directory.c_str(), 01777);
  makeTable<Small>();
}

TEST_F(GlimConquest, ALockThatSomebodyRemovedIsNoticed) {
  auto const sut = makeTable<Small>();
  EXPECT_TRUE(sut->map().implementation().validateFiles());
  std::filesystem::remove(path() + ".lock");
  EXPECT_FALSE(sut->map().implementation().validateFiles());
}

TEST_F(GlimConquest, AnotherWriterOfTheSameFileIsNoticed) {
  auto const sut = makeTable<Small>();
  std::filesystem::remove(path() + ".lock");
  { auto const another = makeTable<Small>(); }
  EXPECT_FALSE(sut->map().implementation().validateFiles());
}

TEST_F(GlimConquest, ALinkInPlaceOfTheFileIsNoticed) {
  auto const sut = makeTable<Small>();
  std::filesystem::rename(file(), file() + ".x");
  std::filesystem::create_symlink(file() + ".x", file());
  EXPECT_FALSE(sut->map().implementation().validateFiles());
}

TEST_F(GlimConquest, ASymbolicLinkInPlaceOfTheTableIsRefused) {
  writeTenRows();
  std::filesystem::rename(file(), directory + "/elsewhere");
  std::filesystem::create_symlink(directory + "/elsewhere", file());
  EXPECT_THROW(makeTable<Small>(), Dov::NoPermissionException);
}

TEST_F(GlimConquest, ADirectoryInPlaceOfTheTableIsRefused) {
  std::filesystem::create_directory(file());
  EXPECT_THROW(makeTable<Small>(), Dov::NoPermissionException);
}

TEST_F(GlimConquest, ATableThatOthersMayWriteIsRefused) {
  writeTenRows();
  ::chmod(file().c_str(), 0666);
  EXPECT_THROW(makeTable<Small>(), Dov::NoPermissionException);
}

TEST_F(GlimConquest, ALockThatOthersMayOpenIsRefused) {
  writeTenRows();
  ::chmod((path() + ".lock").c_str(), 0644);
  EXPECT_THROW(makeTable<Small>(), Dov::NoPermissionException);
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
