// Reactors of state machines, and how they are attached, moved and dropped.
//
// A state machine has one reactor per input that it reacts to: an inner class in
// its source, one line a callback, so that it reads as its row of a table:
//
//   class PortCountersSm::KelClock final
//       : public Kel::Reactor<PortCountersSm, Kel::Clock const> {
//    public:
//     using Reactor::Reactor;
//     void onTime() override { tell(&PortCountersSm::handleTime); }
//     void resync() override { onTime(); }
//   };
//
// and in its header a member and two public names:
//
//   class KelClock;
//   Kel::Input<KelClock, Kel::Clock const> _clock;
//
//   void clockIs(Kel::Ptr<Kel::Clock const> const& clock) { _clock.notifierIs(*this, clock); }
//   Kel::Ptr<Kel::Clock const> clockDel() { return _clock.notifierDel(*this); }
#pragma once

#include <utility>

#include "platform/kel/notifier.h"

namespace Kel {

// X const is watched through X::NotifieeConst, X through X::Notifiee.
template <class X>
struct NotifieeFor {
  using Type = typename X::Notifiee;
};
template <class X>
struct NotifieeFor<X const> {
  using Type = typename X::NotifieeConst;
};

// What every reactor on an X has, whoever owns it.
template <class X>
class ReactorOn : public NotifieeFor<X>::Type {
 public:
  Ptr<X> notifier() const {
    auto* const watched = static_cast<X const*>(this->baseNotifier().get());
    return Ptr<X>(const_cast<X*>(watched));  // it was given as a Ptr<X>
  }

  // A zombie keeps its notifier, but all its callbacks return at once. One that is a zombie no more
  // has its notifications on, whatever its owner's are.
  virtual void kelDoZombieReactors(bool zombie) {
    if (zombie == this->kelMarkedForDeletion()) return;
    if (this->baseNotifier()) this->hasNotificationActiveIs(!zombie);
    this->kelMarkedForDeletionIs(zombie);
  }

  // Clears the way back to the owner, which no longer holds this reactor.
  void ownerDel() { _owner = nullptr; }

 protected:
  explicit ReactorOn(PtrInterface& owner) : _owner(&owner) {}
  PtrInterface* baseOwner() const { return _owner; }

 private:
  PtrInterface* _owner;  // raw: outlives its reactors, or clears this
};

template <class Owner, class X>
class Reactor : public ReactorOn<X> {
  using Base = ReactorOn<X>;

 public:
  // Runs no handler. Takes the owner's two flags: an input attached to an active
  // owner is live, one attached to a dying owner is born dead.
  Reactor(Owner& owner, Ptr<X> const& notifier) : Base(owner) {
    bool const zombie = owner.kelMarkedForDeletion();
    this->kelMarkedForDeletionIs(zombie);
    Base::hasNotificationActiveIs(owner.hasNotificationActive() && !zombie);
    Base::notifierIs(notifier);
    Base::isRegisteredNotifieeIs(true);
  }

  // Watches another object, or none, and runs the owner's keyless handlers for
  // it. The object watched already changes nothing; one that is no X is none.
  void notifierIs(Ptr<PtrInterface const> const& object) override {
    Ptr<X const> const watched(dynamic_cast<X const*>(object.get()));
    if (watched == this->baseNotifier()) return;
    Ptr<Reactor> const alive(this);  // a handler may drop the last reference
    Base::notifierIs(watched);
    // Even where a handler throws: what is watched must go on telling.
    struct Registration {
      Reactor& reactor;
      ~Registration() { reactor.isRegisteredNotifieeIs(true); }
    } const atTheEnd{*this};
    if (this->baseNotifier() && !this->kelMarkedForDeletion()) resync();
  }

  // What a newly watched object means: the keyless form of each callback, in
  // declaration order. Each goes through `tell`, which stops them all once a
  // handler has made this reactor a zombie. A reactor to which a new object
  // means nothing leaves it.
  virtual void resync() {}

 protected:
  // Calls a handler of the owner, unless this reactor is a zombie. The owner is
  // held meanwhile: a handler may remove it from where it is kept.
  void tell(void (Owner::*handler)()) {
    if (Ptr<Owner> const owner = listener()) (owner.get()->*handler)();
  }
  template <class Parameter, class Key>
  void tell(void (Owner::*handler)(Parameter), Key const& key) {
    if (Ptr<Owner> const owner = listener()) (owner.get()->*handler)(key);
  }

 private:
  Ptr<Owner> listener() const {
    if (this->kelMarkedForDeletion()) return nullptr;
    return Ptr<Owner>(static_cast<Owner*>(this->baseOwner()));
  }
};

// The place in a state machine that holds its reactor R on an input of type X;
// empty while nothing is watched. R may be incomplete where the state machine is
// defined.
template <class R, class X>
class Input {
 public:
  Input() = default;
  // Input of a constructor: attaches without running handlers.
  template <class Owner>
  Input(Owner& owner, Ptr<X> const& notifier) {
    if (notifier) _reactor = made(owner, notifier);
  }
  Input(Input const&) = delete;
  Input& operator=(Input const&) = delete;
  // Normally the owner's teardown came before and this only lets go; after a
  // constructor that threw, it is the whole teardown.
  ~Input() {
    if (auto const last = std::exchange(_reactor, nullptr)) dismiss(*last);
  }

  // What is watched; null for nothing.
  Ptr<X> notifier() const { return _reactor ? _reactor->notifier() : nullptr; }

  // The reactor, or the range error "null ValidPtr".
  R& operator*() const { return static_cast<R&>(*_reactor); }
  R* operator->() const { return &**this; }
  explicit operator bool() const { return bool(_reactor); }

  // Watches `notifier` from now on and runs the owner's keyless handlers for it.
  // What is watched already changes nothing; null stops watching. A reactor that
  // exists is moved, so that it stays the same object.
  template <class Owner>
  void notifierIs(Owner& owner, Ptr<X> const& notifier) {
    if (this->notifier() == notifier) return;
    Ptr<Owner> const ownerAlive(&owner);
    Held const old = _reactor;
    if (!notifier) {
      _reactor = nullptr;
    } else {
      if (!_reactor) _reactor = made(owner, nullptr);
      Held const current = _reactor;
      current->notifierIs(notifier);  // runs handlers, which may come back here
      if (_reactor) _reactor->kelDoZombieReactors(owner.kelMarkedForDeletion());
    }
    if (old && old != _reactor) dismiss(*old);
  }

  // Stops watching; returns what was watched.
  template <class Owner>
  Ptr<X> notifierDel(Owner& owner) {
    Ptr<X> const watched = notifier();
    notifierIs(owner, nullptr);
    return watched;
  }

  // The owner's flags, passed on.
  void hasNotificationActiveIs(bool active) {
    if (_reactor) _reactor->hasNotificationActiveIs(active);
  }
  void kelDoZombieReactors(bool zombie) {
    if (Held const alive = _reactor) alive->kelDoZombieReactors(zombie);
  }
  void ownerDel() {
    if (_reactor) _reactor->ownerDel();
  }

 private:
  using Held = Ptr<ReactorOn<X>>;
  template <class Owner>
  static Held made(Owner& owner, Ptr<X> const& notifier) {
    return make<R>(owner, notifier);
  }
  static void dismiss(ReactorOn<X>& reactor) {
    reactor.kelDoZombieReactors(true);
    reactor.ownerDel();
  }

  Held _reactor;
};

}  // namespace Kel
