#include "platform/wib/timer_wheel.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <new>
#include <tuple>
#include <utility>

namespace Wib {
namespace {

bool inOrder(WheelTimer const* a, WheelTimer const* b) {
  return std::tie(a->_timeMin, a->_sequence) < std::tie(b->_timeMin, b->_sequence);
}

}  // namespace

// Turns the wheel.
class TimerWheel::OnSystemClock final : public Kel::Clock::NotifieeConst {
 public:
  OnSystemClock(TimerWheel& wheel, Kel::Ptr<Kel::Clock const> const& clock) : _wheel(wheel) {
    Kel::Clock::NotifieeConst::notifierIs(clock);
    isRegisteredNotifieeIs(true);
    hasNotificationActiveIs(true);
  }
  // Called before its time only where the clock was set, and everybody on it is woken.
  void onTime() override {
    Kel::Seconds const now = notifier()->time();
    bool const wasSet = now < std::exchange(_armed, kNever);
    if (wasSet)
      _wheel.timeWasSetTo(now);
    else
      _wheel.timeIs(now);
  }
  // The wheel is needed at `when`.
  void runAt(Kel::Seconds when) {
    if (when >= _armed) return;
    timeMinIs(when);
    _armed = when;
  }

 private:
  TimerWheel& _wheel;
  Kel::Seconds _armed = kNever;
};

TimerWheel::TimerWheel(Kel::Ptr<Kel::Clock const> const& systemClock)
    : _time(systemClock ? systemClock->time() : 0.0),
      _onSystemClock(systemClock ? Kel::make<OnSystemClock>(*this, systemClock) : nullptr) {}

TimerWheel::~TimerWheel() = default;  // its reactors hold it: none stands in its lists any more

Kel::Ptr<Kel::Clock const> TimerWheel::systemClock() const {
  return _onSystemClock ? _onSystemClock->notifier() : nullptr;
}

Kel::Seconds TimerWheel::time() const {
  return _onSystemClock ? _onSystemClock->notifier()->time() : _time;
}

// The last tick that has wholly begun.
TimerWheel::Tick TimerWheel::tickAt(Kel::Seconds time) {
  double const ticks = std::floor(time * kTicksPerSecond);
  if (!(ticks > 0.0)) return 0;
  return ticks < static_cast<double>(kHorizon) ? static_cast<Tick>(ticks) : kHorizon - 1;
}

// The first tick that begins no earlier.
TimerWheel::Tick TimerWheel::tickFor(Kel::Seconds wakeUp) {
  double const ticks = std::ceil(wakeUp * kTicksPerSecond);
  if (!(ticks > 0.0)) return 0;
  return ticks < static_cast<double>(kHorizon) ? static_cast<Tick>(ticks) : kHorizon;
}

void TimerWheel::arm(Reactor& reactor) const {
  WheelTimer& timer = reactor;
  timer._sequence = ++_sequence;
  put(timer);
  if (_onSystemClock && timer._list != kFar) _onSystemClock->runAt(timeOf(tickFor(timer._timeMin)));
}

bool TimerWheel::disarm(Reactor& reactor) const { return take(reactor); }

void TimerWheel::put(WheelTimer& timer) const {
  Tick const tick = tickFor(timer._timeMin);
  if (tick >= kHorizon) return append(timer, kFar);
  if (tick <= _tick) return append(timer, kDue);
  auto const highest = static_cast<std::uint32_t>(std::bit_width(tick ^ _tick)) - 1;
  std::uint32_t const level = highest / kBits;
  auto const slot = static_cast<std::uint32_t>(tick >> (level * kBits)) % kSlots;
  _occupied[level] |= std::uint64_t{1} << slot;
  append(timer, level * kSlots + slot);
}

void TimerWheel::append(WheelTimer& timer, std::uint32_t list) const {
  WheelTimer& head = _lists[list];
  timer._list = list;
  timer._next = &head;
  timer._prev = head._prev;
  head._prev->_next = &timer;
  head._prev = &timer;
}

bool TimerWheel::take(WheelTimer& timer) const {
  if (timer._next == &timer) return false;
  timer._prev->_next = timer._next;
  timer._next->_prev = timer._prev;
  timer._next = timer._prev = &timer;
  if (timer._list < kDue && empty(timer._list))
    _occupied[timer._list / kSlots] &= ~(std::uint64_t{1} << timer._list % kSlots);
  return true;
}

WheelTimer* TimerWheel::taken(std::uint32_t list) const {
  if (empty(list)) return nullptr;
  WheelTimer* const timer = _lists[list]._next;
  take(*timer);
  return timer;
}

// The wake-ups of a level are all before those of the next.
std::uint32_t TimerWheel::firstLevel() const {
  std::uint32_t level = 0;
  while (level < kLevels && _occupied[level] == 0) ++level;
  return level;
}

// Where the first list of a level begins that holds anything.
// REQUIRES: one does.
TimerWheel::Tick TimerWheel::startOf(std::uint32_t level) const {
  auto const slot = static_cast<Tick>(std::countr_zero(_occupied[level]));
  Tick const above = _tick >> ((level + 1) * kBits) << kBits;
  return (above | slot) << (level * kBits);
}

// Brings time to `tick`, list by list: each that it comes into is emptied into the lists below, and
// those of single ticks into `due`. Where time goes back, what was placed by a later present comes
// up too early, never too late, and is placed anew.
void TimerWheel::advance(Tick tick) {
  for (std::uint32_t level; (level = firstLevel()) < kLevels && startOf(level) <= tick;) {
    _tick = startOf(level);
    auto const slot = static_cast<std::uint32_t>(std::countr_zero(_occupied[level]));
    while (WheelTimer* const timer = taken(level * kSlots + slot)) put(*timer);
  }
  _tick = tick;
}

void TimerWheel::takeAllInto(List list) {
  for (std::uint32_t from = 0; from < kLists; ++from) {
    if (from == list) continue;
    while (WheelTimer* const timer = taken(from)) append(*timer, list);
  }
}

void TimerWheel::timeIs(Kel::Seconds now) {
  Kel::Ptr<TimerWheel> const alive(this);
  _time = now;
  advance(tickAt(now));
  run(false);
}

void TimerWheel::timeWasSetTo(Kel::Seconds now) {
  Kel::Ptr<TimerWheel> const alive(this);
  _time = now;
  takeAllInto(kDue);
  _tick = tickAt(now);
  run(true);
}

// What is armed meanwhile waits in `due` for the next run; a handler that sets the time itself
// begins one, which leaves nothing of this one to do.
void TimerWheel::run(bool everybody) {
  while (WheelTimer* const timer = taken(kDue)) append(*timer, kRunning);
  sortRunning();
  while (WheelTimer* const timer = taken(kRunning)) {
    auto& reactor = static_cast<Reactor&>(*timer);
    if (!everybody && timer->_timeMin > time())
      put(*timer);
    else if (reactor.listening())
      Kel::deliver(reactor, [&reactor] { reactor.onTime(); });
  }
  if (_onSystemClock) _onSystemClock->runAt(nextRun());
}

// Most runs find few, and those in order. Without memory for more they come as they stand.
void TimerWheel::sortRunning() try {
  _order.clear();
  for (WheelTimer* timer = _lists[kRunning]._next; timer != &_lists[kRunning]; timer = timer->_next)
    _order.push_back(timer);
  if (std::is_sorted(_order.begin(), _order.end(), inOrder)) return;
  std::sort(_order.begin(), _order.end(), inOrder);
  for (WheelTimer* const timer : _order) {
    take(*timer);
    append(*timer, kRunning);
  }
} catch (std::bad_alloc const&) {
}

Kel::Seconds TimerWheel::nextRun() const {
  Kel::Seconds next = kNever;
  for (WheelTimer const* timer = _lists[kDue]._next; timer != &_lists[kDue]; timer = timer->_next)
    if (static_cast<Reactor const&>(*timer).listening()) next = std::min(next, timer->_timeMin);
  if (std::uint32_t const level = firstLevel(); level < kLevels)
    next = std::min(next, timeOf(startOf(level)));
  return next;
}

}  // namespace Wib
