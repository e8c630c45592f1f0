// One thread writes a row as fast as it can, others read it: what they see is whole and in order.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include "platform/glim/row_slot.h"

namespace Glim {
namespace {

constexpr Word rowWords = 128;
constexpr Word number = 3;
constexpr Word versions = 100'000;

struct Seen {
  Word rows = 0;    // answers that were ok
  Word torn = 0;    // of these, rows of more than one version
  Word older = 0;   // of these, rows older than one seen before
  Word others = 0;  // answers that were neither ok nor busy
};

class GlimRowSlotThreads : public testing::Test {
 protected:
  // A row of version k holds k in every word. Reads until the last version was seen.
  Seen readToTheEnd() {
    Seen seen;
    std::vector<Word> row(rowWords);
    for (Word last = 0; last < versions;) {
      Answer const answer = readSlot(memory.data(), rowWords, number, row.data(), 8);
      if (answer == Answer::busy) continue;
      if (answer != Answer::ok) {
        ++seen.others;
        if (seen.others > versions) break;  // it will not get better
        continue;
      }
      ++seen.rows;
      if (!std::all_of(row.begin(), row.end(), [&](Word word) { return word == row[0]; })) {
        ++seen.torn;
      }
      if (row[0] < last) ++seen.older;
      last = std::max(last, row[0]);
    }
    return seen;
  }

  void writeAll(Word first) {
    for (Word k = first; k < versions; ++k) {
      sut.publish(k, std::vector<Word>(rowWords, k + 1).data());
    }
  }

  std::vector<Word> memory = std::vector<Word>(1 + 2 * (1 + rowWords));
  RowSlot sut{memory.data(), rowWords, number};
};

TEST_F(GlimRowSlotThreads, EveryRowReadIsWholeAndNoOlderThanTheOneBefore) {
  sut.publish(0, std::vector<Word>(rowWords, 1).data());
  std::vector<Seen> seen(2);
  std::vector<std::thread> readers;
  std::atomic<unsigned> reading = 0;
  for (Seen& own : seen) {
    readers.emplace_back([&] {
      ++reading;
      own = readToTheEnd();
    });
  }
  while (reading < readers.size()) std::this_thread::yield();
  writeAll(1);
  for (std::thread& reader : readers) reader.join();
  for (Seen const& own : seen) {
    EXPECT_GT(own.rows, 0u);
    EXPECT_EQ(own.torn, 0u);
    EXPECT_EQ(own.older, 0u);
    EXPECT_EQ(own.others, 0u);
  }
}

}  // namespace
}  // namespace Glim
