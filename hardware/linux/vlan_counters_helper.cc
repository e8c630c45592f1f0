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
  auto const put = [&](PortField field, std::uint64_t value) {
    counts.totals[field] = value;
    counts.known.insert(field);
  };
  put(PortField::inOctets, kernel.rxOctets);
  put(PortField::inPkts, kernel.rxPkts);
  put(PortField::outOctets, kernel.txOctets);
  put(PortField::outPkts, kernel.txPkts);
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
    : OruVlanCountersHelper(std::move(name)), parts_(std::move(parts)) {}

void VlanCountersHelper::bridgeIs(int ifindex) { bridge_ = ifindex; }

void VlanCountersHelper::vlanDel(VlanId vlanId) {
  vlans_.erase(vlanId);
  parts_.offsets->erase(keyOf(vlanId));
}

bool VlanCountersHelper::continues(VlanId vlanId) const {
  auto const stored = parts_.offsets->load(keyOf(vlanId));
  return stored && stored->identity == identity();
}

bool VlanCountersHelper::couldRead(VlanId vlanId) const {
  auto const at = vlans_.find(vlanId);
  return at != vlans_.end() && at->second.wasRead;
}

void VlanCountersHelper::forEachKept(std::function<void(VlanId)> const& visit) {
  parts_.offsets->forEach([&](Pekt::IntfId const& intfId) {
    if (auto const vlanId = vlanOf(intfId))
      visit(*vlanId);
    else
      parts_.offsets->erase(intfId);
  });
}

VlanKernelCounts const* VlanCountersHelper::read(VlanId vlanId) {
  if (bridge_ == 0) return nullptr;
  auto const error = parts_.stats->refresh(parts_.now());
  if (error && !readFails_)
    parts_.say("the counters of VLANs cannot be read, trying on: " + error.message());
  readFails_ = static_cast<bool>(error);
  return parts_.stats->find(bridge_, static_cast<std::uint16_t>(vlanId.value()));
}

void VlanCountersHelper::save(VlanId vlanId, PortAccount& account) {
  if (!account.mustSave()) return;
  if (parts_.offsets->save(keyOf(vlanId), *account.stored()))
    account.saved();
  else
    ++offsetsNotSaved_;
}

// Told again of one that it counts, it goes on counting.
void VlanCountersHelper::initializeVlanCounters(VlanId vlanId) {
  if (vlans_.contains(vlanId)) return;
  auto const row = parts_.publishedRow(vlanId);
  VlanCounts const base = row ? row->counts : VlanCounts();
  vlans_.emplace(vlanId,
                 Vlan{base, PortAccount(asPort(base), parts_.offsets->load(keyOf(vlanId)))});
}

void VlanCountersHelper::getVlanCounters(VlanId vlanId,
                                         Kel::Ptr<OruTypes::VlanCounters> newCounters,
                                         Kel::Ptr<OruTypes::VlanCounters> prevCounters) {
  auto const at = vlans_.find(vlanId);
  auto const row = parts_.publishedRow(vlanId);
  if (at == vlans_.end() || !row) return;
  Vlan& vlan = at->second;
  auto const* const counts = read(vlanId);
  vlan.wasRead = counts != nullptr;
  if (counts) {
    vlan.account.advance(identity(), asPort(*counts));
    // Before anything is published that depends on it.
    save(vlanId, vlan.account);
  }
  prevCounters->countsIs(row->counts);
  newCounters->countsIs(vlan.base + sampleOf(vlan.account));
}

}  // namespace Hardware::Linux
