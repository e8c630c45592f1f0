// The VLANs of the simulated chip behind the helper contract of the VLAN counters. All counters are
// counted.
#pragma once

#include <map>
#include <memory>

#include "counters/vlan/helper.h"
#include "hardware/simulated/chip.h"

namespace Hardware::Simulated {

class VlanCountersHelper final : public OruHelper::OruVlanCountersHelper {
 public:
  // `switchedOn` as of CountersHelper.
  VlanCountersHelper(Kel::Name name, std::shared_ptr<Chip const> chip,
                     Kel::Seconds switchedOn = Kel::System::currentTime())
      : OruVlanCountersHelper(std::move(name)), _chip(std::move(chip)), _switchedOn(switchedOn) {}

  // A VLAN that the chip does not have stands still.
  void getVlanCounters(Bridging::VlanId vlanId, Kel::Ptr<OruTypes::VlanCounters> newCounters,
                       Kel::Ptr<OruTypes::VlanCounters> prevCounters) override;

 private:
  std::shared_ptr<Chip const> const _chip;
  Kel::Seconds const _switchedOn;
  std::map<Bridging::VlanId, Bridging::VlanCounts> _last;
};

}  // namespace Hardware::Simulated
