// Keyed collections of the state machines that an owner has made.
#pragma once

#include <cstdint>
#include <map>

#include "platform/kel/state_machine.h"
#include "platform/kel/walk.h"

namespace Kel {

constexpr std::uint32_t bitReverse(std::uint32_t v) {
  v = (v >> 1 & 0x55555555u) | (v & 0x55555555u) << 1;
  v = (v >> 2 & 0x33333333u) | (v & 0x33333333u) << 2;
  v = (v >> 4 & 0x0f0f0f0fu) | (v & 0x0f0f0f0fu) << 4;
  v = (v >> 8 & 0x00ff00ffu) | (v & 0x00ff00ffu) << 8;
  return v >> 16 | v << 16;
}

// The hash of a key: its own hash() or, of a number or an enumeration, itself.
template <class Key>
std::uint32_t keyHash(Key const& key) {
  if constexpr (requires { key.hash(); })
    return key.hash();
  else
    return static_cast<std::uint32_t>(key);
}

// A key with its place in bucket order: the order in which buckets that double
// would be walked, whatever their number.
template <class Key>
class BucketKey {
 public:
  BucketKey(Key const& key) : _bucket(bitReverse(keyHash(key))), _key(key) {}
  operator Key const&() const { return _key; }
  friend bool operator<(BucketKey const& a, BucketKey const& b) {
    return a._bucket != b._bucket ? a._bucket < b._bucket : a._key < b._key;
  }
  friend std::ostream& operator<<(std::ostream& out, BucketKey const& k) { return out << k._key; }

 private:
  std::uint32_t _bucket;
  Key _key;
};

// Iteration is in bucket order and survives any change made meanwhile. Order is that in which the
// parameters of a member that is set again are compared.
template <class Value, class KeyType, class Order = ConstructorOrder>
class HashMap {
 public:
  using Key = KeyType;

  // Finds the member, which must have been made with the same `params` (Throws
  // NameInUseException otherwise, and leaves it as it was), or makes, files and
  // activates it.
  template <class... Params>
  requires MadeFrom<Value, Params...> Ptr<Value> newMember(Key const& key,
                                                           Params const&... params) {
    if (Ptr<Value> const found = member(key)) {
      requireSameParameters<Order>(*found, params...);
      return found;
    }
    Ptr<Value> const made = constructed<Value>(params...);
    // Its constructor may have had somebody else file one meanwhile.
    if (Ptr<Value> const found = member(key)) {
      requireSameParameters<Order>(*found, params...);
      return found;
    }
    _members.emplace(key, made);
    made->hasNotificationActiveIs(true);
    return made;
  }

  // Null if there is none.
  Ptr<Value> member(Key const& key) const {
    auto const it = _members.find(key);
    return it == _members.end() ? nullptr : it->second;
  }

  // A member dies, if this was its last reference, after it has left the map.
  void deleteMember(Key const& key) { _members.extract(key); }
  void emptyAllBuckets() {
    while (!_members.empty()) _members.extract(_members.begin());
  }
  // The same of a member that is to do nothing more: one that is in the middle of a handler, or
  // that somebody else holds, becomes a zombie first.
  void endMember(Key const& key) {
    if (Ptr<Value> const last = member(key)) {
      last->kelDoZombieReactors(true);
      deleteMember(key);
    }
  }
  void endAllMembers() {
    while (!_members.empty()) endMember(Key(_members.begin()->first));
  }

  std::size_t size() const { return _members.size(); }
  // for (auto const& [key, member] : members.walk())
  auto walk() const { return Kel::walk(_members); }

 private:
  std::map<BucketKey<Key>, Ptr<Value>> _members;
};

}  // namespace Kel
