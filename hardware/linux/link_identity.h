#pragma once

#include <cstdint>

namespace Hardware::Linux {

/// Which link of which start of which network stack. The kernel numbers links and does not use a
/// number twice, but every network namespace and every start of the machine begins anew.
struct LinkIdentity {
  std::uint64_t generation = 0;
  std::int64_t ifindex = 0;
  bool operator==(LinkIdentity const&) const = default;
};

}  // namespace Hardware::Linux
