#include "platform/bridging/vlan_id.h"

#include <string>

#include "platform/kel/exceptions.h"

namespace Bridging {

VlanId::VlanId(std::uint64_t value) : _value(value) {
  if (value < min || value > max)
    Kel::throwRangeException("a VLAN id is 1 to 4094, not " + std::to_string(value));
}

}  // namespace Bridging
