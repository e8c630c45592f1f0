// The timer wheel beside the agent's clock and a std::priority_queue, with so many timers armed.
#include <benchmark/benchmark.h>

#include <queue>
#include <random>
#include <vector>

#include "bench/side_by_side.h"
#include "platform/kel/clock.h"
#include "platform/wib/timer_wheel.h"

namespace {

using Kel::Seconds;

// Timers fall due within this time of now.
constexpr Seconds kSpan = 60.0;
constexpr std::size_t kRounds = 1 << 14;  // of random times, used over and over

std::vector<Seconds> randomSpans() {
  std::mt19937_64 random(7);
  std::vector<Seconds> spans(kRounds);
  for (auto& span : spans) span = std::uniform_real_distribution(0.001, kSpan)(random);
  return spans;
}

// Reactors on a source of time; one that is called arms itself again.
template <class Source>
class Reactors {
 public:
  explicit Reactors(std::size_t count) {
    _source->timeIs(_now);
    for (std::size_t i = 0; i < count; ++i) _all.push_back(Kel::make<Reactor>(*this));
  }

  // Arms timers that are armed, for another time: each cancels one wake-up and sets another.
  void arm(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      _next = (_next + 1) % _all.size();
      _all[_next]->timeMinIs(_now + span());
    }
  }
  // Time passes in steps until so many were called, and armed themselves again.
  void pass(std::size_t count) {
    for (std::uint64_t const until = _called + count; _called < until;)
      _source->timeIs(_now += kSpan / static_cast<double>(_all.size()));
  }

 private:
  class Reactor : public Source::Notifiee {
   public:
    explicit Reactor(Reactors& all) : _all(all) {
      this->notifierIs(all._source);
      this->hasNotificationActiveIs(true);
      this->timeMinIs(all._now + all.span());
    }
    void onTime() override {
      ++_all._called;
      this->timeMinIs(_all._now + _all.span());
    }

   private:
    Reactors& _all;
  };

  Seconds span() { return _spans[++_spanned % kRounds]; }

  std::vector<Seconds> const _spans = randomSpans();
  Seconds _now = 1.7e9;
  Kel::Ptr<Source> const _source = Kel::make<Source>();
  std::vector<Kel::Ptr<Reactor>> _all;
  std::size_t _next = 0, _spanned = 0;
  std::uint64_t _called = 0;
};

// What one would write with the standard library: a queue of times, in which a timer that is armed
// again leaves its old entry behind, to be skipped when it comes up.
class PriorityQueue {
 public:
  explicit PriorityQueue(std::size_t count) : _armed(count) {
    for (std::size_t i = 0; i < count; ++i) set(i);
  }
  void arm(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      _next = (_next + 1) % _armed.size();
      set(_next);
      if (_queue.size() > 2 * _armed.size()) dropOld();
    }
  }
  void pass(std::size_t count) {
    for (std::uint64_t const until = _called + count; _called < until;) {
      _now += kSpan / static_cast<double>(_armed.size());
      while (!_queue.empty() && _queue.top().when <= _now) {
        Entry const due = _queue.top();
        _queue.pop();
        if (_armed[due.who] != due.sequence) continue;
        ++_called;
        set(due.who);
      }
    }
  }

 private:
  struct Entry {
    Seconds when;
    std::uint64_t sequence;
    std::size_t who;
    bool operator<(Entry const& other) const { return other.when < when; }
  };

  void set(std::size_t who) {
    _armed[who] = ++_sequence;
    _queue.push({_now + _spans[_sequence % kRounds], _sequence, who});
  }
  void dropOld() {
    std::vector<Entry> live;
    for (; !_queue.empty(); _queue.pop())
      if (_armed[_queue.top().who] == _queue.top().sequence) live.push_back(_queue.top());
    _queue = std::priority_queue<Entry>(std::less<Entry>(), std::move(live));
  }

  std::vector<Seconds> const _spans = randomSpans();
  Seconds _now = 1.7e9;
  std::vector<std::uint64_t> _armed;
  std::priority_queue<Entry> _queue;
  std::uint64_t _sequence = 0, _called = 0;
  std::size_t _next = 0;
};

constexpr std::size_t kItems = 20'000;

template <class Other>
void arming(benchmark::State& state) {
  auto const count = static_cast<std::size_t>(state.range(0));
  Reactors<Wib::TimerWheel> wheel(count);
  Other other(count);
  Bench::sideBySide<Bench::ProcessorTime>(
      state, kItems, [&] { wheel.arm(kItems); }, [&] { other.arm(kItems); });
}

template <class Other>
void expiry(benchmark::State& state) {
  auto const count = static_cast<std::size_t>(state.range(0));
  Reactors<Wib::TimerWheel> wheel(count);
  Other other(count);
  Bench::sideBySide<Bench::ProcessorTime>(
      state, kItems, [&] { wheel.pass(kItems); }, [&] { other.pass(kItems); });
}

// So many rounds and no more: what is slow is what the wheel is compared with.
void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(100)->Arg(10'000)->Arg(1'000'000)->Iterations(40);
  benchmark->UseManualTime()->Unit(benchmark::kMicrosecond);
}
BENCHMARK_TEMPLATE(arming, Reactors<Kel::Clock>)->Name("armingAgainstClock")->Apply(sizes);
BENCHMARK_TEMPLATE(arming, PriorityQueue)->Name("armingAgainstPriorityQueue")->Apply(sizes);
BENCHMARK_TEMPLATE(expiry, Reactors<Kel::Clock>)->Name("expiryAgainstClock")->Apply(sizes);
BENCHMARK_TEMPLATE(expiry, PriorityQueue)->Name("expiryAgainstPriorityQueue")->Apply(sizes);

}  // namespace
