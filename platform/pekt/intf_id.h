// Interface identifiers: the key of everything that is kept per interface.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string_view>

#include "platform/kel/text.h"

namespace Pekt {

// The name of an interface, such as "Ethernet3/1". Any text of up to
// kMaxLength bytes without a NUL makes one; EthIntfId and VlanIntfId say what
// kind it is. Trivially copyable, since it stands in shared memory as a key.
class IntfId {
 public:
  static constexpr std::size_t kMaxLength = 47;

  // Whether a text makes an identifier: at most kMaxLength bytes, no NUL.
  static bool isName(std::string_view text);

  IntfId() = default;  // the empty name
  // Throws Kel::RangeException where isName(text) is false.
  IntfId(std::string_view text);
  IntfId(char const* text) : IntfId(std::string_view(text)) {}
  IntfId(Kel::String const& text) : IntfId(text.view()) {}
  IntfId(std::string const& text) : IntfId(std::string_view(text)) {}

  std::string_view view() const;
  Kel::String stringValue() const { return Kel::String(view()); }
  bool empty() const { return _text[0] == '\0'; }
  std::uint32_t hash() const;

  bool operator==(IntfId const&) const = default;
  // Natural order: numbers within names compare by value, so that Ethernet2
  // comes before Ethernet10.
  bool operator<(IntfId const& other) const;
  friend std::ostream& operator<<(std::ostream& out, IntfId const& id) { return out << id.view(); }

 private:
  alignas(8) std::array<char, kMaxLength + 1> _text{};  // padded with zeros
};

struct EthIntfId {
  // Ethernet<n>, Ethernet<n>/<n> or Ethernet<n>/<n>/<n>; no leading zeros.
  static bool isEthIntfId(IntfId const& id);
};

struct VlanIntfId {
  // Vlan<1..4094>, no leading zeros (IEEE 802.1Q: 0 and 4095 are reserved).
  static bool isVlanIntfId(IntfId const& id);
  // The VLAN number; 0 where isVlanIntfId is false.
  static std::uint16_t vlanId(IntfId const& id);
};

struct CpuIntfId {
  // Any name that begins with "Cpu".
  static bool isCpuIntfId(IntfId const& id);
};

}  // namespace Pekt
