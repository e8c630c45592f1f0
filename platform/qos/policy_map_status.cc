#include "platform/qos/policy_map_status.h"

#include <sstream>

#include "platform/kel/exceptions.h"

namespace Qos {

std::ostream& operator<<(std::ostream& out, MapType type) {
  return out << static_cast<std::uint32_t>(type);
}

std::ostream& operator<<(std::ostream& out, Direction direction) {
  switch (direction) {
    case Direction::input:
      return out << "input";
    case Direction::output:
      return out << "output";
  }
  return out << static_cast<unsigned>(direction);
}

Direction directionOf(std::string_view text) {
  if (text == "input") return Direction::input;
  if (text == "output") return Direction::output;
  Kel::throwRangeException("'" + std::string(text) + "' is neither input nor output");
}

PolicyMapHwStatusKey::PolicyMapHwStatusKey(std::string const& text) {
  auto const blank = text.rfind(' ');
  if (blank == std::string::npos)
    Kel::throwRangeException("'" + text +
                             "' is not a policy map's name, a blank, and input or output");
  name = text.substr(0, blank);
  direction = directionOf(std::string_view(text).substr(blank + 1));
}

std::ostream& operator<<(std::ostream& out, PolicyMapHwStatusKey const& key) {
  return out << key.name << ' ' << key.direction;
}

void PolicyMapHwStatus::cmapIs(Kel::Name const& name, ClassMapHwStatus const& status) {
  insert(_cmap, name, status, &NotifieeConst::onCmap);
}
void PolicyMapHwStatus::cmapDel(Kel::Name const& name) {
  erase(_cmap, name, &NotifieeConst::onCmap);
}
void PolicyMapHwStatus::cmapDelAll() {
  eraseAll(_cmap, &NotifieeConst::onCmapkelImmediate, &NotifieeConst::onCmap);
}

void PolicyMapTypeHwStatus::pmapIs(PolicyMapHwStatusKey const& key,
                                   Kel::Ptr<PolicyMapHwStatus> const& status) {
  insert(_pmap, key, status, &NotifieeConst::onPmap);
}
void PolicyMapTypeHwStatus::pmapDel(PolicyMapHwStatusKey const& key) {
  erase(_pmap, key, &NotifieeConst::onPmap);
}
void PolicyMapTypeHwStatus::pmapDelAll() {
  eraseAll(_pmap, &NotifieeConst::onPmapkelImmediate, &NotifieeConst::onPmap);
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

std::string Kel::Strep<Qos::Direction>::to(Qos::Direction direction) {
  std::ostringstream out;
  out << direction;
  return out.str();
}
