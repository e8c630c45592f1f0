// A table of a known record, as another process reads it:
//
//   Glim::Reader<DropCounter> drops("/dev/shm/oru-counters/aclDropCounters");
//   while (display) {
//     if (drops.refresh() == Glim::Answer::ok) {  // also follows a table that was replaced
//       drops.forEach([](DropCounter const& row) { show(row); });
//     }
//   }
//
// table_reader.h tells what the answers mean and what is promised about damaged files.
#pragma once

#include <string>
#include <utility>

#include "platform/glim/row_shape.h"
#include "platform/glim/table_reader.h"

namespace Glim {

// What a walk met besides the rows that it showed.
struct WalkResult {
  Answer end = Answer::ok;  // or retired: the walk stopped, attach again
  std::uint64_t rows = 0;
  std::uint64_t busy = 0;
  std::uint64_t corrupt = 0;
};

template <class Record, class Ops = OpsOf<Record>>
class Reader {
 public:
  using Key = KeyOf<Record>;

  explicit Reader(std::string path, ReaderOptions options = {})
      : _table(std::move(path), options) {}

  // As TableReader; otherSchema when the table is one of other records.
  Answer attach() { return checked(_table.attach()); }
  Answer refresh() { return checked(_table.refresh()); }
  void detach() { _table.detach(); }
  bool attached() const { return _table.attached(); }

  // The untyped table.
  TableReader const& table() const { return _table; }
  // REQUIRES: attached()
  TableStatus status() const { return _table.status(); }
  Word slots() const { return _table.slots(); }

  // `out` is the record only when the answer is ok. `missing` when not attached.
  Answer lookup(Key const& key, Record& out) const {
    if (!attached()) return Answer::missing;
    auto const isIt = [&key](void const* row) { return Ops::equal(keyAt<Key>(row), key); };
    return _table.find(Ops::hash(key), isIt, &out);
  }
  Answer rowAt(Word slot, Record& out) const {
    return attached() ? _table.rowAt(slot, &out) : Answer::missing;
  }

  // Calls visit(record) with each row, by slot: a row that is there throughout is visited once.
  // Rows that come or go meanwhile may be visited or not.
  template <class Visit>
  WalkResult forEach(Visit visit) const {
    WalkResult walk;
    if (!attached()) {
      walk.end = Answer::missing;
      return walk;
    }
    Record record;
    for (Word slot = 0; slot < slots(); ++slot) {
      switch (Answer const answer = rowAt(slot, record)) {
        case Answer::ok:
          ++walk.rows;
          visit(std::as_const(record));
          break;
        case Answer::busy:
          ++walk.busy;
          break;
        case Answer::corrupt:
          ++walk.corrupt;
          break;
        case Answer::absent:
          break;
        default:
          walk.end = answer;
          return walk;
      }
    }
    return walk;
  }

 private:
  Answer checked(Answer answer) {
    if (answer != Answer::ok) return answer;
    auto const& header = _table.header();
    if (header.schemaHash() == schemaHash<Record> && header.schema == schemaText<Record> &&
        header.geometry.rowWords == CheckedRecord<Record>::words &&
        header.geometry.keyBytes == sizeof(Key)) {
      return Answer::ok;
    }
    _table.detach();
    return Answer::otherSchema;
  }

  TableReader _table;
};

}  // namespace Glim
