#include "tests/hardware/linux/network_namespace.h"

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_ether.h>
#include <linux/if_link.h>
#include <linux/pkt_cls.h>
#include <linux/pkt_sched.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <net/if.h>
#include <netpacket/packet.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>

#include "hardware/linux/link_monitor.h"

namespace Hardware::Linux::Test {
namespace {

ifinfomsg linkHeader(int ifindex, unsigned flags = 0, unsigned change = 0) {
  ifinfomsg header{};
  header.ifi_index = ifindex;
  header.ifi_flags = flags;
  header.ifi_change = change;
  return header;
}

unsigned upFlag(bool up) { return up ? static_cast<unsigned>(IFF_UP) : 0U; }

}  // namespace

std::error_code makeVethPair(NetlinkSocket& socket, std::string const& name,
                             std::string const& peer, int ifindex, int peerIndex,
                             std::uint32_t queues) {
  NetlinkRequest request(RTM_NEWLINK, linkHeader(ifindex), NLM_F_CREATE | NLM_F_EXCL);
  if (queues != 0) request.put(IFLA_NUM_TX_QUEUES, queues).put(IFLA_NUM_RX_QUEUES, queues);
  request.putText(IFLA_IFNAME, name).nest(IFLA_LINKINFO, [&](NetlinkRequest& info) {
    info.putText(IFLA_INFO_KIND, "veth").nest(IFLA_INFO_DATA, [&](NetlinkRequest& data) {
      data.nest(VETH_INFO_PEER, [&](NetlinkRequest& other) {
        other.putFixed(linkHeader(peerIndex)).putText(IFLA_IFNAME, peer);
      });
    });
  });
  return socket.request(request);
}

void NetworkNamespace::SetUp() {
  // Without privilege, a user namespace of its own gives it within.
  if (unshare(CLONE_NEWNET) < 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) < 0)
    GTEST_SKIP() << "no network namespace of its own: " << std::strerror(errno);
  // Otherwise neighbour discovery adds frames of its own to those that a test counts.
  std::ofstream("/proc/sys/net/ipv6/conf/default/disable_ipv6") << "1";
  _socket = std::make_unique<NetlinkSocket>(NETLINK_ROUTE);
}

void NetworkNamespace::change(NetlinkRequest& request) {
  auto const error = _socket->request(request);
  ASSERT_FALSE(error) << error.message() << " " << _socket->lastErrorText();
}

void NetworkNamespace::addVethPair(std::string const& name, std::string const& peer, bool up,
                                   int ifindex, int peerIndex, std::uint32_t queues) {
  auto const error = makeVethPair(*_socket, name, peer, ifindex, peerIndex, queues);
  ASSERT_FALSE(error) << error.message() << " " << _socket->lastErrorText();
  if (!up) return;  // and not in the request: a veth whose peer does not exist yet cannot go up
  setAdminUp(name, true);
  setAdminUp(peer, true);
  awaitUp(name);
  awaitUp(peer);
}

// The kernel attaches the queues of a link some time after the link has come up, and until then
// drops what is sent.
void NetworkNamespace::awaitUp(std::string const& name) {
  LinkMonitor monitor;
  LinkMonitor::Events events;
  ASSERT_FALSE(monitor.start(events));
  auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (monitor.links().at(indexOf(name)).operState != OperState::up) {
    auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    ASSERT_GT(left.count(), 0) << name << " does not come up";
    pollfd waited{.fd = monitor.fd(), .events = POLLIN, .revents = 0};
    ::poll(&waited, 1, static_cast<int>(left.count()));
    ASSERT_FALSE(monitor.poll(events));
  }
}

void NetworkNamespace::addLink(std::string const& name, std::string const& kind) {
  NetlinkRequest request(RTM_NEWLINK, linkHeader(0, IFF_UP, IFF_UP), NLM_F_CREATE | NLM_F_EXCL);
  request.putText(IFLA_IFNAME, name).nest(IFLA_LINKINFO, [&](NetlinkRequest& info) {
    info.putText(IFLA_INFO_KIND, kind);
  });
  change(request);
}

void NetworkNamespace::addQdisc(std::string const& name, std::string const& kind,
                                std::uint32_t parent) {
  tcmsg header{};
  header.tcm_ifindex = indexOf(name);
  header.tcm_parent = parent;
  if (parent == TC_H_CLSACT) header.tcm_handle = TC_H_MAKE(TC_H_CLSACT, 0);
  NetlinkRequest request(RTM_NEWQDISC, header, NLM_F_CREATE | NLM_F_REPLACE);
  request.putText(TCA_KIND, kind);
  change(request);
}

