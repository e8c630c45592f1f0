#include "hardware/simulated/vlan_counters_helper.h"

#include "platform/kel/system.h"

namespace Hardware::Simulated {

void VlanCountersHelper::getVlanCounters(Bridging::VlanId vlanId,
                                         Kel::Ptr<OruTypes::VlanCounters> newCounters,
                                         Kel::Ptr<OruTypes::VlanCounters> prevCounters) {
  auto const found = _chip->vlans().find(vlanId);
  if (found == _chip->vlans().end()) return;
  Sample const sample = found->second.sample(Kel::System::currentTime() - _switchedOn);
  Bridging::VlanCounts const counts{.inOctets = sample.inOctets,
                                    .inUcastPkts = sample.frames(Fate::inUcastPkts),
                                    .inMulticastPkts = sample.frames(Fate::inMulticastPkts),
                                    .inBroadcastPkts = sample.frames(Fate::inBroadcastPkts),
                                    .outOctets = sample.outOctets,
                                    .outUcastPkts = sample.frames(Fate::outUcastPkts),
                                    .outMulticastPkts = sample.frames(Fate::outMulticastPkts),
                                    .outBroadcastPkts = sample.frames(Fate::outBroadcastPkts)};
  prevCounters->countsIs(_last[vlanId]);
  newCounters->countsIs(counts);
  _last[vlanId] = counts;
}

}  // namespace Hardware::Simulated
