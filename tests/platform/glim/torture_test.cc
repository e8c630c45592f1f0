// Readers in other processes, and kills at any instruction, over a writer that never rests. Bounded
// by counts, not by time.
#include <gtest/gtest.h>

#include <array>
#include <random>
#include <thread>

#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using GlimTest::exitedWith;
using GlimTest::isWhole;
using GlimTest::killed;
using GlimTest::Large;
using GlimTest::largeRow;
using GlimTest::NameKey;
using GlimTest::TableTest;

constexpr std::uint64_t keys = 8;

class GlimTorture : public TableTest {
 protected:
  static std::string keyName(std::uint64_t i) { return "Ethernet" + std::to_string(i); }
};

// Reads until it has seen `changes` changes of the row: whole rows only, and values that never go
// back.
int watch(std::string const& path, std::string const& name, int changes) {
  Reader<Large> reader(path);
  if (reader.attach() != Answer::ok) return 1;
  std::uint64_t last = 0;
  for (std::uint64_t i = 0; changes > 0; ++i) {
    Large row;
    Answer const answer = reader.lookup(NameKey(name), row);
    if (answer == Answer::busy) continue;
    if (answer != Answer::ok) return 2;
    if (!isWhole(row)) return 3;
    if (row.counts[0] < last) return 4;
    if (row.counts[0] > last) --changes;
    last = row.counts[0];
    if (i > 200'000'000) return 5;
  }
  return 0;
}

TEST_F(GlimTorture, ReadersSeeWholeRowsThatNeverGoBack) {
  auto const table = makeTable<Large>({.maxRows = 64});
  for (std::uint64_t i = 0; i < keys; ++i) table->write(largeRow(keyName(i), 1));
  std::array<pid_t, 2> readers{};
  for (pid_t& reader : readers) {
    reader = ::fork();
    if (reader == 0) ::_exit(watch(path(), keyName(3), 2000));
  }
  std::uint64_t value = 1;
  std::size_t gone = 0;
  std::array<int, 2> status{};
  while (gone < readers.size()) {
    for (int i = 0; i < 2000; ++i) {
      ++value;
      table->write(largeRow(keyName(value % keys), value));
      auto const slot = table->directWrite(NameKey(keyName(3)));
      slot->counts.fill(value);
      table->commit(slot);
    }
    for (std::size_t i = 0; i < readers.size(); ++i) {
      if (readers[i] > 0 && ::waitpid(readers[i], &status[i], WNOHANG) == readers[i]) {
        readers[i] = -1;
        ++gone;
      }
    }
  }
  for (int const s : status) EXPECT_TRUE(exitedWith(s, 0)) << WEXITSTATUS(s);
}

