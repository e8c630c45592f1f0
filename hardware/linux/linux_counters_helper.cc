#include "hardware/linux/linux_counters_helper.h"

#include <algorithm>
#include <utility>

#include "counters/pollers/counter_records.h"
#include "hardware/linux/network_generation.h"

namespace Hardware::Linux {

using Interface::QueueCounter::QueueIndex;

namespace {

bool isVlan(Pekt::IntfId const& intfId) { return Pekt::VlanIntfId::isVlanIntfId(intfId); }

}  // namespace

Interface::EthIntfCounterGlim asPort(Interface::VlanIntfCounterGlim const& row) {
  using Interface::EthCounter;
  Interface::EthIntfCounterGlim port;
  port.intfId = row.intfId;
  port.statistics = row.statistics;
  port.rates = row.rates;
  port.ethStatistics[EthCounter::internalMacReceiveErrors] = row.statistics.inErrors;
  port.ethStatistics[EthCounter::internalMacTransmitErrors] = row.statistics.outErrors;
  return port;
}

LinuxCountersHelper::Parts LinuxCountersHelper::kernelParts(AgentParts agent) {
  return {std::move(agent),
          {.links = std::make_unique<LinkStats>(),
           .macs = std::make_unique<EthtoolStats>(),
           .qdiscs = std::make_unique<QdiscStats>(),
           .nftCounters = std::make_unique<NftCounters>(),
           .generation = networkGeneration()}};
}

LinuxCountersHelper::LinuxCountersHelper(Kel::Name name, Parts parts)
    : OruHelperCountersSm(std::move(name)),
      _parts(std::move(parts)),
      _links(*_parts.links, *_parts.macs, *_parts.qdiscs, _parts.now),
      _drops(_links, *_parts.nftCounters, std::move(_parts.aclDrops), _parts.now, _parts.say),
      _copp(_parts.copp, *_parts.nftCounters, _parts.generation, _parts.now, _parts.say) {}

LinuxCountersHelper::~LinuxCountersHelper() = default;

void LinuxCountersHelper::linkIs(Pekt::IntfId const& intfId, Link const& link) {
  linkDel(intfId);
  _ports[intfId].link = link;
}

void LinuxCountersHelper::linkDel(Pekt::IntfId const& intfId) {
  auto const at = _ports.find(intfId);
  if (at == _ports.end() || !at->second.link) return;
  _links.forget(at->second.link->ifindex);
  at->second.link.reset();
  if (at->second.isIdle()) _ports.erase(at);
}

LinuxCountersHelper::RowsOf LinuxCountersHelper::rowsOf(Pekt::IntfId const& intfId,
                                                        int ifindex) const {
  auto const stored = _parts.offsets->load(intfId);
  if (!stored || !_parts.publishedRow(intfId)) return RowsOf::nobody;
  return stored->identity == identityOf(ifindex) ? RowsOf::thisLink : RowsOf::another;
}

bool LinuxCountersHelper::reserve(Pekt::IntfId const& intfId, int ifindex) {
  bool const hadOffsets = _parts.offsets->load(intfId).has_value();
  if (!hadOffsets && !_parts.offsets->save(intfId, {identityOf(ifindex), {}})) return false;
  if (isVlan(intfId) || _parts.queueOffsets->load(intfId) ||
      _parts.queueOffsets->save(intfId, {identityOf(ifindex), {}, {}}))
    return true;
  if (!hadOffsets) _parts.offsets->erase(intfId);
  return false;
}

bool LinuxCountersHelper::moveTo(Pekt::IntfId const& intfId, int ifindex) {
  auto const counts = read(intfId, ifindex);
  if (!counts) return false;
  PortAccount port(_parts.publishedRow(intfId), _parts.offsets->load(intfId));
  port.moveTo(identityOf(ifindex), *counts);
  if (isVlan(intfId)) return _parts.offsets->save(intfId, *port.stored());
  auto const qdiscs = _links.qdiscs(ifindex);
  if (!qdiscs) return false;
  QueueAccount queues(_parts.publishedQueues(intfId), _parts.queueOffsets->load(intfId));
  // Whatever the number of its queues: those of which nothing is taken in count anew.
  queues.moveTo(identityOf(ifindex), queueReading(*qdiscs, 1));
  return _parts.queueOffsets->save(intfId, *queues.stored()) &&
         _parts.offsets->save(intfId, *port.stored());
}

void LinuxCountersHelper::forget(Pekt::IntfId const& intfId) {
  _parts.queueOffsets->erase(intfId);
  _parts.offsets->erase(intfId);
}

std::optional<Interface::CounterSet> LinuxCountersHelper::unsupportedCounters(
    Pekt::IntfId const& intfId) {
  auto const at = _ports.find(intfId);
  if (at == _ports.end() || !at->second.link) return std::nullopt;
  auto const counts = read(intfId, at->second.link->ifindex);
  if (!counts) return std::nullopt;
  // What such a MAC counts is unknown in this reading, not uncounted.
  if (!isVlan(intfId) && _links.macIsUnread(at->second.link->ifindex)) return std::nullopt;
  return Linux::unsupportedCounters(counts->known, at->second.link->kind);
}

std::optional<std::uint32_t> LinuxCountersHelper::unsupportedQueueCounters(
    Pekt::IntfId const& intfId) {
  auto const at = _ports.find(intfId);
  if (at == _ports.end() || !at->second.link || isVlan(intfId)) return std::nullopt;
  auto const reading = _links.queues(*at->second.link);
  return reading ? std::optional(Linux::unsupportedQueueCounters(*reading)) : std::nullopt;
}

void LinuxCountersHelper::hwInit() {
  _parts.offsets->forEach([this](Pekt::IntfId const& intfId) {
    if (!_parts.publishedRow(intfId)) _parts.offsets->erase(intfId);
  });
  _parts.queueOffsets->forEach([this](Pekt::IntfId const& intfId) {
    if (!_parts.publishedRow(intfId)) _parts.queueOffsets->erase(intfId);
  });
}

void LinuxCountersHelper::initialize(Pekt::IntfId intfId) { open(intfId, _ports[intfId]); }

void LinuxCountersHelper::deinitialize(Pekt::IntfId intfId) {
  auto const at = _ports.find(intfId);
  if (at != _ports.end()) {
    at->second.account.reset();
    at->second.queues.reset();
    at->second.aclDrops.reset();
    if (at->second.isIdle()) _ports.erase(at);
  }
  // A row that stays is continued when the interface comes back.
  if (!_parts.publishedRow(intfId)) forget(intfId);
}

void LinuxCountersHelper::open(Pekt::IntfId const& intfId, Port& port) {
  port.account.emplace(_parts.publishedRow(intfId), _parts.offsets->load(intfId));
  port.lastReading = 0.0;
}

std::optional<KernelCounts> LinuxCountersHelper::read(Pekt::IntfId const& intfId, int ifindex) {
  return isVlan(intfId) ? _links.vlan(ifindex) : _links.port(ifindex);
}

void LinuxCountersHelper::advance(Pekt::IntfId const& intfId, Port& port) {
  if (!port.account) open(intfId, port);
  if (!port.link) return;
  auto const counts = read(intfId, port.link->ifindex);
  if (!counts) return;
  port.account->advance(identityOf(port.link->ifindex), *counts);
  if (!saveOffsets(*_parts.offsets, intfId, *port.account)) ++_offsetsNotSaved;
  port.lastReading = _parts.now();
}

void LinuxCountersHelper::getCounters(Pekt::IntfId intfId,
                                      Kel::Ptr<OruTypes::IntfCounters> newCounters,
                                      Kel::Ptr<OruTypes::IntfCounters>) {
  Port& port = _ports[intfId];
  advance(intfId, port);
  port.account->sample(newCounters->intfStats(), newCounters->ethStats());
  newCounters->intfStats().lastUpdate = port.lastReading;
}

bool LinuxCountersHelper::initializeVlanIntfCounters(Pekt::IntfId intfId, std::uint16_t vlanId) {
  auto const at = _ports.find(intfId);
  if (at == _ports.end() || !at->second.link || at->second.link->vlanId != vlanId) return false;
  if (!at->second.account) open(intfId, at->second);
  return true;
}

void LinuxCountersHelper::getVlanIntfCounters(Pekt::IntfId intfId,
                                              Kel::Ptr<OruTypes::VlanIntfCounters> newCounters,
                                              Kel::Ptr<OruTypes::VlanIntfCounters>) {
  Port& port = _ports[intfId];
  advance(intfId, port);
  Interface::EthStatistics unused;
  port.account->sample(newCounters->intfStats(), unused);
  newCounters->intfStats().lastUpdate = port.lastReading;
}

void LinuxCountersHelper::deleteVlanIntfCounters(Pekt::IntfId intfId) {
  auto const at = _ports.find(intfId);
  if (at == _ports.end()) return;
  at->second.account.reset();
  if (at->second.isIdle()) _ports.erase(at);
}

void LinuxCountersHelper::getIntfQueueType(Pekt::IntfId intfId,
                                           Kel::Ptr<OruTypes::IntfQueueType> types) {
  auto const at = _ports.find(intfId);
  if (at == _ports.end() || !at->second.link) return;
  std::uint32_t const queues = std::min(at->second.link->txQueues, QueueIndex::max + 1);
  for (std::uint32_t queue = 0; queue < queues; ++queue)
    types->queueTypeIs(static_cast<std::uint8_t>(queue), OruTypes::QueueType::unicast);
}

void LinuxCountersHelper::getIntfQueueCounters(Pekt::IntfId intfId,
                                               Kel::Ptr<OruTypes::IntfQueueCounters> counters) {
  auto const at = _ports.find(intfId);
  if (at == _ports.end() || !at->second.link) return;
  Port& port = at->second;
  auto const reading = _links.queues(*port.link);
  if (!reading) return;
  if (!port.queues)
    port.queues.emplace(_parts.publishedQueues(intfId), _parts.queueOffsets->load(intfId));
  port.queues->advance(identityOf(port.link->ifindex), *reading);
  if (!saveOffsets(*_parts.queueOffsets, intfId, *port.queues)) ++_offsetsNotSaved;
  port.queues->sample(*counters);
}

void LinuxCountersHelper::doClearCounters(Kel::String request) {
  _parts.queueClearing.clear(request);
}

std::uint64_t LinuxCountersHelper::getIntfAclDropCounters(Pekt::IntfId intfId) {
  auto const at = _ports.find(intfId);
  if (at == _ports.end() || !at->second.link) return _parts.publishedDrops(intfId);
  Port& port = at->second;
  if (!port.aclDrops) port.aclDrops.emplace(_parts.publishedDrops(intfId));
  _drops.read(*port.link, *port.aclDrops);
  return port.aclDrops->count();
}

}  // namespace Hardware::Linux
