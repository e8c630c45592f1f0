// A client of the control socket that never waits, for tests on one thread.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <string>

#include "platform/glim/file_descriptor.h"
#include "platform/interface/control_socket.h"

namespace Agent {

class TestClient {
 public:
  explicit TestClient(std::string const& directory)
      : _fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    Glim::FileDescriptor const place(::open(directory.c_str(), O_PATH | O_CLOEXEC));
    sockaddr_un const address = Interface::controlAddress(directory, place.get());
    _connected =
        ::connect(_fd.get(), reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0;
  }

  bool connected() const { return _connected; }
  // As much as the socket takes; answers how much that is.
  std::size_t send(std::string_view bytes) {
    ssize_t const n = ::send(_fd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    return n < 0 ? 0 : static_cast<std::size_t>(n);
  }
  void endSending() { ::shutdown(_fd.get(), SHUT_WR); }
  // What came so far, and is taken thereby.
  std::string received() {
    std::string all;
    std::array<char, 4096> bytes;
    while (true) {
      ssize_t const n = ::recv(_fd.get(), bytes.data(), bytes.size(), 0);
      if (n == 0 || (n < 0 && errno != EAGAIN)) _closed = true;
      if (n <= 0) return all;
      all.append(bytes.data(), static_cast<std::size_t>(n));
    }
  }
  // Whether the last received() met the end of the connection.
  bool closed() const { return _closed; }

 private:
  Glim::FileDescriptor _fd;
  bool _connected = false;
  bool _closed = false;
};

}  // namespace Agent
