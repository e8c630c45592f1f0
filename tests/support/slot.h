// The slot of a virtual operation in its class's table, for tests that pin the
// order of slots.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Support {

// In the Itanium C++ ABI a pointer to a virtual member function is one plus its
// offset in the table, in bytes.
template <class Function>
std::size_t slot(Function function) {
  std::uintptr_t word = 0;
  static_assert(sizeof(function) >= sizeof(word));
  std::memcpy(&word, &function, sizeof(word));
  return (word - 1) / sizeof(void*);
}

}  // namespace Support
