// How much each order reads at most, counted in words of the shared file, whatever stands there and
// whatever happens to it meanwhile. table_reader.h states the bounds.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <random>

#include "tests/platform/glim/hostile/base_table.h"
#include "tests/platform/glim/hostile/mutations.h"
#include "tests/platform/glim/table_fixture.h"

namespace GlimTest {
namespace {

using Glim::Answer;
using Glim::ConquerWriter;
using Glim::Reader;
using Glim::TableReader;
using Glim::Word;
namespace Layout = Glim::Layout;
namespace Words = Glim::Words;

// Counts what is read of a table, by part of the file, and can have the words be what it likes.
class Meter final : private Words::Memory {
 public:
  explicit Meter(Glim::TableMapping const& table)
      : _base(table.wordAt(0)), _geometry(table.geometry()) {
    Words::memory = this;
  }
  ~Meter() { Words::memory = nullptr; }

  std::function<Word(std::size_t offset, Word value)> instead;  // of what stands there

  Word header = 0;
  Word buckets = 0;
  Word marks = 0;  // versions of slots: two a copy of a row, or one where there is no row
  Word words = 0;  // of rows, their meta words among them
  Word stores = 0;

  Word copies() const { return (marks + 1) / 2; }
  Word all() const { return header + buckets + marks + words; }

 private:
  void store(Word* at, Word value, std::memory_order) override {
    ++stores;
    std::atomic_ref<Word>(*at).store(value);
  }
  void fence(std::memory_order) override {}
  void aboutToRead(Word const*, std::size_t n) override { words += n; }
  Word load(Word const* at, std::memory_order) override {
    auto const offset = static_cast<std::size_t>(at - _base) * sizeof(Word);
    if (offset < _geometry.indexOffset) {
      ++header;
    } else if (offset < _geometry.slotsOffset) {
      ++buckets;
    } else if ((offset - _geometry.slotsOffset) % _geometry.stride == 0) {
      ++marks;
    } else {
      ++words;
    }
    Word const value = std::atomic_ref<Word>(*const_cast<Word*>(at)).load();
    return instead ? instead(offset, value) : value;
  }

  Word const* _base;
  Layout::Geometry _geometry;
};

constexpr Word maxRows = 64;
constexpr Word rowWords = 2;  // of Small and Colliding
constexpr Word searchBuckets = maxRows + 65;
constexpr Word searchCopies = maxRows + 128;
// A search looks at the state once, at the index version twice an attempt, and at the allocated
// rows with each row.
constexpr Word searchHeader = 1 + 2 * 8 + 1 + searchCopies;
constexpr Word rowAttempts = 64;

template <class Record>
class BoundedWorkOn : public TableTest {
 protected:
  // A table of this record that is full but for one slot, and a reader of it.
  BoundedWorkOn() {
    writer.emplace(root(), Glim::rowShape<Record>(), Glim::TableLimits{.maxRows = maxRows});
    for (std::uint64_t key = 1; key < maxRows; ++key) {
      Record const row{{key}, key * 10};
      writer->write(&row);
    }
    EXPECT_EQ(sut.attach(), Answer::ok);
  }

  Answer find(std::uint64_t key) {
    typename Glim::RecordTraits<Record>::Key const wanted{key};
    auto const isIt = [&](void const* row) {
      return std::memcmp(row, &wanted, sizeof wanted) == 0;
    };
    return sut.find(wanted.hash(), isIt, &out);
  }
  static void expectSearchWithinBounds(Meter const& meter) {
    EXPECT_LE(meter.buckets, searchBuckets);
    EXPECT_LE(meter.copies(), searchCopies);
    EXPECT_LE(meter.words, searchCopies * (1 + rowWords));
    EXPECT_LE(meter.header, searchHeader);
  }

