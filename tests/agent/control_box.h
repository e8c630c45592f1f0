// A state machine to be reached by name, with members under keys of any text.
#pragma once

#include <stdexcept>
#include <string>

#include "platform/kel/hash_map.h"
#include "platform/kel/text.h"

namespace Agent {

class Box : public Kel::StateMachine<Box, Kel::ReactorOwner> {
 public:
  explicit Box(Kel::Name name) : _name(name) {}

  int size() const { return _size; }
  void sizeIs(int size) { _size = size; }
  std::string const& said() const { return _said; }
  Kel::Ptr<Box> boxIs(Kel::Name const& key) { return _box.newMember(key, key); }
  void say(Kel::String text) { _said += text.str() + ";"; }
  void grow(int by) { _size += by; }
  void fail() { throw std::runtime_error("it is stuck"); }
  void missNull() { (*Kel::Ptr<Box>()).fail(); }

  static constexpr auto kelDescription() {
    return Kel::describe("Agent::Box", Kel::key("name", &Box::_name),
                         Kel::value("size", &Box::size, &Box::sizeIs),
                         Kel::collection("box", &Box::_box), Kel::operation("say", &Box::say),
                         Kel::operation("grow", &Box::grow), Kel::operation("fail", &Box::fail),
                         Kel::operation("missNull", &Box::missNull));
  }
  static Kel::TypeNode const _kelType;

 private:
  Kel::Name const _name;
  int _size = 0;
  std::string _said;
  Kel::HashMap<Box, Kel::Name> _box;
};

inline Kel::TypeNode const Box::_kelType = Kel::typeNode<Box>();

}  // namespace Agent
