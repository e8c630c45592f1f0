// What the framework knows of a type at run time: its name, its attributes, how
// many objects of it live.
//
// Tools reach an object through its type node, everything by name and every
// value as text:
//
//   Kel::read(*countersSm, "counterPollPeriod");                   // "5"
//   Kel::set(*countersSm, "counterPollPeriod", "2.5");
//   Kel::invoke(*countersSm, "handleIntf", {"Ethernet1"});
//   Kel::iterKey(*countersSm, "portCountersSm");                   // {"Ethernet1", …}
//   Kel::iterObj(*countersSm, "portCountersSm", "Ethernet1");      // the poller
//
// What an attribute does not offer is OpNotSupportedException; a text that its
// type cannot read, or a wrong number of arguments, RangeException.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/kel/ptr_interface.h"
#include "platform/kel/text.h"

namespace Kel {

class Entity;

enum class AttributeKind : std::uint8_t {
  parameter,   // given at construction
  key,         // given at construction; what the owner files the object under
  input,       // watched
  value,       // stored or derived
  collection,  // owned state machines by key
  operation,
};

// One attribute or operation, with the accesses that it offers; the others are
// null. `object` must be of the type that lists the attribute.
struct Attribute {
  using Texts = std::span<std::string const>;

  std::string_view name;
  AttributeKind kind = AttributeKind::value;
  std::size_t arity = 0;  // arguments of an operation
  std::string (*read)(PtrInterface const& object) = nullptr;
  void (*set)(PtrInterface& object, std::string_view value) = nullptr;
  void (*invoke)(PtrInterface& object, Texts arguments) = nullptr;
  bool (*iterNonnull)(PtrInterface const& object) = nullptr;  // has members
  std::vector<std::string> (*iterKey)(PtrInterface const& object) = nullptr;
  Ptr<PtrInterface> (*iterObj)(PtrInterface const& object, std::string_view key) = nullptr;
  void (*iterDel)(PtrInterface& object, std::string_view key) = nullptr;
};

class TypeNode {
 public:
  // Makes an object of an entity's type for a directory that files it under its name.
  using NewEntity = Ptr<Entity> (*)(Name const& name);

  constexpr TypeNode(std::string_view name, std::span<Attribute const> attributes,
                     NewEntity maker = nullptr)
      : _name(name), _attributes(attributes), _newEntity(maker) {}

  std::string_view name() const { return _name; }
  // Null of a type of which directories cannot make objects.
  NewEntity newEntity() const { return _newEntity; }
  // In declaration order.
  std::span<Attribute const> attributes() const { return _attributes; }
  // Throws OpNotSupportedException when there is none. Two operations may share
  // a name where they differ in their number of arguments.
  Attribute const& attribute(std::string_view name) const;
  Attribute const& operation(std::string_view name, std::size_t arity) const;

 private:
  friend struct AllocTrackTypeInfo;

  std::string_view _name;
  std::span<Attribute const> _attributes;
  NewEntity _newEntity;
  // Atomic: the last reference may be dropped on any thread.
  mutable std::atomic<std::size_t> _liveObjects = 0;
  mutable std::atomic<std::size_t> _liveBytes = 0;
};

// The registry, in order of registration.
void typeNodeIs(TypeNode const& type);
void typeNodeDel(TypeNode const& type);  // its unit is unloaded
std::span<TypeNode const* const> typeNodes();
// Null where there is none of this name.
TypeNode const* registeredType(std::string_view name);

// The types of a source unit, registered from when it is loaded until it is unloaded: a static
// object of a source that is linked into the shared object itself. (In a static library the linker
// would drop it, since nothing refers to it.)
class UnitTypes {
 public:
  UnitTypes(std::initializer_list<TypeNode const*> types);
  ~UnitTypes();
  UnitTypes(UnitTypes const&) = delete;
  UnitTypes& operator=(UnitTypes const&) = delete;

 private:
  String const _namespace = "ns-";
  std::vector<TypeNode const*> const _types;
};

enum class AttributeOp : std::uint8_t { read, set, invoke, iterNonnull, iterKey, iterObj, iterDel };

// What an operation answers: texts, or an object.
struct AttributeResult {
  std::vector<std::string> texts;
  Ptr<PtrInterface> object;
};

struct GenericIfImpl {
  // Every access goes through here. `isConst` refuses what changes the object.
  static AttributeResult genericIfAttributeOp(PtrInterface& object, bool isConst,
                                              std::string_view attribute, AttributeOp op,
                                              Attribute::Texts arguments);
  [[noreturn]] static void throwOpNotSupportedException(std::string_view text);
};

std::string read(PtrInterface const& object, std::string_view attribute);
void set(PtrInterface& object, std::string_view attribute, std::string const& value);
void invoke(PtrInterface& object, std::string_view operation,
            std::vector<std::string> const& arguments = {});
std::vector<std::string> iterKey(PtrInterface const& object, std::string_view collection);
Ptr<PtrInterface> iterObj(PtrInterface const& object, std::string_view collection,
                          std::string const& key);
void iterDel(PtrInterface& object, std::string_view collection, std::string const& key);

// Allocation tracking, by type.
struct AllocTrackTypeInfo {
  static void trackAllocation(TypeNode const& type, std::size_t size);
  static void trackDeallocation(TypeNode const& type, std::size_t size);

  struct Live {
    std::size_t objects = 0;
    std::size_t bytes = 0;
  };
  static Live live(TypeNode const& type);
};

// An object of the type Self::_kelType, which it answers and under which it is counted.
template <class Self, class Base>
class Typed : public Base {
 public:
  TypeNode const* fwkType() const override { return &Self::_kelType; }

  // A constructor that throws comes back through operator delete, so that what
  // was recorded is taken back and the memory freed.
  static void* operator new(std::size_t size) noexcept {
    AllocTrackTypeInfo::trackAllocation(Self::_kelType, size);
    void* const memory = PtrInterface::kelMemAlloc(size);
    if (!memory) AllocTrackTypeInfo::trackDeallocation(Self::_kelType, size);
    return memory;
  }
  static void operator delete(void* memory, std::size_t size) noexcept {
    AllocTrackTypeInfo::trackDeallocation(Self::_kelType, size);
    PtrInterface::kelMemFree(memory);
  }

 protected:
  using Base::Base;
};

}  // namespace Kel
