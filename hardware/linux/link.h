#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/interface/intf_description.h"

namespace Hardware::Linux {

using Interface::OperState;

/// One Ethernet link of this network namespace, as the kernel describes it.
struct Link {
  int ifindex = 0;
  std::string name{};
  std::string alias{};  // IFLA_IFALIAS, what the administrator says of it; may be empty
  std::string kind{};   // "veth", "bridge", "vlan", ...; empty for a physical device
  std::uint32_t mtu = 0;
  bool adminUp = false;
  OperState operState = OperState::unknown;
  std::uint32_t txQueues = 0;            // transmit queues; 0: the kernel does not say
  std::optional<std::uint64_t> speed{};  // bit/s; none while the link has no known speed
  std::uint16_t vlanId = 0;  // of a link of kind "vlan", 1 to 4094; 0: no VLAN interface

  bool operator==(Link const&) const = default;
};

/// What happened to a link.
struct LinkEvent {
  enum class Type : std::uint8_t {
    appeared,
    changed,   // anything but its name
    renamed,   // `oldName` tells what it was called
    vanished,  // deleted, moved to another network namespace, or no longer Ethernet
  };
  Type type = Type::appeared;
  Link link;  // as it stands after the event; as it stood last for `vanished`
  std::string oldName;

  bool operator==(LinkEvent const&) const = default;
};

}  // namespace Hardware::Linux
