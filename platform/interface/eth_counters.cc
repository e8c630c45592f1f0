#include "platform/interface/eth_counters.h"

#include <algorithm>
#include <functional>

namespace Interface {
namespace {

// std::array keeps each loop contiguous, so that it is one vector loop.
template <class T, std::size_t n, class Op>
std::array<T, n> combined(std::array<T, n> const& a, std::array<T, n> const& b, Op op) {
  std::array<T, n> result;
  for (std::size_t i = 0; i < n; ++i) result[i] = op(a[i], b[i]);
  return result;
}

template <class Op>
EthPerPrioStatistics combined(EthPerPrioStatistics const& a, EthPerPrioStatistics const& b, Op op) {
  return {.entries = combined(a.entries, b.entries, op), .count = EthPerPrioStatistics::kEntries};
}

template <class Op>
EthLaneStatistics combined(EthLaneStatistics const& a, EthLaneStatistics const& b, Op op) {
  return {.entries = combined(a.entries, b.entries, op), .count = std::max(a.count, b.count)};
}

template <class Op>
EthStatistics combined(EthStatistics const& a, EthStatistics const& b, Op op) {
  return {
      .plain = combined(a.plain, b.plain, op),
      .inPfcFrames = combined(a.inPfcFrames, b.inPfcFrames, op),
      .outPfcFrames = combined(a.outPfcFrames, b.outPfcFrames, op),
      .fecCodewordErrors = combined(a.fecCodewordErrors, b.fecCodewordErrors, op),
      .fecLaneCorrectedBlocks = combined(a.fecLaneCorrectedBlocks, b.fecLaneCorrectedBlocks, op),
      .inPfcPauseMicros = combined(a.inPfcPauseMicros, b.inPfcPauseMicros, op),
      .outPfcPauseMicros = combined(a.outPfcPauseMicros, b.outPfcPauseMicros, op)};
}

template <class T, std::size_t n>
void addArrayDifference(std::array<T, n>& total, std::array<T, n> const& now,
                        std::array<T, n> const& before) {
  for (std::size_t i = 0; i < n; ++i) total[i] = total[i] + (now[i] - before[i]);
}

void addDifference(EthPerPrioStatistics& total, EthPerPrioStatistics const& now,
                   EthPerPrioStatistics const& before) {
  addArrayDifference(total.entries, now.entries, before.entries);
  total.count = EthPerPrioStatistics::kEntries;
}

void addDifference(EthLaneStatistics& total, EthLaneStatistics const& now,
                   EthLaneStatistics const& before) {
  addArrayDifference(total.entries, now.entries, before.entries);
  total.count = std::max({total.count, now.count, before.count});
}

}  // namespace

EthPerPrioStatistics operator-(EthPerPrioStatistics const& a, EthPerPrioStatistics const& b) {
  return combined(a, b, std::minus<>());
}
EthPerPrioStatistics operator+(EthPerPrioStatistics const& a, EthPerPrioStatistics const& b) {
  return combined(a, b, std::plus<>());
}
EthLaneStatistics operator-(EthLaneStatistics const& a, EthLaneStatistics const& b) {
  return combined(a, b, std::minus<>());
}
EthLaneStatistics operator+(EthLaneStatistics const& a, EthLaneStatistics const& b) {
  return combined(a, b, std::plus<>());
}
EthStatistics operator-(EthStatistics const& a, EthStatistics const& b) {
  return combined(a, b, std::minus<>());
}
EthStatistics operator+(EthStatistics const& a, EthStatistics const& b) {
  return combined(a, b, std::plus<>());
}

void addDifference(EthStatistics& total, EthStatistics const& now, EthStatistics const& before) {
  addArrayDifference(total.plain, now.plain, before.plain);
  addDifference(total.inPfcFrames, now.inPfcFrames, before.inPfcFrames);
  addDifference(total.outPfcFrames, now.outPfcFrames, before.outPfcFrames);
  addDifference(total.fecCodewordErrors, now.fecCodewordErrors, before.fecCodewordErrors);
  addDifference(total.fecLaneCorrectedBlocks, now.fecLaneCorrectedBlocks,
                before.fecLaneCorrectedBlocks);
  addDifference(total.inPfcPauseMicros, now.inPfcPauseMicros, before.inPfcPauseMicros);
  addDifference(total.outPfcPauseMicros, now.outPfcPauseMicros, before.outPfcPauseMicros);
}

std::uint64_t receiveErrorSum(EthStatistics const& s) {
  using enum EthCounter;
  return s[alignmentErrors] + s[fcsErrors] + s[frameTooLongs] + s[frameTooShorts] +
         s[internalMacReceiveErrors];
}

std::uint64_t transmitErrorSum(EthStatistics const& s) {
  using enum EthCounter;
  return s[sqeTestErrors] + s[lateCollisions] + s[excessiveCollisions] +
         s[internalMacTransmitErrors] + s[carrierSenseErrors];
}

}  // namespace Interface
