#include "agent/clock_driver.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/glim/boot_time.h"
#include "platform/kel/system.h"

namespace Agent {

Kel::Seconds ClockDriver::sinceBoot() { return static_cast<double>(Glim::bootTime()) * 1e-9; }

ClockDriver::ClockDriver(Kel::Ptr<Kel::Clock> const& clock, OnStep onStep, Steady steady)
    : _clock(clock),
      _onStep(std::move(onStep)),
      _steady(std::move(steady)),
      _offset(Kel::System::currentTime() - _steady()) {}

Kel::Seconds ClockDriver::turn() {
  Kel::Seconds const now = Kel::System::currentTime();
  Kel::Seconds const step = now - _steady() - _offset;
  _offset += step;
  if (std::fabs(step) < kLeastStep) {
    _clock->timeIs(now);
  } else {
    if (_onStep) _onStep(step);
    _clock->timeWasSetTo(now);
  }
  // Up to the end of the tick that the wake-up falls in, so that its neighbours come with it.
  Kel::Seconds const next = std::ceil(_clock->nextWakeUp() / kTick) * kTick;
  return std::clamp(next - Kel::System::currentTime(), kTick, kIdle);
}

}  // namespace Agent
