// The state of an interface, as views show it.
#pragma once

#include <string_view>

namespace Show {

struct Intf;

// "up", "admin-down", "lowerLayerDown" ...; n/a without a description.
std::string_view stateName(Intf const& intf);
// Whether it is known that the interface does not pass traffic.
bool isDown(Intf const& intf);

}  // namespace Show
