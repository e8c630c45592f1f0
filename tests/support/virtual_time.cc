#include "tests/support/virtual_time.h"

#include <algorithm>

#include "platform/kel/activity.h"
#include "platform/kel/system.h"

namespace Support {
namespace {
Kel::Seconds current = 0.0;
}

VirtualTime::VirtualTime() : _clock(Kel::make<Kel::Clock>()) {
  current = kStart;
  Kel::System::timeSource = [] { return current; };
  _clock->timeIs(current);
  Kel::ActivityManagerConfig::clockIs(_clock);
}

VirtualTime::~VirtualTime() {
  Kel::System::timeSource = &Kel::System::wallClock;
  Kel::ActivityManagerConfig::clockIs(nullptr);
}

Kel::Seconds VirtualTime::now() const { return current; }
void VirtualTime::nowIs(Kel::Seconds time) { current = time; }

void VirtualTime::runTo(Kel::Seconds time) {
  for (Kel::Seconds next = _clock->nextWakeUp(); next <= time; next = _clock->nextWakeUp()) {
    current = std::max(current, next);
    _clock->timeIs(current);
  }
  current = time;
  _clock->timeIs(current);
}

}  // namespace Support
