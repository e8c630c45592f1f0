// The live table of its writer: the typed face of a WriterPolicy.
#pragma once

#include "platform/dov/exception.h"
#include "platform/glim/glim_base.h"

namespace Glim {

template <class Key, class Value, class Ops, class Allocator, class WriterPolicy>
class GlimTable : public GlimBase<Key, Value, Ops, Allocator> {
 public:
  using Base = GlimBase<Key, Value, Ops, Allocator>;
  using Record = typename Base::Record;
  using Slot = typename Base::Slot;

  GlimTable(RootPath const& root, TableLimits const& limits, Record const& defaultRecord)
      : Base(root), _default(defaultRecord), _writer(root, checkedShape(root), limits) {}

  WriterPolicy& writer() { return _writer; }
  WriterPolicy const& writer() const { return _writer; }

  bool initialize() override { return _writer.attached(); }
  void detach() override { _writer.detach(); }
  void cleanup() override { _writer.cleanup(); }

  void lookup(Key const& key, bool& found, Record& out) override {
    found = _writer.lookup(&key, &out);
    if (!found) out = _default;
  }
  bool first(Record* out) override {
    return step(out, [&](Record* to) { return _writer.first(to); });
  }
  bool next(Key const& key, Record* out) override {
    return step(out, [&](Record* to) { return _writer.next(&key, to); });
  }

  void write(Record const& record) override { _writer.write(Ops::marshal(record)); }
  void remove(Key const& key, Record const*) override { _writer.remove(&key); }
  Slot directWrite(Key const& key) override {
    _lastOpened = Slot();
    return _lastOpened = Slot(_writer.open(&key));
  }
  // As directWrite, but never makes a row: an empty slot when the key is absent.
  Slot directUpdate(Key const& key) override {
    _lastOpened = Slot();
    return _writer.contains(&key) ? directWrite(key) : Slot();
  }
  // Commits the slot that the last directWrite or directUpdate opened. AssertException when that
  // one opened none, or it is no longer open.
  void directCommit() override { directCommit(_lastOpened); }
  void directCommit(Slot const& slot) override {
    if (!_writer.mayCommit(slot.open())) {
      Dov::debugAndThrowAssertException(this->debugHandler(),
                                        "GlimMap::directCommit() of a slot that is not open",
                                        "Glim/GlimMap", "directCommit");
    }
    _writer.commit(slot.open());
  }

  std::uint64_t members() const override { return _writer.members(); }
  std::uint64_t minSize() const override { return _writer.chunkRows(); }
  std::uint64_t maxSize() const override { return _writer.maxRows(); }
  std::uint64_t capacity() const override { return _writer.capacity(); }
  int type() const override { return static_cast<int>(GlimType::table); }
  std::uint64_t sequence() const override { return _writer.writes(); }
  WriterCounters writerCounters() const override {
    return {_writer.writes(), _writer.conquest().rows, _writer.conquest().corruptRows};
  }
  bool validate() const override { return _writer.validate(); }
  bool validateFiles() const override { return _writer.validateFiles(); }

 private:
  static RowShape const& checkedShape(RootPath const& root) {
    if (!keyStandsFirst<Ops>()) {
      Dov::debugAndThrowAssertException(root.debugHandler(), "the key is a record's first member",
                                        "Glim/GlimTable", "GlimTable");
    }
    return Allocator::template shape<Ops>();
  }

  template <class Step>
  bool step(Record* out, Step take) {
    Record unwanted;
    Record* const to = out != nullptr ? out : &unwanted;
    if (take(to)) return true;
    *to = _default;
    return false;
  }

  Record _default;
  WriterPolicy _writer;
  Slot _lastOpened;
};

}  // namespace Glim