// In one process and one mapping, so that the thread sanitizer watches too.
TEST(GlimRowSlotTorture, AReadingThreadSeesWholeRowsThatNeverGoBack) {
  constexpr Word words = 24;
  std::vector<Word> memory(1 + 2 * (1 + words));
  std::jthread const writer([&memory] {
    RowSlot slot(memory.data(), words, 0);
    for (Word k = 0; k < 100'000; ++k) slot.publish(k, std::vector<Word>(words, k + 1).data());
  });
  std::vector<Word> row(words);
  Word last = 0;
  std::uint64_t whole = 0;
  while (last < 100'000) {
    Answer const answer = readSlot(memory.data(), words, 0, row.data(), 64);
    if (answer == Answer::busy || (answer == Answer::absent && last == 0)) continue;
    ASSERT_EQ(answer, Answer::ok);
    ASSERT_EQ(row, std::vector<Word>(words, row[0]));
    ASSERT_GE(row[0], last);
    last = row[0];
    ++whole;
  }
  EXPECT_GT(whole, 0u);
}

TEST_F(GlimTorture, ARowIsFoundWhileOthersComeAndGoAroundIt) {
  using GlimTest::Colliding;
  auto const table = makeTable<Colliding>({.maxRows = 32});
  for (std::uint64_t key = 0; key < 16; ++key) table->write({{key}, key});
  pid_t const reader = ::fork();
  if (reader == 0) {
    Reader<Colliding> sut(path());
    if (sut.attach() != Answer::ok) ::_exit(1);
    Colliding row;
    for (int i = 0; i < 100'000; ++i) {
      Answer const answer = sut.lookup({15}, row);
      if (answer == Answer::busy) continue;
      if (answer != Answer::ok || row.count != 15) ::_exit(2);
    }
    ::_exit(0);
  }
  std::mt19937_64 random(7);
  int status = 0;
  while (::waitpid(reader, &status, WNOHANG) == 0) {
    for (int i = 0; i < 1000; ++i) {
      std::uint64_t const key = random() % 15;
      if (random() % 2 == 0) {
        table->remove({key});
      } else {
        table->write({{key}, key});
      }
    }
  }
  EXPECT_TRUE(exitedWith(status, 0)) << WEXITSTATUS(status);
}

TEST_F(GlimTorture, NoKillTearsOrLosesARow) {
  for (std::uint64_t i = 0; i < keys; ++i) makeTable<Large>()->write(largeRow(keyName(i), 1));
  Reader<Large> reader(path());
  ASSERT_EQ(reader.attach(), Answer::ok);
  std::uint64_t least = 1;
  for (int round = 0; round < 150; ++round) {
    // The child tells through the pipe that it has the table and writes; the kill comes while it
    // does.
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    pid_t const writer = ::fork();
    if (writer == 0) {
      auto const table = makeTable<Large>();
      char const go = 1;
      if (::write(pipe[1], &go, 1) != 1) ::_exit(1);
      for (std::uint64_t value = least + 1;; ++value) {
        for (std::uint64_t i = 0; i < keys; ++i) {
          table->write(largeRow(keyName(i), value));
          auto const slot = table->directWrite(NameKey("Cpu"));
          slot->counts.fill(value);
          if (value % 2 == 0) table->commit(slot);
          table->write(largeRow("Vlan" + std::to_string(value % 5), value));
          table->remove(NameKey("Vlan" + std::to_string((value + 1) % 5)));
        }
      }
    }
    char go = 0;
    ASSERT_EQ(::read(pipe[0], &go, 1), 1);
    // Some reads while it writes, a different number each round, place the kill.
    for (int i = 0; i < round * 7; ++i) {
      Large row;
      ASSERT_NE(reader.lookup(NameKey(keyName(0)), row), Answer::absent);
    }
    ::kill(writer, SIGKILL);
    int status = 0;
    ::waitpid(writer, &status, 0);
    ::close(pipe[0]);
    ::close(pipe[1]);
    ASSERT_TRUE(killed(status));

    // As the dead writer left it.
    ASSERT_EQ(reader.refresh(), Answer::ok);
    for (std::uint64_t i = 0; i < keys; ++i) {
      Large row;
      ASSERT_EQ(reader.lookup(NameKey(keyName(i)), row), Answer::ok) << round;
      ASSERT_TRUE(isWhole(row));
      ASSERT_GE(row.counts[0], least);
    }
    Walk const walk = reader.forEach([](Large const& row) { ASSERT_TRUE(isWhole(row)); });
    ASSERT_EQ(walk.corrupt, 0u);
    ASSERT_EQ(walk.busy, 0u);

    // As the next writer takes it.
    auto const table = makeTable<Large>();
    ASSERT_EQ(table->conquest()->kind, Conquest::Kind::adopted);
    ASSERT_EQ(table->conquest()->corruptRows, 0u);
    ASSERT_TRUE(table->map().implementation().validate());
    least = table->lookup(NameKey(keyName(0))).counts[0];
    for (std::uint64_t i = 0; i < keys; ++i) {
      least = std::min(least, table->lookup(NameKey(keyName(i))).counts[0]);
    }
  }
  EXPECT_GT(least, 1u);
}

}  // namespace
}  // namespace Glim
