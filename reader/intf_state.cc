#include "reader/intf_state.h"

#include "reader/snapshot.h"
#include "reader/units.h"

namespace Show {

std::string_view stateName(Intf const& intf) {
  if (!intf.description) return kNotAvailable;
  // Before the administrative state, which is the last that the link had while it was there.
  if (gone(intf)) return name(Interface::OperState::notPresent);
  if (intf.description->adminState == Interface::AdminState::down) return "admin-down";
  if (auto const state = name(intf.description->operState); !state.empty()) return state;
  return kNotAvailable;
}

bool isDown(Intf const& intf) {
  if (!intf.description) return false;
  if (intf.description->adminState == Interface::AdminState::down) return true;
  switch (intf.description->operState) {
    case Interface::OperState::down:
    case Interface::OperState::notPresent:
    case Interface::OperState::lowerLayerDown:
      return true;
    default:
      return false;
  }
}

}  // namespace Show
