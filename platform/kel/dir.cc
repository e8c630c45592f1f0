#include "platform/kel/dir.h"

#include "platform/kel/exceptions.h"
#include "platform/kel/strep.h"
#include "platform/kel/type_node.h"

namespace Kel {

Ptr<Entity> Dir::entry(Name const& name) const {
  auto const it = _entityPtr.find(name);
  return it == _entityPtr.end() ? nullptr : it->second;
}

void Dir::entityPtrIs(Name const& name, Ptr<Entity> const& entity) {
  insert(_entityPtr, name, entity, &NotifieeConst::onEntityPtr);
}

void Dir::entityPtrDel(Name const& name) { erase(_entityPtr, name, &NotifieeConst::onEntityPtr); }

Ptr<Entity> Dir::newEntity(std::string_view type, Name const& name) {
  TypeNode const* const node = registeredType(type);
  if (!node) throwRangeException("there is no type " + std::string(type));
  if (!node->newEntity())
    throw OpNotSupportedException("a directory cannot make objects of " + std::string(type));
  if (auto const found = entry(name)) {
    if (found->fwkType() == node) return found;
    throwNameInUseException("the name " + std::string(name.view()) +
                            " is in use for an object of " + typeText(*found) + ", not " +
                            std::string(type));
  }
  auto const made = node->newEntity()(name);
  entityPtrIs(name, made);
  return made;
}

}  // namespace Kel
