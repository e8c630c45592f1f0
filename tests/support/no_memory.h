// What happens when no object can be made.
#pragma once

#include <string>

#include "platform/kel/exceptions.h"
#include "platform/kel/system.h"

namespace Support {

// No object can be allocated while this lives.
class NoMemory {
 public:
  NoMemory() {
    Kel::System::allocator = [](std::size_t) noexcept -> void* { return nullptr; };
  }
  ~NoMemory() { Kel::System::allocator = &Kel::System::heap; }
};

template <class Work>
std::string rangeErrorOf(Work const& work) {
  try {
    work();
  } catch (Kel::RangeException const& e) {
    return e.what();
  }
  return "no range error";
}

}  // namespace Support
