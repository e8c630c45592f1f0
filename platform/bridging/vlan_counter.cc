#include "platform/bridging/vlan_counter.h"

#include <bit>

namespace Bridging {
namespace {

using Words = std::array<std::uint64_t, sizeof(VlanCounts) / 8>;

template <class Combine>
VlanCounts combined(VlanCounts const& a, VlanCounts const& b, Combine const& combine) {
  auto const left = std::bit_cast<Words>(a), right = std::bit_cast<Words>(b);
  Words result{};
  for (std::size_t i = 0; i < result.size(); ++i) result[i] = combine(left[i], right[i]);
  return std::bit_cast<VlanCounts>(result);
}

}  // namespace

VlanCounts operator-(VlanCounts const& a, VlanCounts const& b) {
  return combined(a, b, [](std::uint64_t x, std::uint64_t y) { return x - y; });
}
VlanCounts operator+(VlanCounts const& a, VlanCounts const& b) {
  return combined(a, b, [](std::uint64_t x, std::uint64_t y) { return x + y; });
}

}  // namespace Bridging
