#include "hardware/linux/ethtool_socket.h"

#include <linux/ethtool_netlink.h>
#include <linux/genetlink.h>

namespace Hardware::Linux {

EthtoolSocket::EthtoolSocket() : _socket(NETLINK_GENERIC) {}

std::error_code EthtoolSocket::get(std::uint8_t command, std::uint16_t headerAttribute, int ifindex,
                                   std::uint32_t flags, NetlinkSocket::Visitor const& visit,
                                   Fill const& fill) {
  if (!_family) _family = genericFamily(_socket, ETHTOOL_GENL_NAME);
  if (!_family) return std::make_error_code(std::errc::operation_not_supported);
  NetlinkRequest request(
      *_family, genlmsghdr{.cmd = command, .version = ETHTOOL_GENL_VERSION, .reserved = 0});
  request.nest(headerAttribute, [&](NetlinkRequest& header) {
    header.put(ETHTOOL_A_HEADER_DEV_INDEX, static_cast<std::uint32_t>(ifindex));
    if (flags != 0) header.put(ETHTOOL_A_HEADER_FLAGS, flags);
  });
  if (fill) fill(request);
  return _socket.request(request, visit);
}

}  // namespace Hardware::Linux
