// Readers in other processes over a writer that never rests. Bounded by what they see, not by time.
#include <gtest/gtest.h>
#include <sys/prctl.h>

#include <array>
#include <random>
#include <thread>

#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using GlimTest::exitedWith;
using GlimTest::isWhole;
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
  while (changes > 0) {
    Large row;
    Answer const answer = reader.lookup(NameKey(name), row);
    if (answer == Answer::busy) continue;
    if (answer != Answer::ok) return 2;
    if (!isWhole(row)) return 3;
    if (row.counts[0] < last) return 4;
    if (row.counts[0] > last) --changes;
    last = row.counts[0];
  }
  return 0;
}

TEST_F(GlimTorture, ReadersSeeWholeRowsThatNeverGoBack) {
  auto const table = makeTable<Large>({.maxRows = 64});
  for (std::uint64_t i = 0; i < keys; ++i) table->write(largeRow(keyName(i), 1));
  std::array<pid_t, 2> readers{};
  for (pid_t& reader : readers) {
    reader = ::fork();
    if (reader != 0) continue;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // one that never sees a change would outlive the test
    ::_exit(watch(path(), keyName(3), 2000));
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

}  // namespace
}  // namespace Glim
