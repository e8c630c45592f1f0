// Notifiers (objects whose attributes can be watched) and the base of every
// reactor (what watches them).
//
// An entity states its callbacks in an inner class and tells them from its
// setters:
//
//   class CliConfig : public Kel::Notifier {
//    public:
//     class NotifieeConst : public Kel::NotifieeOn<CliConfig> {
//      public:
//       virtual void onPeriodPoll() {}
//     };
//     class Notifiee : public NotifieeConst {};
//
//     Kel::Seconds periodPoll() const { return _periodPoll; }
//     void periodPollIs(Kel::Seconds period) {
//       assign(_periodPoll, period, &NotifieeConst::onPeriodPoll);
//     }
//   };
//
// A change is told at once, on the caller's stack, to the notifiees in the order
// in which they registered. A callback may do anything: change the entity again,
// register and drop notifiees, destroy its own owner or the entity. A notifiee
// that registers during a change is not told of that change. An exception that
// leaves a callback ends there: it is traced with the notifiee's type and
// counted, and the others are still called.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/kel/ptr_interface.h"
#include "platform/kel/rb_tree_map.h"

namespace Kel {

class ActivityConfig;
class Notifier;

// Base of every reactor. Holds its notifier strongly; the notifier knows the
// reactor by a raw pointer, from isRegisteredNotifieeIs(true) until the reactor
// is destroyed or moves to another notifier.
class PtrInterface::NotifieeConst : public PtrInterface {
 public:
  ~NotifieeConst() override;

  // Slots, in contract order.
  virtual PtrInterface* kelReactor() const { return nullptr; }
  virtual void isRegisteredNotifieeIs(bool registered) const;
  virtual void notifierIs(Ptr<PtrInterface const> const& notifier);
  // Changes are told at once, through the callbacks of what is watched: nothing here calls this.
  virtual void handleNotification(ActivityConfig*) {}
  // Called where an exception left a callback, while it is being handled.
  virtual void onNotificationException();
  virtual void onZeroReferences() {}
  // For activities beside the one thread, of which there are none here.
  virtual ActivityConfig* kelFwkActivity() const { return nullptr; }
  virtual void* actsm() { return nullptr; }

  // Live: its callbacks are to be called.
  bool listening() const { return hasNotificationActive() && !kelMarkedForDeletion(); }

 protected:
  Ptr<Notifier const> const& baseNotifier() const { return _notifier; }

 private:
  friend class NotifieeList;
  static constexpr std::size_t kNowhere = ~std::size_t{0};

  Ptr<Notifier const> _notifier;
  std::size_t _place = kNowhere;  // in its notifier's list
};

// Runs one callback of a reactor under the delivery policy stated above.
template <class Callback>
void deliver(PtrInterface::NotifieeConst& notifiee, Callback const& callback) {
  Ptr<PtrInterface::NotifieeConst> const alive(&notifiee);
  try {
    callback();
  } catch (...) {
    try {
      notifiee.onNotificationException();
    } catch (...) {  // whatever could not be said of it: the others are to be called
    }
  }
}

// Exceptions that have left callbacks since the process began.
std::uint64_t notificationExceptions();

// The notifiees of one notifier, in order of registration. One that goes leaves a
// hole; holes are closed when there are as many as notifiees and no delivery is
// under way, so that coming and going cost the same whatever the number of the
// others.
class NotifieeList {
 public:
  void add(PtrInterface::NotifieeConst* notifiee);
  void remove(PtrInterface::NotifieeConst* notifiee);
  std::size_t size() const { return _notifiees.size() - _holes; }

  template <class Callback>
  void each(Callback const& callback) {
    Delivery const delivery(*this);
    // Not told: those that join from here on.
    for (std::size_t i = 0, count = _notifiees.size(); i < count; ++i)
      if (auto* const n = _notifiees[i]; n && n->listening()) deliver(*n, [&] { callback(*n); });
  }

