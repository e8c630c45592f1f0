// Messages of the kernel that end too early.
#pragma once

#include <linux/netlink.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

namespace Hardware::Linux::Test {

inline std::size_t aligned(std::size_t bytes) {
  return (bytes + NLMSG_ALIGNTO - 1) / NLMSG_ALIGNTO * NLMSG_ALIGNTO;
}

// Cuts the message to `length` bytes, and `levels` of the attributes that reach beyond to what is
// left of them: it is the one within those that is out of shape. `fixed` bytes come before the
// attributes.
inline void cut(nlmsghdr& message, std::size_t fixed, int levels, std::uint32_t length) {
  auto* const bytes = reinterpret_cast<char*>(&message);
  message.nlmsg_len = length;
  std::size_t at = aligned(sizeof(nlmsghdr)) + aligned(fixed);
  while (levels > 0 && at + sizeof(nlattr) <= length) {
    nlattr attribute;
    std::memcpy(&attribute, bytes + at, sizeof attribute);
    if (at + attribute.nla_len <= length) {
      at += aligned(attribute.nla_len);
      continue;
    }
    attribute.nla_len = static_cast<std::uint16_t>(length - at);
    std::memcpy(bytes + at, &attribute, sizeof attribute);
    at += sizeof attribute;
    --levels;
  }
}

// Calls `read` with the message cut at every of its bytes in turn, which is whole again afterwards.
inline void forEveryCut(nlmsghdr& message, std::size_t fixed, int levels,
                        std::function<void()> const& read) {
  auto* const bytes = reinterpret_cast<char*>(&message);
  std::vector<char> const whole(bytes, bytes + message.nlmsg_len);
  for (std::uint32_t length = sizeof(nlmsghdr); length < whole.size(); ++length) {
    cut(message, fixed, levels, length);
    read();
    std::memcpy(bytes, whole.data(), whole.size());
  }
}

}  // namespace Hardware::Linux::Test
