// What reactors on a source of time have in common: the agent's clock, a timer wheel.
#pragma once

#include "platform/kel/notifier.h"
#include "platform/kel/seconds.h"

namespace Kel {

// Base of Source::NotifieeConst: a reactor that sets a time, and is called once when its source has
// reached it. A wake-up belongs to one source: it stays behind when the reactor moves on. While the
// reactor's notifications are off, its source knows nothing of the wake-up and has no work with it;
// notifications that come on arm it again.
//
// Timer is what the source keeps of a wake-up in the reactor itself; its `_timeMin` is 0.0 before
// the first. The source offers, for whoever may read it, arm(reactor) and disarm(reactor); the
// latter answers whether the reactor was armed.
template <class Source, class Timer>
class TimedNotifiee : public NotifieeOn<Source>, private Timer {
 public:
  ~TimedNotifiee() override { leave(); }

  // The time has come to timeMin().
  virtual void onTime() {}

  // The wake-up set last, in seconds since the epoch; 0.0 before the first.
  Seconds timeMin() const { return Timer::_timeMin; }
  // Throws RangeException where `when` is not a number. The end of time (infinity) cancels what was
  // set before: there is then no wake-up but that of a time that was set by somebody (clock.h).
  void timeMinIs(Seconds when) {
    requireTime(when);
    auto const* const from = source();
    if (from != nullptr) from->disarm(*this);
    Timer::_timeMin = when;
    _waiting = from != nullptr;
    armIfHeard();
  }

  void hasNotificationActiveIs(bool active) override {
    NotifieeOn<Source>::hasNotificationActiveIs(active);
    auto const* const from = source();
    if (!active && from != nullptr && from->disarm(*this)) _waiting = true;
    armIfHeard();
  }

  void notifierIs(Ptr<PtrInterface const> const& object) override {
    leave();
    NotifieeOn<Source>::notifierIs(object);
  }

 private:
  friend Source;

  Source const* source() const { return static_cast<Source const*>(this->baseNotifier().get()); }
  void armIfHeard() {
    if (!_waiting || !this->hasNotificationActive()) return;
    source()->arm(*this);
    _waiting = false;
  }
  void leave() {
    if (auto const* const from = source()) from->disarm(*this);
    _waiting = false;
    Timer::_timeMin = 0.0;
  }

  bool _waiting = false;  // a wake-up for when notifications are on
};

}  // namespace Kel
