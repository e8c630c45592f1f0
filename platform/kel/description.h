// Descriptions of state machines.
//
// A class states once, in kelDescription(), what its constructor takes, what it
// watches, owns and offers. Everything generic is read off that statement:
// notification fan-out, zombie marking, teardown, the check of constructor
// parameters when a member is set again, and reflection.
//
//   static constexpr auto kelDescription() {
//     using Sm = PortCountersSm;
//     return Kel::describe("Oru::Counters::PortCountersSm",
//         Kel::parameter("ocsd", &Sm::ocsd),                  // in the constructor's order,
//         Kel::key("intfId", &Sm::_intfId),                   // before everything else
//         Kel::watchedParameter("clock", &Sm::_clock),
//         Kel::value("counterPollPeriod", &Sm::counterPollPeriod, &Sm::counterPollPeriodIs),
//         Kel::operation("handleTime", &Sm::handleTime));
//   }
#pragma once

#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "platform/kel/strep.h"
#include "platform/kel/type_node.h"

namespace Kel {

// `get` is a getter or a data member.
template <class Get>
struct Parameter {
  std::string_view name;
  Get get;
};
template <class Get>
struct KeyParameter {
  std::string_view name;
  Get get;
};
template <class Member>
struct WatchedParameter {
  std::string_view name;
  Member input;
};
template <class Member>
struct WatchedInput {
  std::string_view name;
  Member input;
};
template <class Get, class Set, class Refusal = std::nullptr_t>
struct Value {
  std::string_view name;
  Get get;
  Set set;
  Refusal refusal = nullptr;
};
template <class Member, class Remove = std::nullptr_t>
struct MemberCollection {
  std::string_view name;
  Member members;
  Remove remove = nullptr;
};
template <class Get, class Remove>
struct RecordCollection {
  std::string_view name;
  Get records;
  Remove remove;
};
template <class Function, class Refusal = std::nullptr_t>
struct Operation {
  std::string_view name;
  Function function;
  Refusal refusal;
};

// A constructor parameter.
template <class Get>
constexpr auto parameter(std::string_view name, Get get) {
  return Parameter<Get>{name, get};
}
// The parameter under which an owner files the object: found equal, so never compared.
template <class Get>
constexpr auto key(std::string_view name, Get get) {
  return KeyParameter<Get>{name, get};
}
// A constructor parameter that is watched through a Kel::Input.
template <class Member>
constexpr auto watchedParameter(std::string_view name, Member input) {
  return WatchedParameter<Member>{name, input};
}
// An input that is watched but is no constructor parameter of its own.
template <class Member>
constexpr auto watched(std::string_view name, Member input) {
  return WatchedInput<Member>{name, input};
}
// A stored or derived attribute; one without a setter can only be read.
template <class Get>
constexpr auto value(std::string_view name, Get get) {
  return Value<Get, std::nullptr_t>{name, get, nullptr};
}
template <class Get, class Sm, class V>
constexpr auto value(std::string_view name, Get get, void (Sm::*set)(V)) {
  return Value<Get, void (Sm::*)(V)>{name, get, set};
}
// The same with a setter that REQUIRES something: `refusal` answers what is wrong with a value, or
// an empty text, as that of an operation does.
template <class Get, class Sm, class V>
constexpr auto value(
    std::string_view name, Get get, void (Sm::*set)(V),
    std::type_identity_t<std::string (*)(Sm const&, std::decay_t<V> const&)> refusal) {
  return Value<Get, void (Sm::*)(V), decltype(refusal)>{name, get, set, refusal};
}
// Owned state machines, a Kel::HashMap.
template <class Member>
constexpr auto collection(std::string_view name, Member members) {
  return MemberCollection<Member>{name, members};
}
// The same where a removal is more than that from the map.
template <class Member, class Sm, class Key>
constexpr auto collection(std::string_view name, Member members, void (Sm::*remove)(Key)) {
  return MemberCollection<Member, void (Sm::*)(Key)>{name, members, remove};
}
// Records by key, of which tools see and remove the keys.
template <class Get, class Sm, class Key>
constexpr auto records(std::string_view name, Get get, void (Sm::*remove)(Key)) {
  return RecordCollection<Get, void (Sm::*)(Key)>{name, get, remove};
}
// What tools may call. Argument types pick the overload:
// operation<Pekt::IntfId>("handleIntf", &Sm::handleIntf).
template <class... Args, class Sm>
constexpr auto operation(std::string_view name, void (Sm::*function)(Args...)) {
  return Operation<void (Sm::*)(Args...)>{name, function, nullptr};
}
// The same of a function that REQUIRES something: `refusal` answers what is wrong with a call, or
// an empty text. Tools may ask for anything, so reflection asks it first, and what is wrong is a
// RangeException; whoever calls the function itself keeps to what it requires.
template <class... Args, class Sm>
constexpr auto operation(
    std::string_view name, void (Sm::*function)(Args...),
    std::type_identity_t<std::string (*)(Sm const&, std::decay_t<Args> const&...)> refusal) {
  return Operation<void (Sm::*)(Args...), decltype(refusal)>{name, function, refusal};
}

// An order of which an argument has no text form, such as an object: tools call `adapter` in its
// place. It finds what their texts name, and throws RangeException where there is no such thing.
template <class Sm, class... Args>
constexpr auto operation(std::string_view name, void (*adapter)(Sm&, Args...)) {
  return Operation<void (*)(Sm&, Args...)>{name, adapter, nullptr};
}

template <class... Items>
struct Description {
  std::string_view typeName;
  std::tuple<Items...> items;
};
template <class... Items>
constexpr auto describe(std::string_view typeName, Items... items) {
  return Description<Items...>{typeName, std::tuple<Items...>(items...)};
}

// --- Walks over a description --------------------------------------------

template <class Item>
concept IsInput = requires(Item item) {
  item.input;
};
template <class Item>
concept IsCollection = requires(Item item) {
  item.members;
};
template <class Item>
concept IsRecords = requires(Item item) {
  item.records;
};
template <class Item>
concept IsOperation = requires(Item item) {
  item.function;
};
template <class Item>
concept IsReadable = requires(Item item) {
  item.get;
}
|| IsInput<Item>;

template <class Sm, class Visitor>
void eachItem(Visitor const& visit) {
  std::apply([&](auto const&... item) { (visit(item), ...); }, Sm::kelDescription().items);
}
template <class Sm, class Visitor>
void eachInput(Sm& sm, Visitor const& visit) {
  eachItem<Sm>([&]<class Item>(Item const& item) {
    if constexpr (IsInput<Item>) visit(sm.*(item.input));
  });
}
template <class Sm, class Visitor>
void eachCollection(Sm& sm, Visitor const& visit) {
  eachItem<Sm>([&]<class Item>(Item const& item) {
    if constexpr (IsCollection<Item>) visit(sm.*(item.members));
  });
}

// --- Constructor parameters ------------------------------------------------

template <class T>
inline constexpr bool isParameter = false;
template <class G>
inline constexpr bool isParameter<Parameter<G>> = true;
template <class G>
inline constexpr bool isParameter<KeyParameter<G>> = true;
template <class M>
inline constexpr bool isParameter<WatchedParameter<M>> = true;

template <class Sm>
inline constexpr std::size_t parameterCount = std::apply(
    []<class... Items>(Items const&...) {
      return (std::size_t{isParameter<Items>} + ... + std::size_t{0});
    },
    Sm::kelDescription().items);

template <class Sm>
inline constexpr bool parametersComeFirst = std::apply(
    []<class... Items>(Items const&...) {
      bool sawOther = false, ordered = true;
      ((isParameter<Items> ? ordered = ordered&& !sawOther : sawOther = true), ...);
      return ordered;
    },
    Sm::kelDescription().items);

// The parameter's value as it is now. The key has none: it is not compared.
template <class Sm, class G>
auto currentParameter(Sm const& sm, Parameter<G> const& p) {
  return std::invoke(p.get, sm);
}
template <class Sm, class M>
auto currentParameter(Sm const& sm, WatchedParameter<M> const& p) {
  return (sm.*(p.input)).notifier();
}

// Throws NameInUseException: "Reinstantiating the pointer interface where …".
[[noreturn]] void throwReinstantiation(std::string_view parameter, std::string const& wanted,
                                       std::string const& current);

// The order in which parameters are compared: that of the constructor, unless a type states another
// in its `static constexpr std::array<std::string_view, n> names`.
struct ConstructorOrder {};

template <class Sm>
constexpr auto comparedNames() {
  return std::apply(
      []<class... Items>(Items const&... item) {
        std::array<std::string_view, sizeof...(Items)> names{};
        std::size_t n = 0;
        auto const add = [&]<class Item>(Item const& i) {
          if constexpr (requires(Sm const& sm) { currentParameter(sm, i); }) names[n++] = i.name;
        };
        (add(item), ...);
        return std::pair(names, n);
      },
      Sm::kelDescription().items);
}

template <class Sm, class Order>
constexpr bool namesEachParameterOnce() {
  auto const [names, n] = comparedNames<Sm>();
  if (Order::names.size() != n) return false;
  for (std::size_t i = 0; i < n; ++i)
    if (std::count(Order::names.begin(), Order::names.end(), names[i]) != 1) return false;
  return true;
}

// Throws at the first parameter, in Order, with which `sm` was not made; `args` are the
// constructor's.
template <class Order = ConstructorOrder, class Sm, class... Args>
void requireSameParameters(Sm const& sm, Args const&... args) {
  static_assert(sizeof...(Args) == parameterCount<Sm>,
                "kelDescription() lists each of the constructor's parameters");
  auto const wanted = std::tie(args...);
  auto const items = Sm::kelDescription().items;
  auto const check = [&](auto const& item, auto const& arg) {
    if constexpr (requires { currentParameter(sm, item); }) {
      auto const now = currentParameter(sm, item);
      decltype(currentParameter(sm, item)) const want(arg);
      if (!(now == want)) throwReinstantiation(item.name, toStrep(want), toStrep(now));
    }
  };
  [&]<std::size_t... i>(std::index_sequence<i...>) {  // parameters come first
    if constexpr (std::is_same_v<Order, ConstructorOrder>) {
      (check(std::get<i>(items), std::get<i>(wanted)), ...);
    } else {
      static_assert(namesEachParameterOnce<Sm, Order>(), "an order names each parameter once");
      for (std::string_view const name : Order::names)
        ((std::get<i>(items).name == name ? check(std::get<i>(items), std::get<i>(wanted))
                                          : void()),
         ...);
    }
  }
  (std::index_sequence_for<Args...>{});
}

// --- Reflection -------------------------------------------------------------

// The accesses to item i of Sm's description.
template <class Sm, std::size_t i>
struct Reflected {
  static constexpr auto item() { return std::get<i>(Sm::kelDescription().items); }
  using Item = decltype(item());

