#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <system_error>

#include "hardware/linux/netlink_socket.h"

namespace Hardware::Linux {

/// Asks the kernel's generic-netlink family "ethtool" about one link. Reading needs no privilege.
class EthtoolSocket {
 public:
  using Fill = std::function<void(NetlinkRequest&)>;

  EthtoolSocket();

  /// Send the request `command` for the link and visit the answer. `headerAttribute` is the
  /// command's attribute for the request header (`ETHTOOL_A_*_HEADER`), `flags` are
  /// `ETHTOOL_FLAG_*`, and `fill` adds the attributes that only this command has.
  /// Answers: `std::errc::operation_not_supported` if this kernel or the link's driver lacks the
  /// command, `std::errc::no_such_device` if the link is gone.
  std::error_code get(std::uint8_t command, std::uint16_t headerAttribute, int ifindex,
                      std::uint32_t flags, NetlinkSocket::Visitor const& visit,
                      Fill const& fill = {});

 private:
  NetlinkSocket _socket;
  std::optional<std::uint16_t> _family;
};

}  // namespace Hardware::Linux
