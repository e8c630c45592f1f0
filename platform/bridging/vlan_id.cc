#include "platform/bridging/vlan_id.h"

#include "platform/kel/exceptions.h"
#include "platform/kel/strep.h"

namespace Bridging {

VlanId::VlanId(std::uint64_t value) : _value(value) {
  if (value < min || value > max)
    Kel::throwRangeException("a VLAN id is " + std::to_string(min) + " to " + std::to_string(max) +
                             ", not " + std::to_string(value));
}

VlanId::VlanId(std::string const& text) : VlanId(Kel::fromStrep<std::uint64_t>(text)) {}

}  // namespace Bridging
