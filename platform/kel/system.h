// What the framework takes from the machine, as seams: an agent leaves them as
// they are, a test replaces them. There is one of each in a process, whatever the visibility that
// its parts are compiled with: they are defined in the shared object.
#pragma once

#include <cstddef>

#include "platform/kel/seconds.h"

namespace Kel {

struct System {
  // The current time, in seconds since the epoch. Wall clock unless replaced.
  static Seconds currentTime() { return timeSource(); }

  using TimeSource = Seconds (*)();
  static Seconds wallClock();
  static TimeSource timeSource;

  // Memory of shared objects; null when there is none left.
  static void* allocate(std::size_t size) noexcept { return allocator(size); }
  static void release(void* memory) noexcept;

  using Allocator = void* (*)(std::size_t) noexcept;
  static void* heap(std::size_t size) noexcept;
  static Allocator allocator;
};

}  // namespace Kel
