// A table as another process reads it: by path, read-only, without any contact with its writer.
// This is the untyped core, which also reads tables of records that it does not know; reader.h is
// the typed one.
//
// Nothing that a file holds can make these orders crash, or run longer than a walk over the table:
// the geometry is recomputed from a checked private copy of the header, every slot number is
// checked, every retry is counted. A file's owner can still take the memory away by truncating it,
// which no writer of this library ever does; that is why files of owners that are not trusted are
// not mapped.
//
// Answers, no exceptions. An object may be used by one thread at a time.
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <span>
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

class TableReader {
 public:
  // `path` is the table's root path: directory and name, as in "/dev/shm/oru/intfCounters".
  explicit TableReader(std::string path, ReaderOptions options = {});

  std::string const& path() const { return _path; }

  // Opens the file that has the table's name now, and lets go of another one. Everything but `ok`
  // leaves the reader detached. `retired`: the file was replaced, and its successor is not there
  // yet.
  Answer attach();
  // Stays with the table across its writers: attaches when detached, and attaches anew when the
  // file was retired or another file has its name. For once a cycle, and before giving up on
  // `retired`.
  Answer refresh();
  void detach();
  bool attached() const { return static_cast<bool>(_table); }

  // REQUIRES for all of the following: attached()

  HeaderCopy const& header() const { return _header; }
  std::string const& schema() const { return _header.schema; }
  std::size_t rowWords() const { return _header.geometry.rowWords; }
  std::size_t keyBytes() const { return _header.geometry.keyBytes; }
  TableStatus status() const;

  // Slots to walk over: a table's rows are those of its slots that answer ok.
  Word slots() const;
  // ok, absent, busy, corrupt or retired. `row` has rowWords() words.
  Answer rowAt(Word slot, void* row) const;
  // Looks a key up through the index. `isIt(row)` tells whether a row has the key.
  Answer find(std::uint32_t hash, std::function<bool(void const* row)> const& isIt,
              void* row) const;

 private:
  Answer open(FileDescriptor& file, dev_t& device, ino_t& inode) const;
  bool trusted(int directory, uid_t owner) const;
  bool retired() const;
  Answer probe(std::uint32_t hash, std::function<bool(void const*)> const& isIt, void* row) const;
  Answer scan(std::function<bool(void const*)> const& isIt, void* row) const;

  std::string _path;
  ReaderOptions _options;
  FileDescriptor _file;
  dev_t _device = 0;
  ino_t _inode = 0;
  HeaderCopy _header;
  TableMapping _table;
  mutable Word _slotsWithin = 0;  // whole slots within the file, when its size was last looked at
};

}  // namespace Glim
