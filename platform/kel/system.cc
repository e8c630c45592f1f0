#include "platform/kel/system.h"

#include <chrono>
#include <cmath>
#include <cstdlib>

#include "platform/kel/exceptions.h"
#include "platform/kel/strep.h"

namespace Kel {

void requirePeriod(Seconds period) {
  if (!std::isfinite(period) || period < 0.0)
    throwRangeException("a period is 0 or more seconds, not " + numberText(period));
}

constinit System::TimeSource System::timeSource = &System::wallClock;
constinit System::Allocator System::allocator = &System::heap;

Seconds System::wallClock() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

void* System::heap(std::size_t size) noexcept { return std::malloc(size); }
void System::release(void* memory) noexcept { std::free(memory); }

}  // namespace Kel
