// A whole table under threads: its writer inserts, overwrites, writes in place and removes, while
// readers search and walk. Bounded by counts, not by time.
#include "tests/platform/glim/threads/one_mapping.h"

#include <atomic>
#include <thread>

#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using GlimTest::isWhole;
using GlimTest::Large;
using GlimTest::largeRow;
using GlimTest::NameKey;
using GlimTest::TableTest;

constexpr std::uint64_t staying = 8;    // keys that are always there
constexpr std::uint64_t changing = 16;  // keys that come and go around them
constexpr std::uint64_t lookups = 20'000;

std::string keyName(std::uint64_t i) { return "Ethernet" + std::to_string(i); }

class GlimThreads : public TableTest {
 protected:
  // Writes and removes until the readers are done, values always growing.
  static void churn(Collection<Large>& table, std::atomic<int> const& readers) {
    for (std::uint64_t value = 2; readers != 0; ++value) {
      table.write(largeRow(keyName(value % staying), value));
      auto const slot = table.directWrite(NameKey(keyName((value + 3) % staying)));
      slot->counts.fill(value);
      table.commit(slot);
      std::string const guest = keyName(staying + value % changing);
      if (value % 3 == 0) {
        table.remove(NameKey(guest));
      } else {
        table.write(largeRow(guest, value));
      }
    }
  }

  // Looks staying keys up until enough of them were found, and walks now and then. What was wrong,
  // if anything; how often a row is busy is up to who gets a processor when.
  static std::string read(std::string const& path) {
    Reader<Large> reader(path);
    if (reader.attach() != Answer::ok) return "cannot attach";
    std::array<std::uint64_t, staying> last{};
    for (std::uint64_t found = 0, busy = 0; found < lookups;) {
      std::uint64_t const key = (found + busy) % staying;
      Large row;
      Answer const answer = reader.lookup(NameKey(keyName(key)), row);
      if (answer == Answer::busy) {
        ++busy;
        std::this_thread::yield();
        continue;
      }
      if (answer != Answer::ok) return "a key that stays: " + std::string(text(answer));
      if (!isWhole(row)) return "a torn row";
      if (row.counts[0] < last[key]) return "a row that went back";
      last[key] = row.counts[0];
      if (found++ % 100 != 0) continue;
      std::uint64_t rows = 0;
      bool whole = true;
      WalkResult const walk = reader.forEach([&](Large const& each) {
        ++rows;
        whole = whole && isWhole(each);
      });
      if (!whole || walk.corrupt != 0) return "a torn row in a walk";
      if (rows + walk.busy < staying) return "too few rows";
    }
    return "";
  }
};

TEST_F(GlimThreads, ReadersOnTheWritersOwnMappingSeeWholeRowsThatNeverGoBack) {
  auto const table = makeTable<Large>({.maxRows = 64});
  for (std::uint64_t i = 0; i < staying; ++i) table->write(largeRow(keyName(i), 1));
  std::size_t const sharedBefore = GlimTest::sharedMappings();
  std::atomic<int> readers{2};
  std::array<std::string, 2> wrong;
  {
    std::vector<std::jthread> threads;
    for (std::string& result : wrong) {
      threads.emplace_back([&] {
        result = read(path());
        --readers;
      });
    }
    churn(*table, readers);
  }
  EXPECT_EQ(GlimTest::sharedMappings() - sharedBefore, 2u);
  EXPECT_EQ(wrong[0], "");
  EXPECT_EQ(wrong[1], "");
}

}  // namespace
}  // namespace Glim
