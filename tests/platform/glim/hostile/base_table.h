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
  auto const image = [&] { return TableImage::of(readFile(file).value_or("")); };
  {
    Glim::ConquerWriter writer(root, Glim::rowShape<Record>(), {.maxRows = maxRows});
    auto const note = [&] {
      if (auto const now = image()) published.note(*now);
    };
    auto const write = [&](std::uint64_t key, std::uint64_t value) {
      Record const row = sampleRow<Record>(key, value);
      writer.write(&row);
      note();
    };
    auto const open = [&](std::uint64_t key, std::uint64_t value) {
      Record const row = sampleRow<Record>(key, value);
      auto const opened = writer.open(&row.key);
      std::memcpy(opened.row, &row, sizeof row);
      return opened;
    };
    for (std::uint64_t round = 0; round < 3; ++round) {
      for (std::uint64_t key = 1; key <= baseRows; ++key) write(key, 100 * round + key);
    }
    earlier = image();
    for (std::uint64_t const key : {3u, 7u, 8u}) {
      auto const removed = sampleKey<Record>(key);
      writer.remove(&removed);
    }
    for (std::uint64_t const key : {13u, 14u, 3u}) write(key, 500 + key);
    for (std::uint64_t const key : {1u, 14u}) {
      writer.commit(open(key, 700 + key));
      note();
    }
    for (std::uint64_t const key : {5u, 15u}) open(key, 900);  // an old row and a new one
    killed = image();
  }
  std::optional<TableImage> const detached = image();
  if (!earlier || !killed || !detached) return {};
  return BaseTable<Record>{*earlier, *killed, *detached, published};
}

}  // namespace GlimTest
