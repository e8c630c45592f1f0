#include "platform/kel/type_node.h"

#include "platform/kel/exceptions.h"

namespace Kel {
namespace {

// Outlives every static object: units register while they are loaded.
std::vector<TypeNode const*>& registry() {
  static auto& nodes = *new std::vector<TypeNode const*>;
  return nodes;
}

TypeNode const& typeOf(PtrInterface const& object) {
  TypeNode const* const type = object.fwkType();
  if (!type) GenericIfImpl::throwOpNotSupportedException("an object without a type node");
  return *type;
}

template <class Access>
Access offered(Access access, std::string_view op, std::string_view attribute) {
  if (!access)
    GenericIfImpl::throwOpNotSupportedException(std::string(attribute) + " does not offer " +
                                                std::string(op));
  return access;
}

void requireNoArgument(Attribute::Texts arguments, std::string_view attribute) {
  if (!arguments.empty())
    throwRangeException(std::string(attribute) + " takes no argument, not " +
                        std::to_string(arguments.size()));
}

std::string const& onlyArgument(Attribute::Texts arguments, std::string_view attribute) {
  if (arguments.size() != 1)
    throwRangeException(std::string(attribute) + " takes 1 argument, not " +
                        std::to_string(arguments.size()));
  return arguments[0];
}

bool takesNoArgument(AttributeOp op) {
  return op == AttributeOp::read || op == AttributeOp::iterNonnull || op == AttributeOp::iterKey;
}

bool changes(AttributeOp op) {
  return op == AttributeOp::set || op == AttributeOp::invoke || op == AttributeOp::iterDel;
}

PtrInterface& unconst(PtrInterface const& object) { return const_cast<PtrInterface&>(object); }

}  // namespace

void typeNodeIs(TypeNode const& type) { registry().push_back(&type); }
void typeNodeDel(TypeNode const& type) { std::erase(registry(), &type); }
std::span<TypeNode const* const> typeNodes() { return registry(); }

TypeNode const* registeredType(std::string_view name) {
  for (TypeNode const* const type : registry())
    if (type->name() == name) return type;
  return nullptr;
}

UnitTypes::UnitTypes(std::initializer_list<TypeNode const*> types) : _types(types) {
  for (TypeNode const* const type : _types) typeNodeIs(*type);
}
UnitTypes::~UnitTypes() {
  for (TypeNode const* const type : _types) typeNodeDel(*type);
}

Attribute const& TypeNode::attribute(std::string_view name) const {
  for (Attribute const& a : _attributes)
    if (a.name == name) return a;
  GenericIfImpl::throwOpNotSupportedException(std::string(_name) + " has no attribute " +
                                              std::string(name));
}

Attribute const& TypeNode::operation(std::string_view name, std::size_t arity) const {
  Attribute const& first = attribute(name);
  if (!first.invoke) return first;  // an attribute of this name: it will refuse
  std::string arities;
  for (Attribute const& a : _attributes) {
    if (a.name != name) continue;
    if (a.arity == arity) return a;
    arities += (arities.empty() ? "" : " or ") + std::to_string(a.arity);
  }
  throwRangeException(std::string(name) + " takes " + arities + " arguments, not " +
                      std::to_string(arity));
}

AttributeResult GenericIfImpl::genericIfAttributeOp(PtrInterface& object, bool isConst,
                                                    std::string_view name, AttributeOp op,
                                                    Attribute::Texts arguments) {
  Ptr<PtrInterface> const alive(&object);  // an operation may remove it from where it is kept
  TypeNode const& type = typeOf(object);
  if (isConst && changes(op))
    throwOpNotSupportedException(std::string(name) + " cannot be changed through a const object");
  Attribute const& a =
      op == AttributeOp::invoke ? type.operation(name, arguments.size()) : type.attribute(name);
  if (takesNoArgument(op)) requireNoArgument(arguments, name);
  switch (op) {
    case AttributeOp::read:
      return {.texts = {offered(a.read, "read", name)(object)}, .object = {}};
    case AttributeOp::set:
      offered(a.set, "set", name)(object, onlyArgument(arguments, name));
      return {};
    case AttributeOp::invoke:
      offered(a.invoke, "invoke", name)(object, arguments);
      return {};
    case AttributeOp::iterNonnull:
      return {.texts = {offered(a.iterNonnull, "iterNonnull", name)(object) ? "true" : "false"},
              .object = {}};
    case AttributeOp::iterKey:
      return {.texts = offered(a.iterKey, "iterKey", name)(object), .object = {}};
    case AttributeOp::iterObj:
      return {.texts = {},
              .object = offered(a.iterObj, "iterObj", name)(object, onlyArgument(arguments, name))};
    case AttributeOp::iterDel:
      offered(a.iterDel, "iterDel", name)(object, onlyArgument(arguments, name));
      return {};
  }
  throwOpNotSupportedException("unknown operation");
}

void GenericIfImpl::throwOpNotSupportedException(std::string_view text) {
  throw OpNotSupportedException(std::string(text));
}

std::string read(PtrInterface const& object, std::string_view attribute) {
  return GenericIfImpl::genericIfAttributeOp(unconst(object), true, attribute, AttributeOp::read,
                                             {})
      .texts[0];
}
void set(PtrInterface& object, std::string_view attribute, std::string const& value) {
  GenericIfImpl::genericIfAttributeOp(object, false, attribute, AttributeOp::set, {&value, 1});
}
void invoke(PtrInterface& object, std::string_view operation,
            std::vector<std::string> const& arguments) {
  GenericIfImpl::genericIfAttributeOp(object, false, operation, AttributeOp::invoke, arguments);
}
std::vector<std::string> iterKey(PtrInterface const& object, std::string_view collection) {
  return GenericIfImpl::genericIfAttributeOp(unconst(object), true, collection,
                                             AttributeOp::iterKey, {})
      .texts;
}
Ptr<PtrInterface> iterObj(PtrInterface const& object, std::string_view collection,
                          std::string const& key) {
  return GenericIfImpl::genericIfAttributeOp(unconst(object), true, collection,
                                             AttributeOp::iterObj, {&key, 1})
      .object;
}
void iterDel(PtrInterface& object, std::string_view collection, std::string const& key) {
  GenericIfImpl::genericIfAttributeOp(object, false, collection, AttributeOp::iterDel, {&key, 1});
}

void AllocTrackTypeInfo::trackAllocation(TypeNode const& type, std::size_t size) {
  type._liveObjects.fetch_add(1, std::memory_order_relaxed);
  type._liveBytes.fetch_add(size, std::memory_order_relaxed);
}

void AllocTrackTypeInfo::trackDeallocation(TypeNode const& type, std::size_t size) {
  type._liveObjects.fetch_sub(1, std::memory_order_relaxed);
  type._liveBytes.fetch_sub(size, std::memory_order_relaxed);
}

AllocTrackTypeInfo::Live AllocTrackTypeInfo::live(TypeNode const& type) {
  return {type._liveObjects.load(std::memory_order_relaxed),
          type._liveBytes.load(std::memory_order_relaxed)};
}

}  // namespace Kel
