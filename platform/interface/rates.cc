#include "platform/interface/rates.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "platform/interface/statistics.h"

namespace Interface {
namespace {

constexpr std::uint64_t kDiscontinuity = std::uint64_t{1} << 63;

bool wentBackwards(IntfStatistics const& d) {
  return std::max({d.inOctets, d.inUcastPkts, d.inMulticastPkts, d.inBroadcastPkts, d.outOctets,
                   d.outUcastPkts, d.outMulticastPkts}) >= kDiscontinuity;
}

// 63-bit differences wrap below the discontinuity, at half their range.
double optionalCount(Wib::MaybeU63 count) {
  return count.hasValue() && count.value() < kDiscontinuity / 2 ? static_cast<double>(count.value())
                                                                : 0.0;
}

}  // namespace

IntfRates updateIntfMovingAverages(IntfRates const& old, IntfStatistics const& delta, double now,
                                   LoadInterval own, LoadInterval global) {
  IntfRates rates = old;
  if (old.lastUpdate == 0.0) {
    rates.seeded = rates.lastUpdate = now;
    return rates;
  }
  double const dt = now - old.lastUpdate;
  if (!(dt > 0.0)) return rates;
  rates.lastUpdate = now;
  if (wentBackwards(delta)) {
    rates.seeded = now - (old.lastUpdate - old.seeded);  // as if that time had not been
    return rates;
  }

  double const span =
      std::min((own.configured() ? own : global).seconds(), old.lastUpdate - old.seeded);
  double const weight = -std::expm1(-dt / span);  // 1 for the first interval, whose span is 0
  auto const average = [&](double& rate, double count) { rate += weight * (count / dt - rate); };
  auto const sum = [](auto... counts) { return (static_cast<double>(counts) + ...); };
  average(rates.inBitsRate, 8.0 * static_cast<double>(delta.inOctets));
  average(rates.inPktsRate, sum(delta.inUcastPkts, delta.inMulticastPkts, delta.inBroadcastPkts));
  average(rates.outBitsRate, 8.0 * static_cast<double>(delta.outOctets));
  average(rates.outPktsRate,
          sum(delta.outUcastPkts, delta.outMulticastPkts) + optionalCount(delta.outBroadcastPkts));
  return rates;
}

}  // namespace Interface
