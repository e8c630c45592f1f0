#include "hardware/linux/news_socket.h"

#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <string>
#include <utility>

#include "hardware/linux/netlink_socket.h"

namespace Hardware::Linux {
namespace {

constexpr int kPatienceMilliseconds = 5000;

}  // namespace

NewsSocket::NewsSocket(std::vector<int> groups, int receiveBufferBytes)
    : _receiveBufferBytes(receiveBufferBytes),
      _groups(std::move(groups)),
      _buffer(std::make_unique<char[]>(NetlinkSocket::kBufferBytes)) {}

NewsSocket::~NewsSocket() {
  if (_socket) mnl_socket_close(_socket);
}

int NewsSocket::fd() const { return _socket ? mnl_socket_get_fd(_socket) : -1; }

std::error_code NewsSocket::open() {
  if (_socket) return {};
  mnl_socket* socket = mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (!socket) return systemError(errno);
  int const fd = mnl_socket_get_fd(socket);
  int const bytes = _receiveBufferBytes;
  // Beyond the system's limit where we may, else up to it: a larger buffer only spares lists.
  if (setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes) < 0)
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
  bool joined = mnl_socket_bind(socket, 0, MNL_SOCKET_AUTOPID) >= 0;
  for (int const group : _groups) {
    bool const isThere =
        setsockopt(fd, SOL_NETLINK, NETLINK_ADD_MEMBERSHIP, &group, sizeof group) >= 0;
    if (group == _groups.front()) joined = joined && isThere;
  }
  if (!joined) {
    int const number = errno;
    mnl_socket_close(socket);
    return systemError(number);
  }
  _socket = socket;
  return {};
}

NewsSocket::Received NewsSocket::receive(Visitor const& visit, std::error_code& error) {
  ssize_t const got = mnl_socket_recvfrom(_socket, _buffer.get(), NetlinkSocket::kBufferBytes);
  if (got < 0) {
    if (errno == EAGAIN) return Received::nothing;
    if (errno == EINTR) return Received::something;
    if (errno == ENOBUFS) return Received::lost;
    error = systemError(errno);
    return Received::failed;
  }
  int left = static_cast<int>(got);
  auto const* message = reinterpret_cast<nlmsghdr const*>(_buffer.get());
  for (; mnl_nlmsg_ok(message, left); message = mnl_nlmsg_next(message, &left)) visit(*message);
  return Received::something;
}

std::error_code NewsSocket::list(NetlinkRequest& request, Visitor const& visit) {
  nlmsghdr& header = request.header();
  header.nlmsg_flags |= NLM_F_DUMP;
  header.nlmsg_seq = ++_sequence;
  if (mnl_socket_sendto(_socket, &header, header.nlmsg_len) < 0) return systemError(errno);

  bool done = false;
  bool whole = true;
  std::error_code error;
  auto const take = [&](nlmsghdr const& message) {
    // News bears no sequence number of ours.
    bool const isAnswer = message.nlmsg_seq == _sequence;
    if (isAnswer && (message.nlmsg_flags & NLM_F_DUMP_INTR)) whole = false;
    if (message.nlmsg_type >= NLMSG_MIN_TYPE) {
      visit(message);
    } else if (isAnswer && message.nlmsg_type == NLMSG_DONE) {
      done = true;
      error = endOfDump(message);
    } else if (isAnswer && message.nlmsg_type == NLMSG_ERROR) {
      std::string words;
      error = netlinkError(message, words);
      done = true;
    }
  };
  while (!done) {
    switch (receive(take, error)) {
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
  return whole ? std::error_code() : systemError(EINTR);
}

}  // namespace Hardware::Linux
