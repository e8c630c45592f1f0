#include "hardware/linux/netlink_socket.h"

#include <linux/genetlink.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>

namespace Hardware::Linux {
namespace {

void setOption(mnl_socket const* socket, int level, int option, int value) {
  // Older kernels lack some of these; each only saves work or adds words.
  setsockopt(mnl_socket_get_fd(socket), level, option, &value, sizeof value);
}

}  // namespace

NetlinkSocket::NetlinkSocket(int protocol)
    : _protocol(protocol), _buffer(std::make_unique<char[]>(kBufferBytes)) {
  open();
}

NetlinkSocket::~NetlinkSocket() { close(); }

int NetlinkSocket::fd() const { return _socket ? mnl_socket_get_fd(_socket) : -1; }

std::error_code NetlinkSocket::open() {
  if (_socket) return {};
  _socket = mnl_socket_open2(_protocol, SOCK_CLOEXEC);
  if (!_socket) return systemError(errno);
  if (mnl_socket_bind(_socket, 0, MNL_SOCKET_AUTOPID) < 0) {
    int const number = errno;
    close();
    return systemError(number);
  }
  setOption(_socket, SOL_NETLINK, NETLINK_EXT_ACK, 1);
  setOption(_socket, SOL_NETLINK, NETLINK_CAP_ACK, 1);
  setOption(_socket, SOL_NETLINK, NETLINK_GET_STRICT_CHK, 1);
  // The kernel answers within the call; should an answer ever be lost, the caller must not hang.
  timeval const patience{.tv_sec = 5, .tv_usec = 0};
  setsockopt(fd(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  return {};
}

void NetlinkSocket::close() {
  if (_socket) mnl_socket_close(_socket);
  _socket = nullptr;
}

std::error_code NetlinkSocket::dump(NetlinkRequest& request, Visitor const& visit) {
  request.header().nlmsg_flags |= NLM_F_DUMP;
  return exchange(request, visit);
}

std::error_code NetlinkSocket::request(NetlinkRequest& request, Visitor const& visit) {
  request.header().nlmsg_flags |= NLM_F_ACK;
  return exchange(request, visit);
}

std::error_code NetlinkSocket::exchange(NetlinkRequest& request, Visitor const& visit) {
  _errorText.clear();
  if (auto error = open()) return error;
  nlmsghdr& header = request.header();
  header.nlmsg_seq = ++_sequence;
  if (mnl_socket_sendto(_socket, &header, header.nlmsg_len) < 0) return systemError(errno);

  bool interrupted = false;
  while (true) {
    ssize_t const got = mnl_socket_recvfrom(_socket, _buffer.get(), kBufferBytes);
    if (got < 0) {
      int const number = errno;
      if (number == EINTR) continue;
      // The rest of the answer would meet the next request, and the kernel refuses a second dump
      // while one is open: start afresh.
      close();
      return systemError(number == EAGAIN ? ETIMEDOUT : number);
    }
    int left = static_cast<int>(got);
    auto const* message = reinterpret_cast<nlmsghdr const*>(_buffer.get());
    for (; mnl_nlmsg_ok(message, left); message = mnl_nlmsg_next(message, &left)) {
      if (message->nlmsg_seq != _sequence) continue;
      if (message->nlmsg_flags & NLM_F_DUMP_INTR) interrupted = true;
      // Not by the multi flag: dumps of some generic-netlink families lack it.
      if (message->nlmsg_type == NLMSG_DONE) {
        if (auto const error = endOfDump(*message)) return error;
        return interrupted ? systemError(EINTR) : std::error_code();
      }
      if (message->nlmsg_type == NLMSG_ERROR) return netlinkError(*message, _errorText);
      if (message->nlmsg_type >= NLMSG_MIN_TYPE && visit) visit(*message);
    }
  }
}

std::optional<std::uint64_t> NetlinkSocket::networkNamespaceCookie() {
  if (open()) return std::nullopt;
  std::uint64_t cookie = 0;
  socklen_t length = sizeof cookie;
  if (getsockopt(fd(), SOL_SOCKET, SO_NETNS_COOKIE, &cookie, &length) < 0) return std::nullopt;
  return cookie;
}

std::error_code askUntilWhole(std::function<std::error_code()> const& ask, int attempts) {
  std::error_code error;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    error = ask();
    if (error != std::errc::interrupted) break;
  }
  return error;
}

std::error_code systemError(int number) { return {number, std::generic_category()}; }

// One that fails on its way ends with the error in its last message.
std::error_code endOfDump(nlmsghdr const& message) {
  auto const number = fixedHeader<std::int32_t>(message).value_or(0);
  return number < 0 ? systemError(-number) : std::error_code();
}

std::error_code netlinkError(nlmsghdr const& message, std::string& text) {
  auto const answer = fixedHeader<nlmsgerr>(message);
  if (!answer) return systemError(EBADMSG);
  if (message.nlmsg_flags & NLM_F_ACK_TLVS) {
    std::size_t fixedBytes = sizeof(nlmsgerr);
    if (!(message.nlmsg_flags & NLM_F_CAPPED) && answer->msg.nlmsg_len > sizeof(nlmsghdr))
      fixedBytes += answer->msg.nlmsg_len - sizeof(nlmsghdr);  // the request, sent back
    forEachAttribute(message, fixedBytes, [&](nlattr const& attribute) {
      if (mnl_attr_get_type(&attribute) == NLMSGERR_ATTR_MSG) text = attributeText(attribute);
    });
  }
  return answer->error == 0 ? std::error_code() : systemError(-answer->error);
}

std::optional<std::uint16_t> genericFamily(NetlinkSocket& socket, std::string_view name) {
  NetlinkRequest request(GENL_ID_CTRL,
                         genlmsghdr{.cmd = CTRL_CMD_GETFAMILY, .version = 1, .reserved = 0});
  request.putText(CTRL_ATTR_FAMILY_NAME, name);
  std::optional<std::uint16_t> family;
  auto const error = socket.request(request, [&](nlmsghdr const& message) {
    forEachAttribute(message, sizeof(genlmsghdr), [&](nlattr const& attribute) {
      if (mnl_attr_get_type(&attribute) == CTRL_ATTR_FAMILY_ID)
        family = attributeValue<std::uint16_t>(attribute);
    });
  });
  return error ? std::nullopt : family;
}

}  // namespace Hardware::Linux
