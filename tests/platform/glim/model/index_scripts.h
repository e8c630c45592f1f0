// What writers do to the index in these tests: keys of two hashes whose chains share buckets and go
// around the end of the index.
#pragma once

#include <vector>

#include "tests/platform/glim/model/model_rows.h"
#include "tests/platform/glim/model/recording.h"

namespace GlimModel {

class Keys {
 public:
  static constexpr std::uint32_t maxRows = 4;  // so there are 8 buckets

  Keys() {
    std::uint32_t const atEnd = hashAt(7);
    std::uint32_t const atStart = hashAt(0);
    a = {Word{atEnd} << 8 | 1};
    b = {Word{atEnd} << 8 | 2};
    c = {Word{atEnd} << 8 | 3};
    last = {Word{atStart} << 8 | 4};
  }
  std::vector<Key> all() const { return {a, b, c, last}; }

  Key a, b, c;  // search begins at the last bucket
  Key last;     // at the first one; there throughout, at the end of the others' chain

  static void write(RecordedTable& table, Key key, std::uint64_t count) {
    Row const row{key, count};
    table.write(&row);
  }
  static void remove(RecordedTable& table, Key key) { table.remove(&key); }

  // a in bucket 7, b in 0, last in 1; and the recording begins.
  void begin(RecordedTable& table) const {
    write(table, a, 1);
    write(table, b, 2);
    write(table, last, 3);
    table.record();
  }
  void comeAndGo(RecordedTable& table) const {
    remove(table, a);    // b moves to 7, last to 0
    write(table, c, 4);  // in the slot of a
    remove(table, b);    // c moves to 7: past last, which is at home
    write(table, a, 5);  // in the slot of b
  }
  void rewrite(RecordedTable& table) const {
    for (std::uint64_t count = 7; count < 10; ++count) write(table, last, count);
  }
  // Whatever a former writer came to.
  void goOn(RecordedTable& table) const {
    remove(table, a);
    write(table, b, 6);
  }

 private:
  static std::uint32_t hashAt(Word bucket) {
    std::uint32_t hash = 1;
    while (Glim::Layout::homeBucket(hash, 2 * maxRows) != bucket) ++hash;
    return hash;
  }
};

}  // namespace GlimModel