void NetworkNamespace::deleteQdisc(std::string const& name, std::uint32_t parent) {
  tcmsg header{};
  header.tcm_ifindex = indexOf(name);
  header.tcm_parent = parent;
  NetlinkRequest request(RTM_DELQDISC, header);
  change(request);
}

void NetworkNamespace::addFilter(std::string const& name, std::uint32_t hook,
                                 std::uint16_t etherType, int verdict) {
  tcmsg header{};
  header.tcm_ifindex = indexOf(name);
  header.tcm_parent = TC_H_MAKE(TC_H_CLSACT, hook);
  header.tcm_info = TC_H_MAKE(1U << 16, htons(etherType));
  NetlinkRequest request(RTM_NEWTFILTER, header, NLM_F_CREATE | NLM_F_EXCL);
  request.putText(TCA_KIND, "bpf").nest(TCA_OPTIONS, [&](NetlinkRequest& options) {
    options.put(TCA_BPF_OPS_LEN, std::uint16_t{1})
        .put(TCA_BPF_OPS, sock_filter{.code = BPF_RET | BPF_K,
                                      .jt = 0,
                                      .jf = 0,
                                      .k = static_cast<std::uint32_t>(verdict)})
        .put(TCA_BPF_FLAGS, std::uint32_t{TCA_BPF_FLAG_ACT_DIRECT});
  });
  change(request);
}

void NetworkNamespace::deleteLink(std::string const& name) {
  NetlinkRequest request(RTM_DELLINK, linkHeader(indexOf(name)));
  change(request);
}

void NetworkNamespace::setAdminUp(std::string const& name, bool up) {
  NetlinkRequest request(RTM_NEWLINK, linkHeader(indexOf(name), upFlag(up), IFF_UP));
  change(request);
}

void NetworkNamespace::setMtu(std::string const& name, std::uint32_t mtu) {
  NetlinkRequest request(RTM_NEWLINK, linkHeader(indexOf(name)));
  request.put(IFLA_MTU, mtu);
  change(request);
}

void NetworkNamespace::setAlias(std::string const& name, std::string const& alias) {
  NetlinkRequest request(RTM_NEWLINK, linkHeader(indexOf(name)));
  request.putText(IFLA_IFALIAS, alias);
  change(request);
}

void NetworkNamespace::setName(std::string const& name, std::string const& newName) {
  NetlinkRequest request(RTM_NEWLINK, linkHeader(indexOf(name)));
  request.putText(IFLA_IFNAME, newName);
  change(request);
}

void NetworkNamespace::setMaster(std::string const& name, std::string const& master) {
  NetlinkRequest request(RTM_NEWLINK, linkHeader(indexOf(name)));
  request.put(IFLA_MASTER, static_cast<std::uint32_t>(master.empty() ? 0 : indexOf(master)));
  change(request);
}

int NetworkNamespace::indexOf(std::string const& name) {
  return static_cast<int>(if_nametoindex(name.c_str()));
}

bool NetworkNamespace::sendFrame(std::string const& name, std::size_t bytes,
                                 std::vector<std::uint8_t> const& destination,
                                 std::uint16_t etherType) {
  int const fd = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
  std::vector<std::uint8_t> frame(std::max(bytes, static_cast<std::size_t>(ETH_HLEN)), 0);
  std::copy(destination.begin(), destination.end(), frame.begin());
  frame[12] = static_cast<std::uint8_t>(etherType >> 8);
  frame[13] = static_cast<std::uint8_t>(etherType & 0xff);
  sockaddr_ll to{};
  to.sll_family = AF_PACKET;
  to.sll_ifindex = indexOf(name);
  to.sll_halen = ETH_ALEN;
  std::copy(destination.begin(), destination.end(), to.sll_addr);
  ssize_t const sent =
      sendto(fd, frame.data(), frame.size(), 0, reinterpret_cast<sockaddr const*>(&to), sizeof to);
  if (fd >= 0) close(fd);
  return sent == static_cast<ssize_t>(bytes);
}

void NetworkNamespace::sendFrames(std::string const& name, int count, std::size_t bytes,
                                  std::vector<std::uint8_t> const& destination,
                                  std::uint16_t etherType) {
  for (int i = 0; i < count; ++i)
    EXPECT_TRUE(sendFrame(name, bytes, destination, etherType)) << std::strerror(errno);
}

}  // namespace Hardware::Linux::Test
