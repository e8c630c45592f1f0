#include "platform/glim/slot_directory.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>

namespace Glim {

SlotDirectory::SlotDirectory(RowShape const& shape) : _shape(shape), _byKey(ByKey{this}) {}

void SlotDirectory::grow(std::uint32_t more) {
  std::uint32_t const before = slots();
  std::uint32_t const after = before + more;
  // Everything that may fail comes first.
  _own.reserve(after);
  _keys.reserve(after * _shape.keyBytes);
  _free.reserve(after);
  _open.reserve(after);
  _own.resize(after);
  _keys.resize(after * _shape.keyBytes);
  for (std::uint32_t slot = before; slot < after; ++slot) {
    _free.push_back(slot);
    std::push_heap(_free.begin(), _free.end(), std::greater<>());
  }
}

bool SlotDirectory::adopt(std::uint32_t slot, void const* key, std::uint32_t hash) {
  std::memcpy(_keys.data() + slot * _shape.keyBytes, key, _shape.keyBytes);
  if (!_byKey.insert(slot).second) return false;
  _own[slot].hash = hash;
  _own[slot].use = Use::live;
  return true;
}

void SlotDirectory::adopted() {
  std::erase_if(_free, [this](std::uint32_t slot) { return _own[slot].use != Use::free; });
  std::make_heap(_free.begin(), _free.end(), std::greater<>());
}

std::uint32_t SlotDirectory::take(void const* key, std::uint32_t hash) {
  std::pop_heap(_free.begin(), _free.end(), std::greater<>());
  std::uint32_t const slot = _free.back();
  _free.pop_back();
  std::memcpy(_keys.data() + slot * _shape.keyBytes, key, _shape.keyBytes);
  _own[slot].hash = hash;
  _own[slot].use = Use::open;
  _open.push_back(slot);
  return slot;
}

void SlotDirectory::liveIs(std::uint32_t slot) {
  _byKey.insert(slot);
  _own[slot].use = Use::live;
  std::erase(_open, slot);
}

void SlotDirectory::freeIs(std::uint32_t slot) {
  if (_own[slot].use == Use::live) {
    if (_walk != _byKey.end() && *_walk == slot) _walk = _byKey.end();
    _byKey.erase(slot);
  } else {
    std::erase(_open, slot);
  }
  _own[slot].use = Use::free;
  _own[slot].opening = 0;
  _free.push_back(slot);
  std::push_heap(_free.begin(), _free.end(), std::greater<>());
}

std::uint32_t SlotDirectory::findOpen(void const* key) const {
  for (std::uint32_t const slot : _open) {
    if (keyIs(slot, key)) return slot;
  }
  return none;
}

void SlotDirectory::freeOpen() {
  while (!_open.empty()) freeIs(_open.back());
}

std::uint32_t SlotDirectory::next(void const* after) const {
  bool const goesOn = _walk != _byKey.end() && keyIs(*_walk, after);
  _walk = goesOn ? std::next(_walk) : _byKey.upper_bound(after);
  return _walk == _byKey.end() ? none : *_walk;
}

}  // namespace Glim
