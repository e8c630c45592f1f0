#pragma once

#include <gtest/gtest.h>
#include <sched.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "hardware/linux/netlink_socket.h"

namespace Hardware::Linux::Test {

/// Makes a pair of veth links, down. The numbers, and the number of the first one's queues, are
/// chosen by the kernel where they are 0.
std::error_code makeVethPair(NetlinkSocket& socket, std::string const& name,
                             std::string const& peer, int ifindex = 0, int peerIndex = 0,
                             std::uint32_t queues = 0);

/// A test in a network namespace of its own without IPv6, which goes with its last socket. Skipped,
/// with the reason, where namespaces are not permitted. Files of /sys still show the first
/// namespace's links.
class NetworkNamespace : public ::testing::Test {
 protected:
  void SetUp() override;

  /// A pair of veth links, both up and passing frames unless told otherwise. The number of the
  /// first is `ifindex`, of its peer `peerIndex`, and the first has `queues` queues each way, or
  /// what the kernel chooses if 0.
  void addVethPair(std::string const& name, std::string const& peer, bool up = true,
                   int ifindex = 0, int peerIndex = 0, std::uint32_t queues = 0);
  void addLink(std::string const& name, std::string const& kind);
  /// A queueing discipline, in place of the one that was there.
  void addQdisc(std::string const& name, std::string const& kind, std::uint32_t parent);
  void deleteQdisc(std::string const& name, std::uint32_t parent);
  /// A filter for frames with this EtherType, whose verdict is TC_ACT_*. `hook` is
  /// TC_H_MIN_INGRESS or TC_H_MIN_EGRESS. REQUIRES: the link has a clsact.
  void addFilter(std::string const& name, std::uint32_t hook, std::uint16_t etherType, int verdict);
  void deleteLink(std::string const& name);
  void setAdminUp(std::string const& name, bool up);
  void setMtu(std::string const& name, std::uint32_t mtu);
  void setAlias(std::string const& name, std::string const& alias);
  void setName(std::string const& name, std::string const& newName);
  void setMaster(std::string const& name, std::string const& master);  // "" for none
  static int indexOf(std::string const& name);                         // 0 if there is none

  /// The local experimental EtherTypes: nobody answers.
  static constexpr std::uint16_t kExperimental = 0x88b5, kOtherExperimental = 0x88b6;
  /// Whether the kernel took it.
  static bool sendFrame(std::string const& name, std::size_t bytes,
                        std::vector<std::uint8_t> const& destination,
                        std::uint16_t etherType = kExperimental);
  /// Send `count` frames of `bytes` bytes (no FCS) to `destination` (6 bytes) out of the link.
  static void sendFrames(std::string const& name, int count, std::size_t bytes,
                         std::vector<std::uint8_t> const& destination,
                         std::uint16_t etherType = kExperimental);
  /// Whether the condition comes true within a minute: the kernel may let somebody else run before
  /// a frame that was sent is received.
  template <typename Condition>
  static bool comesTrue(Condition&& condition) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      ::sched_yield();
    }
    return true;
  }

 private:
  static void awaitUp(std::string const& name);
  void change(NetlinkRequest& request);
  std::unique_ptr<NetlinkSocket> _socket;
};

}  // namespace Hardware::Linux::Test
