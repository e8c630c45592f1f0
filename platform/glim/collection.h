// The table that an agent writes, as an entity: an object of the framework around one GlimMap.
//
//   Dov::Platform::DebugHandler debug;
//   Glim::RootPath const path(debug, "/dev/shm/oru-counters/aclDropCounters", true);
//   auto counters = Kel::make<Glim::Collection<DropCounter>>(debug, path,
//                                                            Glim::TableLimits{.maxRows = 4096});
//   counters->write({intfId, 0});
//
// The constructor takes the table over from whoever wrote it before, rows included
// (conquer_writer.h), or throws the Dov family: another writer has it, the place is not safe or not
// on tmpfs, there is no memory. Afterwards a full table and a want of memory are
// Dov::ResourceException, and change nothing.
//
// What the table does when its file turns out to be corrupt, and which calls notice, is told in
// glim_map.h. An order holds the table while it runs: who is told of its loss may let go of it.
// Every order is for the one thread that made the object. Orders are virtual: a recorder in a test
// derives from it.
#pragma once

#include <cstring>
#include <utility>

#include "platform/glim/glim_map.h"
#include "platform/glim/slot_allocator.h"
#include "platform/kel/notifier.h"

namespace Glim {

// The GlimMap of a record, put together from its traits.
template <class Record>
using MapOf = GlimMap<KeyOf<Record>, ValueOf<Record>, OpsOf<Record>,
                      SlotAllocator<KeyOf<Record>, ValueOf<Record>>, ConquerWriter>;

template <class RecordType>
class Collection : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<Collection> {
   public:
    // The table is lost: it has been detached. (Changes of its rows are for readers to see.)
    virtual void onAttached() {}
  };
  class Notifiee : public NotifieeConst {};

  using Record = RecordType;
  using Key = KeyOf<Record>;
  using Slot = Glim::Slot<Record>;
  using Map = MapOf<Record>;

  Collection(Dov::Platform::DebugHandler& debugHandler, RootPath const& rootPath,
             TableLimits const& limits = {})
      : _debugHandler(debugHandler), _map(rootPath, limits, callbacks()) {
    _map.initialize();
  }

  // Inserts the record under its key, or overwrites the record there.
  virtual void write(Record const& record) {
    Kel::Ptr<Collection const> const alive(this);
    _map.write(record);
  }
  // Does nothing when there is no such record.
  virtual void remove(Key const& key) {
    Kel::Ptr<Collection const> const alive(this);
    _map.remove(key);
  }
  // The record, or the default record with found = false.
  virtual void safeLookup(Key const& key, bool& found, Record& out) {
    Kel::Ptr<Collection const> const alive(this);
    _map.safeLookup(key, found, out);
  }
  // In-place access to the record, made if it is absent; readers see it at the commit.
  virtual Slot directWrite(Key const& key) {
    Kel::Ptr<Collection const> const alive(this);
    return _map.directWrite(key);
  }
  virtual void commit(Slot const& slot) {
    Kel::Ptr<Collection const> const alive(this);
    _map.directCommit(slot);
  }

  // The record under the key, or the default record.
  Record lookup(Key const& key) {
    Record record;
    bool found = false;
    safeLookup(key, found, record);
    return record;
  }
  // The record under the key; for an absent one, the default record but for its key.
  Record rowOf(Key const& key) {
    Record record;
    bool found = false;
    safeLookup(key, found, record);
    // The key is its record's first member.
    if (!found) std::memcpy(static_cast<void*>(&record), &key, sizeof key);
    return record;
  }
  bool contains(Key const& key) {
    Record record;
    bool found = false;
    safeLookup(key, found, record);
    return found;
  }

  // Records in the order of their keys. `after` need not be present any more, so that a walk
  // survives any change made meanwhile: it visits what is there when it comes by.
  virtual bool first(Record& out) {
    Kel::Ptr<Collection const> const alive(this);
    return _map.first(out);
  }
  virtual bool next(Key const& after, Record& out) {
    Kel::Ptr<Collection const> const alive(this);
    return _map.next(after, out);
  }
  // Calls visit(record) with a copy of each record. The visitor may write, remove and detach.
  template <class Visit>
  void forEach(Visit visit) {
    Kel::Ptr<Collection const> const alive(this);
    Record record;
    for (bool more = first(record); more;) {
      Key const key = RecordTraits<Record>::key(record);
      visit(std::as_const(record));
      more = next(key, record);
    }
  }

  virtual std::uint64_t members() const { return _map.members(); }
  bool attached() const { return _map.attached(); }
  void detach() {
    Kel::Ptr<Collection const> const alive(this);
    _map.detach();
  }
  // Tells readers that the writer lives: once a tick.
  void heartbeat() { _map.heartbeat(); }

  RootPath const& rootPath() const { return _map.rootPath(); }
  Dov::Platform::DebugHandler& debugHandler() const { return _debugHandler; }
  Map& map() { return _map; }
  // What the constructor found; null when detached.
  Conquest const* conquest() const {
    return _map.writer() != nullptr ? &_map.writer()->conquest() : nullptr;
  }

 private:
  GlimMapCallbacks callbacks() {
    return {[this](bool ready) {
              if (!ready) notify(&NotifieeConst::onAttached);
            },
            [] {}};
  }

  Dov::Platform::DebugHandler& _debugHandler;
  Map _map;
};

}  // namespace Glim
