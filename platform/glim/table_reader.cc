#include "platform/glim/table_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/glim/boot_time.h"

namespace Glim {

using Layout::TableState;

namespace {

// A copy of a row takes well under a microsecond, and writers come by a few times a second.
constexpr unsigned rowAttempts = 64;
constexpr unsigned probeAttempts = 8;

constexpr mode_t othersMayWrite = S_IWGRP | S_IWOTH;

Answer answerFor(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return Answer::missing;
    case ELOOP:
    case ENXIO:
      return Answer::unsafe;  // a symbolic link, a socket
    default:
      return Answer::unreadable;
  }
}

}  // namespace

std::string_view text(TableStatus::State state) {
  switch (state) {
    case TableStatus::State::ready:
      return "ready";
    case TableStatus::State::retired:
      return "retired";
    case TableStatus::State::detached:
      return "detached";
    case TableStatus::State::unknown:
      return "unknown";
  }
  return "";
}

TableReader::TableReader(std::string path, ReaderOptions options)
    : _path(std::move(path)), _options(options) {}

bool TableReader::trusted(int directory, uid_t owner) const {
  if (_options.owner) return owner == *_options.owner;
  if (owner == ::geteuid() || owner == 0) return true;
  struct stat status {};
  return ::fstat(directory, &status) == 0 && owner == status.st_uid &&
         (status.st_mode & othersMayWrite) == 0;
}

Answer TableReader::open(FileDescriptor& file, dev_t& device, ino_t& inode) const {
  auto const slash = _path.rfind('/');
  std::string const directoryPath =
      slash == std::string::npos ? "." : _path.substr(0, std::max<std::size_t>(slash, 1));
  std::string const name = (slash == std::string::npos ? _path : _path.substr(slash + 1)) + ".glim";

  FileDescriptor const directory(::open(directoryPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory) return answerFor(errno);
  // Without blocking: the name may be that of a pipe.
  file = FileDescriptor(
      ::openat(directory.get(), name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!file) return answerFor(errno);
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return Answer::unreadable;
  if (!S_ISREG(status.st_mode) || (status.st_mode & othersMayWrite) != 0) return Answer::unsafe;
  if (!trusted(directory.get(), status.st_uid)) return Answer::unsafe;
  device = status.st_dev;
  inode = status.st_ino;
  return Answer::ok;
}

Answer TableReader::attach() {
  detach();
  FileDescriptor file;
  if (Answer const opened = open(file, _device, _inode); opened != Answer::ok) return opened;
  if (Answer const read = readHeader(file.get(), _header); read != Answer::ok) return read;
  _table = TableMapping::map(file.get(), _header.geometry, false);
  if (!_table) return Answer::unreadable;
  _file = std::move(file);
  _slotsWithin = _header.geometry.rowsWithin(_header.fileBytes);
  if (retired()) {
    detach();
    return Answer::retired;
  }
  return Answer::ok;
}

Answer TableReader::refresh() {
  if (!attached() || retired()) return attach();
  FileDescriptor file;
  dev_t device = 0;
  ino_t inode = 0;
  Answer const named = open(file, device, inode);
  if (named == Answer::ok && device == _device && inode == _inode) return Answer::ok;
  return attach();
}

void TableReader::detach() {
  _table = TableMapping();
  _file = FileDescriptor();
}

bool TableReader::retired() const {
  return Words::loadAcquire(_table.wordAt(Layout::stateOffset)) ==
         static_cast<Word>(TableState::retired);
}

TableStatus TableReader::status() const {
  auto const word = [this](std::size_t offset) {
    return Words::loadAcquire(_table.wordAt(offset));
  };
  TableStatus status;
  switch (static_cast<TableState>(word(Layout::stateOffset))) {
    case TableState::ready:
      status.state = TableStatus::State::ready;
      break;
    case TableState::retired:
      status.state = TableStatus::State::retired;
      break;
    case TableState::detached:
      status.state = TableStatus::State::detached;
      break;
    case TableState::making:
      break;
  }
  status.epoch = word(Layout::epochOffset);
  status.writerPid = word(Layout::writerPidOffset);
  Word const beat = word(Layout::heartbeatOffset);
  Word const now = bootTime();
  status.heartbeatAge = now > beat ? static_cast<double>(now - beat) * 1e-9 : 0.0;
  status.allocatedRows = slots();
  status.rows = std::min(word(Layout::membersOffset), status.allocatedRows);
  status.maxRows = _header.geometry.maxRows;
  return status;
}

Word TableReader::slots() const {
  Word const said = Words::loadAcquire(_table.wordAt(Layout::allocatedRowsOffset));
  if (said > _slotsWithin) {  // the file has grown, if that is true
    struct stat status {};
    if (::fstat(_file.get(), &status) == 0) {
      _slotsWithin = _header.geometry.rowsWithin(static_cast<Word>(status.st_size));
    }
  }
  return std::min(said, _slotsWithin);
}

Answer TableReader::rowAt(Word slot, void* row) const {
  if (retired()) return Answer::retired;
  if (slot >= slots()) return Answer::absent;
  return readSlot(_table.slotAt(slot), _header.geometry.rowWords, slot, row, rowAttempts);
}

Answer TableReader::find(std::uint32_t hash, std::function<bool(void const* row)> const& isIt,
                         void* row) const {
  if (retired()) return Answer::retired;
  Word const* const version = _table.wordAt(Layout::indexVersionOffset);
  for (unsigned i = 0; i < probeAttempts; ++i) {
    Word const before = Words::loadAcquire(version);
    if ((before & 1) != 0) break;  // the index is being built, or its builder died
    Answer const found = probe(hash, isIt, row);
    if (found == Answer::ok) return found;
    Words::fenceBeforeRecheck();
    // Not found: to be believed only when no entry was moved meanwhile.
    if (Words::loadRow(version) == before) return found;
  }
  return scan(isIt, row);
}

// Along the chain of the hash. What a row that cannot be read may be decides the answer when no
// other row is it.
Answer TableReader::probe(std::uint32_t hash, std::function<bool(void const*)> const& isIt,
                          void* row) const {
  Word const buckets = _header.geometry.buckets;
  Word const allocated = slots();
  Answer miss = Answer::absent;
  Word at = Layout::homeBucket(hash, buckets);
  // More rows than maxRows cannot stand in one chain.
  for (Word n = 0; n <= _header.geometry.maxRows; ++n, at = (at + 1) & (buckets - 1)) {
    Word const entry = Words::loadAcquire(_table.index() + at);
    if (entry == 0) return miss;
    if (Layout::entryHash(entry) != hash) continue;
    Word const slot = Layout::entrySlot(entry);
    if (slot >= allocated) continue;
    Answer const read =
        readSlot(_table.slotAt(slot), _header.geometry.rowWords, slot, row, rowAttempts);
    if (read == Answer::ok && isIt(row)) return Answer::ok;
    if (read == Answer::busy || read == Answer::corrupt) miss = read;
  }
  return miss;
}

// Through all slots: slower, and needs no index.
Answer TableReader::scan(std::function<bool(void const*)> const& isIt, void* row) const {
  Word const allocated = slots();
  Answer miss = Answer::absent;
  for (Word slot = 0; slot < allocated; ++slot) {
    Answer const read =
        readSlot(_table.slotAt(slot), _header.geometry.rowWords, slot, row, rowAttempts);
    if (read == Answer::ok && isIt(row)) return Answer::ok;
    if (read == Answer::busy) miss = Answer::busy;
  }
  return miss;
}

}  // namespace Glim
