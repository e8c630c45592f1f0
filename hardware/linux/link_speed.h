#pragma once

#include <cstdint>
#include <optional>

#include "hardware/linux/ethtool_socket.h"

namespace Hardware::Linux {

/// The speed of a link in bit/s as its driver tells it (ETHTOOL_MSG_LINKMODES_GET). No value while
/// the link is down, or if it has no speed, as a bridge without ports.
class LinkSpeed {
 public:
  std::optional<std::uint64_t> of(int ifindex);

 private:
  EthtoolSocket _socket;
};

/// The same from the kernel's answer.
std::optional<std::uint64_t> readSpeedAnswer(nlmsghdr const& message);

}  // namespace Hardware::Linux
