// CPU ports and routed VLAN interfaces as they come and go.
#include "counters/counters_sm.h"
#include "counters/pollers/unit.h"

namespace Oru::Counters {

void CountersSm::handleCpuIntf() {
  if (!started() || !ocsd()) return;
  auto const data = ocsd();
  for (auto const& [id, served] : Kel::walk(data->cpuIntf())) handleCpuIntf(id);
}

void CountersSm::handleCpuIntf(Pekt::IntfId intf) {
  if (!started()) return;
  if (auto t = trace(7)) t << "CountersSm::handleCpuIntf(" << intf << ')';
}

void CountersSm::handleVlanIntf() {
  if (auto t = trace(8)) t << "void Oru::Counters::CountersSm::handleVlanIntf()";
  auto const data = ocsd();
  if (!data) return;
  for (auto const& [id, served] : Kel::walk(data->vlanIntf())) handleVlanIntf(id);
}

void CountersSm::handleVlanIntf(Pekt::IntfId vlanIntfId) {
  if (auto t = trace(8))
    t << "void Oru::Counters::CountersSm::handleVlanIntf(Pekt::IntfId) vlanIntf: " << vlanIntfId;
}

}  // namespace Oru::Counters
