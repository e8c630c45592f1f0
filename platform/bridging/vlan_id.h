// VLAN identifiers: the key of everything that is kept per VLAN.
#pragma once

#include <compare>
#include <cstdint>
#include <ostream>
#include <string>

namespace Bridging {

// The number of a VLAN, 1 to 4094 (the 12-bit VID of IEEE 802.1Q, without 0 and 4095, which are
// reserved). Trivially copyable and one word, since it stands in shared memory as a key.
class VlanId {
 public:
  static constexpr std::uint64_t min = 1, max = 4094;

  VlanId() = default;  // no VLAN; value() is 0
  // Throws Kel::RangeException outside min to max.
  explicit VlanId(std::uint64_t value);
  // From its text, a decimal number. Throws Kel::RangeException for anything else.
  explicit VlanId(std::string const& text);

  std::uint64_t value() const { return _value; }
  std::uint32_t hash() const { return static_cast<std::uint32_t>(_value); }

  auto operator<=>(VlanId const&) const = default;
  friend std::ostream& operator<<(std::ostream& out, VlanId id) { return out << id._value; }

 private:
  std::uint64_t _value = 0;
};

}  // namespace Bridging
