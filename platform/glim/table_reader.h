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

#include <functional>
#include <string>

#include "platform/glim/table_file.h"

namespace Glim {

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
  bool attached() const { return static_cast<bool>(_file); }

  // REQUIRES for all of the following: attached()

  HeaderCopy const& header() const { return _file.header(); }
  std::string const& schema() const { return header().schema; }
  std::size_t rowWords() const { return header().geometry.rowWords; }
  std::size_t keyBytes() const { return header().geometry.keyBytes; }
  TableStatus status() const { return _file.status(); }

  // Slots to walk over: a table's rows are those of its slots that answer ok.
  Word slots() const { return _file.slots(); }
  // ok, absent, busy, corrupt or retired. `row` has rowWords() words.
  Answer rowAt(Word slot, void* row) const;
  // Looks a key up through the index. `isIt(row)` tells whether a row has the key.
  Answer find(std::uint32_t hash, std::function<bool(void const* row)> const& isIt,
              void* row) const;

 private:
  Answer probe(std::uint32_t hash, std::function<bool(void const*)> const& isIt, void* row) const;
  Answer scan(std::function<bool(void const*)> const& isIt, void* row) const;

  std::string dataFile() const { return _path + ".glim"; }

  std::string _path;
  ReaderOptions _options;
  TableFile _file;
};

}  // namespace Glim
