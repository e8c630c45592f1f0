// The writer side of one table: the live table, or a dummy after a detach. Corruption that a
// lookup, a walk or a direct write meets detaches the table; it becomes attached again only by
// being made again by its owner.
//
// Messages go to the root path's debug handler: detach and corruption at level 1, readiness at
// level 5. Re-entrancy: the callbacks run when the map is whole again, and may call any of its
// orders.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/dov/exception.h"
#include "platform/glim/conquer_writer.h"
#include "platform/glim/corruption_file.h"
#include "platform/glim/glim_base_dummy.h"
#include "platform/glim/glim_table.h"

namespace Glim {

struct GlimMapCallbacks {
  std::function<void(bool ready)> collectionReady;  // may be empty
  std::function<void()> changed;                    // empty is std::bad_function_call
};

// What does not depend on the record: the messages, in their wording.
class GlimMapMessages {
 public:
  explicit GlimMapMessages(RootPath const& root) : _root(root) {}

 protected:
  RootPath const& root() const { return _root; }
  // Writes the text at level 1 and returns it.
  std::string sayCorruption(std::string_view reason) const;
  void sayDetach() const;
  void sayReady(bool ready, bool notifying) const;
  [[noreturn]] void throwNoMansLand() const;

 private:
  RootPath _root;
};

template <class Key, class Value, class Ops, class Allocator, class WriterPolicy>
class GlimMap : private GlimMapMessages {
 public:
  using Record = typename Value::Record;
  using Base = GlimBase<Key, Value, Ops, Allocator>;
  using Table = GlimTable<Key, Value, Ops, Allocator, WriterPolicy>;
  using Dummy = GlimBaseDummy<Key, Value, Ops, Allocator>;
  using Slot = Glim::Slot<Record>;
  using KeyAllocator = typename Ops::KeyAllocator;

  // Takes the table, or throws as WriterPolicy does.
  GlimMap(RootPath const& root, TableLimits const& limits, GlimMapCallbacks callbacks,
          Record const& defaultRecord = Record())
      : GlimMapMessages(root), _default(defaultRecord), _callbacks(std::move(callbacks)) {
    auto table = std::make_unique<Table>(root, limits, _default);
    _table = table.get();
    _implementation = std::move(table);
  }

  // Tells the owner that the table is there. Answers whether it is.
  bool initialize() {
    if (!_attached) return false;
    collectionReadyIs(true);
    return true;
  }

  std::string glimName() const { return root().glimName(); }
  RootPath const& rootPath() const { return root(); }
  Base& implementation() { return *_implementation; }
  bool attached() const { return _attached; }
  bool notifying() const { return _notifying; }
  void notifyingIs(bool notifying) { _notifying = notifying; }
  GlimMapCallbacks& callbacks() { return _callbacks; }

  // Inserts or overwrites. Nothing is kept while detached.
  void write(Record const& record) { _implementation->write(record); }
  void remove(Key const& key) { _implementation->remove(key, nullptr); }

  // The row's slot; corruption, and a detached table, end in AssertException.
  Slot directWrite(Key const& key) {
    try {
      if (Slot const slot = _implementation->directWrite(key)) return slot;
    } catch (Dov::CorruptionDetectedException const& exception) {
      corruptionDetected(exception.msg());
    }
    throwNoMansLand();
  }
  void directCommit(Slot const& slot) { _implementation->directCommit(slot); }

  // The row, or the default record with found = false: also when the table turns out to be corrupt.
  void safeLookup(Key const& key, bool& found, Record& out) {
    try {
      _implementation->lookup(key, found, out);
    } catch (Dov::CorruptionDetectedException const& exception) {
      found = false;
      out = _default;
      corruptionDetected(exception.msg());
    }
  }

  // Records in the order of their keys; `key` need not be present any more. Corruption ends the
  // walk.
  bool first(Record& out) {
    return safeStep(out, [&] { return _implementation->first(&out); });
  }
  bool next(Key const& key, Record& out) {
    return safeStep(out, [&] { return _implementation->next(key, &out); });
  }

  std::uint64_t members() const { return _implementation->members(); }
  void heartbeat() {
    if (_attached) _table->writer().heartbeat();
  }
  // The live table's writer, or null when detached.
  WriterPolicy const* writer() const { return _attached ? &_table->writer() : nullptr; }

  // Detaches and leaves a corruption file. CorruptionDetectedException when the table is not
  // attached.
  void corruptionDetected(std::string_view reason) {
    std::string const text = sayCorruption(reason);
    if (!_attached) Dov::CorruptionDetectedException::throwException(text);
    detach();
    Util::writeCorruptionFile(root().debugHandler(), root(), reason);
  }

  // Every call says so and tells the callbacks, that of a detached table too.
  void detach() {
    sayDetach();
    _implementation->detach();
    _attached = false;
    _table = nullptr;
    _implementation =
        std::make_unique<Dummy>(_keyAllocator, _default, root(), std::move(_implementation));
    collectionReadyIs(false);
  }

  void collectionReadyIs(bool ready) {
    sayReady(ready, _notifying);
    if (_callbacks.collectionReady) _callbacks.collectionReady(ready);
    _callbacks.changed();
  }

 private:
  template <class Step>
  bool safeStep(Record& out, Step step) {
    try {
      return step();
    } catch (Dov::CorruptionDetectedException const& exception) {
      out = _default;
      corruptionDetected(exception.msg());
      return false;
    }
  }

  std::unique_ptr<Base> _implementation;
  Table* _table = nullptr;  // the live table, while attached
  Record _default;
  GlimMapCallbacks _callbacks;
  KeyAllocator _keyAllocator;
  bool _attached = true;
  bool _notifying = false;
};

}  // namespace Glim
