#pragma once

#include <cstdint>
#include <string>
#include <system_error>

#include "hardware/linux/bridge_vlans.h"
#include "hardware/linux/news_follower.h"

namespace Hardware::Linux {

/// Where it is told which bridges there are, and their VLANs.
class BridgeSource {
 public:
  virtual ~BridgeSource() = default;

  /// Join the news, then take the list. May be called again after an error.
  virtual std::error_code start() = 0;
  /// Take in all news there is. If news was lost, the list is taken anew. After an error what is
  /// known may be out of date; the next call tries again.
  virtual std::error_code poll() = 0;
  /// For epoll, readable when there is news. -1 before a successful start.
  virtual int fd() const = 0;

  virtual BridgeVlans const& vlans() const = 0;
  /// See there.
  virtual VlanSet takeGone() = 0;

  /// Have a bridge count its VLANs.
  virtual std::error_code switchVlanStatsOn(int bridge) = 0;
};

/// The bridges of this network namespace. Needs CAP_NET_ADMIN to switch anything, and else no
/// privilege.
///
///   BridgeMonitor monitor("br0");
///   monitor.start();                  // vlans() is what there is
///   ... whenever monitor.fd() is readable:
///   monitor.poll();
class BridgeMonitor final : public BridgeSource {
 public:
  /// Of the bridge of this name, or of the first that filters by VLANs.
  explicit BridgeMonitor(std::string name = {}, int receiveBufferBytes = 1 << 20);

  std::error_code start() override;
  std::error_code poll() override;
  int fd() const override { return _news.fd(); }

  BridgeVlans const& vlans() const override { return _vlans; }
  VlanSet takeGone() override { return _vlans.takeGone(); }
  std::error_code switchVlanStatsOn(int bridge) override;
  std::uint64_t resynchronisations() const { return _news.resynchronisations(); }

 private:
  NewsFollower::Reader reader();
  std::error_code takeList(NewsFollower::Visitor const& visit);

  NewsFollower _news;
  BridgeVlans _vlans;
};

/// Take in one message of the kernel, of whatever kind. Answers whether it says that something
/// changed which only a list can tell: a port that left its bridge.
bool readBridgeMessage(nlmsghdr const& message, BridgeVlans& vlans);

}  // namespace Hardware::Linux
