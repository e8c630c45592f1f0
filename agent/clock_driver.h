// Keeps the activity's clock going by the time of day.
//
// Wake-ups stand in wall-clock time, and the wall clock can be set. Left alone, wake-ups would come
// that much too late when it is set back, which may be hours. So a step of the wall clock, seen by
// comparing it with a clock that nobody sets, wakes everybody at once: they do their work and arm
// themselves by the new time.
#pragma once

#include <functional>

#include "platform/kel/clock.h"

namespace Agent {

class ClockDriver {
 public:
  // Seconds since any moment, on a clock that is never set.
  using Steady = std::function<Kel::Seconds()>;
  // The wall clock was set by so many seconds, forward or (negative) back; called before anybody is
  // woken by the new time.
  using OnStep = std::function<void(Kel::Seconds step)>;

  static constexpr Kel::Seconds kTick = 0.001;      // wake-ups within one are delivered together
  static constexpr Kel::Seconds kIdle = 0.5;        // steps are noticed within this time
  static constexpr Kel::Seconds kLeastStep = 0.25;  // less is the slewing of a disciplined clock

  explicit ClockDriver(Kel::Ptr<Kel::Clock> const& clock, OnStep onStep = {},
                       Steady steady = &sinceBoot);

  // Brings the clock to the current time, which delivers the wake-ups that are due. Answers in how
  // many seconds it wants to be called again, kTick to kIdle: a wake-up that stays due, for
  // whatever reason, costs a turn a tick and never the processor.
  Kel::Seconds turn();

  static Kel::Seconds sinceBoot();  // time asleep included

 private:
  Kel::Ptr<Kel::Clock> const _clock;
  OnStep const _onStep;
  Steady const _steady;
  Kel::Seconds _offset;  // of the wall clock to the steady one
};

}  // namespace Agent
