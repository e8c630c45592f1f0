#include "platform/kel/clock.h"

#include <cmath>

#include "platform/kel/exceptions.h"

namespace Kel {

void Clock::NotifieeConst::timeMinIs(Seconds when) {
  if (std::isnan(when)) throwRangeException("a wake-up needs a time");  // it has no place in order
  auto const* clock = static_cast<Clock const*>(baseNotifier().get());
  if (!clock) {
    _timeMin = when;
    return;
  }
  WakeUp const wakeUp{when, ++clock->_sequence};
  clock->_wakeUps.erase({_timeMin, _sequence});
  clock->_wakeUps.emplace(wakeUp, this);
  _timeMin = when;
  _sequence = wakeUp.second;
}

void Clock::NotifieeConst::disarm() {
  if (auto const* clock = static_cast<Clock const*>(baseNotifier().get()))
    clock->_wakeUps.erase({_timeMin, _sequence});
  _timeMin = 0.0;
  _sequence = 0;
}

void Clock::NotifieeConst::notifierIs(Ptr<PtrInterface const> const& clock) {
  disarm();
  NotifieeOn<Clock>::notifierIs(clock);
}

void Clock::timeIs(Seconds now) {
  Ptr<Clock> const alive(this);
  _time = now;
  std::uint64_t const armedBefore = _sequence;
  // The place is kept by key: a handler may arm and disarm anybody.
  for (auto it = _wakeUps.begin(); it != _wakeUps.end() && it->first.first <= now;) {
    auto const [wakeUp, reactor] = *it;
    if (wakeUp.second > armedBefore || !reactor->listening()) {
      ++it;
      continue;
    }
    // Taken out of reach of a second run: a handler may set the time itself.
    reactor->_sequence = 0;
    _wakeUps.erase(it);
    deliver(*reactor, [&] { reactor->onTime(); });
    it = _wakeUps.upper_bound(wakeUp);
  }
}

Seconds Clock::nextWakeUp() const {
  for (auto const& [wakeUp, reactor] : _wakeUps)
    if (reactor->listening()) return wakeUp.first;
  return kNever;
}

}  // namespace Kel
