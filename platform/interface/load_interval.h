// The time over which rates are averaged.
#pragma once

namespace Interface {

// In seconds.
class LoadInterval {
 public:
  static constexpr double kMin = 1.0, kMax = 600.0, kDefault = 300.0;

  LoadInterval() = default;  // not configured
  // Throws Kel::RangeException outside kMin to kMax.
  explicit LoadInterval(double seconds);

  bool configured() const { return _seconds != 0.0; }
  double seconds() const { return configured() ? _seconds : kDefault; }
  bool operator==(LoadInterval const&) const = default;

 private:
  double _seconds = 0.0;
};

}  // namespace Interface
