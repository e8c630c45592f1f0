#include "platform/glim/writer_lock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <utility>

namespace Glim {

namespace {

constexpr mode_t privateMode = 0600;
constexpr mode_t othersMayAnything = S_IRWXG | S_IRWXO;

using FileId = std::pair<dev_t, ino_t>;

// Files that this process has locked. A forked child inherits the list and none of the locks: the
// process that made each entry tells.
struct Held {
  std::mutex mutex;
  std::map<FileId, pid_t> files;

  bool has(FileId const& file) const {
    auto const found = files.find(file);
    return found != files.end() && found->second == ::getpid();
  }
};

// Never destroyed: a table may go later than any static object.
Held& held() {
  static Held& instance = *new Held;
  return instance;
}

}  // namespace

WriterLock::~WriterLock() {
  if (!_file) return;
  std::lock_guard const guard(held().mutex);
  letGo();
}

// Both before another thread may lock the file.
void WriterLock::letGo() {
  if (held().has({_device, _inode})) held().files.erase({_device, _inode});
  _file = FileDescriptor();
}

void WriterLock::swap(WriterLock& other) noexcept {
  std::swap(_file, other._file);
  std::swap(_device, other._device);
  std::swap(_inode, other._inode);
}

bool WriterLock::isNamed(int directory, std::string const& name) const {
  struct stat status {};
  return _file && ::fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         status.st_dev == _device && status.st_ino == _inode;
}

WriterLock::Outcome WriterLock::take(int directory, std::string const& name, pid_t& holder) {
  std::lock_guard const guard(held().mutex);
  Outcome outcome = tryToTake(directory, name, holder);
  // Somebody may have removed the file between its opening and its locking.
  for (unsigned i = 0; i < 4 && outcome == Outcome::taken && !isNamed(directory, name); ++i) {
    letGo();
    outcome = tryToTake(directory, name, holder);
  }
  return outcome;
}

WriterLock::Outcome WriterLock::tryToTake(int directory, std::string const& name, pid_t& holder) {
  struct stat status {};
  if (::fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
      held().has({status.st_dev, status.st_ino})) {
    holder = ::getpid();
    return Outcome::held;
  }
  FileDescriptor file(::openat(directory, name.c_str(),
                               O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                               privateMode));
  if (!file) return errno == ELOOP ? Outcome::notPrivate : Outcome::failed;
  if (::fstat(file.get(), &status) != 0) return Outcome::failed;
  if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid() ||
      (status.st_mode & othersMayAnything) != 0) {
    return Outcome::notPrivate;
  }
  struct flock wanted {};  // the whole file
  wanted.l_type = F_WRLCK;
  wanted.l_whence = SEEK_SET;
  if (::fcntl(file.get(), F_SETLK, &wanted) != 0) {
    if (errno != EACCES && errno != EAGAIN) return Outcome::failed;
    struct flock other = wanted;
    bool const known = ::fcntl(file.get(), F_GETLK, &other) == 0 && other.l_type != F_UNLCK;
    holder = known && other.l_pid > 0 ? other.l_pid : 0;
    return Outcome::held;
  }
  held().files.insert_or_assign({status.st_dev, status.st_ino}, ::getpid());
  _file = std::move(file);
  _device = status.st_dev;
  _inode = status.st_ino;
  return Outcome::taken;
}

}  // namespace Glim
