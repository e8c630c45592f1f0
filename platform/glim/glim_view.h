// The read-only view of a table that another process writes, with the orders of a table.
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
  bool initialize() override { return _reader.refresh() == Answer::ok; }
  void detach() override { _reader.detach(); }

  void lookup(Key const& key, bool& found, Record& out) override {
    found = _reader.lookup(key, out) == Answer::ok;
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

  std::uint64_t members() const override { return attached() ? _reader.status().rows : 0; }
  std::uint64_t minSize() const override { return 0; }
  std::uint64_t maxSize() const override { return attached() ? _reader.status().maxRows : 0; }
  std::uint64_t capacity() const override {
    return attached() ? _reader.status().allocatedRows : 0;
  }

 private:
  bool attached() const { return _reader.attached(); }

  // The record of the least key among those that `may` be it.
  template <class May>
  bool least(Record* out, May may) {
    bool found = false;
    Record best{};
    _reader.forEach([&](Record const& record) {
      if (!may(record)) return;
      if (found && !Ops::less(Ops::key(record), Ops::key(best))) return;
      best = record;
      found = true;
    });
    if (out != nullptr) *out = best;
    return found;
  }

  Reader<Record, Ops> _reader;
};

}  // namespace Glim
