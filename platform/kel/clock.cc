#include "platform/kel/clock.h"

namespace Kel {

void Clock::arm(Reactor& reactor) const {
  reactor._sequence = ++_sequence;
  _wakeUps.emplace(std::pair(reactor._timeMin, reactor._sequence), &reactor);
}

bool Clock::disarm(Reactor& reactor) const {
  if (reactor._sequence == 0) return false;
  _wakeUps.erase({reactor._timeMin, reactor._sequence});
  reactor._sequence = 0;
  return true;
}

void Clock::timeIs(Seconds now) { run(now, false); }
void Clock::timeWasSetTo(Seconds now) { run(now, true); }

void Clock::run(Seconds now, bool everybody) {
  Ptr<Clock> const alive(this);
  _time = now;
  std::uint64_t const thisRun = ++_runs, armedBefore = _sequence;
  // The place is kept by key: a handler may arm and disarm anybody. One that sets the time itself
  // begins a run, which leaves nothing of this one to do.
  for (auto it = _wakeUps.begin();
       _runs == thisRun && it != _wakeUps.end() && (everybody || it->first.first <= now);) {
    auto const [wakeUp, reactor] = *it;
    if (wakeUp.second > armedBefore) {
      ++it;
      continue;
    }
    reactor->_sequence = 0;
    _wakeUps.erase(it);
    if (reactor->listening()) deliver(*reactor, [&] { reactor->onTime(); });
    it = _wakeUps.upper_bound(wakeUp);
  }
}

Seconds Clock::nextWakeUp() const {
  for (auto const& [wakeUp, reactor] : _wakeUps)
    if (reactor->listening()) return wakeUp.first;
  return kNever;
}

}  // namespace Kel
