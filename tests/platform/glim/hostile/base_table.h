// A small table with a history, as the hostile files are made from it: rows that were overwritten,
// removed, and made again in the slot of another key; direct writes that were committed and
// abandoned.
#pragma once

#include <optional>

#include "tests/platform/glim/hostile/drill.h"
#include "tests/platform/glim/hostile/table_image.h"

namespace GlimTest {

template <class Record>
struct BaseTable {
  TableImage earlier;   // in the middle of its history
  TableImage killed;    // as a writer leaves it that is killed with a direct write open
  TableImage detached;  // as a writer leaves it that lets go
  History<Record> published;
};

inline constexpr std::uint64_t baseRows = 12;  // in the end

// Makes the table at `root`, which must not be there yet.
template <class Record>
std::optional<BaseTable<Record>> makeBaseTable(Glim::RootPath const& root, std::uint32_t maxRows) {
  std::string const file = root.directory() + "/" + root.dataFile();
  History<Record> published;
  std::optional<TableImage> earlier, killed;
  {
    Glim::ConquerWriter writer(root, Glim::rowShape<Record>(), {.maxRows = maxRows});
    auto const write = [&](std::uint64_t key, std::uint64_t value) {
      Record const row = sampleRow<Record>(key, value);
      writer.write(&row);
      published.add(row);
    };
    for (std::uint64_t round = 0; round < 3; ++round) {
      for (std::uint64_t key = 1; key <= baseRows; ++key) write(key, 100 * round + key);
    }
    earlier = TableImage::of(readFile(file).value_or(""));
    for (std::uint64_t const key : {3u, 7u, 8u}) {
      Record const row = sampleRow<Record>(key, 0);
      writer.remove(&row.key);
    }
    for (std::uint64_t const key : {13u, 14u, 3u}) write(key, 500 + key);
    for (std::uint64_t const key : {1u, 14u}) {
      Record const row = sampleRow<Record>(key, 700 + key);
      auto const open = writer.open(&row.key);
      std::memcpy(open.row, &row, sizeof row);
      writer.commit(open);
      published.add(row);
    }
    for (std::uint64_t const key : {5u, 15u}) {  // an old row and a new one
      Record const row = sampleRow<Record>(key, 900);
      auto const open = writer.open(&row.key);
      std::memcpy(open.row, &row, sizeof row);
    }
    killed = TableImage::of(readFile(file).value_or(""));
  }
  std::optional<TableImage> const detached = TableImage::of(readFile(file).value_or(""));
  if (!earlier || !killed || !detached) return {};
  return BaseTable<Record>{*earlier, *killed, *detached, published};
}

}  // namespace GlimTest
