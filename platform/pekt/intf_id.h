// Interface identifiers: the key of everything that is kept per interface.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/pekt/text_key.h"

namespace Pekt {

// The name of an interface, such as "Ethernet3/1"; EthIntfId and VlanIntfId say what kind it is.
class IntfId : public TextKey<48> {
 public:
  IntfId() = default;  // the empty name
  // Throws Kel::RangeException where isName(text) is false.
  IntfId(std::string_view text) : TextKey(text, "an interface name") {}
  IntfId(char const* text) : IntfId(std::string_view(text)) {}
  IntfId(Kel::String const& text) : IntfId(text.view()) {}
  IntfId(std::string const& text) : IntfId(std::string_view(text)) {}

  bool operator==(IntfId const&) const = default;
  // Natural order: numbers within names compare by value, so that Ethernet2
  // comes before Ethernet10.
  bool operator<(IntfId const& other) const;
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
