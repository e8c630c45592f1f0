// The read-only view of a table that another process writes, with the orders of a table.
//
// From initialize() to detach() the view stays with the table: an order that finds the file retired
// (its rows moved to another one) goes to its successor as soon as there is one, and one that finds
// no table looks whether there is one now. A file that was removed or exchanged in another way is
// noticed by initialize() alone, which therefore is for once a cycle.
#pragma once

#include "platform/glim/glim_base.h"
#include "platform/glim/reader.h"

namespace Glim {

template <class Key, class Value, class Ops, class Allocator>
class GlimView : public GlimBase<Key, Value, Ops, Allocator> {
 public:
  using Base = GlimBase<Key, Value, Ops, Allocator>;
  using Record = typename Base::Record;

  explicit GlimView(RootPath const& root, ReaderOptions options = {})
      : Base(root), _reader(root.path(), options) {}

  Reader<Record, Ops> const& reader() const { return _reader; }

  // Attaches, or follows a table that was replaced. False when there is no table to read.
  bool initialize() override {
    _follows = true;
    return follow();
  }
  void detach() override {
    _follows = false;
    _reader.detach();
  }

  void lookup(Key const& key, bool& found, Record& out) override {
    found = ask([&] { return _reader.lookup(key, out); }) == Answer::ok;
    if (!found) out = Record();
  }

  // By key, and each step is a walk over the table: for a few rows. Reader::forEach is the way
  // through many.
  bool first(Record* out) override {
    return least(out, [](Record const&) { return true; });
  }
  bool next(Key const& key, Record* out) override {
    return least(out, [&](Record const& record) { return Ops::less(key, Ops::key(record)); });
  }

  std::uint64_t members() const override { return status().rows; }
  std::uint64_t minSize() const override { return 0; }
  std::uint64_t maxSize() const override { return status().maxRows; }
  std::uint64_t capacity() const override { return status().allocatedRows; }

 private:
  bool follow() const { return _follows && _reader.refresh() == Answer::ok; }

  // The answer of the table; when its file was retired, that of the file in its place.
  template <class Question>
  Answer ask(Question question) const {
    bool const lasts = _reader.attached() && !_reader.table().file().retired();
    if (!lasts && !follow()) return Answer::missing;
    Answer const answer = question();
    return answer == Answer::retired && follow() ? question() : answer;
  }

  // All zero when there is no table.
  TableStatus status() const {
    TableStatus status;
    ask([&] {
      status = _reader.status();
      return Answer::ok;
    });
    return status;
  }

  // The record of the least key among those that `may` be it.
  template <class May>
  bool least(Record* out, May may) {
    bool found = false;
    Record best{};
    Answer const answer = ask([&] {
      found = false;
      return _reader
          .forEach([&](Record const& record) {
            if (!may(record)) return;
            if (found && !Ops::less(Ops::key(record), Ops::key(best))) return;
            best = record;
            found = true;
          })
          .end;
    });
    found = found && answer == Answer::ok;
    if (out != nullptr) *out = found ? best : Record();
    return found;
  }

  mutable Reader<Record, Ops> _reader;  // a question may take it to another file
  bool _follows = false;
};

}  // namespace Glim
