// Moving averages of an interface's traffic.
#pragma once

#include <array>
#include <cstddef>

#include "platform/glim/record.h"
#include "platform/interface/load_interval.h"

namespace Interface {

struct IntfStatistics;

// Rates as last computed. Rates are per second and never negative.
struct IntfRates {
  double inBitsRate = 0.0;
  double inPktsRate = 0.0;
  double outBitsRate = 0.0;
  double outPktsRate = 0.0;
  double lastUpdate = 0.0;  // seconds since the epoch; 0: no sample yet
  double seeded = 0.0;      // when the averaged time began, seconds since the epoch

  bool operator==(IntfRates const&) const = default;
};

inline constexpr std::array kIntfRatesFields{
    Glim::Field{"inBitsRate", Glim::FieldType::f64, offsetof(IntfRates, inBitsRate)},
    Glim::Field{"inPktsRate", Glim::FieldType::f64, offsetof(IntfRates, inPktsRate)},
    Glim::Field{"outBitsRate", Glim::FieldType::f64, offsetof(IntfRates, outBitsRate)},
    Glim::Field{"outPktsRate", Glim::FieldType::f64, offsetof(IntfRates, outPktsRate)},
    Glim::Field{"ratesLastUpdate", Glim::FieldType::f64, offsetof(IntfRates, lastUpdate)},
    Glim::Field{"ratesSeeded", Glim::FieldType::f64, offsetof(IntfRates, seeded)}};

// The rates after `delta` was counted between old.lastUpdate and `now`. The
// interface's own interval counts before the global one.
//
// Exponentially weighted: r += (1 - exp(-dt / T')) * (x - r), where dt is the
// measured time, x the rate over it, and T' the load interval or, while that is
// shorter, the time that the average covers so far. The first interval has
// nothing to be averaged with and counts whole, so that a new interface shows a
// true rate at once. The first sample only seeds; time that does not advance
// changes nothing; a count that went backwards (a delta of 2^63 or more) gives
// no rate for its time, which is left out of the average.
IntfRates updateIntfMovingAverages(IntfRates const& old, IntfStatistics const& delta, double now,
                                   LoadInterval own, LoadInterval global);

}  // namespace Interface
