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
  slot = _slots.take(key, _shape.key.hash(key));
  // Nobody reads a slot without a row, and so nobody has noticed that somebody stored in it.
  Own const& own = _slots.at(slot);
  Word const version = 2 * own.version + (own.beingWritten ? 1 : 0);
  if (this->slot(slot).versionWord() != version) this->slot(slot).versionWordIs(version);
  return slot;
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
  published(number, slot(number).publish(own.version, row));
  if (isNew) linkNew(number);
}

// The version that was begun stands; handles of direct writes that began it are stale.
void ConquerWriter::published(std::uint32_t number, Word meta) {
  Own& own = _slots.at(number);
  own.meta = meta;
  ++own.version;
  own.beingWritten = false;
  own.opening = 0;
  ++_writes;
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
  published(number, slot(number).publishDead(own.version));
  _index.unlink(own.hash, number);
  _slots.freeIs(number);
  noteMembers();
  return true;
}

#if ORU_GLIM_STAGED_DIRECT_WRITES
Word* ConquerWriter::staged(std::uint32_t number) {
  if (_staged.size() < _slots.slots()) _staged.resize(_slots.slots());
  _staged[number].resize(_shape.rowWords);
  return _staged[number].data();
}
void* ConquerWriter::seededRow(std::uint32_t number) {
  copyRow(number, staged(number));
  return staged(number);
}
void* ConquerWriter::freshRow(std::uint32_t number, void const* key) {
  std::memcpy(staged(number), _shape.defaultRow, _shape.rowWords * sizeof(Word));
  std::memcpy(staged(number), key, _shape.keyBytes);
  return staged(number);
}
#else
// The hidden half, as the row stands.
void* ConquerWriter::seededRow(std::uint32_t number) {
  Own const& own = _slots.at(number);
  RowSlot at = slot(number);
  Word const sum = RowWords::store(at.row(own.version + 1), at.row(own.version), _shape.rowWords,
                                   at.seed(own.version, Layout::rowLive));
  if (at.meta(own.version) != own.meta || Layout::metaOf(sum, Layout::rowLive) != own.meta) {
    corrupt(number, "its checksum does not agree");
  }
  return at.row(own.version + 1);
}
// The hidden half, as a row begins.
void* ConquerWriter::freshRow(std::uint32_t number, void const* key) {
  std::vector<Word> row(_shape.rowWords);
  std::memcpy(row.data(), _shape.defaultRow, _shape.rowWords * sizeof(Word));
  std::memcpy(row.data(), key, _shape.keyBytes);
  Word* const hidden = slot(number).row(_slots.at(number).version + 1);
  RowWords::store(hidden, row.data(), _shape.rowWords, 0);
  return hidden;
}
#endif

ConquerWriter::OpenRow ConquerWriter::open(void const* key) {
  std::uint32_t const number = findOrTake(key);
  checkVersion(number);
  Own& own = _slots.at(number);
  slot(number).begin(own.version);
  own.beingWritten = true;
  void* const row = own.use == Use::live ? seededRow(number) : freshRow(number, key);
  own.opening = ++_openings;
  return {row, number, _identity, own.opening};
}

bool ConquerWriter::mayCommit(OpenRow const& open) const {
  if (open.writer != _identity || open.slot >= _slots.slots()) return false;
  Own const& own = _slots.at(open.slot);
  return own.opening == open.opening && _slots.keyIs(open.slot, open.row);
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
  published(open.slot, at.commit(own.version, sum, Layout::rowLive));
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
  FileDescriptor file;
  try {
    file = _directory.openData();
  } catch (Dov::NoPermissionException const&) {
    return false;  // a link, or another user's
  }
  if (!file || ::fstat(_file.get(), &mine) != 0 || ::fstat(file.get(), &named) != 0) return false;
  if (mine.st_dev != named.st_dev || mine.st_ino != named.st_ino) return false;
  // Without the lock's file under its name, another writer may come at any time, or has.
  if (!_directory.isNamed(_lock)) return false;
  HeaderCopy header;
  return readHeader(file.get(), header) == Answer::ok && header.schema == _shape.schema &&
         header.geometry == _table.geometry() &&
         header.geometry.rowsWithin(header.fileBytes) >= _slots.slots() &&
         // Only now: what was cut off cannot be touched.
         Words::loadAcquire(_table.wordAt(Layout::epochOffset)) == _epoch;
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
