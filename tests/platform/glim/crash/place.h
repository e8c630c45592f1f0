// The directory of a table under test, and its writer, whatever its record.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "platform/glim/collection.h"
#include "tests/support/temporary_folder.h"

namespace GlimCrash {

using Rows = std::map<std::uint64_t, std::uint64_t>;  // value by key

class Place {
 public:
  // The writer makes it.
  std::string directory() const { return _top.text("tables"); }
  std::string path() const { return directory() + "/table"; }
  std::string file() const { return path() + ".glim"; }
  Glim::RootPath root() const { return {_debug, path(), true}; }
  void clear() const { std::filesystem::remove_all(directory()); }

 private:
  Support::TemporaryFolder _top;
  mutable Dov::Platform::DebugHandler _debug{0, [](auto const&) {}};
};

// The writer of a table.
class Writer {
 public:
  virtual ~Writer() = default;
  virtual void write(std::uint64_t key, std::uint64_t value) = 0;
  // A direct write; left alone without `commit`.
  virtual void writeDirectly(std::uint64_t key, std::uint64_t value, bool commit = true) = 0;
  virtual void remove(std::uint64_t key) = 0;
  virtual void heartbeat() = 0;
  virtual void detach() = 0;
  virtual void giveUpAsCorrupt() = 0;
  virtual Rows rows() = 0;
  // Whether the file is under its name and holds what this writer knows.
  virtual bool sound() = 0;
  virtual Glim::Conquest const& conquest() = 0;
  virtual Glim::Word epoch() = 0;
};

template <class Record>
class WriterOf : public Writer {
 public:
  WriterOf(Place const& place, std::uint32_t maxRows)
      : _table(Kel::Ptr<Glim::Collection<Record>>::adopt(new Glim::Collection<Record>(
            place.root().debugHandler(), place.root(), {.maxRows = maxRows}))) {}

  void write(std::uint64_t key, std::uint64_t value) override {
    Record row{{key}};
    row.counts.fill(value);
    _table->write(row);
  }
  void writeDirectly(std::uint64_t key, std::uint64_t value, bool commit) override {
    auto const slot = _table->directWrite({key});
    slot->counts.fill(value);
    if (commit) _table->commit(slot);
  }
  void remove(std::uint64_t key) override { _table->remove({key}); }
  void heartbeat() override { _table->heartbeat(); }
  void detach() override { _table->detach(); }
  void giveUpAsCorrupt() override { _table->map().corruptionDetected("for a test"); }
  Rows rows() override {
    Rows rows;
    _table->forEach([&](Record const& row) { rows[row.key.value] = row.counts[0]; });
    return rows;
  }
  bool sound() override {
    auto& table = _table->map().implementation();
    return table.validate() && table.validateFiles() && _table->members() == rows().size();
  }
  Glim::Conquest const& conquest() override { return *_table->conquest(); }
  Glim::Word epoch() override { return _table->map().writer()->epoch(); }

 private:
  Kel::Ptr<Glim::Collection<Record>> _table;
};

using WriterPtr = std::unique_ptr<Writer>;

template <class Record>
WriterPtr makeWriter(Place const& place, std::uint32_t maxRows) {
  return std::make_unique<WriterOf<Record>>(place, maxRows);
}

}  // namespace GlimCrash
