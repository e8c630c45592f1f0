#include "platform/qos/policy_map_status.h"

#include <istream>

namespace Qos {

std::ostream& operator<<(std::ostream& out, MapType type) {
  return out << static_cast<std::uint32_t>(type);
}

std::istream& operator>>(std::istream& in, MapType& type) {
  std::uint32_t number = 0;
  if (in >> number) type = MapType{number};
  return in;
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
