#include "platform/qos/policy_map_status.h"

namespace Qos {

std::ostream& operator<<(std::ostream& out, MapType type) {
  return out << static_cast<std::uint32_t>(type);
}

void PolicyMapTypes::pmapTypeIs(Kel::Ptr<PolicyMapTypeHwStatus> const& status) {
  insert(_pmapType, status->type(), status, &NotifieeConst::onPmapType);
}
void PolicyMapTypes::pmapTypeDel(MapType type) {
  erase(_pmapType, type, &NotifieeConst::onPmapType);
}
void PolicyMapTypes::pmapTypeDelAll() {
  eraseAll(_pmapType, &NotifieeConst::onPmapTypekelImmediate, &NotifieeConst::onPmapType);
}

}  // namespace Qos