  std::optional<ConquerWriter> writer;
  TableReader sut{path()};
  Record out;
};
using BoundedWork = BoundedWorkOn<Small>;
using BoundedWorkOnCollidingKeys = BoundedWorkOn<Colliding>;

// --- a whole table, left alone ---

TEST_F(BoundedWork, ALookupCopiesOneRow) {
  Meter meter(sut.file().mapping());
  EXPECT_EQ(find(7), Answer::ok);
  EXPECT_EQ(meter.copies(), 1u);
  EXPECT_EQ(meter.words, 1 + rowWords);
  EXPECT_LE(meter.buckets, 16u);
}

TEST_F(BoundedWork, AMissCopiesNoRow) {
  Meter meter(sut.file().mapping());
  EXPECT_EQ(find(1000), Answer::absent);
  EXPECT_EQ(meter.marks + meter.words, 0u);
  EXPECT_LE(meter.buckets, 16u);
}

TEST_F(BoundedWork, AWalkCopiesEachRowOnce) {
  Reader<Small> reader(path());
  ASSERT_EQ(reader.attach(), Answer::ok);
  Meter meter(reader.table().file().mapping());
  EXPECT_EQ(reader.forEach([](Small const&) {}).rows, maxRows - 1);
  EXPECT_EQ(meter.words, (maxRows - 1) * (1 + rowWords));
  EXPECT_EQ(meter.buckets, 0u);
  EXPECT_LE(meter.header, 3 * maxRows + 1);
}

TEST_F(BoundedWork, AttachingReadsOnlyTheStateOfTheTable) {
  Meter meter(sut.file().mapping());
  EXPECT_EQ(sut.refresh(), Answer::ok);
  EXPECT_EQ(meter.all(), 1u);
  sut.status();
  EXPECT_LE(meter.all(), 1u + 6u);
}

TEST_F(BoundedWorkOnCollidingKeys, AMissCopiesEachRowOnceAndSomeOfThemTwice) {
  Meter meter(sut.file().mapping());
  EXPECT_EQ(find(1000), Answer::absent);
  EXPECT_LE(meter.copies(), maxRows + 64);
  expectSearchWithinBounds(meter);
}

// --- damaged ---

TEST_F(BoundedWork, AnIndexFullOfOneEntryCostsOneWalk) {
  Vandal vandal(file());
  for (Word i = 0; i < vandal.geometry().buckets; ++i) vandal.bucket(i) = Layout::bucketEntry(7, 0);
  Meter meter(sut.file().mapping());
  EXPECT_EQ(find(1000), Answer::absent);
  EXPECT_EQ(find(7), Answer::ok);
  EXPECT_LE(meter.copies(), 2 * searchCopies);
  EXPECT_LE(meter.buckets, 2 * searchBuckets);
}

TEST_F(BoundedWork, AnIndexThatIsBeingBuiltIsNotLookedAt) {
  Vandal(file()).word(Layout::indexVersionOffset) |= 1;
  Meter meter(sut.file().mapping());
  EXPECT_EQ(find(1000), Answer::absent);
  EXPECT_EQ(meter.buckets, 0u);
  EXPECT_LE(meter.copies(), maxRows);
}

TEST_F(BoundedWork, FilesOfAllKindsAreSearchedWithinBounds) {
  auto const base = makeBaseTable<Small>(root("base"), maxRows);
  ASSERT_TRUE(base.has_value());
  unsigned attached = 0;
  for (unsigned seed = 0; seed < 3000; ++seed) {
    Random random(seed);
    TableImage image = base->killed;
    seed % 2 == 0 ? damage(image, base->earlier.bytes, random) : forge(image, random);
    writeFile(file("other"), image.bytes);
    TableReader reader(path("other"));
    if (reader.attach() != Answer::ok) continue;
    ++attached;
    std::vector<Word> row(reader.rowWords());
    Word const all = reader.header().geometry.maxRows;
    for (std::uint32_t hash = 0; hash < 16; ++hash) {
      Meter meter(reader.file().mapping());
      reader.find(
          hash, [](void const*) { return false; }, row.data());
      ASSERT_LE(meter.buckets, all + 65);
      ASSERT_LE(meter.copies(), reader.slots() + 128);
    }
  }
  EXPECT_GT(attached, 1000u);
}

// --- while it is read ---

TEST_F(BoundedWork, ARowThatIsOvertakenAgainAndAgainIsBusyInTheEnd) {
  Meter meter(sut.file().mapping());
  Word version = 0;
  meter.instead = [&](std::size_t offset, Word value) {
    return offset == sut.file().mapping().geometry().slotsOffset ? version += 4 : value;
  };
  EXPECT_EQ(sut.rowAt(0, &out), Answer::busy);
  EXPECT_EQ(meter.marks, 2 * rowAttempts);
  EXPECT_LE(meter.words, rowAttempts * (1 + rowWords));
}

TEST_F(BoundedWorkOnCollidingKeys, RowsThatAreAllOvertakenShareTheRetriesOfASearch) {
  Meter meter(sut.file().mapping());
  Word version = 0;
  auto const& g = sut.file().mapping().geometry();
  meter.instead = [&](std::size_t offset, Word value) {
    bool const mark = offset >= g.slotsOffset && (offset - g.slotsOffset) % g.stride == 0;
    return mark ? version += 4 : value;
  };
  EXPECT_EQ(find(1000), Answer::busy);
  expectSearchWithinBounds(meter);
}

TEST_F(BoundedWorkOnCollidingKeys, AnIndexThatNeverRestsIsGivenUp) {
  Meter meter(sut.file().mapping());
  Word version = 0;
  meter.instead = [&](std::size_t offset, Word value) {
    return offset == Layout::indexVersionOffset ? version += 2 : value;
  };
  EXPECT_EQ(find(1000), Answer::absent);
  EXPECT_EQ(find(maxRows - 1), Answer::ok);
  EXPECT_LE(meter.copies(), 2 * searchCopies);
}

// Nothing stands still, nothing is what it was: one order can read no more for that.
TEST_F(BoundedWorkOnCollidingKeys, MemoryThatIsRubbishAtEveryLookIsReadWithinBounds) {
  Random random(11);
  auto const& g = sut.file().mapping().geometry();
  for (int i = 0; i < 5000; ++i) {
    Meter meter(sut.file().mapping());
    Word const sound = random() % 4;  // one access in so many is answered truly
    meter.instead = [&](std::size_t offset, Word value) -> Word {
      if (sound != 0 && random() % (sound + 1) != 0) return value;
      if (offset == Layout::stateOffset) return random() % 3;
      if (offset == Layout::indexVersionOffset) return random() & ~Word{1};
      if (offset >= g.indexOffset && offset < g.slotsOffset) {
        return Layout::bucketEntry(7, random() % maxRows);
      }
      return random() % 2 == 0 ? random() : value + 4 * (random() % 3);
    };
    find(random() % maxRows);
    expectSearchWithinBounds(meter);
    Word const before = meter.all();
    sut.rowAt(random() % maxRows, &out);
    EXPECT_LE(meter.all() - before, 2 + rowAttempts * (3 + rowWords));
    if (testing::Test::HasFailure()) return;
  }
}

// --- writer ---

TEST_F(BoundedWork, TakingATableOverReadsEachRowTwiceAndEachBucketOnce) {
  writer.reset();
  for (bool const rebuild : {false, true}) {
    if (rebuild) Vandal(file()).bucket(0) = Layout::bucketEntry(12345, 12345);
    // The writer maps the file anew: all of its reads count as one part.
    Meter meter(sut.file().mapping());
    writer.emplace(root(), Glim::rowShape<Small>(), Glim::TableLimits{.maxRows = maxRows});
    EXPECT_EQ(writer->conquest().rows, maxRows - 1);
    Word const buckets = sut.file().mapping().geometry().buckets;
    EXPECT_LE(meter.all(), maxRows * (2 * rowWords + 4) + buckets + 8);
    EXPECT_LE(meter.stores, maxRows + (rebuild ? 2 * buckets : 0) + 8);
    writer.reset();
  }
}

TEST_F(BoundedWork, ValidatingReadsEachRowAndEachBucketOnce) {
  Meter meter(sut.file().mapping());
  EXPECT_TRUE(writer->validate());
  EXPECT_LE(meter.all(), maxRows * (rowWords + 2) + sut.file().mapping().geometry().buckets);
  EXPECT_EQ(meter.stores, 0u);
}

TEST_F(BoundedWork, AWriteReadsNoMoreThanItsOwnRow) {
  Meter meter(sut.file().mapping());
  Small const row{{7}, 1};
  writer->write(&row);
  EXPECT_LE(meter.all(), 2u);
  auto const open = writer->open(&row.key);
  writer->commit(open);
  EXPECT_LE(meter.all(), 2u + 4u + rowWords);
}

}  // namespace
}  // namespace GlimTest
