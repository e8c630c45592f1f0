// Two pieces of work timed in turns, so that both see the same machine.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace Bench {

// Runs `work` and `yardstick` once a round, in turns; each call does `items` items. Reports the
// time of the work, the nanoseconds an item of both, and their ratio (of the medians: a shared
// machine has outliers).
template <class Work, class Yardstick>
void sideBySide(benchmark::State& state, std::size_t items, Work const& work,
                Yardstick const& yardstick) {
  using Clock = std::chrono::steady_clock;
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
    measured.push_back(timed(yardstick));
    state.SetIterationTime(worked.back());
  }
  double const w = median(worked), y = median(measured), n = static_cast<double>(items);
  state.counters["ns_item"] = w / n * 1e9;
  state.counters["ns_yardstick"] = y / n * 1e9;
  state.counters["ratio"] = w / y;
}

}  // namespace Bench
