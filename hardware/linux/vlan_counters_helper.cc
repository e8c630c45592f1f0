#include "hardware/linux/vlan_counters_helper.h"

#include <utility>

namespace Hardware::Linux {

using Bridging::VlanCounts;
using Bridging::VlanId;

namespace {

constexpr std::string_view kPrefix = "Vlan";

Pekt::IntfId keyOf(VlanId vlanId) {
  return Pekt::IntfId(std::string(kPrefix) + std::to_string(vlanId.value()));
}

// The VLAN of a key; none of a key that no VLAN has.
std::optional<VlanId> vlanOf(Pekt::IntfId const& key) {
  std::uint64_t const number = Pekt::VlanIntfId::vlanId(key);
  return number != 0 ? std::optional(VlanId(number)) : std::nullopt;
}

// A VLAN's row as a port's that counts nothing else.
Interface::EthIntfCounterGlim asPort(VlanCounts const& counts) {
  Interface::EthIntfCounterGlim port;
  port.statistics.inOctets = counts.inOctets;
  port.statistics.inUcastPkts = counts.inUcastPkts;
  port.statistics.outOctets = counts.outOctets;
  port.statistics.outUcastPkts = counts.outUcastPkts;
  return port;
}

KernelCounts asPort(VlanKernelCounts const& kernel) {
  KernelCounts counts;
  counts.set(PortField::inOctets, kernel.rxOctets);
  counts.set(PortField::inPkts, kernel.rxPkts);
  counts.set(PortField::outOctets, kernel.txOctets);
  counts.set(PortField::outPkts, kernel.txPkts);
  return counts;
}

VlanCounts sampleOf(PortAccount const& account) {
  Interface::IntfStatistics since;
  Interface::EthStatistics eth;
  account.sample(since, eth);
  VlanCounts counts;
  counts.inOctets = since.inOctets;
  counts.inUcastPkts = since.inUcastPkts;
  counts.outOctets = since.outOctets;
  counts.outUcastPkts = since.outUcastPkts;
  return counts;
}

}  // namespace

VlanCountersHelper::VlanCountersHelper(Kel::Name name, Parts parts)
    : OruVlanCountersHelper(std::move(name)), _parts(std::move(parts)) {}

void VlanCountersHelper::bridgeIs(int ifindex) { _bridge = ifindex; }

void VlanCountersHelper::vlanDel(VlanId vlanId) {
  _vlans.erase(vlanId);
  _parts.offsets->erase(keyOf(vlanId));
}

bool VlanCountersHelper::continues(VlanId vlanId) const {
  auto const stored = _parts.offsets->load(keyOf(vlanId));
  return stored && stored->identity == identity();
}

bool VlanCountersHelper::couldRead(VlanId vlanId) const {
  auto const at = _vlans.find(vlanId);
  return at != _vlans.end() && at->second.wasRead;
}

void VlanCountersHelper::forEachKept(std::function<void(VlanId)> const& visit) {
  _parts.offsets->forEach([&](Pekt::IntfId const& intfId) {
    if (auto const vlanId = vlanOf(intfId))
      visit(*vlanId);
    else
      _parts.offsets->erase(intfId);
  });
}

VlanKernelCounts const* VlanCountersHelper::read(VlanId vlanId) {
  if (_bridge == 0) return nullptr;
  auto const error = _parts.stats->refresh(_parts.now());
  if (error && !_readFails)
    _parts.say("the counters of VLANs cannot be read, trying on: " + error.message());
  _readFails = static_cast<bool>(error);
  return _parts.stats->find(_bridge, static_cast<std::uint16_t>(vlanId.value()));
}

// Told again of one that it counts, it goes on counting.
void VlanCountersHelper::initializeVlanCounters(VlanId vlanId) {
  if (_vlans.contains(vlanId)) return;
  auto const row = _parts.publishedRow(vlanId);
  VlanCounts const base = row ? row->counts : VlanCounts();
  _vlans.emplace(vlanId,
                 Vlan{base, PortAccount(asPort(base), _parts.offsets->load(keyOf(vlanId)))});
}

void VlanCountersHelper::getVlanCounters(VlanId vlanId,
                                         Kel::Ptr<OruTypes::VlanCounters> newCounters,
                                         Kel::Ptr<OruTypes::VlanCounters> prevCounters) {
  auto const at = _vlans.find(vlanId);
  auto const row = _parts.publishedRow(vlanId);
  if (at == _vlans.end() || !row) return;
  Vlan& vlan = at->second;
  auto const* const counts = read(vlanId);
  vlan.wasRead = counts != nullptr;
  if (counts) {
    vlan.account.advance(identity(), asPort(*counts));
    // Before anything is published that depends on it.
    if (!saveOffsets(*_parts.offsets, keyOf(vlanId), vlan.account)) ++_offsetsNotSaved;
  }
  prevCounters->countsIs(row->counts);
  newCounters->countsIs(vlan.base + sampleOf(vlan.account));
}

}  // namespace Hardware::Linux
