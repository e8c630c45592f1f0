// How a writer takes its table, and how it lets go of it.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "platform/dov/exception.h"
#include "platform/glim/boot_time.h"
#include "platform/glim/conquer_writer.h"

namespace Glim {

using Layout::Geometry;
using Layout::TableState;

namespace {

constexpr Word chunkBytes = 256 * 1024;
constexpr Word fewestChunkRows = 16;
// More versions of a row than any writers get to; below half of what the version word can count.
constexpr Word endOfVersions = Word{1} << 62;

std::uint64_t nextIdentity() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

Word now() {
  using namespace std::chrono;
  return static_cast<Word>(
      duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count());
}

// The error, or 0.
int allocateFile(int fd, Word from, Word to) {
  int error;
  do {  // returns its error, and leaves errno alone
    error = ::posix_fallocate(fd, static_cast<off_t>(from), static_cast<off_t>(to - from));
  } while (error == EINTR);
  return error;
}

void storeText(Word* at, std::string_view text) {
  for (std::size_t i = 0; i < text.size(); i += sizeof(Word)) {
    Word word = 0;
    std::memcpy(&word, text.data() + i, std::min(sizeof word, text.size() - i));
    Words::storeRelease(at + i / sizeof(Word), word);
  }
}

}  // namespace

ConquerWriter::ConquerWriter(RootPath const& root, RowShape const& shape, TableLimits const& limits)
    : _root(root),
      _shape(shape),
      _limits(limits),
      _directory(root),
      _lock(_directory.lock()),
      _slots(shape),
      _identity(nextIdentity()),
      _pid(::getpid()) {
  conquer();
}

ConquerWriter::~ConquerWriter() { detach(); }

void ConquerWriter::say(unsigned level, std::string const& what) const {
  auto& handler = _root.debugHandler();
  if (!handler.enabled(level)) return;
  handler.write(level, "Glim/ConquerWriter", "conquer",
                "ConquerWriter::conquer() " + _root.path() + " " + what);
}

Geometry ConquerWriter::wantedGeometry() const {
  auto const geometry =
      Geometry::make(_shape.rowWords, _shape.keyBytes, _limits.maxRows, _shape.schema.size());
  if (!geometry) {
    Dov::InvalidSizeException::throwException(
        "table " + _root.path() + ": " + std::to_string(_limits.maxRows) + " rows of " +
        std::to_string(_shape.rowWords * sizeof(Word)) + " bytes are beyond what a table holds");
  }
  return *geometry;
}

void ConquerWriter::conquer() {
  Geometry const wanted = wantedGeometry();
  Word const chunk = std::max(fewestChunkRows, chunkBytes / wanted.stride);
  _chunkRows = static_cast<std::uint32_t>(std::min(chunk, wanted.maxRows));

  FileDescriptor file = _directory.openData();
  if (!file) {
    create();
    beginReign(0);
    _directory.publishNew();
    say(5, "created");
    return;
  }
  HeaderCopy header;
  Answer const what = readHeader(file.get(), header);
  bool const sameRows = what == Answer::ok && header.schema == _shape.schema &&
                        header.geometry.rowWords == _shape.rowWords &&
                        header.geometry.keyBytes == _shape.keyBytes;
  if (!sameRows) {
    replaceForeign(file, header, what);
  } else if (header.geometry.maxRows >= wanted.maxRows) {
    adopt(std::move(file), header);
  } else {
    moveFrom(file, header);
  }
}

// A complete, empty table under the working name, mapped. Its name comes later, when its rows are
// whole as well.
void ConquerWriter::create() {
  Geometry const geometry = wantedGeometry();
  FileDescriptor file = _directory.createNew();
  int const error = allocateFile(file.get(), 0, geometry.bytesFor(_chunkRows));
  if (error != 0) {
    Dov::ResourceException::throwException("table " + _root.path() + ": cannot allocate " +
                                           std::to_string(geometry.bytesFor(_chunkRows)) +
                                           " bytes: " + errorText(error));
  }
  TableMapping table = TableMapping::map(file.get(), geometry, true);
  if (!table) {
    Dov::ResourceException::throwException("table " + _root.path() +
                                           ": cannot map: " + errorText(errno));
  }
  auto const fixed = Layout::makeFixedWords(geometry, _shape.schema, _shape.schemaHash, now());
  for (std::size_t i = 0; i < fixed.size(); ++i) {
    Words::storeRelease(table.wordAt(i * sizeof(Word)), fixed[i]);
  }
  storeText(table.wordAt(Layout::schemaOffset), _shape.schema);
  Words::storeRelease(table.wordAt(Layout::allocatedRowsOffset), _chunkRows);

  _slots.grow(_chunkRows);
  _index = BucketIndex(table.index(), geometry.buckets, table.wordAt(Layout::indexVersionOffset));
  _file = std::move(file);
  _table = std::move(table);
}

void ConquerWriter::adopt(FileDescriptor file, HeaderCopy const& header) {
  TableMapping table = TableMapping::map(file.get(), header.geometry, true);
  if (!table) {
    Dov::ResourceException::throwException("table " + _root.path() +
                                           ": cannot map: " + errorText(errno));
  }
  _file = std::move(file);
  _table = std::move(table);
  // The file's size says what is allocated; the word in the header may have been damaged.
  auto const rows = static_cast<std::uint32_t>(header.geometry.rowsWithin(header.fileBytes));
  // A damaged file may be sparse, and a hole is a fault when memory runs out.
  int const error = allocateFile(_file.get(), 0, header.geometry.bytesFor(rows));
  if (error != 0) {
    Dov::ResourceException::throwException("table " + _root.path() +
                                           ": cannot allocate its file: " + errorText(error));
  }
  _slots.grow(rows);
  std::vector<BucketIndex::Link> links;
  std::vector<Word> row(_shape.rowWords);
  for (std::uint32_t i = 0; i < rows; ++i) adoptSlot(i, row.data(), links);
  _slots.adopted();
  _index = BucketIndex(_table.index(), header.geometry.buckets,
                       _table.wordAt(Layout::indexVersionOffset));
  _conquest.kind = Conquest::Kind::adopted;
  _conquest.rows = _slots.members();
  _conquest.indexRebuilt = !_index.adopt(links);
  Words::storeRelease(_table.wordAt(Layout::allocatedRowsOffset), rows);
  beginReign(Words::loadAcquire(_table.wordAt(Layout::epochOffset)));

  say(5, "adopted " + std::to_string(_conquest.rows) + " rows");
  if (_conquest.corruptRows != 0) {
    say(1, "gave up " + std::to_string(_conquest.corruptRows) + " corrupt rows");
  }
}

// One slot as a former writer left it. `row` has room for a row.
void ConquerWriter::adoptSlot(std::uint32_t number, Word* row,
                              std::vector<BucketIndex::Link>& links) {
  RowSlot at = slot(number);
  Own& own = _slots.at(number);
  Word const version = at.versionWord();
  Word const k = version / 2;
  // Half written: version k is whole, and the half that was begun is simply forgotten.
  if (version != 2 * k) at.versionWordIs(2 * k);
  own.version = k;
  if (k == 0) return;

  Layout::RowState state{};
  bool good = k < endOfVersions && at.validate(k, state);
  own.meta = at.meta(k);
  if (good && state == Layout::rowDead) return;
  // What is judged and what is taken is one copy: the file may be changing under a vandal's hands.
  good = good && at.copyOwn(k, own.meta, row);
  if (good) {
    std::uint32_t const hash = _shape.key.hash(row);
    good = _slots.adopt(number, row, hash);  // not when another slot has the key
    if (good) links.push_back({hash, number});
  }
  if (!good) {
    // No writer counts this far: the version itself is damage, and counting on from it would wrap.
    Word const from = k < endOfVersions ? k : 0;
    own.meta = at.publishDead(from);
    own.version = from + 1;
    ++_conquest.corruptRows;
  }
}

// The same rows, but more room is wanted than the file was made for: its good rows go into a new
// file.
void ConquerWriter::moveFrom(FileDescriptor const& file, HeaderCopy const& header) {
  TableMapping old = TableMapping::map(file.get(), header.geometry, true);
  if (!old) {
    Dov::ResourceException::throwException("table " + _root.path() +
                                           ": cannot map: " + errorText(errno));
  }
  create();
  Conquest found;
  found.kind = Conquest::Kind::moved;
  std::vector<Word> row(header.geometry.rowWords);
  Word const rows = header.geometry.rowsWithin(header.fileBytes);
  for (Word i = 0; i < rows; ++i) {
    RowSlot const at = old.slot(i);
    Word const k = at.versionWord() / 2;
    if (k == 0) continue;
    Layout::RowState state{};
    if (!at.validate(k, state)) {
      ++found.corruptRows;
    } else if (state == Layout::rowLive && at.copyOwn(k, at.meta(k), row.data())) {
      write(row.data());
    }
  }
  found.rows = _slots.members();
  _conquest = found;
  beginReign(Words::loadAcquire(old.wordAt(Layout::epochOffset)));
  // Retired before the new file has the name: were it the other way round, a kill in between would
  // leave readers of the old file without a sign. A retired file that still has the name is adopted
  // by the next writer.
  Words::storeRelease(old.wordAt(Layout::stateOffset), static_cast<Word>(TableState::retired));
  _directory.publishNew();
  say(5, "moved " + std::to_string(found.rows) + " rows into a larger file");
  if (found.corruptRows != 0) {
    say(1, "gave up " + std::to_string(found.corruptRows) + " corrupt rows");
  }
}

// Rows of another schema or layout, or no table at all: never thrown away, kept under another name.
void ConquerWriter::replaceForeign(FileDescriptor const& file, HeaderCopy const& header,
                                   Answer what) {
  create();
  TableMapping old;
  if (what == Answer::ok) old = TableMapping::map(file.get(), header.geometry, true);
  _conquest.kind = Conquest::Kind::setAside;
  _conquest.keptAs = _directory.setAside();
  beginReign(old ? Words::loadAcquire(old.wordAt(Layout::epochOffset)) : 0);
  if (old) {
    Words::storeRelease(old.wordAt(Layout::stateOffset), static_cast<Word>(TableState::retired));
  }
  _directory.publishNew();
  say(1, std::string("set a file aside as ") + _conquest.keptAs + ": " +
             std::string(text(what == Answer::ok ? Answer::otherSchema : what)));
}

void ConquerWriter::beginReign(Word formerEpoch) {
  _epoch = formerEpoch + 1;
  Words::storeRelease(_table.wordAt(Layout::writerPidOffset), static_cast<Word>(_pid));
  Words::storeRelease(_table.wordAt(Layout::epochOffset), _epoch);
  noteMembers();
  heartbeat();
  Words::storeRelease(_table.wordAt(Layout::stateOffset), static_cast<Word>(TableState::ready));
}

void ConquerWriter::grow() {
  Geometry const& geometry = _table.geometry();
  std::uint32_t const before = _slots.slots();
  auto const more =
      static_cast<std::uint32_t>(std::min<Word>(_chunkRows, geometry.maxRows - before));
  int const error =
      allocateFile(_file.get(), geometry.bytesFor(before), geometry.bytesFor(before + more));
  if (error != 0) {
    Dov::ResourceException::throwException("table " + _root.path() + " cannot grow beyond " +
                                           std::to_string(before) + " rows: " + errorText(error));
  }
  // A file that was cut within a slot still has the start of it.
  slot(before).versionWordIs(0);
  _slots.grow(more);
  Words::storeRelease(_table.wordAt(Layout::allocatedRowsOffset), _slots.slots());
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

void ConquerWriter::detach() {
  if (!attached()) return;
  if (_table && ::getpid() == _pid) {
    Words::storeRelease(_table.wordAt(Layout::stateOffset),
                        static_cast<Word>(TableState::detached));
  }
  _index.detach();
  _table.letGo();
  _file = FileDescriptor();
  _lock = WriterLock();
}

}  // namespace Glim
