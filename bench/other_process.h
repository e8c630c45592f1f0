// A second process beside the benchmark, on another core, which does the same thing over and over.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <functional>

#include "bench/sample_rows.h"

namespace Bench {

// The cores that this process may use: its own, on which it stays from now on, and the last of the
// others for its companions. False when there is no other.
bool twoCores();
// For a process that was just forked: moves it to the other core, and has it killed when the
// benchmark ends, however that ends.
void becomeCompanion(pid_t parent);

class OtherProcess {
 public:
  // What both processes see.
  struct Progress {
    std::atomic<bool> ready;
    std::atomic<bool> stop;
    std::atomic<std::uint64_t> done;
    std::atomic<std::uint64_t> failed;

    bool stopped() const { return stop.load(std::memory_order_relaxed); }
    // The other process counts alone.
    void count(bool good) {
      auto& counter = good ? done : failed;
      counter.store(counter.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
  };

  OtherProcess() : _progress(1) {}
  ~OtherProcess();
  OtherProcess(OtherProcess const&) = delete;
  OtherProcess& operator=(OtherProcess const&) = delete;

  // Runs work(progress) in another process. It sets `ready` when its first step is done, goes on
  // until `stopped`, and counts its steps. Returns when it is ready; std::runtime_error when it
  // ends before.
  void start(std::function<void(Progress&)> const& work);
  // Waits for its end. std::runtime_error when a step of it failed. Nothing when none was started.
  void finish();

  bool started() const { return _started; }
  std::uint64_t steps() const { return _progress[0].done; }

 private:
  void stop();

  SharedMemory<Progress> _progress;
  bool _started = false;
  pid_t _pid = -1;
};

// What most of them do: step(number) on rows at random, without a pause. It answers whether all was
// well.
template <class Sample, class Step>
void atRandom(OtherProcess::Progress& progress, Sample const& sample, Step step) {
  auto const order = shuffled(sample.count(), 77);
  while (true) {
    for (std::uint32_t const i : order) {
      if (progress.stopped()) return;
      progress.count(step(std::size_t{i}));
      progress.ready = true;
    }
  }
}

}  // namespace Bench
