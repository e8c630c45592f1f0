// The clock of heartbeats: nanoseconds since the machine started, its sleep included. The same in
// all processes, and nobody sets it.
#pragma once

#include <ctime>

#include "platform/glim/atomic_words.h"

namespace Glim {

inline Word bootTime() {
  timespec time{};
  ::clock_gettime(CLOCK_BOOTTIME, &time);
  return static_cast<Word>(time.tv_sec) * 1'000'000'000u + static_cast<Word>(time.tv_nsec);
}

}  // namespace Glim