  static Sm const& self(PtrInterface const& o) { return static_cast<Sm const&>(o); }
  static Sm& self(PtrInterface& o) { return static_cast<Sm&>(o); }

  // Throws RangeException, saying why, where the item refuses these arguments.
  template <class... Args>
  static void unlessRefused(PtrInterface const& o, Args const&... args) {
    if constexpr (!std::is_null_pointer_v<decltype(item().refusal)>) {
      std::string const why = item().refusal(self(o), args...);
      if (!why.empty()) throwRangeException(why);
    }
  }

  static std::string read(PtrInterface const& o) {
    if constexpr (IsInput<Item>)
      return toStrep((self(o).*(item().input)).notifier());
    else
      return toStrep(std::invoke(item().get, self(o)));
  }

  template <class C, class V>
  static void setWith(PtrInterface& o, std::string_view text, void (C::*setter)(V)) {
    auto const wanted = fromStrep<std::decay_t<V>>(text);
    unlessRefused(o, wanted);
    (self(o).*setter)(wanted);
  }
  static void set(PtrInterface& o, std::string_view text) { setWith(o, text, item().set); }

  // What an operation is given besides the object.
  template <class C, class... Args>
  static std::tuple<std::decay_t<Args>...> argumentsOf(void (C::*)(Args...));
  template <class C, class... Args>
  static std::tuple<std::decay_t<Args>...> argumentsOf(void (*)(C&, Args...));

