// An open file, closed when it goes; memory for it, and the text of an errno.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace Glim {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : _fd(fd) {}
  FileDescriptor(FileDescriptor&& other) noexcept : _fd(std::exchange(other._fd, -1)) {}
  FileDescriptor& operator=(FileDescriptor other) noexcept {
    std::swap(_fd, other._fd);
    return *this;
  }
  ~FileDescriptor();

  int get() const { return _fd; }
  explicit operator bool() const { return _fd >= 0; }

 private:
  int _fd = -1;
};

// Gives the bytes `from` up to `to` of a file memory of their own. The error, or 0; nothing has
// changed when there is one.
int allocateFile(FileDescriptor const& file, std::uint64_t from, std::uint64_t to);

std::string errorText(int error);

}  // namespace Glim
