#include "platform/kel/system.h"

#include <chrono>
#include <cstdlib>

namespace Kel {

constinit System::TimeSource System::timeSource = &System::wallClock;
constinit System::Allocator System::allocator = &System::heap;

Seconds System::wallClock() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

void* System::heap(std::size_t size) noexcept { return std::malloc(size); }
void System::release(void* memory) noexcept { std::free(memory); }

}  // namespace Kel
