#pragma once

#include <libmnl/libmnl.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace Hardware::Linux {

/// Reading and building netlink messages over libmnl, whose own iteration macros are C only.
///
///   forEachAttribute(message, sizeof(ifinfomsg), [&](nlattr const& a) {
///     if (mnl_attr_get_type(&a) == IFLA_MTU) mtu = attributeValue<std::uint32_t>(a).value_or(0);
///   });
///
/// Every reader checks the length of what it reads: an attribute that is too short has no value.

/// The attributes behind the fixed header of `fixedBytes` bytes.
template <typename Visit>
void forEachAttribute(nlmsghdr const& message, std::size_t fixedBytes, Visit&& visit) {
  if (message.nlmsg_len < sizeof(nlmsghdr) + fixedBytes) return;
  auto const* tail = static_cast<char const*>(mnl_nlmsg_get_payload_tail(&message));
  auto const* at = static_cast<nlattr const*>(mnl_nlmsg_get_payload_offset(&message, fixedBytes));
  while (mnl_attr_ok(at, static_cast<int>(tail - reinterpret_cast<char const*>(at)))) {
    visit(*at);
    at = mnl_attr_next(at);
  }
}

/// The attributes nested in `nest`.
template <typename Visit>
void forEachNested(nlattr const& nest, Visit&& visit) {
  auto const* at = static_cast<nlattr const*>(mnl_attr_get_payload(&nest));
  auto const* tail = reinterpret_cast<char const*>(at) + mnl_attr_get_payload_len(&nest);
  while (mnl_attr_ok(at, static_cast<int>(tail - reinterpret_cast<char const*>(at)))) {
    visit(*at);
    at = mnl_attr_next(at);
  }
}

/// The number that an attribute carries. No value if the attribute is shorter than a T.
template <typename T>
std::optional<T> attributeValue(nlattr const& attribute) {
  static_assert(std::is_trivially_copyable_v<T>);
  if (mnl_attr_get_payload_len(&attribute) < sizeof(T)) return std::nullopt;
  T value;
  std::memcpy(&value, mnl_attr_get_payload(&attribute), sizeof value);  // may be unaligned
  return value;
}

/// A record of the kernel that grows from release to release: what this kernel does not know yet
/// stays zero, what it has beyond ours is left out.
template <typename T>
T attributeRecord(nlattr const& attribute) {
  static_assert(std::is_trivially_copyable_v<T>);
  T value{};
  std::size_t const length = mnl_attr_get_payload_len(&attribute);
  std::memcpy(&value, mnl_attr_get_payload(&attribute), std::min(length, sizeof value));
  return value;
}

/// The text of an attribute, up to its terminator if it has one. Lives as long as the message.
inline std::string_view attributeText(nlattr const& attribute) {
  auto const* text = static_cast<char const*>(mnl_attr_get_payload(&attribute));
  return {text, strnlen(text, mnl_attr_get_payload_len(&attribute))};
}

/// The fixed header of a message. No value if the message is shorter than that.
template <typename T>
std::optional<T> fixedHeader(nlmsghdr const& message) {
  if (mnl_nlmsg_get_payload_len(&message) < sizeof(T)) return std::nullopt;
  T value;
  std::memcpy(&value, mnl_nlmsg_get_payload(&message), sizeof value);
  return value;
}

/// A request under construction, at most 4 KB of it.
///
///   NetlinkRequest request(RTM_GETSTATS, if_stats_msg{.filter_mask = ...});
///   socket.dump(request, visit);
class NetlinkRequest {
 public:
  template <typename Fixed>
  NetlinkRequest(std::uint16_t type, Fixed const& fixed, std::uint16_t flags = 0)
      : _header(mnl_nlmsg_put_header(_buffer.data())) {
    _header->nlmsg_type = type;
    _header->nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | flags);
    std::memcpy(mnl_nlmsg_put_extra_header(_header, sizeof fixed), &fixed, sizeof fixed);
  }
  NetlinkRequest(NetlinkRequest const&) = delete;
  NetlinkRequest& operator=(NetlinkRequest const&) = delete;

  template <typename T>
  NetlinkRequest& put(std::uint16_t type, T const& value) {
    static_assert(std::is_trivially_copyable_v<T> && !std::is_pointer_v<T>);
    mnl_attr_put(_header, type, sizeof value, &value);
    return *this;
  }
  NetlinkRequest& putFlag(std::uint16_t type) {
    mnl_attr_put(_header, type, 0, nullptr);
    return *this;
  }
  /// With its terminator, as the kernel's string attributes want it.
  NetlinkRequest& putText(std::uint16_t type, std::string_view text) {
    std::string const terminated(text);
    mnl_attr_put(_header, type, terminated.size() + 1, terminated.c_str());
    return *this;
  }
  /// What `fill` puts goes into a nest of this type.
  template <typename Fill>
  NetlinkRequest& nest(std::uint16_t type, Fill&& fill) {
    nlattr* start = mnl_attr_nest_start(_header, type);
    fill(*this);
    mnl_attr_nest_end(_header, start);
    return *this;
  }
  /// A fixed header in the middle of a nest (VETH_INFO_PEER has one).
  template <typename Fixed>
  NetlinkRequest& putFixed(Fixed const& fixed) {
    std::memcpy(mnl_nlmsg_put_extra_header(_header, sizeof fixed), &fixed, sizeof fixed);
    return *this;
  }

  nlmsghdr& header() { return *_header; }

 private:
  alignas(nlmsghdr) std::array<char, 4096> _buffer{};
  nlmsghdr* _header;
};

}  // namespace Hardware::Linux
