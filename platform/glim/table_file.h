// One table file, opened by the name that it has now and mapped read-only, whatever its state: one
// that a writer replaced or set aside is read as well. table_reader.h follows a table by its name.
//
// Before anything of it is mapped, the file is checked: a regular file, not through a symbolic
// link, of an owner that is trusted, that nobody else may write; its header, read into private
// memory, must be sound.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "platform/glim/answer.h"
#include "platform/glim/file_descriptor.h"
#include "platform/glim/header_copy.h"
#include "platform/glim/table_mapping.h"

namespace Glim {

struct ReaderOptions {
  // The owner to expect. Without one, trusted are: this process's user, the superuser, and the
  // owner of the directory when nobody else may write in it.
  std::optional<uid_t> owner;
};

struct TableStatus {
  enum class State { ready, retired, detached, unknown };
  State state = State::unknown;
  Word epoch = 0;           // counts the writers that the table has had
  Word writerPid = 0;       // of the last one; no proof that it lives
  double heartbeatAge = 0;  // seconds since the writer last said that it lives
  Word rows = 0;
  Word maxRows = 0;
  Word allocatedRows = 0;
};

std::string_view text(TableStatus::State state);

class TableFile {
 public:
  // Lets go of what was open. `path` is the file's: "/dev/shm/oru-counters/intfCounters.glim".
  // ok, missing, unreadable, unsafe, notATable, otherLayout or truncated. A file that is safe to
  // read and no more can be looked at through fd(), however it answers.
  Answer open(std::string const& path, ReaderOptions const& options);
  void close();

  // Whether its rows can be read.
  explicit operator bool() const { return static_cast<bool>(_table); }
  // -1 where the file was not opened or is not safe to read.
  int fd() const { return _file.get(); }
  // Whether this is the file that has that path now, as `open` would find it, and nobody has cut it
  // short. Touches none of its memory.
  bool stillNamed(std::string const& path, ReaderOptions const& options) const;

  // REQUIRES for all of the following: the file is open, and `open` answered ok

  HeaderCopy const& header() const { return _header; }
  TableMapping const& mapping() const { return _table; }
  TableStatus status() const;
  // One of the words that the writer changes.
  Word word(std::size_t offset) const { return Words::loadAcquire(_table.wordAt(offset)); }
  bool retired() const;
  // Slots that the file has memory for: what the header says, within the file's size.
  Word slots() const;
  // A copy of a row takes well under a microsecond, and writers come by a few times a second.
  static constexpr unsigned rowAttempts = 64;
  // ok, absent, busy or corrupt; absent beyond slots(). `row` has header().geometry.rowWords words,
  // and is copied at most so often.
  Answer rowAt(Word slot, void* row, unsigned attempts = rowAttempts) const;

 private:
  FileDescriptor _file;
  dev_t _device = 0;
  ino_t _inode = 0;
  HeaderCopy _header;
  TableMapping _table;
  mutable Word _slotsWithin = 0;    // whole slots within the file, when its size was last looked at
  mutable Word _slotsAskedFor = 0;  // what the header said then
};

}  // namespace Glim
