// A table that is not attached. Every call says, at level 5, that it was made, and gets a neutral
// answer: nothing is found, nothing is kept.
#pragma once

#include <memory>
#include <utility>

#include "platform/glim/glim_base.h"

namespace Glim {

// What does not depend on the record.
void sayDummyCall(RootPath const& root, std::string_view function);

template <class Key, class Value, class Ops, class Allocator>
class GlimBaseDummy : public GlimBase<Key, Value, Ops, Allocator> {
 public:
  using Base = GlimBase<Key, Value, Ops, Allocator>;
  using Record = typename Base::Record;
  using Slot = typename Base::Slot;
  using KeyAllocator = typename Ops::KeyAllocator;

  // `replaced`, if any, is the table that stood here before; slots that it handed out stay safe to
  // touch.
  GlimBaseDummy(KeyAllocator keyAllocator, Record const& defaultRecord, RootPath const& root,
                std::unique_ptr<Base> replaced = {})
      : Base(root),
        _keyAllocator(std::move(keyAllocator)),
        _default(defaultRecord),
        _replaced(std::move(replaced)) {}

  KeyAllocator const& keyAllocator() const { return _keyAllocator; }

  bool initialize() override { return say("initialize"), true; }
  void detach() override { say("detach"); }
  void cleanup() override {
    say("cleanup");
    if (_replaced) _replaced->cleanup();
  }

  void lookup(Key const&, bool& found, Record& out) override {
    say("lookup");
    found = false;
    out = _default;
  }
  bool first(Record* out) override { return say("first"), nothing(out); }
  bool next(Key const&, Record* out) override { return say("next"), nothing(out); }

  void write(Record const&) override { say("write"); }
  void remove(Key const&, Record const*) override { say("remove"); }
  // An empty slot.
  Slot directWrite(Key const&) override { return say("directWrite"), Slot(); }
  Slot directUpdate(Key const&) override { return say("directUpdate"), Slot(); }
  void directCommit() override { say("directCommit"); }
  void directCommit(Slot const&) override { say("directCommit"); }

  std::uint64_t members() const override { return say("members"), 0; }
  std::uint64_t minSize() const override { return say("minSize"), 0; }
  std::uint64_t maxSize() const override { return say("maxSize"), 0; }
  std::uint64_t capacity() const override { return say("capacity"), 0; }
  int type() const override { return say("type"), static_cast<int>(GlimType::dummy); }
  int mountStatus() const override { return say("mountStatus"), 0; }
  ReaderCounters readerCounters() const override { return say("readerCounters"), ReaderCounters(); }
  WriterCounters writerCounters() const override { return say("writerCounters"), WriterCounters(); }
  std::uint64_t getCacheVersionAnchor() const override { return say("getCacheVersionAnchor"), 0; }
  bool validateVersionAnchor() const override { return say("validateVersionAnchor"), true; }
  void clientQuiesced(std::string_view) override { say("clientQuiesced"); }
  bool validate() const override { return say("validate"), true; }
  bool validateFiles() const override { return say("validateFiles"), true; }
  void notifying(bool) override { say("notifying"); }
  void yieldTimeIs(double) override { say("yieldTimeIs"); }
  void sampleIs(std::uint64_t) override { say("sampleIs"); }
  std::uint64_t sequence() const override { return say("sequence"), 0; }

  std::string glimName() const override { return say("glimName"), Base::glimName(); }
  RootPath const& rootPath() const override { return say("rootPath"), Base::rootPath(); }

 private:
  void say(std::string_view function) const { sayDummyCall(Base::rootPath(), function); }
  bool nothing(Record* out) const {
    if (out != nullptr) *out = _default;
    return false;
  }

  KeyAllocator _keyAllocator;
  Record _default;
  std::unique_ptr<Base> _replaced;
};

}  // namespace Glim
