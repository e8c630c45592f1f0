#include "platform/glim/file_descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Glim {

FileDescriptor::~FileDescriptor() {
  if (_fd >= 0) ::close(_fd);
}

int allocateFile(FileDescriptor const& file, std::uint64_t from, std::uint64_t to) {
  int error;
  do {  // returns its error, and leaves errno alone
    error = ::posix_fallocate(file.get(), static_cast<off_t>(from), static_cast<off_t>(to - from));
  } while (error == EINTR);
  return error;
}

std::string errorText(int error) { return std::generic_category().message(error); }

}  // namespace Glim
