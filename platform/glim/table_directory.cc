#include "platform/glim/table_directory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "platform/dov/exception.h"

namespace Glim {

namespace {

constexpr long tmpfsMagic = 0x01021994;
constexpr mode_t directoryMode = 0755;
constexpr mode_t publishedMode = 0644;
constexpr mode_t privateMode = 0600;
constexpr mode_t othersMayWrite = S_IWGRP | S_IWOTH;

bool writeWhole(int fd, std::string_view content) {
  std::size_t done = 0;
  while (done < content.size()) {
    ssize_t const n =
        ::pwrite(fd, content.data() + done, content.size() - done, static_cast<off_t>(done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

}  // namespace

TableDirectory::TableDirectory(RootPath const& root) : _root(root) {
  std::string const path = root.directory();
  if (root.glimName().empty()) refuse(path, "the path names no table");
  bool const made = root.makeDirectory() && ::mkdir(path.c_str(), directoryMode) == 0;
  if (root.makeDirectory() && !made && errno != EEXIST) fail("make directory", path, errno);
  _fd = FileDescriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!_fd) fail("open directory", path, errno);
  struct statfs system {};
  if (::fstatfs(_fd.get(), &system) != 0) fail("look at directory", path, errno);
  if (system.f_type != tmpfsMagic) {
    // A table on a disk would be written back for ever, and a page of it may fail to be read at any
    // time.
    if (made) ::rmdir(path.c_str());
    refuse(path, "tables live on tmpfs, and this directory does not");
  }
  // Whatever the process's umask took away.
  if (made && ::fchmod(_fd.get(), directoryMode) != 0) fail("open up directory", path, errno);
  checkDirectory(path);
}

void TableDirectory::fail(std::string const& what, std::string const& name, int error) const {
  Dov::ResourceException::throwException("table " + _root.path() + ": cannot " + what + " " + name +
                                         ": " + errorText(error));
}

void TableDirectory::refuse(std::string const& name, std::string const& why) const {
  Dov::NoPermissionException::throwException("table " + _root.path() + ": " + name + ": " + why);
}

// Whoever may write in a directory can take files away from under their names.
void TableDirectory::checkDirectory(std::string const& path) const {
  struct stat status {};
  if (::fstat(_fd.get(), &status) != 0) fail("look at directory", path, errno);
  if (status.st_uid != ::geteuid() && status.st_uid != 0) refuse(path, "belongs to another user");
  if ((status.st_mode & othersMayWrite) != 0 && (status.st_mode & S_ISVTX) == 0) {
    refuse(path, "other users may write in this directory, and it has no sticky bit");
  }
}

void TableDirectory::checkOurs(int fd, std::string const& name, unsigned forbiddenMode) const {
  struct stat status {};
  if (::fstat(fd, &status) != 0) fail("look at", name, errno);
  if (!S_ISREG(status.st_mode)) refuse(name, "not a regular file");
  if (status.st_uid != ::geteuid()) refuse(name, "belongs to another user");
  if ((status.st_mode & forbiddenMode) != 0) refuse(name, "open to other users");
}

WriterLock TableDirectory::lock() const {
  std::string const name = _root.lockFile();
  WriterLock lock;
  pid_t holder = 0;
  switch (lock.take(_fd.get(), name, holder)) {
    case WriterLock::Outcome::taken:
      return lock;
    case WriterLock::Outcome::held:
      refuse(name, "the table already has a writer, process " +
                       (holder != 0 ? std::to_string(holder) : std::string("unknown")));
    case WriterLock::Outcome::notPrivate:
      refuse(name, "not a regular file that is open to this user alone");
    case WriterLock::Outcome::failed:
      break;
  }
  fail("lock", name, errno);
}

FileDescriptor TableDirectory::openData() const {
  std::string const name = _root.dataFile();
  FileDescriptor file(
      ::openat(_fd.get(), name.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!file) {
    if (errno == ENOENT) return file;
    if (errno == ELOOP) refuse(name, "a symbolic link");
    if (errno == EISDIR) refuse(name, "not a regular file");
    if (errno == EACCES || errno == EPERM) refuse(name, errorText(errno));
    fail("open", name, errno);
  }
  checkOurs(file.get(), name, othersMayWrite);
  return file;
}

FileDescriptor TableDirectory::createNew() const {
  std::string const name = _root.newFile();
  if (::unlinkat(_fd.get(), name.c_str(), 0) != 0 && errno != ENOENT) fail("remove", name, errno);
  FileDescriptor file(::openat(_fd.get(), name.c_str(),
                               O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, privateMode));
  if (!file) fail("create", name, errno);
  return file;
}

void TableDirectory::removeNew() const noexcept {
  ::unlinkat(_fd.get(), _root.newFile().c_str(), 0);
}

void TableDirectory::openUp(FileDescriptor const& newFile) const {
  if (::fchmod(newFile.get(), publishedMode) != 0) fail("open up", _root.newFile(), errno);
}

void TableDirectory::publishNew() const {
  std::string const from = _root.newFile();
  std::string const to = _root.dataFile();
  if (::renameat(_fd.get(), from.c_str(), _fd.get(), to.c_str()) != 0) fail("publish", to, errno);
}

std::string TableDirectory::setAside() const {
  std::string const from = _root.dataFile();
  constexpr unsigned most = 1000;
  struct stat file {};
  if (::fstatat(_fd.get(), from.c_str(), &file, AT_SYMLINK_NOFOLLOW) != 0) {
    fail("look at", from, errno);
  }
  for (unsigned i = 1; i <= most; ++i) {
    std::string const to = from + ".aside-" + std::to_string(i);
    // A second name rather than a rename: the table's own name is never without a file.
    if (::linkat(_fd.get(), from.c_str(), _fd.get(), to.c_str(), 0) == 0) return to;
    if (errno != EEXIST) fail("set aside", from, errno);
    // A writer that was killed before it gave the table another file has set this one aside.
    struct stat kept {};
    bool const known = ::fstatat(_fd.get(), to.c_str(), &kept, AT_SYMLINK_NOFOLLOW) == 0;
    if (known && kept.st_dev == file.st_dev && kept.st_ino == file.st_ino) return to;
  }
  refuse(from, "too many files set aside beside it");
}

void TableDirectory::writeFile(std::string const& name, std::string const& content) const {
  std::string const working = name + ".new";
  if (::unlinkat(_fd.get(), working.c_str(), 0) != 0 && errno != ENOENT) {
    fail("remove", working, errno);
  }
  FileDescriptor const file(::openat(_fd.get(), working.c_str(),
                                     O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                                     publishedMode));
  if (!file || !writeWhole(file.get(), content)) fail("write", working, errno);
  if (::renameat(_fd.get(), working.c_str(), _fd.get(), name.c_str()) != 0) {
    fail("publish", name, errno);
  }
}

}  // namespace Glim
