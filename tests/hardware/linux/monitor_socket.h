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
  InPlaceOfSocket(int fd, Glim::FileDescriptor const& other) : fd_(fd), true_(dup(fd)) {
    dup2(other.get(), fd_);
  }
  ~InPlaceOfSocket() {
    std::array<char, 65536> news;
    while (recv(true_.get(), news.data(), news.size(), MSG_DONTWAIT) > 0) continue;
    dup2(true_.get(), fd_);
  }
  InPlaceOfSocket(InPlaceOfSocket const&) = delete;
  InPlaceOfSocket& operator=(InPlaceOfSocket const&) = delete;

 private:
  int const fd_;
  Glim::FileDescriptor const true_;
};

}  // namespace Hardware::Linux::Test
