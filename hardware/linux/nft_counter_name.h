#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

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

}  // namespace Hardware::Linux
