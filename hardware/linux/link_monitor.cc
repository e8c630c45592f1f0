#include "hardware/linux/link_monitor.h"

#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include <utility>

namespace Hardware::Linux {

LinkMonitor::LinkMonitor(SpeedOf speedOf, int receiveBufferBytes)
    : _speedOf(std::move(speedOf)), _news({RTNLGRP_LINK}, receiveBufferBytes) {}

std::error_code LinkMonitor::start(Events& events) { return _news.start(reader(events)); }

std::error_code LinkMonitor::poll(Events& events) { return _news.poll(reader(events)); }

NewsFollower::Reader LinkMonitor::reader(Events& events) {
  return {[this, &events](nlmsghdr const& message) {
            takeIn(message, events);
            return false;
          },
          [this, &events](auto const& visit) { return takeList(events, visit); }};
}

std::error_code LinkMonitor::takeList(Events& events, NewsFollower::Visitor const& visit) {
  ifinfomsg fixed{};
  NetlinkRequest request(RTM_GETLINK, fixed);
  request.put(IFLA_EXT_MASK, std::uint32_t{RTEXT_FILTER_SKIP_STATS});
  _table.listBegins(events);
  auto const error = _news.list(request, visit);
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
