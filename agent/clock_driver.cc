#include "agent/clock_driver.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "platform/glim/boot_time.h"

namespace Agent {
namespace {

// Due before everybody else; gives the clock its true time before they are called.
class FirstOfAll : public Kel::Clock::Notifiee {
 public:
  FirstOfAll(Kel::Ptr<Kel::Clock> const& clock, Kel::Seconds now) : _clock(clock), _now(now) {
    notifierIs(clock);
    isRegisteredNotifieeIs(true);
    hasNotificationActiveIs(true);
    timeMinIs(-std::numeric_limits<double>::infinity());
  }
  void onTime() override { _clock->timeIs(_now); }

 private:
  Kel::Ptr<Kel::Clock> const _clock;
  Kel::Seconds const _now;
};

}  // namespace

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
    wakeEverybody(now);
  }
  // Up to the end of the tick that the wake-up falls in, so that its neighbours come with it.
  Kel::Seconds const next = std::ceil(_clock->nextWakeUp() / kTick) * kTick;
  return std::clamp(next - Kel::System::currentTime(), kTick, kIdle);
}

// A run of the clock up to the end of time, which a handler that is called first sets right: what
// everybody else reads from the clock is the present.
void ClockDriver::wakeEverybody(Kel::Seconds now) {
  auto const first = Kel::make<FirstOfAll>(_clock, now);
  _clock->timeIs(Kel::Clock::kNever);
}

}  // namespace Agent
