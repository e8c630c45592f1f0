#include "platform/kel/dir.h"

namespace Kel {

Ptr<Entity> Dir::entry(Name const& name) const {
  auto const it = _entityPtr.find(name);
  return it == _entityPtr.end() ? nullptr : it->second;
}

void Dir::entityPtrIs(Name const& name, Ptr<Entity> const& entity) {
  insert(_entityPtr, name, entity, &NotifieeConst::onEntityPtr);
}

void Dir::entityPtrDel(Name const& name) { erase(_entityPtr, name, &NotifieeConst::onEntityPtr); }

}  // namespace Kel
