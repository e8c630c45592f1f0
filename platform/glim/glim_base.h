// A table as its users see it, whatever stands behind it:
//
//   GlimBase        the orders, and what a read-only view answers to those that change something
//   GlimView        a read-only view of a table that another process writes (glim_view.h)
//   GlimTable       the live table of its writer (glim_table.h)
//   GlimBaseDummy   a table that is not attached (glim_base_dummy.h)
//
// GlimBaseCommon holds what does not depend on the record.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/glim/record_ops.h"
#include "platform/glim/root_path.h"
#include "platform/glim/slot.h"

namespace Glim {

struct ReaderCounters {
  std::uint64_t lookups = 0;
  std::uint64_t retries = 0;
  std::uint64_t corruptRows = 0;
  bool operator==(ReaderCounters const&) const = default;
};

struct WriterCounters {
  std::uint64_t writes = 0;
  std::uint64_t rowsAdopted = 0;
  std::uint64_t corruptRowsGivenUp = 0;
  bool operator==(WriterCounters const&) const = default;
};

// What type() answers.
enum class GlimType : int { view = 0, table = 1, dummy = 2 };

class GlimBaseCommon {
 public:
  virtual ~GlimBaseCommon();
  GlimBaseCommon(GlimBaseCommon const&) = delete;
  GlimBaseCommon& operator=(GlimBaseCommon const&) = delete;

  virtual bool initialize() = 0;
  virtual void detach() = 0;
  virtual std::uint64_t members() const = 0;
  virtual std::uint64_t minSize() const = 0;
  virtual std::uint64_t maxSize() const = 0;
  // Rows that there is memory for now.
  virtual std::uint64_t capacity() const = 0;
  virtual int type() const { return static_cast<int>(GlimType::view); }
  virtual int mountStatus() const { return 0; }
  virtual std::string glimName() const { return _root.glimName(); }
  virtual RootPath const& rootPath() const { return _root; }

  // Not supported: UnimplementedException.
  virtual ReaderCounters readerCounters() const;
  virtual WriterCounters writerCounters() const;
  virtual std::uint64_t getCacheVersionAnchor() const;
  virtual bool validateVersionAnchor() const;
  virtual void clientQuiesced(std::string_view name);

  // Not through a read-only view: NoPermissionException.
  virtual void directCommit();
  virtual void cleanup();
  virtual bool validateFiles() const;
  virtual bool validate() const;

  // Nothing happens.
  virtual void notifying(bool) {}
  virtual void yieldTimeIs(double) {}
  virtual void sampleIs(std::uint64_t) {}
  virtual std::uint64_t sequence() const { return 0; }

 protected:
  explicit GlimBaseCommon(RootPath const& root) : _root(root) {}
  Dov::Platform::DebugHandler& debugHandler() const { return _root.debugHandler(); }

  [[noreturn]] static void refuseWrite();
  [[noreturn]] static void refuseRemove();

 private:
  RootPath _root;
};

template <class Key, class Value, class Ops, class Allocator>
class GlimBase : public GlimBaseCommon {
 public:
  using Record = typename Value::Record;
  using Slot = Glim::Slot<Record>;

  // `out` receives the record when it is found, else the table's default record.
  virtual void lookup(Key const& key, bool& found, Record& out) = 0;
  void directLookup(Key const& key, bool& found, Record& out) { lookup(key, found, out); }

  // The records in the order of their keys. `key` need not be present any more. False at the end.
  virtual bool first(Record* out) = 0;
  virtual bool next(Key const& key, Record* out) = 0;

  // Through a read-only view: NoPermissionException.
  virtual void write(Record const&) { refuseWrite(); }
  virtual void remove(Key const&, Record const*) { refuseRemove(); }
  virtual Slot directWrite(Key const&) { refuseWrite(); }
  virtual Slot directUpdate(Key const&) { refuseWrite(); }
  using GlimBaseCommon::directCommit;
  virtual void directCommit(Slot const&) { refuseWrite(); }

 protected:
  using GlimBaseCommon::GlimBaseCommon;
};

}  // namespace Glim
