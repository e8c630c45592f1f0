#include "hardware/linux/link_monitor.h"

#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include <cerrno>

namespace Hardware::Linux {

LinkMonitor::LinkMonitor(SpeedOf speedOf, int receiveBufferBytes)
    : speedOf_(std::move(speedOf)), news_({RTNLGRP_LINK}, receiveBufferBytes) {}

std::error_code LinkMonitor::start(Events& events) {
  if (auto error = news_.open()) return error;
  return takeList(events);
}

std::error_code LinkMonitor::poll(Events& events) {
  using Received = NewsSocket::Received;
  if (!news_.isOpen()) return {ENOTCONN, std::generic_category()};
  std::error_code error;
  while (true) {
    switch (news_.receive([&](nlmsghdr const& message) { takeIn(message, events); }, error)) {
      case Received::something:
        break;
      case Received::lost:
        ++resynchronisations_;
        listIsDue_ = true;
        break;
      case Received::nothing:
        return listIsDue_ ? takeList(events) : std::error_code();
      case Received::failed:
        listIsDue_ = true;  // who knows what was not read
        return error;
    }
  }
}

std::error_code LinkMonitor::takeList(Events& events) {
  listIsDue_ = true;
  auto const error = listUntilWhole([&] { return takeListOnce(events); });
  listIsDue_ = static_cast<bool>(error);
  return error;
}

std::error_code LinkMonitor::takeListOnce(Events& events) {
  ifinfomsg fixed{};
  NetlinkRequest request(RTM_GETLINK, fixed);
  request.put(IFLA_EXT_MASK, std::uint32_t{RTEXT_FILTER_SKIP_STATS});
  table_.listBegins(events);
  auto const error = news_.list(request, [&](nlmsghdr const& message) { takeIn(message, events); });
  if (!error) table_.listEnds(events);
  return error;
}

void LinkMonitor::takeIn(nlmsghdr const& message, Events& events) {
  auto news = readLinkMessage(message);
  if (!news) return;
  if (news->gone) {
    table_.linkDel(news->link.ifindex, events);
    return;
  }
  if (speedOf_ && news->link.adminUp) news->link.speed = speedOf_(news->link.ifindex);
  table_.linkIs(news->link, events);
}

}  // namespace Hardware::Linux
