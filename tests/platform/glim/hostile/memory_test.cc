// A header that lies about the size of its table costs address space and no memory.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>

#include "tests/platform/glim/hostile/table_image.h"
#include "tests/platform/glim/table_fixture.h"

namespace GlimTest {
namespace {

using Glim::Answer;
using Glim::Word;
namespace Layout = Glim::Layout;

// The most that the process has had so far. The kernel counts in batches of each processor and
// gives memory out in huge pages, so that two readings may lie a few megabytes apart for nothing.
long residentKilobytes() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

class LyingHeader : public TableTest {
 protected:
  // A file of that size, all of it a hole but for a header which is sound in itself.
  void makeFile(Layout::Geometry const& geometry, std::string_view schema, Word bytes) {
    auto const fixed = Layout::makeFixedWords(geometry, schema, Glim::schemaHashOf(schema), 0);
    std::string header(Layout::schemaOffset, '\0');
    std::memcpy(header.data(), fixed.data(), sizeof fixed);
    Word const all = ~Word{0};
    std::memcpy(header.data() + Layout::allocatedRowsOffset, &all, sizeof all);
    writeFile(file(), header.append(schema));
    std::filesystem::resize_file(file(), bytes);
  }
  // Memory for the file's first bytes.
  void allocate(Word bytes) {
    Glim::FileDescriptor const fd(::open(file().c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::posix_fallocate(fd.get(), 0, static_cast<off_t>(bytes)), 0);
  }
  Word blocks() const {
    struct stat status {};
    ::stat(file().c_str(), &status);
    return static_cast<Word>(status.st_blocks) * 512;
  }

  Layout::Geometry const largest = *Layout::Geometry::make(
      Layout::rowWordsLimit, 8, Layout::maxRowsLimit, Glim::schemaText<Small>.size());
  // Half of its index, 8 MB: less than the least that its lie could take.
  long const farTooMuch = static_cast<long>((largest.slotsOffset - largest.indexOffset) / 2 / 1024);
};

TEST_F(LyingHeader, OfTheLargestTableIsRefusedByAReaderWhileItsIndexIsAHole) {
  makeFile(largest, Glim::schemaText<Small>, largest.fileBytes);
  long const before = residentKilobytes();
  Glim::TableReader sut(path());
  EXPECT_EQ(sut.attach(), Answer::truncated);
  EXPECT_LT(residentKilobytes() - before, farTooMuch);
  EXPECT_LE(blocks(), 8192u);
}

TEST_F(LyingHeader, OfTheLargestTableTakesNoMemoryOfAReader) {
  makeFile(largest, Glim::schemaText<Small>, largest.fileBytes);
  Word const rows = 3;
  allocate(largest.bytesFor(rows));
  Word const all = blocks();
  long const before = residentKilobytes();
  Glim::TableReader sut(path());
  std::vector<Word> row(Layout::rowWordsLimit);
  ASSERT_EQ(sut.attach(), Answer::ok);
  EXPECT_EQ(sut.slots(), rows);
  for (Word slot = 0; slot < largest.maxRows; ++slot)
    ASSERT_EQ(sut.rowAt(slot, row.data()), Answer::absent) << slot;
  EXPECT_EQ(sut.find(
                7, [](void const*) { return false; }, row.data()),
            Answer::absent);
  EXPECT_LT(residentKilobytes() - before, farTooMuch);
  EXPECT_EQ(blocks(), all);
}

TEST_F(LyingHeader, OfMoreRowsThanThereAreTakesAWriterNoMoreThanTheFileHas) {
  auto const schema = Glim::schemaText<Small>;
  auto const lie = *Layout::Geometry::make(2, 8, Layout::maxRowsLimit, schema.size());
  Word const rows = 100;
  makeFile(lie, schema, lie.bytesFor(rows));
  auto const sut = makeTable<Small>({.maxRows = 16});
  EXPECT_EQ(sut->conquest()->kind, Glim::Conquest::Kind::adopted);
  EXPECT_EQ(sut->members(), 0u);
  EXPECT_LE(blocks(), lie.bytesFor(rows) + 4096);
  sut->write({{1}, 1});
  EXPECT_EQ(sut->lookup({1}).count, 1u);
}

// Of others' rows, only the header is looked at.
TEST_F(LyingHeader, OfAnotherSchemaTakesNoMemoryOfAWriter) {
  makeFile(largest, "Other\na:u64:0:8192\n", largest.fileBytes);
  long const before = residentKilobytes();
  EXPECT_EQ(makeTable<Small>({.maxRows = 16})->conquest()->kind, Glim::Conquest::Kind::setAside);
  EXPECT_LT(residentKilobytes() - before, farTooMuch);
}

}  // namespace
}  // namespace GlimTest
