// How a writer takes its table, and how it lets go of it.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "platform/dov/exception.h"
#include "platform/glim/conquer_writer.h"
#include "platform/glim/migration.h"

namespace Glim {

using Layout::Geometry;
using Layout::TableState;

namespace {

constexpr Word chunkBytes = 256 * 1024;
constexpr Word fewestChunkRows = 16;
// A row with a higher version is given up, while there are still more to come than anybody counts.
constexpr Word mostAdoptedVersion = Layout::endOfVersions / 2;

std::uint64_t nextIdentity() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

Word now() {
  using namespace std::chrono;
  return static_cast<Word>(
      duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count());
}

std::string counted(std::uint32_t n, char const* what) {
  return std::to_string(n) + ' ' + what + (n == 1 ? "" : "s");
}

void storeText(Word* at, std::string_view text) {
  for (std::size_t i = 0; i < text.size(); i += sizeof(Word)) {
    Word word = 0;
    std::memcpy(&word, text.data() + i, std::min(sizeof word, text.size() - i));
    Words::storeRelease(at + i / sizeof(Word), word);
  }
}

}  // namespace

bool Conquest::notable() const {
  return kind == Kind::migrated || kind == Kind::setAside || corruptRows != 0;
}

std::string Conquest::text() const {
  std::string said;
  switch (kind) {
    case Kind::created:
      return "created";
    case Kind::adopted:
      said = "adopted " + counted(rows, "row");
      break;
    case Kind::moved:
      said = "moved " + counted(rows, "row") + " into a larger file";
      break;
    case Kind::migrated:
      said = "carried " + counted(rows, "row") + " over from an older schema";
      break;
    case Kind::setAside:
      said = "set a file aside as " + keptAs + ": " + why;
      break;
  }
  if (corruptRows != 0) said += ", gave up " + counted(corruptRows, "corrupt row");
  return said;
}

ConquerWriter::ConquerWriter(RootPath const& root, RowShape const& shape, TableLimits const& limits)
    : _root(root),
      _shape(shape),
      _limits(limits),
      _directory(root),
      _lock(_directory.lock()),
      _slots(shape),
      _identity(nextIdentity()),
      _pid(::getpid()) {
  try {
    conquer();
  } catch (...) {
    _directory.removeNew();  // memory that nobody would use
    throw;
  }
}

ConquerWriter::~ConquerWriter() { detach(); }

Geometry ConquerWriter::geometryFor(Word maxRows) const {
  auto const geometry =
      Geometry::make(_shape.rowWords, _shape.keyBytes, maxRows, _shape.schema.size());
  if (!geometry) {
    Dov::InvalidSizeException::throwException(
        "table " + _root.path() + ": " + std::to_string(maxRows) + " rows of " +
        std::to_string(_shape.rowWords * sizeof(Word)) + " bytes are beyond what a table holds");
  }
  return *geometry;
}

TableMapping ConquerWriter::mapped(FileDescriptor const& file, Geometry const& geometry) const {
  TableMapping table = TableMapping::map(file.get(), geometry, true);
  if (!table) {
    Dov::ResourceException::throwException("table " + _root.path() +
                                           ": cannot map: " + errorText(errno));
  }
  return table;
}

// A file may have become sparse, as by a copy, and a hole is a fault when memory runs out.
void ConquerWriter::fillHoles(FileDescriptor const& file, Word bytes) const {
  if (int const error = allocateFile(file, 0, bytes); error != 0) {
    Dov::ResourceException::throwException("table " + _root.path() +
                                           ": cannot allocate its file: " + errorText(error));
  }
}

// Keeps what the conquest was, and says it.
void ConquerWriter::concluded(Conquest conquest) {
  _conquest = std::move(conquest);
  unsigned const level = _conquest.notable() ? 1 : 5;
  if (!_root.debugHandler().enabled(level)) return;
  _root.debugHandler().write(level, "Glim/ConquerWriter", "conquer",
                             "table " + _root.path() + ": " + _conquest.text());
}

void ConquerWriter::conquer() {
  Geometry const wanted = geometryFor(_limits.maxRows);
  Word const chunk = std::max(fewestChunkRows, chunkBytes / wanted.stride);
  _chunkRows = static_cast<std::uint32_t>(std::min(chunk, wanted.maxRows));

  FileDescriptor file = _directory.openData();
  if (!file) {
    create(wanted.maxRows);
    beginReign(0);
    _directory.publishNew();
    concluded({});
    return;
  }
  HeaderCopy header;
  Answer const what = readHeader(file.get(), header);
  if (what != Answer::ok) {
    replaceForeign(file, header, what);
    return;
  }
  bool const sameRows = header.schema == _shape.schema &&
                        header.geometry.rowWords == _shape.rowWords &&
                        header.geometry.keyBytes == _shape.keyBytes;
  if (sameRows && header.geometry.maxRows >= wanted.maxRows) {
    _directory.removeNew();  // of a writer that wanted more, and was killed
    adopt(std::move(file), header);
  } else if (sameRows) {
    moveFrom(file, header, nullptr);
  } else if (auto const migration = migrationFrom(header)) {
    moveFrom(file, header, &*migration);
  } else {
    replaceForeign(file, header, Answer::otherSchema);
  }
}

// From the rows of an earlier release of the record; nothing when these are others.
std::optional<Migration> ConquerWriter::migrationFrom(HeaderCopy const& header) const {
  auto const& known = _shape.formerSchemas;
  if (header.geometry.keyBytes != _shape.keyBytes ||
      std::find(known.begin(), known.end(), header.schema) == known.end()) {
    return {};
  }
  return Migration::plan(header.schema, header.geometry.rowWords * sizeof(Word), _shape);
}

// A complete, empty table under the working name, mapped. Its name comes later, when its rows are
// whole as well.
void ConquerWriter::create(Word maxRows) {
  Geometry const geometry = geometryFor(maxRows);
  FileDescriptor file = _directory.createNew();
  int const error = allocateFile(file, 0, geometry.bytesFor(_chunkRows));
  if (error != 0) {
    Dov::ResourceException::throwException("table " + _root.path() + ": cannot allocate " +
                                           std::to_string(geometry.bytesFor(_chunkRows)) +
                                           " bytes: " + errorText(error));
  }
  TableMapping table = mapped(file, geometry);
  auto const fixed = Layout::makeFixedWords(geometry, _shape.schema, _shape.schemaHash, now());
  for (std::size_t i = 0; i < fixed.size(); ++i) {
    Words::storeRelease(table.wordAt(i * sizeof(Word)), fixed[i]);
  }
  storeText(table.wordAt(Layout::schemaOffset), _shape.schema);
  Words::storeRelease(table.wordAt(Layout::allocatedRowsOffset), _chunkRows);

  _slots.grow(_chunkRows);
  _index = BucketIndex(table.index(), geometry.buckets, table.wordAt(Layout::indexVersionOffset));
  _directory.openUp(file);
  _file = std::move(file);
  _table = std::move(table);
}

void ConquerWriter::adopt(FileDescriptor file, HeaderCopy const& header) {
  _table = mapped(file, header.geometry);
  _file = std::move(file);
  // The file's size says what is allocated; the word in the header may have been damaged.
  auto const rows = static_cast<std::uint32_t>(header.geometry.rowsWithin(header.fileBytes));
  fillHoles(_file, header.geometry.bytesFor(rows));
  _slots.grow(rows);
  std::vector<BucketIndex::Link> links;
  std::vector<Word> row(_shape.rowWords);
  for (std::uint32_t i = 0; i < rows; ++i) adoptSlot(i, row.data(), links);
  _slots.adopted();
  _index = BucketIndex(_table.index(), header.geometry.buckets,
                       _table.wordAt(Layout::indexVersionOffset));
  _conquest.indexRebuilt = !_index.adopt(links);
  Words::storeRelease(_table.wordAt(Layout::allocatedRowsOffset), rows);
  beginReign(Words::loadAcquire(_table.wordAt(Layout::epochOffset)));
  _conquest.kind = Conquest::Kind::adopted;
  _conquest.rows = _slots.members();
  concluded(_conquest);
}

// One slot as a former writer left it. `row` has room for a row.
void ConquerWriter::adoptSlot(std::uint32_t number, Word* row,
                              std::vector<BucketIndex::Link>& links) {
  RowSlot at = slot(number);
  Own& own = _slots.at(number);
  Word const version = at.versionWord();
  Word const k = version / 2;
  // Half written: version k is whole. The mark stays until the half is begun again: a reader that
  // has been copying since before it was made must still find it.
  own.beingWritten = version != 2 * k;
  own.version = k;
  if (k == 0) return;

  Layout::RowState state{};
  bool good = k < mostAdoptedVersion && at.validate(k, state);
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
    Word const from = k < mostAdoptedVersion ? k : 0;
    own.meta = at.publishDead(from);
    own.version = from + 1;
    own.beingWritten = false;
    ++_conquest.corruptRows;
  }
}

void ConquerWriter::beginReign(Word formerEpoch) {
  _epoch = formerEpoch < Layout::mostEpochs ? formerEpoch + 1 : 1;
  Words::storeRelease(_table.wordAt(Layout::writerPidOffset), static_cast<Word>(_pid));
  Words::storeRelease(_table.wordAt(Layout::epochOffset), _epoch);
  noteMembers();
  heartbeat();
  Words::storeRelease(_table.wordAt(Layout::stateOffset), static_cast<Word>(TableState::ready));
}

void ConquerWriter::detach() {
  if (!attached()) return;
  // Whoever lets go because somebody cut the file short must not touch it any more.
  struct stat status {};
  bool const whole = ::fstat(_file.get(), &status) == 0 &&
                     static_cast<std::size_t>(status.st_size) > Layout::stateOffset;
  if (_table && whole && ::getpid() == _pid) {
    Words::storeRelease(_table.wordAt(Layout::stateOffset),
                        static_cast<Word>(TableState::detached));
  }
  _index.detach();
  _table.letGo();
  _file = FileDescriptor();
  _lock = WriterLock();
}

}  // namespace Glim
