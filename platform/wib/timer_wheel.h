// A timer wheel: wake-ups for many reactors, at a cost that does not grow with their number.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "platform/kel/clock.h"
#include "platform/kel/wake_up.h"

namespace Wib {

// What the wheel keeps of a wake-up in its reactor: a link of the list that the wake-up stands in.
struct WheelTimer {
  WheelTimer* _next = this;  // in a circle; itself when it stands in none
  WheelTimer* _prev = this;
  Kel::Seconds _timeMin = 0.0;
  std::uint64_t _sequence = 0;  // of arming
  std::uint32_t _list = 0;      // which of the wheel's lists it stands in
};

// Keeps the contract of Kel::Clock (clock.h) with other costs: arming, arming again and disarming
// take the same time whatever the number of wake-ups, where a clock takes the logarithm of it. The
// price is a grain: time is looked at in ticks of 1/kTicksPerSecond second, so a wake-up comes at
// the end of the tick that it falls in: never early, and less than a tick late. Within a tick the
// order is still that of wake-up time, and of arming for equal times.
//
//   auto const wheel = Kel::make<Wib::TimerWheel>(agentsClock);
//
// A wheel with a system clock is turned by it: it arms itself on the clock for when it is next
// needed. When the clock's owner wakes everybody before their time, because the time was set back,
// the wheel does so too; a clock that was set forward is time that has passed for the wheel, which
// then calls those who are due. One without a clock stands still until its owner sets its time.
//
// How it works (Varghese and Lauck, "Hashed and Hierarchical Timing Wheels", 1987): eight levels of
// 64 lists. A list of level 0 holds the wake-ups of one tick, one of level n those of 64^n ticks. A
// wake-up stands on the level of the highest base-64 digit in which its tick differs from the
// present one, and moves down a level when time comes into its list: seven times at most. Lists
// that hold nothing cost nothing, so that time may jump as far as it likes.
class TimerWheel : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::TimedNotifiee<TimerWheel, WheelTimer> {
   public:
    // The other attributes of the entity, in their order. The wheels here keep them to themselves
    // and call none of these.
    virtual void onSystemClock() {}
    virtual void onMaxTicks() {}
    virtual void onProcessTimeLimit() {}
    virtual void onCurrentWheelIndexTime() {}
    virtual void onSystemClockHandlerActive() {}
    virtual void onWheelIndex() {}
    virtual void onBucketIndex() {}
    virtual void onNext() {}
    virtual void onPrev() {}
    virtual void onSystemClockTakesOffsetTime() {}
    virtual void onInitialized() {}
  };
  class Notifiee : public NotifieeConst {};

  static constexpr Kel::Seconds kNever = Kel::Clock::kNever;
  // A power of two: seconds become ticks without rounding.
  static constexpr double kTicksPerSecond = 1024.0;

  explicit TimerWheel(Kel::Ptr<Kel::Clock const> const& systemClock = nullptr);
  ~TimerWheel() override;
  TimerWheel(TimerWheel const&) = delete;
  TimerWheel& operator=(TimerWheel const&) = delete;

  Kel::Ptr<Kel::Clock const> systemClock() const;

  // The current time, seconds since the epoch: the system clock's, or what was set last.
  Kel::Seconds time() const;
  // The clock's orders. REQUIRES: no system clock.
  void timeIs(Kel::Seconds now);
  void timeWasSetTo(Kel::Seconds now);

  // When the wheel wants to run: not after the earliest wake-up, and before it only to move
  // wake-ups down; kNever when nothing is armed.
  Kel::Seconds nextRun() const;

 private:
  using Reactor = Kel::TimedNotifiee<TimerWheel, WheelTimer>;
  friend Reactor;
  class OnSystemClock;
  using Tick = std::uint64_t;

  static constexpr std::uint32_t kBits = 6, kSlots = 1u << kBits, kLevels = 8;
  static constexpr Tick kHorizon = Tick{1} << (kBits * kLevels);  // 8,700 years from the epoch
  // Lists behind those of the levels. What is due stands in `due` until a run takes it into
  // `running`; what lies behind the horizon stands in `far`.
  enum List : std::uint32_t { kDue = kSlots * kLevels, kRunning, kFar, kLists };

  void arm(Reactor& reactor) const;
  bool disarm(Reactor& reactor) const;

  static Tick tickAt(Kel::Seconds time);
  static Tick tickFor(Kel::Seconds wakeUp);
  static Kel::Seconds timeOf(Tick tick) { return static_cast<double>(tick) / kTicksPerSecond; }
  void put(WheelTimer& timer) const;
  void append(WheelTimer& timer, std::uint32_t list) const;
  bool take(WheelTimer& timer) const;  // out of its list; answers whether it stood in one
  // The first of a list, taken out of it; null when there is none.
  WheelTimer* taken(std::uint32_t list) const;
  bool empty(std::uint32_t list) const { return _lists[list]._next == &_lists[list]; }
  std::uint32_t firstLevel() const;
  Tick startOf(std::uint32_t level) const;
  void advance(Tick tick);
  void takeAllInto(List list);
  void run(bool everybody);
  void sortRunning();

  // Whoever may read the wheel may arm itself on it.
  mutable std::array<WheelTimer, kLists> _lists;
  mutable std::array<std::uint64_t, kLevels> _occupied{};  // by level, which lists hold anything
  mutable std::uint64_t _sequence = 0;
  Tick _tick = 0;  // every wake-up up to here is in `due` or `running`
  Kel::Seconds _time = 0.0;
  std::vector<WheelTimer*> _order;
  Kel::Ptr<OnSystemClock> const _onSystemClock;
};

}  // namespace Wib
