// Named entities and the directories that hold them.
#pragma once

#include "platform/kel/notifier.h"
#include "platform/kel/text.h"

namespace Kel {

// An entity with a name in the object database.
class Entity : public Notifier {
 public:
  Name const& name() const { return _name; }

 protected:
  explicit Entity(Name name) : _name(std::move(name)) {}

 private:
  Name const _name;
};

// A directory of entities by name.
class Dir : public Entity {
 public:
  class NotifieeConst : public NotifieeOn<Dir> {
   public:
    // Directories here call onEntityPtr(Name) alone. The others tell of what they do not have, such
    // as subdirectories and mounts, and are here for their slots.
    virtual void onSubdir(Name) {}
    virtual void onSubdirkelImmediate() {}
    virtual void onSubdir() {}
    virtual void onMountImmediate() {}
    virtual void onEntryState(Name) {}
    virtual void onEntryStatekelImmediate() {}
    virtual void onEntryState() {}
    virtual void onEntry(Name) {}
    virtual void onEntrykelImmediate() {}
    virtual void onEntry() {}
    virtual void onEntityPtr(Name) {}
    virtual void onEntityPtrkelImmediate() {}
    virtual void onEntityPtr() {}
    virtual void onEntityRef(Name) {}
    virtual void onEntityRefkelImmediate() {}
    virtual void onEntityRef() {}
    virtual void onMountFlags() {}
  };
  class Notifiee : public NotifieeConst {};

  explicit Dir(Name name = {}) : Entity(std::move(name)) {}

  RbTreeMap<Ptr<Entity>, Name> const& entityPtr() const { return _entityPtr; }
  // The entity under this name; null if there is none.
  Ptr<Entity> entry(Name const& name) const;
  void entityPtrIs(Name const& name, Ptr<Entity> const& entity);
  void entityPtrDel(Name const& name);

  // Finds the entity of this name, or makes it and files it. The type is that of a unit that is
  // loaded, by its name. Throws RangeException where there is no such type, OpNotSupportedException
  // where directories cannot make objects of it, and NameInUseException where the entity of this
  // name is of another type; the directory is then as it was.
  Ptr<Entity> newEntity(std::string_view type, Name const& name);

 private:
  RbTreeMap<Ptr<Entity>, Name> _entityPtr;
};

}  // namespace Kel
