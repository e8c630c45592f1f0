#pragma once

#include <cstdint>
#include <optional>

#include "hardware/linux/qdisc_stats.h"

namespace Hardware::Linux {

/// The packets that a port's filters dropped, as a count of 64 bits over the kernel's 32. A wrap is
/// carried over; a count that began anew is shown as it is, lower than before.
class DropAccount {
 public:
  /// `published` is what is published of the port as it stands.
  explicit DropAccount(std::uint64_t published) : _count(published) {}

  /// What the filters have counted, none if there are none.
  void advance(std::optional<QdiscCounts> const& counts);
  /// A count of another kind, of 64 bits.
  void countIs(std::uint64_t count);

  std::uint64_t count() const { return _count; }

 private:
  std::uint64_t _count;
  std::optional<QdiscCounts> _last;  // none before the first reading
};

}  // namespace Hardware::Linux
