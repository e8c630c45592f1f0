#include "platform/glim/table_file.h"

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

bool trusted(int directory, uid_t owner, ReaderOptions const& options) {
  if (options.owner) return owner == *options.owner;
  if (owner == ::geteuid() || owner == 0) return true;
  struct stat status {};
  return ::fstat(directory, &status) == 0 && owner == status.st_uid &&
         (status.st_mode & othersMayWrite) == 0;
}

// Everything that is checked before a byte of the file is read.
Answer openSafely(std::string const& path, ReaderOptions const& options, FileDescriptor& file,
                  struct stat& status) {
  auto const slash = path.rfind('/');
  std::string const directoryPath =
      slash == std::string::npos ? "." : path.substr(0, std::max<std::size_t>(slash, 1));
  std::string const name = slash == std::string::npos ? path : path.substr(slash + 1);

  FileDescriptor const directory(::open(directoryPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!directory) return answerFor(errno);
  // Without blocking: the name may be that of a pipe.
  FileDescriptor opened(
      ::openat(directory.get(), name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!opened) return answerFor(errno);
  if (::fstat(opened.get(), &status) != 0) return Answer::unreadable;
  if (!S_ISREG(status.st_mode) || (status.st_mode & othersMayWrite) != 0) return Answer::unsafe;
  if (!trusted(directory.get(), status.st_uid, options)) return Answer::unsafe;
  file = std::move(opened);
  return Answer::ok;
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

Answer TableFile::open(std::string const& path, ReaderOptions const& options) {
  close();
  struct stat status {};
  if (Answer const opened = openSafely(path, options, _file, status); opened != Answer::ok)
    return opened;
  _device = status.st_dev;
  _inode = status.st_ino;
  if (Answer const read = readHeader(_file.get(), _header); read != Answer::ok) return read;
  if (_header.backedBytes < _header.geometry.slotsOffset) return Answer::truncated;
  _table = TableMapping::map(_file.get(), _header.geometry, false);
  if (!_table) return Answer::unreadable;
  _slotsWithin = _header.geometry.rowsWithin(_header.backedBytes);
  _slotsAskedFor = 0;
  return Answer::ok;
}

void TableFile::close() {
  _table = TableMapping();
  _file = FileDescriptor();
}

bool TableFile::stillNamed(std::string const& path, ReaderOptions const& options) const {
  FileDescriptor file;
  struct stat status {};
  if (openSafely(path, options, file, status) != Answer::ok) return false;
  auto const& geometry = _header.geometry;
  auto const bytes = static_cast<Word>(status.st_size);
  return status.st_dev == _device && status.st_ino == _inode && bytes >= geometry.slotsOffset &&
         geometry.rowsWithin(bytes) >= _slotsWithin;
}

bool TableFile::retired() const {
  return word(Layout::stateOffset) == static_cast<Word>(TableState::retired);
}

TableStatus TableFile::status() const {
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

Word TableFile::slots() const {
  Word const said = std::min(word(Layout::allocatedRowsOffset), _header.geometry.maxRows);
  // The file has grown, if that is true. A writer grows it first and then says so: to have looked
  // once for a number is enough.
  if (said > _slotsWithin && said != _slotsAskedFor) {
    _slotsAskedFor = said;
    _slotsWithin = _header.geometry.rowsWithin(backedBytes(_file.get()));
  }
  return std::min(said, _slotsWithin);
}

Answer TableFile::rowAt(Word slot, void* row, unsigned attempts) const {
  if (slot >= slots()) return Answer::absent;
  return readSlot(_table.slotAt(slot), _header.geometry.rowWords, slot, row, attempts);
}

}  // namespace Glim
