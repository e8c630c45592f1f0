// The clock that wakes reactors at a set time.
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <utility>

#include "platform/kel/notifier.h"
#include "platform/kel/system.h"

namespace Kel {

// A clock stands still until its owner sets its time; then it calls every
// reactor whose wake-up is due, in order of wake-up time and, for equal times,
// of arming. One wake-up is one call: a periodic handler arms itself again.
//
//   _clock->timeMinIs(Kel::System::currentTime() + period);
//
// A wake-up that falls due while its reactor's notifications are off stays
// pending, and is delivered when they are on again and the clock runs. One that
// is armed during a run of the clock waits for the next run, even if it is due.
class Clock : public Notifier {
 public:
  class NotifieeConst : public NotifieeOn<Clock> {
   public:
    ~NotifieeConst() override { disarm(); }
    // The clock has reached timeMin().
    virtual void onTime() {}

    // The wake-up set last, in seconds since the epoch; 0.0 before the first.
    Seconds timeMin() const { return _timeMin; }
    // Throws RangeException where `when` is not a number.
    void timeMinIs(Seconds when);
    // A wake-up belongs to one clock: it stays behind when the reactor moves on.
    void notifierIs(Ptr<PtrInterface const> const& clock) override;

   private:
    friend class Clock;
    void disarm();

    Seconds _timeMin = 0.0;
    std::uint64_t _sequence = 0;  // with _timeMin the key of the wake-up; 0: none
  };
  class Notifiee : public NotifieeConst {};

  static constexpr Seconds kNever = std::numeric_limits<Seconds>::infinity();

  Seconds time() const { return _time; }
  void timeIs(Seconds now);

  // The time of the earliest wake-up that a run of the clock would deliver;
  // kNever when there is none.
  Seconds nextWakeUp() const;

 private:
  using WakeUp = std::pair<Seconds, std::uint64_t>;
  using WakeUps = std::map<WakeUp, NotifieeConst*>;

  Seconds _time = 0.0;
  mutable WakeUps _wakeUps;  // whoever may read the clock may arm itself on it
  mutable std::uint64_t _sequence = 0;
};

}  // namespace Kel
