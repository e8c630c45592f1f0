// The place of a virtual function in its object's table, as a pointer to member tells it.
#pragma once

#include <cstddef>
#include <cstring>

// Itanium C++ ABI 2.3: for a virtual function the first word is its offset in the table plus 1; on
// ARM the offset itself, the 1 standing in the second word.
namespace Support {

template <class PointerToMember>
std::size_t slot(PointerToMember function) {
  struct {
    std::size_t offset;
    std::size_t adjustment;
  } raw;
  static_assert(sizeof raw == sizeof function);
  std::memcpy(&raw, &function, sizeof raw);
#if defined(__aarch64__) || defined(__arm__)
  return raw.offset / sizeof(void*);
#else
  return (raw.offset - 1) / sizeof(void*);
#endif
}

}  // namespace Support
