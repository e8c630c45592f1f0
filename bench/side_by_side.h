// Two pieces of work timed in turns, so that both see the same machine.
#pragma once

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace Bench {

// The processor time of this thread: what others do on a shared machine is not in it, but for the
// caches that they take. For work that waits for nobody, and of 100 µs and more a call: reading it
// takes the kernel some 0.5 µs.
struct ProcessorTime {
  using duration = std::chrono::nanoseconds;
  using time_point = std::chrono::time_point<ProcessorTime, duration>;
  static time_point now() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return time_point(std::chrono::seconds(time.tv_sec) + duration(time.tv_nsec));
  }
};

// Runs `work` and `yardstick` once a round, in turns; each call does `items` items. Reports the
// time of the work, the nanoseconds an item of both, and their ratio (of the medians: a shared
// machine has outliers). Of work that is so slow that a call does few items, a call of the
// yardstick may do more; it is then run twice and timed once, for such work leaves the caches to
// others. Clock is what times them.
template <class Clock = std::chrono::steady_clock, class Work, class Yardstick>
void sideBySide(benchmark::State& state, std::size_t items, Work const& work,
                Yardstick const& yardstick, std::size_t yardstickItems = 0) {
  auto const timed = [](auto const& run) {
    auto const start = Clock::now();
    run();
    return std::chrono::duration<double>(Clock::now() - start).count();
  };
  auto const median = [](std::vector<double>& times) {
    auto const middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
  };
  work();
  yardstick();
  std::vector<double> worked, measured;
  for (auto _ : state) {
    worked.push_back(timed(work));
    if (yardstickItems != 0) yardstick();
    measured.push_back(timed(yardstick));
    state.SetIterationTime(worked.back());
  }
  if (yardstickItems == 0) yardstickItems = items;
  double const w = median(worked) / static_cast<double>(items);
  double const y = median(measured) / static_cast<double>(yardstickItems);
  state.counters["ns_item"] = w * 1e9;
  state.counters["ns_yardstick"] = y * 1e9;
  state.counters["ratio"] = w / y;
}

}  // namespace Bench