  static constexpr std::size_t arity() {
    return std::tuple_size_v<decltype(argumentsOf(item().function))>;
  }
  static void invoke(PtrInterface& o, Attribute::Texts texts) {
    using Arguments = decltype(argumentsOf(item().function));
    [&]<std::size_t... n>(std::index_sequence<n...>) {
      Arguments arguments{fromStrep<std::tuple_element_t<n, Arguments>>(texts[n])...};
      unlessRefused(o, std::get<n>(arguments)...);
      std::invoke(item().function, self(o), std::get<n>(std::move(arguments))...);
    }
    (std::make_index_sequence<arity()>{});
  }

  // Of a collection of state machines or of records.
  static auto const& members(PtrInterface const& o) {
    if constexpr (IsRecords<Item>)
      return self(o).*(item().records);
    else
      return self(o).*(item().members);
  }
  static bool iterNonnull(PtrInterface const& o) { return members(o).size() != 0; }
  static std::vector<std::string> iterKey(PtrInterface const& o) {
    std::vector<std::string> keys;
    auto const add = [&](auto const& entries) {
      for (auto const& [key, member] : entries) keys.push_back(toStrep(key));
    };
    if constexpr (IsRecords<Item>)
      add(members(o));
    else
      add(members(o).walk());
    return keys;
  }
  template <class Members>
  static auto keyFrom(Members const&, std::string_view text) {
    if constexpr (IsRecords<Item>)
      return fromStrep<typename Members::key_type>(text);
    else
      return fromStrep<typename Members::Key>(text);
  }
  static Ptr<PtrInterface> iterObj(PtrInterface const& o, std::string_view key) {
    return members(o).member(keyFrom(members(o), key));
  }
  static void iterDel(PtrInterface& o, std::string_view key) {
    auto const named = keyFrom(members(o), key);
    if constexpr (std::is_null_pointer_v<decltype(item().remove)>)
      (self(o).*(item().members)).deleteMember(named);
    else
      (self(o).*(item().remove))(named);
  }

