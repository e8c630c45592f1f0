#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <vector>

#include "hardware/linux/netlink_socket.h"
#include "hardware/linux/nft_counter_name.h"
#include "hardware/linux/once_per_tick.h"

namespace Hardware::Linux {

/// A table of nftables.
struct NftTableName {
  std::uint8_t family = 0;  // NFPROTO_*
  std::string name;
  std::string text() const;
  bool operator==(NftTableName const&) const = default;
};

/// A named counter as it stood at one moment. A counter that was made anew under the same name has
/// another handle, or its table has.
struct NftCounter {
  std::string name{};
  std::uint64_t handle = 0;
  std::uint64_t pkts = 0;
  std::uint64_t octets = 0;
  bool operator==(NftCounter const&) const = default;
};

/// The named counters of one table, all of one state of the ruleset.
struct NftTable {
  std::uint64_t handle = 0;
  std::vector<NftCounter> counters{};
  bool operator==(NftTable const&) const = default;
};

/// What named counters have counted.
class NftCounterSource {
 public:
  virtual ~NftCounterSource() = default;

  struct Reading {
    std::uint64_t pkts = 0;
    std::error_code error;  // then there is no count
  };
  /// At the tick `now` (seconds, the agent's clock).
  virtual Reading read(double now, NftCounterName const& counter) = 0;

  struct TableReading {
    NftTable table{};
    std::error_code error{};  // then there is no table
  };
  /// All counters of a table, as they stand now.
  virtual TableReading readTable(NftTableName const& table) = 0;

  struct ResetReading {
    NftCounter counter{};  // as it stood when it was set to 0
    std::error_code error{};
  };
  /// Set a counter to 0 and tell what it had counted, with one question: nobody's reading or reset
  /// comes between the two. Packets that another processor counts at that moment may be in neither.
  virtual ResetReading reset(NftCounterName const& counter) = 0;
};

/// From the kernel: one question a counter and tick, or one dump for all counters of a table. Needs
/// CAP_NET_ADMIN in the network namespace (`std::errc::operation_not_permitted`); a counter or a
/// table that is not there is `std::errc::no_such_file_or_directory`.
class NftCounters final : public NftCounterSource {
 public:
  NftCounters();
  Reading read(double now, NftCounterName const& counter) override;
  TableReading readTable(NftTableName const& table) override;
  ResetReading reset(NftCounterName const& counter) override;

  std::uint64_t requests() const { return _requests; }

 private:
  Reading ask(NftCounterName const& counter);
  std::error_code ask(std::uint16_t command, NftCounterName const& counter,
                      std::optional<NftCounter>& answer);
  std::error_code readTableOnce(NftTableName const& name, NftTable& table);

  struct Known {
    OncePerTick asking;
    Reading reading;
  };
  NetlinkSocket _socket;
  std::unordered_map<std::string, Known> _known;
  std::uint64_t _requests = 0;
};

/// The counter in the kernel's answer; none if the message holds none.
std::optional<NftCounter> readNftCounter(nlmsghdr const& message);
/// The handle of the table in the kernel's answer; none if the message holds none.
std::optional<std::uint64_t> readNftTableHandle(nlmsghdr const& message);
/// Which state of the ruleset an answer is of: the low half of the kernel's count of changes.
std::optional<std::uint16_t> readNftGeneration(nlmsghdr const& message);

}  // namespace Hardware::Linux
