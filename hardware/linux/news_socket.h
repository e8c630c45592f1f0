#pragma once

#include <libmnl/libmnl.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <system_error>
#include <vector>

#include "hardware/linux/netlink_message.h"

namespace Hardware::Linux {

/// A netlink socket of the routing family that the kernel tells its news, and that takes lists of
/// what there is now. Both come through it in the order in which the kernel made them: news from
/// before an entry of a list cannot overwrite it. Nothing here waits for news.
class NewsSocket {
 public:
  using Visitor = std::function<void(nlmsghdr const&)>;
  enum class Received : std::uint8_t { something, nothing, lost, failed };

  /// Of these multicast groups of the kernel (RTNLGRP_…).
  NewsSocket(std::vector<int> groups, int receiveBufferBytes);
  ~NewsSocket();
  NewsSocket(NewsSocket const&) = delete;
  NewsSocket& operator=(NewsSocket const&) = delete;

  /// Joins the groups, unless it did before. A group that this kernel does not have is left out,
  /// but for the first.
  std::error_code open();
  bool isOpen() const { return _socket != nullptr; }
  /// For epoll, readable when there is news. -1 before it is open.
  int fd() const;

  /// One read of news. `lost`: news came faster than it was read, and a list is due. Answers
  /// `failed` with the error.
  Received receive(Visitor const& visit, std::error_code& error);

  /// Visits every entry of a list, and the news that comes meanwhile. `std::errc::interrupted` if
  /// entries may be missing, since what is listed changed or news was lost.
  std::error_code list(NetlinkRequest& request, Visitor const& visit);

 private:
  int const _receiveBufferBytes;
  std::vector<int> const _groups;
  mnl_socket* _socket = nullptr;
  std::unique_ptr<char[]> _buffer;
  std::uint32_t _sequence = 0;
};

}  // namespace Hardware::Linux
