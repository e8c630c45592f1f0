#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_map>

#include "hardware/linux/netlink_socket.h"

namespace Hardware::Linux {

/// A named counter of nftables, as `nft list counter inet acl eth0_drops` names it.
struct NftCounterName {
  std::uint8_t family = 0;  // NFPROTO_*
  std::string table;
  std::string name;

  /// "inet acl eth0_drops": family, table and name. No value for anything else.
  static std::optional<NftCounterName> parse(std::string_view text);
  /// The families that there are, for messages.
  static std::string_view families();
  std::string text() const;
  bool operator==(NftCounterName const&) const = default;
};

/// The packets that named counters have counted.
class NftCounterSource {
 public:
  virtual ~NftCounterSource() = default;

  struct Reading {
    std::uint64_t pkts = 0;
    std::error_code error;  // then there is no count
  };
  /// At the tick `now` (seconds, the agent's clock).
  virtual Reading read(double now, NftCounterName const& counter) = 0;
};

/// From the kernel, by one question a counter and tick. Needs CAP_NET_ADMIN in the network
/// namespace (`std::errc::operation_not_permitted`); a counter that is not there is
/// `std::errc::no_such_file_or_directory`.
class NftCounters final : public NftCounterSource {
 public:
  NftCounters();
  Reading read(double now, NftCounterName const& counter) override;

  std::uint64_t requests() const { return requests_; }

 private:
  Reading ask(NftCounterName const& counter);

  struct Known {
    double tick = 0.0;
    Reading reading;
  };
  NetlinkSocket socket_;
  std::unordered_map<std::string, Known> known_;
  std::uint64_t requests_ = 0;
};

/// The count in the kernel's answer; none if the message holds none.
std::optional<std::uint64_t> readNftCounter(nlmsghdr const& message);

}  // namespace Hardware::Linux