 private:
  struct Delivery {
    explicit Delivery(NotifieeList& l) : list(l) { ++list._deliveries; }
    ~Delivery() {
      --list._deliveries;
      list.closeHoles();
    }
    Delivery(Delivery const&) = delete;
    Delivery& operator=(Delivery const&) = delete;
    NotifieeList& list;
  };
  void closeHoles();

  std::vector<PtrInterface::NotifieeConst*> _notifiees;
  int _deliveries = 0;
  std::size_t _holes = 0;
};

// Base of every entity.
class Notifier : public PtrInterface {
 public:
  NotifieeList const* notifieeList() const override { return &_notifiees; }

 protected:
  template <class N>
  void notify(void (N::*callback)()) const {
    Ptr<Notifier const> const alive(this);
    _notifiees.each([&](auto& n) {
      if (N* const told = notifieeAs<N>(n)) (told->*callback)();
    });
  }
  template <class N, class Parameter, class Key>
  void notify(void (N::*callback)(Parameter), Key const& key) const {
    Ptr<Notifier const> const alive(this);
    Key const held = key;  // the caller's may go with the member it names
    _notifiees.each([&](auto& n) {
      if (N* const told = notifieeAs<N>(n)) (told->*callback)(held);
    });
  }

  // A scalar attribute: an unchanged value tells nobody.
  template <class T, class N>
  void assign(T& attribute, std::type_identity_t<T> const& value, void (N::*onChange)()) {
    if (attribute == value) return;
    attribute = value;
    notify(onChange);
  }
  // One member of a keyed collection: added or changed.
  template <class Key, class Value, class N, class P>
  void insert(RbTreeMap<Value, Key>& map, std::type_identity_t<Key> const& key,
              std::type_identity_t<Value> const& value, void (N::*onKey)(P)) {
    auto const [it, added] = map.try_emplace(key, value);
    if (!added) {
      if (it->second == value) return;
      it->second = value;
    }
    notify(onKey, key);
  }
  // One member removed; an absent key tells nobody.
  template <class Key, class Value, class N, class P>
  void erase(RbTreeMap<Value, Key>& map, std::type_identity_t<Key> const& key,
             void (N::*onKey)(P)) {
    auto const last = map.extract(key);  // dies after everybody was told
    if (!last.empty()) notify(onKey, last.key());
  }
  // The whole collection removed, told at once and as a whole.
  template <class Key, class Value, class N>
  void eraseAll(RbTreeMap<Value, Key>& map, void (N::*onImmediate)(), void (N::*onWhole)()) {
    Ptr<Notifier const> const alive(this);  // over both
    RbTreeMap<Value, Key> const last = std::move(map);
    map.clear();
    if (last.empty()) return;
    notify(onImmediate);
    notify(onWhole);
  }

 private:
  friend class PtrInterface::NotifieeConst;

  // Every notifiee registered on an X is an X::NotifieeConst (NotifieeOn sees to that), so that the
  // callback's class needs no check. It does where X is a kind of Y that can be watched by itself:
  // those who watch the Y in it know nothing of what X adds.
  template <class N>
  static N* notifieeAs(PtrInterface::NotifieeConst& notifiee) {
    if constexpr (N::kOfADerivedNotifier)
      return dynamic_cast<N*>(&notifiee);
    else
      return static_cast<N*>(&notifiee);
  }

  mutable NotifieeList _notifiees;
};

// Base of X::NotifieeConst: a reactor that can watch an X and nothing else. Where X derives from a
// Y that can be watched by itself, the second argument is Y::NotifieeConst.
template <class X, class Base = PtrInterface::NotifieeConst>
class NotifieeOn : public Base {
 public:
  static constexpr bool kOfADerivedNotifier = !std::is_same_v<Base, PtrInterface::NotifieeConst>;

  // An object of another type is taken as none.
  void notifierIs(Ptr<PtrInterface const> const& object) override {
    Base::notifierIs(Ptr<PtrInterface const>(dynamic_cast<X const*>(object.get())));
  }
  Ptr<X const> notifier() const {
    return Ptr<X const>(static_cast<X const*>(this->baseNotifier().get()));
  }
};

}  // namespace Kel
