#pragma once

#include <optional>

namespace Hardware::Linux {

/// Lets all that ask at one tick share one reading:
///
///   _reading.at(now, [&] { _error = read(); });   // `now` in seconds, by the agent's clock
///
/// Work that throws is not done: the next to ask does it, at the same tick too.
class OncePerTick {
 public:
  /// Do the work, unless it was done last at this very tick.
  template <class Work>
  void at(double now, Work const& work) {
    if (_tick == now) return;
    work();
    _tick = now;
  }

 private:
  std::optional<double> _tick;  // none before the first
};

}  // namespace Hardware::Linux
