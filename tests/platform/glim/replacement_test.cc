// A table whose file the next writer cannot go on with: its rows move, or it is set aside.
#include <gtest/gtest.h>

#include <fstream>

#include "tests/platform/glim/conquest_fixture.h"

namespace Glim {
namespace {

using GlimTest::LaterSmall;
using GlimTest::Renumbered;
using GlimTest::Small;
using GlimTest::Vandal;
using GlimTest::WiderSmall;

class GlimReplacement : public GlimTest::ConquestTest {};

TEST_F(GlimReplacement, AnEvenSmallerLimitKeepsTheFileAndItsRows) {
  writeTenRows();
  auto const sut = makeTable<Small>({.maxRows = 10});
  EXPECT_EQ(sut->conquest()->kind, Conquest::Kind::adopted);
  expectRows(sut, 1, 10);
  EXPECT_THROW(sut->write({{11}, 1}), Dov::ResourceException);
}

TEST_F(GlimReplacement, AGreaterLimitMovesTheRowsAndReadersFollow) {
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

TEST_F(GlimReplacement, AFileWithHolesIsGivenItsMemoryBeforeItsRowsAreMoved) {
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

TEST_F(GlimReplacement, ACorruptRowIsNotMoved) {
  {
    auto const table = makeTable<Small>({.maxRows = 10});
    for (std::uint64_t key = 1; key <= 10; ++key) table->write({{key}, key * 10});
  }
  Vandal(file()).rowWord(9, 1) ^= 1;
  auto const sut = makeTable<Small>({.maxRows = 1000});
  EXPECT_EQ(sut->conquest()->corruptRows, 1u);
  expectRows(sut, 1, 9);
}

TEST_F(GlimReplacement, ATableOfAnotherSchemaIsSetAsideAndReported) {
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

TEST_F(GlimReplacement, RowsOfAnOlderSchemaAreCarriedOver) {
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

TEST_F(GlimReplacement, ReadersOfAnOlderSchemaAreToldAndThoseOfTheNewOneFollow) {
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

TEST_F(GlimReplacement, ACorruptRowOfAnOlderSchemaIsNotCarriedOver) {
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

TEST_F(GlimReplacement, MoreRowsOfAnOlderSchemaThanTheLimitAreAllCarriedOver) {
  writeTenRows();
  auto const sut = makeTable<LaterSmall>({.maxRows = 4});
  EXPECT_EQ(sut->members(), 10u);
  EXPECT_THROW(sut->write({{11}, 0, 1}), Dov::ResourceException);
  sut->write({{1}, 0, 11});
  EXPECT_EQ(sut->lookup({1}).count, 11u);
}

TEST_F(GlimReplacement, ARecordWithAnotherKeyIsNotCarriedOver) {
  makeTable<Renumbered>({}, "other");  // today's schema of that record
  writeTenRows();
  EXPECT_EQ(makeTable<Renumbered>()->conquest()->kind, Conquest::Kind::setAside);
}

TEST_F(GlimReplacement, AFileThatAnInterruptedWriterSetAsideKeepsItsOneName) {
  writeTenRows();
  std::filesystem::create_hard_link(file(), directory + "/table.glim.aside-1");
  EXPECT_EQ(makeTable<WiderSmall>()->conquest()->keptAs, "table.glim.aside-1");
  EXPECT_FALSE(exists("table.glim.aside-2"));
}

TEST_F(GlimReplacement, EachFileSetAsideKeepsItsOwnName) {
  writeTenRows();
  makeTable<WiderSmall>();
  makeTable<Small>();
  EXPECT_TRUE(exists("table.glim.aside-1"));
  EXPECT_TRUE(exists("table.glim.aside-2"));
}

TEST_F(GlimReplacement, WhatIsNoTableIsSetAside) {
  std::ofstream(file()) << "hello";
  auto const sut = makeTable<Small>();
  EXPECT_EQ(sut->conquest()->kind, Conquest::Kind::setAside);
  std::ifstream kept(directory + "/table.glim.aside-1");
  std::string text;
  kept >> text;
  EXPECT_EQ(text, "hello");
}

TEST_F(GlimReplacement, ATableOfAnotherLayoutIsSetAside) {
  writeTenRows();
  Vandal(file()).word(8 * Layout::fixedLayoutVersion) = 2;
  EXPECT_EQ(makeTable<Small>()->conquest()->kind, Conquest::Kind::setAside);
}

TEST_F(GlimReplacement, ATruncatedTableIsSetAside) {
  writeTenRows();
  ASSERT_EQ(::truncate(file().c_str(), 8192), 0);
  EXPECT_EQ(makeTable<Small>()->conquest()->kind, Conquest::Kind::setAside);
}

TEST_F(GlimReplacement, WhatAnInterruptedWriterLeftUnderTheWorkingNameIsRemoved) {
  std::ofstream(file() + ".new") << "rest";
  makeTable<Small>();
  EXPECT_FALSE(exists("table.glim.new"));
}

TEST_F(GlimReplacement, WhatAWriterKilledWhileMovingLeftIsRemovedByOneThatAdopts) {
  writeTenRows();
  std::ofstream(file() + ".new") << "rest";
  makeTable<Small>();
  EXPECT_FALSE(exists("table.glim.new"));
}

TEST_F(GlimReplacement, ARetiredFileThatStillHasTheNameIsAdopted) {
  writeTenRows();
  Vandal(file()).word(Layout::stateOffset) = static_cast<Word>(Layout::TableState::retired);
  auto const sut = makeTable<Small>();
  expectRows(sut, 1, 10);
  EXPECT_EQ(Reader<Small>(path()).attach(), Answer::ok);
}

}  // namespace
}  // namespace Glim
