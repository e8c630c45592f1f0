// The clock that wakes reactors at a set time.
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <utility>

#include "platform/kel/wake_up.h"

namespace Kel {

// What the clock keeps of a wake-up in its reactor.
struct ClockTimer {
  Seconds _timeMin = 0.0;
  std::uint64_t _sequence = 0;  // of arming; 0: not armed
};

// A clock stands still until its owner sets its time; then it calls every
// reactor whose wake-up is due, in order of wake-up time and, for equal times,
// of arming. One wake-up is one call: a periodic handler arms itself again.
//
//   _clock->timeMinIs(Kel::System::currentTime() + period);
//
// A wake-up that falls due while its reactor's notifications are off stays
// pending, and is delivered when they are on again and the clock runs; that they
// come on counts as arming. One that is armed during a run of the clock waits for
// the next run, even if it is due. One of a reactor that is marked for deletion is
// spent, and nobody called. A handler may set the time itself: what is due by that
// time is called within its call, which leaves nothing to the run that it is
// called from.
class Clock : public Notifier {
 public:
  class NotifieeConst : public TimedNotifiee<Clock, ClockTimer> {};
  class Notifiee : public NotifieeConst {};

  static constexpr Seconds kNever = std::numeric_limits<Seconds>::infinity();

  Seconds time() const { return _time; }
  // Time has passed: calls everybody who is due. Time that goes back delays those who wait.
  void timeIs(Seconds now);
  // The time was set by somebody, and what is armed was meant by another time: calls everybody
  // once, at the time `now`, so that they arm themselves by it.
  void timeWasSetTo(Seconds now);

  // The time of the earliest wake-up that a run of the clock would deliver;
  // kNever when there is none.
  Seconds nextWakeUp() const;

 private:
  using Reactor = TimedNotifiee<Clock, ClockTimer>;
  friend Reactor;
  // By time, and then in order of arming.
  using WakeUps = std::map<std::pair<Seconds, std::uint64_t>, Reactor*>;

  void arm(Reactor& reactor) const;
  bool disarm(Reactor& reactor) const;
  void run(Seconds now, bool everybody);

  Seconds _time = 0.0;
  std::uint64_t _runs = 0;
  mutable WakeUps _wakeUps;  // whoever may read the clock may arm itself on it
  mutable std::uint64_t _sequence = 0;
};

}  // namespace Kel
