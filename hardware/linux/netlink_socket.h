#pragma once

#include <libmnl/libmnl.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "hardware/linux/netlink_message.h"

namespace Hardware::Linux {

/// A netlink socket that asks the kernel and gives its answer as a value: nothing here throws on
/// what the kernel says. A socket that could not be opened answers every order with the reason and
/// is opened again by the next one.
///
///   NetlinkSocket socket(NETLINK_ROUTE);
///   NetlinkRequest request(RTM_GETLINK, ifinfomsg{});
///   if (auto error = socket.dump(request, [](nlmsghdr const& m) { ... })) ...
///
/// Not for use by two threads. A visitor must not use the socket that calls it.
class NetlinkSocket {
 public:
  using Visitor = std::function<void(nlmsghdr const&)>;

  /// Large enough for any dump of the kernel, which fills up to 32 KB a read.
  static constexpr std::size_t kBufferBytes = 64 * 1024;

  explicit NetlinkSocket(int protocol);
  ~NetlinkSocket();
  NetlinkSocket(NetlinkSocket const&) = delete;
  NetlinkSocket& operator=(NetlinkSocket const&) = delete;

  /// Ask for a list and visit every entry. Done when the kernel says so.
  /// Answers: none if the list is whole; `std::errc::interrupted` if the kernel's state changed
  /// meanwhile, so that entries may be missing or twice; otherwise the kernel's error.
  std::error_code dump(NetlinkRequest& request, Visitor const& visit);

  /// Ask for one thing, or order one, and wait for the acknowledgement.
  std::error_code request(NetlinkRequest& request, Visitor const& visit = {});

  /// What the kernel added to its last error in words; often empty.
  std::string const& lastErrorText() const { return _errorText; }

  /// Number of the network namespace that the socket lives in, unique until the machine is started
  /// again. No value before Linux 5.14.
  std::optional<std::uint64_t> networkNamespaceCookie();

  int fd() const;

 private:
  std::error_code open();
  void close();
  std::error_code exchange(NetlinkRequest& request, Visitor const& visit);

  int _protocol;
  mnl_socket* _socket = nullptr;
  std::uint32_t _sequence = 0;
  std::string _errorText;
  std::unique_ptr<char[]> _buffer;
};

/// Asks by `ask` until it does not answer `std::errc::interrupted`, so many times at most. Each
/// such answer means that what was asked for changed meanwhile.
std::error_code askUntilWhole(std::function<std::error_code()> const& ask, int attempts = 3);

/// An error number of the system as a value.
std::error_code systemError(int number);

/// What the last message of a dump says: none if it came to its end.
std::error_code endOfDump(nlmsghdr const& message);

/// What an error message of the kernel says: none for an acknowledgement. The words go to `text`.
std::error_code netlinkError(nlmsghdr const& message, std::string& text);

/// The number of a generic-netlink family ("ethtool"). No value if this kernel has no such family.
std::optional<std::uint16_t> genericFamily(NetlinkSocket& socket, std::string_view name);

}  // namespace Hardware::Linux
