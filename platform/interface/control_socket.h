// Where an agent and those who ask something of it meet: a unix stream socket in the directory of
// the tables. docs/control.md tells what is spoken there.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace Interface {

inline constexpr std::string_view kControlSocket = "control";

// Its address. A path that is longer than an address may be goes by way of `directoryFd`, an open
// descriptor of the directory.
inline sockaddr_un controlAddress(std::string_view directory, int directoryFd) {
  auto const within = [](std::string_view place) {
    return std::string(place).append("/").append(kControlSocket);
  };
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::string path = within(directory);
  if (path.size() >= sizeof address.sun_path)
    path = within("/proc/self/fd/" + std::to_string(directoryFd));
  std::copy(path.begin(), path.end(), address.sun_path);
  return address;
}

}  // namespace Interface
