#include "hardware/simulated/counters_helper.h"

#include "counters/pollers/counter_records.h"
#include "platform/dov/exception.h"
#include "platform/kel/system.h"

namespace Hardware::Simulated {

namespace {

using Interface::EthCounter;

// The fates that a counter of the Ethernet MAC counts.
struct MacFate {
  Fate fate;
  EthCounter counter;
};
constexpr std::array macFates{
    MacFate{Fate::alignmentErrors, EthCounter::alignmentErrors},
    MacFate{Fate::fcsErrors, EthCounter::fcsErrors},
    MacFate{Fate::frameTooLongs, EthCounter::frameTooLongs},
    MacFate{Fate::frameTooShorts, EthCounter::frameTooShorts},
    MacFate{Fate::internalMacReceiveErrors, EthCounter::internalMacReceiveErrors},
    MacFate{Fate::sqeTestErrors, EthCounter::sqeTestErrors},
    MacFate{Fate::lateCollisions, EthCounter::lateCollisions},
    MacFate{Fate::excessiveCollisions, EthCounter::excessiveCollisions},
    MacFate{Fate::internalMacTransmitErrors, EthCounter::internalMacTransmitErrors},
    MacFate{Fate::carrierSenseErrors, EthCounter::carrierSenseErrors},
    MacFate{Fate::inPauseFrames, EthCounter::inPauseFrames},
    MacFate{Fate::outPauseFrames, EthCounter::outPauseFrames},
};

void fill(Interface::IntfStatistics& stats, Sample const& sample, Kel::Seconds now) {
  auto const optional = [&](Fate fate) {
    return sample.optionalCounters ? Wib::MaybeU63(sample.frames(fate)) : Wib::MaybeU63::none();
  };
  stats.inOctets = sample.inOctets;
  stats.inUcastPkts = sample.frames(Fate::inUcastPkts);
  stats.inMulticastPkts = sample.frames(Fate::inMulticastPkts);
  stats.inBroadcastPkts = sample.frames(Fate::inBroadcastPkts);
  stats.outOctets = sample.outOctets;
  stats.outUcastPkts = sample.frames(Fate::outUcastPkts);
  stats.outMulticastPkts = sample.frames(Fate::outMulticastPkts);
  stats.outBroadcastPkts = optional(Fate::outBroadcastPkts);
  stats.inDiscards = sample.frames(Fate::inDiscards);
  stats.outDiscards = sample.frames(Fate::outDiscards);
  stats.inErrors = sample.inErrors;
  stats.inUnknownProtos = optional(Fate::inUnknownProtos);
  stats.outErrors = sample.outErrors;
  stats.lastUpdate = now;
}

void fill(Interface::EthStatistics& stats, Sample const& sample) {
  for (auto const& [fate, counter] : macFates) stats[counter] = sample.frames(fate);
  for (std::size_t size = 0; size < frameSizes; ++size) {
    stats.plain[static_cast<std::size_t>(EthCounter::in64Octets) + size] = sample.inSizes[size];
    stats.plain[static_cast<std::size_t>(EthCounter::out64Octets) + size] = sample.outSizes[size];
  }
  if (sample.optionalCounters) return;
  for (auto* const perPriority : {&stats.inPfcFrames, &stats.outPfcFrames, &stats.inPfcPauseMicros,
                                  &stats.outPfcPauseMicros}) {
    perPriority->entries.fill(Wib::MaybeU63::none());
  }
}

using Interface::QueueCounter::QueueCounts;
using Interface::QueueCounter::QueueIndex;

QueueCounts counts(QueueSample const& queue) {
  return {queue.pkts, queue.octets, queue.dropPkts, queue.dropOctets};
}

// A reset is seen by any count that stepped back, and takes all of them to 0.
QueueCounts increments(QueueSample const& now, QueueSample const& last) {
  if (now.pkts < last.pkts || now.octets < last.octets || now.dropPkts < last.dropPkts ||
      now.dropOctets < last.dropOctets)
    return counts(now);
  return {now.pkts - last.pkts, now.octets - last.octets, now.dropPkts - last.dropPkts,
          now.dropOctets - last.dropOctets};
}

}  // namespace

Port const* CountersHelper::presentPort(Pekt::IntfId const& intfId) const {
  Port const* const port = _chip->find(intfId);
  return port && port->presentAt(chipTime()) ? port : nullptr;
}

void CountersHelper::getCounters(Pekt::IntfId intfId, Kel::Ptr<OruTypes::IntfCounters> newCounters,
                                 Kel::Ptr<OruTypes::IntfCounters> prevCounters) {
  Port const* const port = presentPort(intfId);
  if (!port) {
    newCounters->intfStatsIs(prevCounters->intfStats());
    newCounters->ethStatsIs(prevCounters->ethStats());
    return;
  }
  Sample const sample = port->sample(chipTime());
  fill(newCounters->intfStats(), sample, Kel::System::currentTime());
  fill(newCounters->ethStats(), sample);
}

void CountersHelper::getVlanIntfCounters(Pekt::IntfId intfId,
                                         Kel::Ptr<OruTypes::VlanIntfCounters> newCounters,
                                         Kel::Ptr<OruTypes::VlanIntfCounters> prevCounters) {
  Port const* const port = presentPort(intfId);
  if (!port) {
    newCounters->intfStatsIs(prevCounters->intfStats());
    return;
  }
  fill(newCounters->intfStats(), port->sample(chipTime()), Kel::System::currentTime());
}

bool CountersHelper::initializeVlanIntfCounters(Pekt::IntfId intfId, std::uint16_t) {
  return _chip->find(intfId) != nullptr;
}

void CountersHelper::getIntfQueueType(Pekt::IntfId intfId,
                                      Kel::Ptr<OruTypes::IntfQueueType> types) {
  if (!_chip->find(intfId)) return;
  for (std::uint8_t queue = 0; queue < egressQueues; ++queue)
    types->queueTypeIs(queue, OruTypes::QueueType::unicast);
}

void CountersHelper::getIntfQueueCounters(Pekt::IntfId intfId,
                                          Kel::Ptr<OruTypes::IntfQueueCounters> counters) {
  Port const* const port = presentPort(intfId);
  if (!port) return;
  QueueSamples const now = port->queues(chipTime());
  QueueSamples& last = _lastQueues[intfId];
  QueueCounts all;
  for (std::uint32_t queue = 0; queue < egressQueues; ++queue) {
    QueueCounts const told =
        queueCountersIncrement() ? increments(now[queue], last[queue]) : counts(now[queue]);
    counters->queueCountsIs(QueueIndex(queue), told);
    all += told;
  }
  counters->intfCountsIs(all);
  last = now;
}

// The row with the counts of now.
Qos::CoppClassCounter CountersHelper::coppRow(Qos::CoppClassName const& className,
                                              Port const& port) const {
  Sample const sample = port.sample(chipTime());
  Qos::CoppClassCounter row = _coppRows->lookup(className);
  row.className = className;
  row.pkts = sample.frames(Fate::inUcastPkts);
  row.octets = sample.inOctets;
  row.lastUpdate = Kel::System::currentTime();
  row.policyMap = std::string_view(_policyMap);
  return row;
}

void CountersHelper::getCoppCounters() {
  if (!_coppRows) return;
  _coppClasses.clear();
  _coppWithoutRoom.clear();
  for (auto const& [name, port] : _chip->coppClasses()) try {
      _coppRows->counterIs(coppRow(name, port));
      _coppClasses.insert(name);
    } catch (Dov::ResourceException const& exception) {
      _coppWithoutRoom.emplace(name, exception.message());
    }
}

void CountersHelper::resetCpuQueueCounters(Kel::Name className) {
  auto const at = _chip->coppClasses().find(std::string(className.view()));
  if (!_coppRows || at == _chip->coppClasses().end()) return;
  Qos::CoppClassCounter row = coppRow(at->first, at->second);
  row.resetPkts = row.pkts;
  row.resetOctets = row.octets;
  row.lastReset = row.lastUpdate;
  _coppRows->counterIs(row);
}

std::uint64_t CountersHelper::getIntfAclDropCounters(Pekt::IntfId intfId) {
  Port const* const port = _chip->find(intfId);
  return port ? port->aclDrops(chipTime()) : 0;
}

}  // namespace Hardware::Simulated
