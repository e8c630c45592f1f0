// The writer policy of a table: one writer that owns it outright. It takes the table by conquest:
// whatever a former writer left, finished or killed at any instruction, is adopted row by row, or
// kept aside when it cannot be understood. Rows therefore survive the agent.
//
// This is the untyped core: rows are `void` memory of the shape's words, the key at their start.
// All orders are meant for one thread of the process that made the object; a child that it forks
// has no lock, and must call none of them but the destructor.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/glim/bucket_index.h"
#include "platform/glim/conquest.h"
#include "platform/glim/header_copy.h"
#include "platform/glim/row_shape.h"
#include "platform/glim/slot_directory.h"
#include "platform/glim/table_directory.h"
#include "platform/glim/table_limits.h"
#include "platform/glim/table_mapping.h"

namespace Glim {

class Migration;

class ConquerWriter {
 public:
  // A direct write in progress: the hidden half of a slot, filled with what the key's row holds
  // now.
  struct OpenRow {
    void* row = nullptr;
    std::uint32_t slot = SlotDirectory::none;
    std::uint64_t writer = 0;   // tells handles of another writer apart
    std::uint64_t opening = 0;  // and those of an earlier opening of the slot
  };

  // Takes the table, or throws: NoPermissionException when another writer has it or the place is
  // not safe, ResourceException when there is no memory, InvalidSizeException when the limits or
  // the record are beyond bounds.
  ConquerWriter(RootPath const& root, RowShape const& shape, TableLimits const& limits);
  ~ConquerWriter();
  ConquerWriter(ConquerWriter const&) = delete;
  ConquerWriter& operator=(ConquerWriter const&) = delete;

  Conquest const& conquest() const { return _conquest; }
  Word epoch() const { return _epoch; }
  bool attached() const { return static_cast<bool>(_lock); }

  // The following throw CorruptionDetectedException when the file disagrees with what this writer
  // stored in it.

  bool lookup(void const* key, void* row) const;
  // Never throws: asks this writer's memory alone.
  bool contains(void const* key) const;
  // Inserts or overwrites. ResourceException when there is no room: nothing has changed then.
  void write(void const* row);
  // Answers whether there was such a row.
  bool remove(void const* key);
  // Opens the row of a key, making it when it is absent. Until the commit nothing changes for
  // anyone; an abandoned handle needs no care and the row can be opened again. A handle is for use
  // at once: another opening, write or removal of the key makes it stale, and so does a table that
  // is full and takes the slots of abandoned handles back.
  OpenRow open(void const* key);
  // Whether commit may be called: the handle is not stale and the row still has its key.
  bool mayCommit(OpenRow const& open) const;
  // REQUIRES: mayCommit(open)
  void commit(OpenRow const& open);

  // Rows in the order of their keys; `after` need not be present any more. False at the end.
  bool first(void* row) const;
  bool next(void const* after, void* row) const;

  std::uint32_t members() const { return _slots.members(); }
  std::uint32_t maxRows() const { return _limits.maxRows; }
  // Rows that there is memory for now, and the fewest there may be.
  std::uint32_t capacity() const { return _slots.slots(); }
  std::uint32_t chunkRows() const { return _chunkRows; }
  // Whole-row and direct writes and removals since the conquest.
  std::uint64_t writes() const { return _writes; }

  // Tells readers that the writer lives. Once a tick.
  void heartbeat();
  // Frees the slots of abandoned direct writes.
  void cleanup();
  // Whether every row, and the index, are what this writer stored.
  bool validate() const;
  // Whether the file under the table's name is still this one, with the header that it was given,
  // and no other writer can have taken it. Throws ResourceException when that cannot be looked at.
  bool validateFiles() const;
  // Lets go of the table: readers see it detached, another writer may take it. The object's other
  // orders must not be called afterwards; rows that are still open point to private memory.
  void detach();

 private:
  using Own = SlotDirectory::Own;

  // Conquest.
  void conquer();
  void create(Word maxRows);
  void adopt(FileDescriptor file, HeaderCopy const& header);
  std::optional<Migration> migrationFrom(HeaderCopy const& header) const;
  void moveFrom(FileDescriptor const& file, HeaderCopy const& header, Migration const* migration);
  void replaceForeign(FileDescriptor const& file, HeaderCopy const& header, Answer what);
  void publishInPlaceOf(TableMapping const& old);
  void adoptSlot(std::uint32_t slot, Word* row, std::vector<BucketIndex::Link>& links);
  void beginReign(Word formerEpoch);
  Layout::Geometry geometryFor(Word maxRows) const;
  TableMapping mapped(FileDescriptor const& file, Layout::Geometry const& geometry) const;
  void fillHoles(FileDescriptor const& file, Word bytes) const;
  void concluded(Conquest conquest);

  // Rows.
  std::uint32_t find(void const* key) const;
  std::uint32_t findOrTake(void const* key);
  void grow();
  void checkVersion(std::uint32_t slot) const;
  void copyRow(std::uint32_t slot, void* row) const;
  void linkNew(std::uint32_t slot);
  void noteMembers();
  void published(std::uint32_t slot, Word meta);
  void* seededRow(std::uint32_t slot);
  void* freshRow(std::uint32_t slot, void const* key);
  [[noreturn]] void corrupt(std::uint32_t slot, char const* what) const;
  RowSlot slot(std::uint32_t number) const { return _table.slot(number); }

  RootPath _root;
  RowShape const& _shape;
  TableLimits _limits;
  TableDirectory _directory;
  WriterLock _lock;
  FileDescriptor _file;
  TableMapping _table;
  SlotDirectory _slots;
  BucketIndex _index;
  Conquest _conquest;
  std::uint32_t _chunkRows = 0;
  Word _epoch = 0;
  std::uint64_t _writes = 0;
  std::uint64_t _openings = 0;
  mutable std::uint32_t _lastFound = 0;
  std::uint64_t _identity;  // different for each writer of this process
  int _pid;                 // a forked child must not touch the file
  // Of direct writes that do not go to the file at once. Here whether or not they do, so that the
  // class is the same for who is compiled with the thread sanitizer and who is not.
  Word* staged(std::uint32_t slot);
  std::vector<std::vector<Word>> _staged;  // by slot
};

}  // namespace Glim
