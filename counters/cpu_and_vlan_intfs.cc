// CPU ports and routed VLAN interfaces as they come and go.
#include "counters/counters_sm.h"
#include "counters/pollers/cpu_port_counters_sm.h"
#include "counters/pollers/unit.h"
#include "counters/pollers/vlan_intf_counters_sm.h"
#include "platform/interface/counter_tables.h"
#include "platform/kel/activity.h"

namespace Oru::Counters {

void CountersSm::handleCpuIntf() {
  if (!started() || !ocsd()) return;
  auto const data = ocsd();
  for (auto const& [id, served] : Kel::walk(data->cpuIntf())) handleCpuIntf(id);
}

void CountersSm::handleCpuIntf(Pekt::IntfId intf) {
  if (!started()) return;
  if (auto t = trace(7)) t << "CountersSm::handleCpuIntf(" << intf << ')';
  if (!ocsd() || !ocsd()->cpuIntf(intf)) return _cpuPortCountersSm.endMember(intf);
  cpuPortCountersSmIs(ocsd(), intf, counterPollPeriod(), Kel::ActivityManagerConfig::clock(),
                      platformHelper())
      ->initializedIs(true);
}

void CountersSm::handleVlanIntf() {
  if (auto t = trace(8)) t << "void Oru::Counters::CountersSm::handleVlanIntf()";
  auto const data = ocsd();
  if (!data) return;
  for (auto const& [id, served] : Kel::walk(data->vlanIntf())) handleVlanIntf(id);
}

void CountersSm::handleVlanIntf(Pekt::IntfId vlanIntfId) {
  constexpr char const* function = "void Oru::Counters::CountersSm::handleVlanIntf(Pekt::IntfId)";
  if (auto t = trace(8)) t << function << " vlanIntf: " << vlanIntfId;
  if (!started()) return;
  if (!Pekt::VlanIntfId::isVlanIntfId(vlanIntfId)) return;
  VlanIntf const now = vlanIntf(vlanIntfId);
  if (auto t = trace(7))
    t << function << " interface " << vlanIntfId << " status " << bool(now.status) << " config "
      << bool(now.config) << " counters " << now.counted << " ocsd " << now.served;
  if (now.present()) {
    if (auto t = trace(7))
      t << function << " Initializing counter state machine for VLAN interface " << vlanIntfId;
    vlanIntfPresent(vlanIntfId);
  } else if (vlanIntfCountersSm(vlanIntfId)) {
    if (auto t = trace(7))
      t << function << " Deleting counter state machine vlanIntf: " << vlanIntfId;
    vlanIntfAbsent(vlanIntfId);
  }
}

CountersSm::VlanIntf CountersSm::vlanIntf(Pekt::IntfId const& vlanIntfId) const {
  auto const statuses = vlanIntfStatusDir();
  auto const configs = vlanIntfConfigDir();
  return {.served = ocsd() && ocsd()->vlanIntf(vlanIntfId),
          .status = statuses ? statuses->intfStatus(vlanIntfId) : nullptr,
          .config = configs ? configs->intfConfig(vlanIntfId) : nullptr,
          .counted = bool(allVlanIntfCounters())};
}

// The order of the steps is part of the contract, here and in vlanIntfAbsent. The helper is told
// each time, also of an interface that has its poller.
void CountersSm::vlanIntfPresent(Pekt::IntfId const& vlanIntfId) {
  std::uint16_t const vlanId = Pekt::VlanIntfId::vlanId(vlanIntfId);
  if (!platformHelper()->initializeVlanIntfCounters(vlanIntfId, vlanId)) return;
  if (vlanIntfCountersSm(vlanIntfId)) return;
  // The helper may have ended the interface, or had it configured anew.
  VlanIntf const now = vlanIntf(vlanIntfId);
  if (!now.present()) return;
  auto const poller = vlanIntfCountersSmIs(
      ocsd(), vlanIntfId, counterPollPeriod(), Kel::ActivityManagerConfig::clock(),
      platformHelper(), globalIntfConfig(), now.config, now.status, allVlanIntfCounters());
  try {
    poller->initializedIs(true);
    vlanIntfCounterWriterStatus()->intfIs(vlanIntfId, true);
  } catch (...) {
    _vlanIntfCountersSm.endMember(vlanIntfId);  // so that the next notification tries again
    throw;
  }
}

void CountersSm::vlanIntfAbsent(Pekt::IntfId const& vlanIntfId) {
  if (vlanIntfCounterWriterStatus()) vlanIntfCounterWriterStatus()->intfDel(vlanIntfId);
  platformHelper()->deleteVlanIntfCounters(vlanIntfId);
  _vlanIntfCountersSm.endMember(vlanIntfId);
  allVlanIntfCounters()->counterDel(vlanIntfId);
  // Whoever was told may have brought it back, while it still had its poller.
  if (vlanIntf(vlanIntfId).present()) handleVlanIntf(vlanIntfId);
}

}  // namespace Oru::Counters