  static constexpr Attribute attribute() {
    Attribute a{.name = item().name};
    if constexpr (IsReadable<Item>) a.read = &read;
    if constexpr (requires(Item it) { it.set; })
      if constexpr (!std::is_null_pointer_v<decltype(item().set)>) a.set = &set;
    if constexpr (IsOperation<Item>) {
      a.kind = AttributeKind::operation;
      a.arity = arity();
      a.invoke = &invoke;
    } else if constexpr (IsCollection<Item> || IsRecords<Item>) {
      a.kind = AttributeKind::collection;
      a.iterNonnull = &iterNonnull;
      a.iterKey = &iterKey;
      if constexpr (IsCollection<Item>) a.iterObj = &iterObj;
      a.iterDel = &iterDel;
    } else if constexpr (IsInput<Item>) {
      a.kind = AttributeKind::input;
    } else if constexpr (isParameter<Item>) {
      a.kind = requires(Sm const& sm, Item it) { currentParameter(sm, it); }
      ? AttributeKind::parameter : AttributeKind::key;
    }
    return a;
  }
};

template <class Sm, class Indices>
struct AttributeTable;
template <class Sm, std::size_t... i>
struct AttributeTable<Sm, std::index_sequence<i...>> {
  static constexpr std::array<Attribute, sizeof...(i)> rows{Reflected<Sm, i>::attribute()...};
};

// The type node of a described class:
//   constinit Kel::TypeNode const PortCountersSm::_kelType = Kel::typeNode<PortCountersSm>();
template <class Sm>
constexpr TypeNode typeNode(TypeNode::NewEntity newEntity = nullptr) {
  constexpr std::size_t n = std::tuple_size_v<decltype(Sm::kelDescription().items)>;
  return TypeNode(Sm::kelDescription().typeName,
                  AttributeTable<Sm, std::make_index_sequence<n>>::rows, newEntity);
}

// The same of an entity that directories can make (Dir::newEntity), from its name alone.
template <class X>
constexpr TypeNode entityTypeNode() {
  return typeNode<X>([](Name const& name) -> Ptr<Entity> { return make<X>(name); });
}

}  // namespace Kel
