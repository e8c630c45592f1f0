/// What stands in for the kernel's socket of a monitor.
#pragma once

#include <sys/socket.h>
#include <unistd.h>

#include <array>

#include "platform/glim/file_descriptor.h"

namespace Hardware::Linux::Test {

/// In place of the monitor's socket there is another descriptor; what the kernel tells the true one
/// meanwhile is lost.
class InPlaceOfSocket {
 public:
  InPlaceOfSocket(int fd, Glim::FileDescriptor const& other) : _fd(fd), _true(dup(fd)) {
    dup2(other.get(), _fd);
  }
  ~InPlaceOfSocket() {
    std::array<char, 65536> news;
    while (recv(_true.get(), news.data(), news.size(), MSG_DONTWAIT) > 0) continue;
    dup2(_true.get(), _fd);
  }
  InPlaceOfSocket(InPlaceOfSocket const&) = delete;
  InPlaceOfSocket& operator=(InPlaceOfSocket const&) = delete;

 private:
  int const _fd;
  Glim::FileDescriptor const _true;
};

}  // namespace Hardware::Linux::Test
