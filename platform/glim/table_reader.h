// A table as another process reads it: by path, read-only, without any contact with its writer.
// This is the untyped core, which also reads tables of records that it does not know; reader.h is
// the typed one.
//
// Nothing that a file holds, or that anybody stores in it meanwhile, can make these orders crash or
// run longer than is said beside them: the geometry is recomputed from a checked private copy of
// the header, every slot number is checked, every retry is counted. A file's owner can still take
// the memory away by truncating it, which no writer of this library ever does; that is why files of
// owners that are not trusted are not mapped.
//
// Answers, no exceptions. An object may be used by one thread at a time.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/glim/table_file.h"

namespace Glim {

class TableReader {
 public:
  // `path` is the table's root path: directory and name ("/dev/shm/oru-counters/intfCounters").
  explicit TableReader(std::string path, ReaderOptions options = {});

  std::string const& path() const { return _path; }

  // Opens the file that has the table's name now, and lets go of another one. Everything but `ok`
  // leaves the reader detached. `retired`: one file after another was replaced while it was opened.
  // A retired file that still has the name, since its writer was killed while replacing it, is read
  // as any other. Reads the header (at most 512 + 65,536 bytes) and no row, and maps what the table
  // may grow to (its address space alone: memory is taken for nothing).
  Answer attach();
  // Stays with the table across its writers: attaches when detached, and attaches anew when the
  // file was retired or cut short, or another file has its name. For once a cycle, and before
  // giving up on `retired`.
  Answer refresh();
  void detach();
  bool attached() const { return static_cast<bool>(_file); }

  // REQUIRES for all of the following: attached()

  TableFile const& file() const { return _file; }
  HeaderCopy const& header() const { return _file.header(); }
  std::string const& schema() const { return header().schema; }
  std::size_t rowWords() const { return header().geometry.rowWords; }
  std::size_t keyBytes() const { return header().geometry.keyBytes; }
  TableStatus status() const { return _file.status(); }

  // Slots to walk over: a table's rows are those of its slots that answer ok. At most maxRows of
  // the header (2^20), and no more than the file has memory for.
  Word slots() const { return _file.slots(); }
  // ok, absent, busy, corrupt or retired. `row` has rowWords() words; it is copied once, or at most
  // 64 times when the writer overtakes every copy.
  Answer rowAt(Word slot, void* row) const;
  // Looks a key up through the index, or through the slots when the index is damaged or being
  // built. `isIt(row)` tells whether a row has the key. Usually looks at a few buckets and copies
  // one row. Never more than maxRows + 65 buckets and slots() + 128 rows, whatever the index holds:
  // 64 rows while it is probed, each slot once without it, and 64 copies that the writer overtook;
  // those in all, not each time.
  Answer find(std::uint32_t hash, std::function<bool(void const* row)> const& isIt,
              void* row) const;

 private:
  struct Search;
  std::optional<Answer> probe(std::uint32_t hash, Search& search) const;
  Answer scan(Search& search) const;
  Answer candidate(Word slot, Search& search) const;
  bool replaced() const { return !_standsIn && _file.retired(); }

  std::string dataFile() const { return _path + ".glim"; }

  std::string _path;
  ReaderOptions _options;
  TableFile _file;
  bool _standsIn = false;  // the file is retired and still had the name when that was last asked
};

}  // namespace Glim
