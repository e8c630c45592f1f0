#pragma once

#include <cstdint>
#include <functional>
#include <system_error>
#include <vector>

#include "hardware/linux/news_socket.h"

namespace Hardware::Linux {

/// Follows what the kernel tells of something, from a list of it on: by news, and by another list
/// wherever news cannot tell. What lists and news mean is left to a `Reader`.
class NewsFollower {
 public:
  using Visitor = NewsSocket::Visitor;

  struct Reader {
    /// Takes in an entry of a list, or news. True: it says that something changed, and only a list
    /// can tell what.
    std::function<bool(nlmsghdr const&)> takeIn;
    /// Takes the list once, by `list` with this visitor.
    std::function<std::error_code(Visitor const& visit)> takeList;
  };

  /// As a `NewsSocket`.
  NewsFollower(std::vector<int> groups, int receiveBufferBytes);

  /// Join the news, then take the list. May be called again after an error.
  std::error_code start(Reader const& reader);
  /// Take in all news there is, without waiting for more, and the list if news was lost, could not
  /// be read or asks for it. After an error the list is due, and taken by the next call.
  std::error_code poll(Reader const& reader);
  /// See NewsSocket::list. For a reader that takes the list.
  std::error_code list(NetlinkRequest& request, Visitor const& visit);

  /// For epoll, readable when there is news. -1 before a successful start.
  int fd() const { return _socket.fd(); }
  /// How often news was lost because it came faster than it was read.
  std::uint64_t resynchronisations() const { return _resynchronisations; }

 private:
  std::error_code takeList(Reader const& reader);

  NewsSocket _socket;
  bool _listIsDue = false;
  std::uint64_t _resynchronisations = 0;
};

}  // namespace Hardware::Linux
