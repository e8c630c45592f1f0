// The mechanics that every state machine shares.
//
// A state machine derives from Kel::StateMachine<Self, Base>, where Base is
// Kel::ReactorOwner or Oru::OruBaseSm, and states kelDescription() and _kelType.
// It then has notification fan-out, zombie marking, teardown, allocation
// tracking and reflection, and is made by
//
//   Kel::Ptr<Sm> sm = Kel::instance<Sm>(parameters...);
//
// The header of a state machine that owns others can do with forward declarations of them, where it
// ends with
//
//   extern template class Kel::StateMachine<Sm, Base>;
//
// and its source says the same without `extern`. Whoever uses it, or derives from it, then need not
// include them either.
//
// The order of its end, when the last reference goes: it and its reactors become
// zombies; its collections are emptied; its reactors lose their way back to it;
// its members are released in reverse order of declaration.
#pragma once

#include <concepts>

#include "platform/kel/description.h"
#include "platform/kel/ptr_interface.h"
#include "platform/kel/reactor.h"

namespace Kel {

// Base of a state machine that is not an OruBaseSm: adds the one slot.
class ReactorOwner : public PtrInterface {
 public:
  virtual void kelDoZombieReactors(bool zombie) { kelMarkedForDeletionIs(zombie); }
};

template <class Self, class Base>
class StateMachine : public Typed<Self, Base> {
 public:
  // Reaches the reactors, then the children in the collections.
  void hasNotificationActiveIs(bool active) override;
  // Reaches the reactors, not the children.
  void kelDoZombieReactors(bool zombie) override;
  void zeroReferencesIs(bool zero) override;

 protected:
  using Typed<Self, Base>::Typed;

 private:
  Self& self() { return static_cast<Self&>(*this); }
};

template <class Self, class Base>
void StateMachine<Self, Base>::hasNotificationActiveIs(bool active) {
  if (active == this->hasNotificationActive()) return;
  Base::hasNotificationActiveIs(active);
  eachInput(self(), [&](auto& input) { input.hasNotificationActiveIs(active); });
  eachCollection(self(), [&](auto& members) {
    for (auto const& [key, member] : members.walk()) member->hasNotificationActiveIs(active);
  });
}

template <class Self, class Base>
void StateMachine<Self, Base>::kelDoZombieReactors(bool zombie) {
  if (zombie == this->kelMarkedForDeletion()) return;
  eachInput(self(), [&](auto& input) { input.kelDoZombieReactors(zombie); });
  Base::kelDoZombieReactors(zombie);
  this->kelMarkedForDeletionIs(zombie);
}

template <class Self, class Base>
void StateMachine<Self, Base>::zeroReferencesIs(bool zero) {
  this->kelDoZombieReactors(true);
  eachCollection(self(), [](auto& members) { members.emptyAllBuckets(); });
  eachInput(self(), [](auto& input) { input.ownerDel(); });
  Base::zeroReferencesIs(zero);
}

template <class Sm, class... Params>
concept MadeFrom = std::constructible_from<Sm, Params const&...>;

// A new state machine with its notifications still off. Throws RangeException
// "null ValidPtr" when there is no memory, and what the constructor throws.
template <class Sm, class... Params>
requires MadeFrom<Sm, Params...> Ptr<Sm> constructed(Params const&... params) {
  static_assert(parametersComeFirst<Sm>, "kelDescription() lists the parameters first");
  static_assert(sizeof...(Params) == parameterCount<Sm>,
                "kelDescription() lists each of the constructor's parameters");
  return make<Sm>(params...);
}

// Creation, common to every XxxIs: notifications are on when it returns.
template <class Sm, class... Params>
requires MadeFrom<Sm, Params...> Ptr<Sm> instance(Params const&... params) {
  Ptr<Sm> const sm = constructed<Sm>(params...);
  sm->hasNotificationActiveIs(true);
  return sm;
}

}  // namespace Kel
