#include "hardware/simulated/port.h"

#include <algorithm>
#include <numeric>

namespace Hardware::Simulated {

namespace {

std::size_t sizeClass(std::uint32_t octets) {
  constexpr std::array<std::uint32_t, frameSizes - 1> largest = {64, 127, 255, 511, 1023, 1518};
  return static_cast<std::size_t>(std::lower_bound(largest.begin(), largest.end(), octets) -
                                  largest.begin());
}

bool carriedIn(Fate fate) {
  return fate == Fate::inUcastPkts || fate == Fate::inMulticastPkts ||
         fate == Fate::inBroadcastPkts;
}

bool carriedOut(Fate fate) {
  return fate == Fate::outUcastPkts || fate == Fate::outMulticastPkts ||
         fate == Fate::outBroadcastPkts;
}

// The classes of errors stand together in the enumeration.
std::uint64_t sum(Sample const& sample, Fate first, Fate last) {
  auto const begin = sample.byFate.begin();
  return std::accumulate(begin + static_cast<std::ptrdiff_t>(first),
                         begin + static_cast<std::ptrdiff_t>(last) + 1, std::uint64_t{0});
}

}  // namespace

void Port::add(Flow const& flow) { _flows.push_back(flow); }

void Port::stopAt(Seconds when) {
  for (Flow& flow : _flows) flow.until = std::min(flow.until, when);
}

void Port::resetAt(Seconds when) {
  _resets.insert(std::upper_bound(_resets.begin(), _resets.end(), when), when);
}

void Port::appearAt(Seconds when) { presenceIs(when, true); }

void Port::vanishAt(Seconds when) { presenceIs(when, false); }

void Port::presenceIs(Seconds when, bool present) {
  auto const later = [](Seconds time, Presence const& change) { return time < change.from; };
  _presence.insert(std::upper_bound(_presence.begin(), _presence.end(), when, later),
                   {when, present});
}

bool Port::presentAt(Seconds now) const {
  bool present = true;
  for (Presence const& change : _presence) {
    if (change.from > now) break;
    present = change.present;
  }
  return present;
}

Seconds Port::nextChangeAfter(Seconds now) const {
  for (Presence const& change : _presence) {
    if (change.from > now && change.present != presentAt(now)) return change.from;
  }
  return Flow::forever;
}

Port::Start Port::startOf(Seconds now) const {
  auto const after = std::upper_bound(_resets.begin(), _resets.end(), now);
  if (after == _resets.begin()) return {0.0, _countsFrom};
  return {*(after - 1), 0};
}

Sample Port::sample(Seconds now) const {
  auto const [start, count] = startOf(now);
  Sample sample;
  sample.optionalCounters = _optionalCounters;
  sample.byFate.fill(count);
  sample.inOctets = sample.outOctets = count;
  sample.inSizes.fill(count);
  sample.outSizes.fill(count);
  for (Flow const& flow : _flows) {
    std::uint64_t const frames = flow.passed(now) - flow.passed(start);
    sample.frames(flow.fate) += frames;
    if (carriedIn(flow.fate)) {
      sample.inOctets += frames * flow.octets;
      sample.inSizes[sizeClass(flow.octets)] += frames;
    } else if (carriedOut(flow.fate)) {
      sample.outOctets += frames * flow.octets;
      sample.outSizes[sizeClass(flow.octets)] += frames;
    }
  }
  sample.inErrors = sum(sample, Fate::alignmentErrors, Fate::internalMacReceiveErrors);
  sample.outErrors = sum(sample, Fate::sqeTestErrors, Fate::carrierSenseErrors);
  if (now >= _inErrorsBroken) ++sample.inErrors;
  if (now >= _outErrorsBroken) ++sample.outErrors;
  return sample;
}

std::array<QueueSample, egressQueues> Port::queues(Seconds now) const {
  auto const [start, count] = startOf(now);
  std::array<QueueSample, egressQueues> queues;
  queues.fill({count, count, count, count});
  for (Flow const& flow : _flows) {
    bool const dropped = flow.fate == Fate::outDiscards;
    if (!dropped && !carriedOut(flow.fate)) continue;
    QueueSample& queue = queues[flow.queue % egressQueues];
    std::uint64_t const frames = flow.passed(now) - flow.passed(start);
    (dropped ? queue.dropPkts : queue.pkts) += frames;
    (dropped ? queue.dropOctets : queue.octets) += frames * flow.octets;
  }
  return queues;
}

std::uint64_t Port::aclDrops(Seconds now) const {
  auto const [start, count] = startOf(now);
  std::uint64_t drops = count;
  for (Flow const& flow : _flows) {
    if (flow.fate == Fate::aclDrops) drops += flow.passed(now) - flow.passed(start);
  }
  return drops;
}

}  // namespace Hardware::Simulated
