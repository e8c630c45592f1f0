// What a writer does with its rows once the table is its own; conquest.cc tells how it became so.
#include "platform/glim/conquer_writer.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "platform/dov/exception.h"
#include "platform/glim/boot_time.h"
#include "platform/glim/row_words.h"

namespace Glim {

using Use = SlotDirectory::Use;

void ConquerWriter::corrupt(std::uint32_t slot, char const* what) const {
  Dov::CorruptionDetectedException::throwException("row " + _shape.key.text(_slots.key(slot)) +
                                                   " in slot " + std::to_string(slot) + ": " +
                                                   what);
}

// A poll looks a row up and then writes it, and the next poll goes through the rows in the same
// order: the slot of the last key, and the one after it, are tried before anything is hashed.
std::uint32_t ConquerWriter::find(void const* key) const {
  for (std::uint32_t const guess : {_lastFound, _lastFound + 1}) {
    if (guess < _slots.slots() && _slots.at(guess).use == Use::live && _slots.keyIs(guess, key)) {
      return _lastFound = guess;
    }
  }
  std::uint32_t const slot =
      _index.find(_shape.key.hash(key), [&](std::uint32_t at) { return _slots.keyIs(at, key); });
  if (slot != BucketIndex::notFound) _lastFound = slot;
  return slot;
}

std::uint32_t ConquerWriter::findOrTake(void const* key) {
  std::uint32_t slot = find(key);
  if (slot == BucketIndex::notFound) slot = _slots.findOpen(key);
  if (slot != SlotDirectory::none) return slot;
  // Abandoned direct writes may hold the last slots.
  if (_slots.taken() >= _limits.maxRows) cleanup();
  if (_slots.taken() >= _limits.maxRows) {
    Dov::ResourceException::throwException(
        "table " + _root.path() + " is full: " + std::to_string(_limits.maxRows) + " rows");
  }
  if (_slots.full()) grow();
  return _slots.take(key, _shape.key.hash(key));
}

void ConquerWriter::grow() {
  Layout::Geometry const& geometry = _table.geometry();
  std::uint32_t const before = _slots.slots();
  auto const more =
      static_cast<std::uint32_t>(std::min<Word>(_chunkRows, geometry.maxRows - before));
  int const error =
      allocateFile(_file, geometry.bytesFor(before), geometry.bytesFor(before + more));
  if (error != 0) {
    Dov::ResourceException::throwException("table " + _root.path() + " cannot grow beyond " +
                                           std::to_string(before) + " rows: " + errorText(error));
  }
  // A file that was cut within a slot still has the start of it.
  slot(before).versionWordIs(0);
  _slots.grow(more);
  Words::storeRelease(_table.wordAt(Layout::allocatedRowsOffset), _slots.slots());
}

void ConquerWriter::checkVersion(std::uint32_t number) const {
  Own const& own = _slots.at(number);
  if (slot(number).versionWord() != 2 * own.version + (own.beingWritten ? 1 : 0)) {
    corrupt(number, "its version is not the one that was written");
  }
}

void ConquerWriter::copyRow(std::uint32_t number, void* row) const {
  checkVersion(number);
  Own const& own = _slots.at(number);
  if (!slot(number).copyOwn(own.version, own.meta, row)) {
    corrupt(number, "its checksum does not agree");
  }
}

bool ConquerWriter::contains(void const* key) const { return find(key) != BucketIndex::notFound; }

bool ConquerWriter::lookup(void const* key, void* row) const {
  std::uint32_t const slot = find(key);
  if (slot == BucketIndex::notFound) return false;
  copyRow(slot, row);
  return true;
}

void ConquerWriter::write(void const* row) {
  std::uint32_t const number = findOrTake(row);
  checkVersion(number);
  Own& own = _slots.at(number);
  bool const isNew = own.use != Use::live;
  if (isNew) _slots.liveIs(number);  // may want memory: before anything shows
  own.meta = slot(number).publish(own.version, row);
  ++own.version;
  own.beingWritten = false;
  ++_writes;
  if (isNew) linkNew(number);
}

// The row is published: now it may be found.
void ConquerWriter::linkNew(std::uint32_t number) {
  _index.link(_slots.at(number).hash, number);
  noteMembers();
}

bool ConquerWriter::remove(void const* key) {
  std::uint32_t const number = find(key);
  if (number == BucketIndex::notFound) {
    std::uint32_t const open = _slots.findOpen(key);
    if (open != SlotDirectory::none) _slots.freeIs(open);
    return false;
  }
  checkVersion(number);
  Own& own = _slots.at(number);
  own.meta = slot(number).publishDead(own.version);
  ++own.version;
  own.beingWritten = false;
  ++_writes;
  _index.unlink(own.hash, number);
  _slots.freeIs(number);
  noteMembers();
  return true;
}

void* ConquerWriter::writableRow(std::uint32_t number) {
#if ORU_GLIM_STAGED_DIRECT_WRITES
  if (_staged.size() < _slots.slots()) _staged.resize(_slots.slots());
  _staged[number].resize(_shape.rowWords);
  return _staged[number].data();
#else
  return slot(number).row(_slots.at(number).version + 1);
#endif
}

ConquerWriter::OpenRow ConquerWriter::open(void const* key) {
  std::uint32_t const number = findOrTake(key);
  checkVersion(number);
  Own& own = _slots.at(number);
  void* const row = writableRow(number);
  RowSlot at = slot(number);
  at.begin(own.version);
  own.beingWritten = true;
  if (own.use == Use::live) {
    copyRow(number, row);
  } else {
    std::memcpy(row, _shape.defaultRow, _shape.rowWords * sizeof(Word));
    std::memcpy(row, key, _shape.keyBytes);
  }
  return {row, number, own.version, _identity};
}

bool ConquerWriter::mayCommit(OpenRow const& open) const {
  if (open.writer != _identity || open.slot >= _slots.slots()) return false;
  Own const& own = _slots.at(open.slot);
  return own.beingWritten && own.version == open.version && _slots.keyIs(open.slot, open.row);
}

void ConquerWriter::commit(OpenRow const& open) {
  checkVersion(open.slot);
  Own& own = _slots.at(open.slot);
  RowSlot at = slot(open.slot);
  bool const isNew = own.use != Use::live;
  if (isNew) _slots.liveIs(open.slot);
  Word const seed = at.seed(own.version + 1, Layout::rowLive);
#if ORU_GLIM_STAGED_DIRECT_WRITES
  Word const sum = RowWords::store(at.row(own.version + 1), open.row, _shape.rowWords, seed);
#else
  Word const sum = RowWords::checksum(open.row, _shape.rowWords, seed);
#endif
  own.meta = at.commit(own.version, sum, Layout::rowLive);
  ++own.version;
  own.beingWritten = false;
  ++_writes;
  if (isNew) linkNew(open.slot);
}

bool ConquerWriter::first(void* row) const {
  std::uint32_t const slot = _slots.first();
  if (slot == SlotDirectory::none) return false;
  copyRow(slot, row);
  return true;
}

bool ConquerWriter::next(void const* after, void* row) const {
  std::uint32_t const slot = _slots.next(after);
  if (slot == SlotDirectory::none) return false;
  copyRow(slot, row);
  return true;
}

void ConquerWriter::noteMembers() {
  Words::storeRelease(_table.wordAt(Layout::membersOffset), members());
}

void ConquerWriter::heartbeat() {
  Words::storeRelease(_table.wordAt(Layout::heartbeatOffset), bootTime());
}

bool ConquerWriter::validateFiles() const {
  struct stat mine {};
  struct stat named {};
  FileDescriptor const file = _directory.openData();
  if (!file || ::fstat(_file.get(), &mine) != 0 || ::fstat(file.get(), &named) != 0) return false;
  if (mine.st_dev != named.st_dev || mine.st_ino != named.st_ino) return false;
  HeaderCopy header;
  return readHeader(file.get(), header) == Answer::ok && header.schema == _shape.schema &&
         header.geometry == _table.geometry() &&
         header.geometry.rowsWithin(header.fileBytes) >= _slots.slots();
}

void ConquerWriter::cleanup() {
  if (attached()) _slots.freeOpen();
}

bool ConquerWriter::validate() const {
  std::vector<Word> row(_shape.rowWords);
  for (std::uint32_t i = 0; i < _slots.slots(); ++i) {
    Own const& own = _slots.at(i);
    RowSlot const at = slot(i);
    if (at.versionWord() / 2 != own.version) return false;
    if (own.use == Use::live && !at.copyOwn(own.version, own.meta, row.data())) return false;
  }
  return _index.validate();
}

}  // namespace Glim
