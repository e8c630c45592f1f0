// An open file, closed when it goes; and the text of an errno.
#pragma once

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

std::string errorText(int error);

}  // namespace Glim
