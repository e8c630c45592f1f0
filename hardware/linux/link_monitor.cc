#include "hardware/linux/link_monitor.h"

#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include <cerrno>

namespace Hardware::Linux {

LinkMonitor::LinkMonitor(SpeedOf speedOf, int receiveBufferBytes)
    : _speedOf(std::move(speedOf)), _news({RTNLGRP_LINK}, receiveBufferBytes) {}

std::error_code LinkMonitor::start(Events& events) {
  if (auto error = _news.open()) return error;
  return takeList(events);
}

std::error_code LinkMonitor::poll(Events& events) {
  using Received = NewsSocket::Received;
  if (!_news.isOpen()) return {ENOTCONN, std::generic_category()};
  std::error_code error;
  while (true) {
    switch (_news.receive([&](nlmsghdr const& message) { takeIn(message, events); }, error)) {
      case Received::something:
        break;
      case Received::lost:
        ++_resynchronisations;
        _listIsDue = true;
        break;
      case Received::nothing:
        return _listIsDue ? takeList(events) : std::error_code();
      case Received::failed:
        _listIsDue = true;  // who knows what was not read
        return error;
    }
  }
}

std::error_code LinkMonitor::takeList(Events& events) {
  _listIsDue = true;
  auto const error = listUntilWhole([&] { return takeListOnce(events); });
  _listIsDue = static_cast<bool>(error);
  return error;
}

std::error_code LinkMonitor::takeListOnce(Events& events) {
  ifinfomsg fixed{};
  NetlinkRequest request(RTM_GETLINK, fixed);
  request.put(IFLA_EXT_MASK, std::uint32_t{RTEXT_FILTER_SKIP_STATS});
  _table.listBegins(events);
  auto const error = _news.list(request, [&](nlmsghdr const& message) { takeIn(message, events); });
  if (!error) _table.listEnds(events);
  return error;
}

void LinkMonitor::takeIn(nlmsghdr const& message, Events& events) {
  auto news = readLinkMessage(message);
  if (!news) return;
  if (news->gone) {
    _table.linkDel(news->link.ifindex, events);
    return;
  }
  if (_speedOf && news->link.adminUp) news->link.speed = _speedOf(news->link.ifindex);
  _table.linkIs(news->link, events);
}

}  // namespace Hardware::Linux
