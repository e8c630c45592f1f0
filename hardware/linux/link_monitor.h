#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <system_error>

#include "hardware/linux/link_table.h"
#include "hardware/linux/news_follower.h"

namespace Hardware::Linux {

/// Watches the Ethernet links of this network namespace come, change and go.
///
/// Ethernet is every link of hardware type ARPHRD_ETHER: physical ports and just as well bridges,
/// bonds, vlan devices, veth and tap, which all carry Ethernet frames and count them. The loopback
/// and tunnels of bare IP packets are other types. Needs no privilege.
///
///   LinkMonitor monitor(speedOf);
///   LinkTable::Events events;
///   monitor.start(events);            // every link appears
///   ... whenever monitor.fd() is readable:
///   monitor.poll(events);
class LinkMonitor {
 public:
  using Events = LinkTable::Events;
  /// The speed of a link in bit/s; asked anew whenever there is news of the link.
  using SpeedOf = std::function<std::optional<std::uint64_t>(int ifindex)>;

  explicit LinkMonitor(SpeedOf speedOf = {}, int receiveBufferBytes = 1 << 20);

  /// Join the kernel's news, then take the list of all links. May be called again after an error:
  /// the events are then what changed since.
  std::error_code start(Events& events);

  /// Take in all news there is, without waiting for more. If news was lost because it came faster
  /// than it was read, the list is taken anew and compared. After an error what is known may be
  /// out of date; the next call tries again.
  std::error_code poll(Events& events);

  /// For epoll, readable when there is news. -1 before a successful start.
  int fd() const { return _news.fd(); }

  std::map<int, Link> const& links() const { return _table.links(); }
  /// How often the list was taken anew because news was lost.
  std::uint64_t resynchronisations() const { return _news.resynchronisations(); }

 private:
  NewsFollower::Reader reader(Events& events);
  std::error_code takeList(Events& events, NewsFollower::Visitor const& visit);
  void takeIn(nlmsghdr const& message, Events& events);

  SpeedOf _speedOf;
  NewsFollower _news;
  LinkTable _table;
};

/// What one message of the kernel says of a link.
struct LinkNews {
  bool gone = false;
  Link link;  // without its speed; of a link that is gone only `ifindex` counts

  bool operator==(LinkNews const&) const = default;
};

/// No value if the message is no news: of another type, of a bridge port (family bridge: a link
/// that left its bridge is not gone), or a wireless event, which describes no link.
std::optional<LinkNews> readLinkMessage(nlmsghdr const& message);

}  // namespace Hardware::Linux
