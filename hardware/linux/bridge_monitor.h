#pragma once

#include <cstdint>
#include <string>
#include <system_error>

#include "hardware/linux/bridge_vlans.h"
#include "hardware/linux/news_socket.h"

namespace Hardware::Linux {

/// Watches the bridges of this network namespace and their VLANs. Needs no privilege.
///
///   BridgeMonitor monitor("br0");
///   monitor.start();                  // vlans() is what there is
///   ... whenever monitor.fd() is readable:
///   monitor.poll();
class BridgeMonitor {
 public:
  /// Of the bridge of this name, or of the first that filters by VLANs.
  explicit BridgeMonitor(std::string name = {}, int receiveBufferBytes = 1 << 20);

  /// Join the kernel's news, then take the list. May be called again after an error.
  std::error_code start();
  /// Take in all news there is. If news was lost, the list is taken anew. After an error what is
  /// known may be out of date; the next call tries again.
  std::error_code poll();
  /// For epoll, readable when there is news. -1 before a successful start.
  int fd() const { return news_.fd(); }

  BridgeVlans const& vlans() const { return vlans_; }
  /// See there.
  VlanSet takeGone() { return vlans_.takeGone(); }
  std::uint64_t resynchronisations() const { return resynchronisations_; }

 private:
  std::error_code takeList();
  std::error_code takeListOnce();
  void takeIn(nlmsghdr const& message);

  NewsSocket news_;
  BridgeVlans vlans_;
  bool listIsDue_ = false;
  std::uint64_t resynchronisations_ = 0;
};

/// Take in one message of the kernel, of whatever kind. Answers whether it says that something
/// changed which only a list can tell: a port that left its bridge.
bool readBridgeMessage(nlmsghdr const& message, BridgeVlans& vlans);

/// Have a bridge count its VLANs. Needs CAP_NET_ADMIN.
std::error_code switchVlanStatsOn(int bridge);

}  // namespace Hardware::Linux
