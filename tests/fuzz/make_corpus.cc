// Makes the inputs that the fuzzers begin with: make_corpus DIRECTORY
// Small tables in the states that tables are found in, whole and damaged, and schemas. The same
// every time, but for the time and the process in the headers.
#include <filesystem>
#include <iostream>

#include "tests/platform/glim/hostile/base_table.h"
#include "tests/support/temporary_folder.h"

namespace {

using Glim::Word;
using GlimTest::TableImage;
namespace Layout = Glim::Layout;
namespace fs = std::filesystem;

void keep(fs::path const& to, TableImage image, bool sign = true) {
  image.wordIs(image.fixed(Layout::fixedCreated), 0);
  image.wordIs(Layout::writerPidOffset, 1);
  image.wordIs(Layout::heartbeatOffset, 1);
  if (sign) image.signHeader();
  GlimTest::writeFile(to, image.bytes);
}

template <class Record>
void makeTables(fs::path const& to, std::string const& name, std::uint32_t maxRows) {
  Support::TemporaryFolder const folder;
  Dov::Platform::DebugHandler debug(0);
  auto const base =
      GlimTest::makeBaseTable<Record>(Glim::RootPath(debug, folder.text("table"), false), maxRows);
  if (!base) throw std::runtime_error("no table");

  keep(to / (name + "-detached"), base->detached);
  keep(to / (name + "-killed"), base->killed);

  TableImage building = base->killed;
  building.wordIs(Layout::indexVersionOffset, 7);
  keep(to / (name + "-index-being-built"), building);

  TableImage retired = base->detached;
  retired.wordIs(Layout::stateOffset, static_cast<Word>(Layout::TableState::retired));
  keep(to / (name + "-retired"), retired);

  TableImage cut = base->detached;
  cut.bytes.resize(cut.slot(5) + 24);
  keep(to / (name + "-cut-within-a-slot"), cut);

  TableImage corrupt = base->detached;
  for (Word const slot : {1u, 4u, 9u}) {
    std::size_t const at = corrupt.row(slot, corrupt.word(corrupt.slot(slot)) / 2) + 8;
    corrupt.wordIs(at, corrupt.word(at) ^ 1);
  }
  keep(to / (name + "-corrupt-rows"), corrupt);

  TableImage full = base->detached;
  for (Word i = 0; i < full.geometry().buckets; ++i) {
    full.wordIs(full.bucket(i), Layout::bucketEntry(7, 0));
  }
  keep(to / (name + "-index-of-one-entry"), full);

  TableImage late = base->detached;
  for (Word slot = 0; slot < 4; ++slot) {
    Word const was = late.word(late.slot(slot));
    Word const now = ((Word{1} << 63) - 4 + was % 4) & ~Word{1};
    late.wordIs(late.slot(slot), now);
    late.signRow(slot, slot % 2 == 0 ? Layout::rowLive : Layout::rowDead);
  }
  keep(to / (name + "-versions-near-their-end"), late);
}

void makeSchemas(fs::path const& to) {
  auto const keepSchema = [&](std::string const& name, std::size_t rowBytes,
                              std::string_view text) {
    std::string bytes{static_cast<char>(rowBytes / 256), static_cast<char>(rowBytes % 256)};
    GlimTest::writeFile(to / name, bytes.append(text));
  };
  keepSchema("small", sizeof(GlimTest::Small), Glim::schemaText<GlimTest::Small>);
  keepSchema("middle", sizeof(GlimTest::Middle), Glim::schemaText<GlimTest::Middle>);
  keepSchema("large", sizeof(GlimTest::Large), Glim::schemaText<GlimTest::Large>);
  keepSchema("all-types", 40,
             "All\na:u64:0:1\nb:u63:8:1\nc:f64:16:1\nd:u32:24:1\ne:u16:28:1\nf:u8:30:2\n"
             "g:text:32:8\n");
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2 || argv[1][0] == '-') {
    std::cerr << "usage: make_corpus DIRECTORY\n";
    return 2;
  }
  fs::path const to = argv[1];
  fs::create_directories(to / "table");
  fs::create_directories(to / "schema");
  makeTables<GlimTest::Small>(to / "table", "small", 16);
  makeTables<GlimTest::Middle>(to / "table", "middle", 16);
  makeTables<GlimTest::Colliding>(to / "table", "colliding", 16);
  makeSchemas(to / "schema");
  return 0;
} catch (std::exception const& exception) {
  std::cerr << "make_corpus: " << exception.what() << '\n';
  return 1;
}
