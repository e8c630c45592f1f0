// The timer wheel under operations at random, beside a sorted list that does the same.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>
#include <tuple>
#include <vector>

#include "platform/wib/timer_wheel.h"

namespace {

using Kel::Ptr;
using Wib::TimerWheel;

constexpr Kel::Seconds kTick = 1.0 / TimerWheel::kTicksPerSecond;

// The wake-ups that are armed, in order: by time, and then by arming.
class SortedList {
 public:
  void arm(std::size_t who, Kel::Seconds when) {
    disarm(who);
    _place[who] = {when, ++_sequence, who};
    _all.insert(_place[who]);
  }
  void disarm(std::size_t who) {
    _place.resize(std::max(_place.size(), who + 1));
    _all.erase(_place[who]);
  }
  // Whoever is due at `now` by the grain of the wheel, and armed no later than `armedBefore`.
  std::size_t due(Kel::Seconds now, std::uint64_t armedBefore) {
    for (auto const& [when, sequence, who] : _all) {
      if (std::ceil(when / kTick) > std::floor(now / kTick)) break;
      if (sequence > armedBefore) continue;
      return who;
    }
    return kNobody;
  }
  std::uint64_t sequence() const { return _sequence; }
  static constexpr std::size_t kNobody = ~std::size_t{0};

 private:
  using Place = std::tuple<Kel::Seconds, std::uint64_t, std::size_t>;
  std::set<Place> _all;
  std::vector<Place> _place;
  std::uint64_t _sequence = 0;
};

class RandomOperations {
 public:
  explicit RandomOperations(std::uint64_t seed) : _random(seed) {
    for (std::size_t i = 0; i < kReactors; ++i) _reactors.push_back(made(i));
  }

  void run(std::uint64_t operations) {
    while (_operations < operations && !testing::Test::HasFatalFailure()) step();
  }

 private:
  static constexpr std::size_t kReactors = 300;

  class Member : public TimerWheel::Notifiee {
   public:
    Member(RandomOperations& all, std::size_t who) : _all(all), _who(who) {
      notifierIs(_all._sut);
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
    }
    void onTime() override { _all.called(_who, timeMin()); }

   private:
    RandomOperations& _all;
    std::size_t const _who;
  };

  Ptr<Member> made(std::size_t who) { return Kel::make<Member>(*this, who); }

  std::size_t upTo(std::size_t most) {
    return std::uniform_int_distribution<std::size_t>(0, most)(_random);
  }
  // From less than a tick to many years.
  Kel::Seconds span() {
    return std::exp2(std::uniform_real_distribution(-12.0, upTo(9) == 0 ? 30.0 : 8.0)(_random));
  }

  void step() {
    if (upTo(3) == 0)
      pass();
    else
      change();
  }

  void change() {
    ++_operations;
    std::size_t const who = upTo(kReactors - 1);
    switch (upTo(7)) {
      case 0:  // gone, and another in its place
        _model.disarm(who);
        _reactors[who] = made(who);
        break;
      case 1:  // in the past
        arm(who, std::max(kTick, _now - span()));
        break;
      default:
        arm(who, _now + span());
    }
  }
  void arm(std::size_t who, Kel::Seconds when) {
    _model.arm(who, when);
    _reactors[who]->timeMinIs(when);
  }

  void pass() {
    ++_operations;
    _now += span();
    if (upTo(99) == 0) _now = std::max(1.0, _now - span());
    _armedBefore = _model.sequence();
    _sut->timeIs(_now);
    ASSERT_EQ(_model.due(_now, _armedBefore), SortedList::kNobody) << "somebody was left out";
  }

  void called(std::size_t who, Kel::Seconds when) {
    ++_operations;
    ASSERT_LE(when, _now) << "early";
    ASSERT_EQ(who, _model.due(_now, _armedBefore)) << "not in order, or not due";
    _model.disarm(who);
    for (std::size_t changes = upTo(2); changes != 0; --changes) {
      std::size_t const whom = upTo(3) == 0 ? who : upTo(kReactors - 1);
      if (whom != who || upTo(1) == 0)
        arm(whom, _now + (upTo(5) == 0 ? -span() : span()));
      else
        change();
    }
  }

  std::mt19937_64 _random;
  Ptr<TimerWheel> const _sut = Kel::make<TimerWheel>();
  SortedList _model;
  std::vector<Ptr<Member>> _reactors;
  Kel::Seconds _now = 1.0;
  std::uint64_t _armedBefore = 0;
  std::uint64_t _operations = 0;
};

TEST(TimerWheelAgainstASortedList, CallsTheSameInTheSameOrderOverAMillionOperations) {
  for (std::uint64_t seed = 1; seed <= 4; ++seed) {
    SCOPED_TRACE(seed);
    RandomOperations(seed).run(250'000);
    if (HasFatalFailure()) return;
  }
}

}  // namespace
