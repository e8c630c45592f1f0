#include "hardware/linux/link_monitor.h"

#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

#include "hardware/linux/netlink_socket.h"

namespace Hardware::Linux {
namespace {

std::error_code systemError(int number) { return {number, std::generic_category()}; }

// Each failed attempt means that the links changed while they were listed.
constexpr int kListAttempts = 16;
constexpr int kPatienceMilliseconds = 5000;

}  // namespace

LinkMonitor::LinkMonitor(SpeedOf speedOf, int receiveBufferBytes)
    : speedOf_(std::move(speedOf)),
      receiveBufferBytes_(receiveBufferBytes),
      buffer_(std::make_unique<char[]>(NetlinkSocket::kBufferBytes)) {}

LinkMonitor::~LinkMonitor() {
  if (socket_) mnl_socket_close(socket_);
}

int LinkMonitor::fd() const { return socket_ ? mnl_socket_get_fd(socket_) : -1; }

std::error_code LinkMonitor::open() {
  mnl_socket* socket = mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (!socket) return systemError(errno);
  int const fd = mnl_socket_get_fd(socket);
  int const bytes = receiveBufferBytes_;
  // Beyond the system's limit where we may, else up to it: a larger buffer only spares lists.
  if (setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes) < 0)
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
  int const group = RTNLGRP_LINK;
  if (mnl_socket_bind(socket, 0, MNL_SOCKET_AUTOPID) < 0 ||
      setsockopt(fd, SOL_NETLINK, NETLINK_ADD_MEMBERSHIP, &group, sizeof group) < 0) {
    int const number = errno;
    mnl_socket_close(socket);
    return systemError(number);
  }
  socket_ = socket;
  return {};
}

std::error_code LinkMonitor::start(Events& events) {
  if (!socket_) {
    if (auto error = open()) return error;
  }
  return takeList(events);
}

std::error_code LinkMonitor::poll(Events& events) {
  if (!socket_) return systemError(ENOTCONN);
  std::error_code error;
  while (true) {
    switch (receive([&](nlmsghdr const& message) { takeIn(message, events); }, error)) {
      case Received::something:
        break;
      case Received::lost:
        ++resynchronisations_;
        listIsDue_ = true;
        break;
      case Received::nothing:
        return listIsDue_ ? takeList(events) : std::error_code();
      case Received::failed:
        return error;
    }
  }
}

std::error_code LinkMonitor::takeList(Events& events) {
  listIsDue_ = true;
  std::error_code error;
  for (int attempt = 0; attempt < kListAttempts; ++attempt) {
    error = takeListOnce(events);
    if (!error) {
      listIsDue_ = false;
      return error;
    }
    if (error != std::errc::interrupted) break;
  }
  return error;
}

// List and news come through the same socket and so in the order in which the kernel made them:
// news from before an entry of the list cannot overwrite it.
std::error_code LinkMonitor::takeListOnce(Events& events) {
  ifinfomsg fixed{};
  NetlinkRequest request(RTM_GETLINK, fixed, NLM_F_DUMP);
  request.put(IFLA_EXT_MASK, std::uint32_t{RTEXT_FILTER_SKIP_STATS});
  request.header().nlmsg_seq = ++sequence_;
  if (mnl_socket_sendto(socket_, &request.header(), request.header().nlmsg_len) < 0)
    return systemError(errno);

  table_.listBegins(events);
  bool done = false;
  bool whole = true;
  std::error_code error;
  auto const visit = [&](nlmsghdr const& message) {
    // News bears no sequence number of ours.
    bool const isAnswer = message.nlmsg_seq == sequence_;
    if (isAnswer && (message.nlmsg_flags & NLM_F_DUMP_INTR)) whole = false;
    if (message.nlmsg_type >= NLMSG_MIN_TYPE) {
      takeIn(message, events);
    } else if (isAnswer && message.nlmsg_type == NLMSG_DONE) {
      done = true;
      auto const number = fixedHeader<std::int32_t>(message).value_or(0);
      if (number < 0) error = systemError(-number);
    } else if (isAnswer && message.nlmsg_type == NLMSG_ERROR) {
      std::string words;
      error = netlinkError(message, words);
      done = true;
    }
  };
  while (!done) {
    switch (receive(visit, error)) {
      case Received::something:
        break;
      case Received::lost:
        whole = false;  // and yet read to its end: the kernel makes one list at a time
        break;
      case Received::nothing: {
        pollfd waited{.fd = fd(), .events = POLLIN, .revents = 0};
        if (::poll(&waited, 1, kPatienceMilliseconds) == 0) return systemError(ETIMEDOUT);
        break;
      }
      case Received::failed:
        return error;
    }
  }
  if (error) return error;
  if (!whole) return systemError(EINTR);
  table_.listEnds(events);
  return {};
}

LinkMonitor::Received LinkMonitor::receive(Visitor const& visit, std::error_code& error) {
  ssize_t const got = mnl_socket_recvfrom(socket_, buffer_.get(), NetlinkSocket::kBufferBytes);
  if (got < 0) {
    if (errno == EAGAIN) return Received::nothing;
    if (errno == EINTR) return Received::something;
    if (errno == ENOBUFS) return Received::lost;
    error = systemError(errno);
    return Received::failed;
  }
  int left = static_cast<int>(got);
  auto const* message = reinterpret_cast<nlmsghdr const*>(buffer_.get());
  for (; mnl_nlmsg_ok(message, left); message = mnl_nlmsg_next(message, &left)) visit(*message);
  return Received::something;
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
