// Another process scribbles over the mapped file, header included, while readers read it and its
// writer writes it.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mman.h>

#include <array>
#include <atomic>
#include <map>
#include <optional>
#include <set>

#include "tests/platform/glim/hostile/drill.h"
#include "tests/platform/glim/hostile/mutations.h"
#include "tests/platform/glim/table_fixture.h"
#include "tests/support/child_process.h"

namespace GlimTest {
namespace {

using Glim::Answer;
using Glim::ConquerWriter;
using Glim::Reader;
using Glim::Word;
namespace Layout = Glim::Layout;

constexpr std::uint32_t maxRows = 64;
constexpr std::uint64_t keys = 80;  // more than there is room for

// Never returns. Opens the file by its name again and again: the writer replaces one whose header
// it no longer understands. Counts its attempts.
[[noreturn]] void scribble(std::string const& file, std::uint64_t seed,
                           std::atomic<std::uint64_t>& attempts) {
  Random random(seed);
  for (;;) {
    ++attempts;
    Glim::FileDescriptor const fd(::open(file.c_str(), O_RDWR | O_CLOEXEC));
    Glim::HeaderCopy header;
    if (!fd || Glim::readHeader(fd.get(), header) != Answer::ok) continue;
    Layout::Geometry const g = header.geometry;
    Glim::TableMapping const table = Glim::TableMapping::map(fd.get(), g, true);
    if (!table) continue;
    std::size_t const end = g.bytesFor(g.maxRows);
    for (int i = 0; i < 200; ++i, ++attempts) {
      std::size_t at = g.slotsOffset + random() % (end - g.slotsOffset);
      if (random() % 16 == 0) at = Layout::allocatedRowsOffset + random() % 384;
      if (random() % 16 == 0) at = g.indexOffset + random() % (g.slotsOffset - g.indexOffset);
      if (random() % 256 == 0) at = random() % (Layout::schemaOffset + g.schemaBytes);
      Word const before = *table.wordAt(at);
      std::array<Word, 4> const values{before ^ Word{1} << random() % 64, before + 2, random(), 0};
      Glim::Words::storeRelease(table.wordAt(at), values[random() % values.size()]);
      for (Word pause = random() % 4096; pause > 0; --pause) {
        Glim::Words::loadAcquire(table.wordAt(0));
      }
    }
  }
}

class Scribbler : public TableTest {
 protected:
  void SetUp() override {
    takeTable();
    child = ::fork();
    if (child == 0) scribble(file(), 17, attempts);
  }
  void TearDown() override {
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::munmap(&attempts, sizeof attempts);
  }

  void takeTable() {
    writer.reset();
    writer.emplace(root(), Glim::rowShape<Middle>(), Glim::TableLimits{.maxRows = maxRows});
    for (auto const& left : std::filesystem::directory_iterator(directory)) {
      if (left.path().filename().string().find(".aside-") != std::string::npos) {
        std::filesystem::remove(left.path());
      }
    }
  }

  // Runs an order of the writer. What it may say is that the table is corrupt: it is then taken
  // anew, as by the next agent; and that there is no room.
  template <class Order>
  void order(Order run) {
    try {
      run();
      ++done;
    } catch (Dov::CorruptionDetectedException const&) {
      ++corruptions;
      takeTable();
    } catch (Dov::ResourceException const& exception) {
      if (exception.message().find(" is full: ") == std::string::npos) throw;
    }
  }

  void write(std::uint64_t key, std::uint64_t value) {
    Middle const row = sampleRow<Middle>(key, value);
    written[key].insert(value);
    order([&] { writer->write(&row); });
  }
  void remove(std::uint64_t key) {
    auto const removed = sampleKey<Middle>(key);
    order([&] { writer->remove(&removed); });
  }

  void checkRow(Middle const& row) const {
    std::uint64_t key = 0;
    while (key < keys && !(row.key == sampleKey<Middle>(key))) ++key;
    ASSERT_LT(key, keys) << "a key that nobody wrote";
    ASSERT_EQ(row, sampleRow<Middle>(key, row.counts[0])) << "a row that is not whole";
    ASSERT_TRUE(written.contains(key) && written.at(key).contains(row.counts[0]))
        << "a row that nobody wrote";
  }

  void lookUp(std::uint64_t key) {
    Middle row;
    reader.refresh();
    if (reader.lookup(sampleKey<Middle>(key), row) != Answer::ok) return;
    ++accepted;
    checkRow(row);
  }
  void walk() {
    reader.refresh();
    auto const met = reader.forEach([this](Middle const& row) { checkRow(row); });
    accepted += met.rows;
  }

  // A test goes on until enough has happened, and does not run away from a scribbler that is given
  // no processor.
  bool enough(std::uint64_t orders) const {
    while (attempts < orders / 10 && Support::isRunning(child)) ::sched_yield();
    return HasFatalFailure() || orders > 2'000'000 ||
           (orders > 20'000 && done > 10'000 && accepted > 1000 && corruptions > 30);
  }

  std::optional<ConquerWriter> writer;
  Reader<Middle> reader{path()};
  std::atomic<std::uint64_t>& attempts = *static_cast<std::atomic<std::uint64_t>*>(
      ::mmap(nullptr, sizeof(std::atomic<std::uint64_t>), PROT_READ | PROT_WRITE,
             MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  pid_t child = -1;
  std::map<std::uint64_t, std::set<std::uint64_t>> written;  // values by key
  std::uint64_t done = 0, corruptions = 0, accepted = 0;
};

TEST_F(Scribbler, MeetsReadersThatAcceptNoWrongRowAndAWriterThatSaysCorrupt) {
  Random random(18);
  for (std::uint64_t value = 1; !enough(value); ++value) {
    std::uint64_t const key = random() % keys;
    switch (random() % 8) {
      case 0:
        remove(key);
        break;
      case 1:
        order([&] {
          Middle row;
          if (writer->lookup(sampleRow<Middle>(key, 0).key.chars.data(), &row)) checkRow(row);
        });
        break;
      case 2:
        lookUp(key);
        break;
      case 3:
        if (random() % 16 == 0) walk();
        break;
      case 4:
        if (random() % 256 == 0) takeTable();
        break;
      case 5:
        writer->heartbeat();
        break;
      default:
        write(key, value);
    }
  }
  EXPECT_GT(corruptions, 30u);
  EXPECT_GT(accepted, 1000u);
}

// A direct write fills the row where it will stand: what is scribbled into it meanwhile is
// published with it, but under no other key.
TEST_F(Scribbler, MeetsDirectWritesThatKeepTheirKeys) {
  Random random(19);
  for (std::uint64_t value = 1; !enough(value); ++value) {
    auto const key = sampleKey<Middle>(random() % keys);
    if (random() % 256 == 0) takeTable();
    order([&] {
      auto const open = writer->open(&key);
      if (random() % 8 == 0) return;
      if (!writer->mayCommit(open)) return;  // its key was scribbled over
      writer->commit(open);
    });
    Middle row;
    reader.refresh();
    if (reader.lookup(key, row) == Answer::ok) {
      ASSERT_EQ(row.key, key);
      ++accepted;
    }
  }
  EXPECT_GT(corruptions, 30u);
  EXPECT_GT(accepted, 1000u);
}

}  // namespace
}  // namespace GlimTest
