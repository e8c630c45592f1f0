#include "platform/kel/clock.h"

#include <cmath>

#include "platform/kel/exceptions.h"

namespace Kel {

void requireTime(Seconds when) {
  if (std::isnan(when)) throwRangeException("a wake-up needs a time");
}

void Clock::arm(Reactor& reactor) const {
  reactor._sequence = ++_sequence;
  _wakeUps.emplace(std::pair(reactor._timeMin, reactor._sequence), &reactor);
}

void Clock::disarm(Reactor& reactor) const {
  if (reactor._sequence == 0) return;
  _wakeUps.erase({reactor._timeMin, reactor._sequence});
  reactor._sequence = 0;
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
