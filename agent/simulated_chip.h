// A chip that is arithmetic, for trying things out: its ports are Ethernet1 to Ethernet<n>, its
// VLAN interfaces Vlan10 and those after it, in the VLANs of these numbers, and its CPU port has a
// few classes, all under traffic that the seed decides, in the time of this machine.
#pragma once

#include <memory>

#include "agent/chip.h"
#include "agent/vlans.h"
#include "hardware/linux/copp_offsets.h"
#include "hardware/linux/glim_offset_store.h"
#include "hardware/simulated/counters_helper.h"
#include "hardware/simulated/vlan_counters_helper.h"

namespace Agent {

class SimulatedChip : public Chip {
 public:
  SimulatedChip(std::uint32_t ports, std::uint32_t vlanInterfaces, std::uint64_t seed,
                Tables& tables, Interfaces& interfaces, Vlans& vlans);

  Kel::Ptr<OruHelper::OruHelperCountersSm> helper() const override { return _helper; }
  Kel::Ptr<OruHelper::OruVlanCountersHelper> vlanHelper() const override { return _vlanHelper; }
  // The simulated counts begin anew with each agent, and so do the rows: all that is in the tables
  // is dropped, the counts of links included.
  void start(EventLoop& loop) override;
  void retellRefused() override;
  CoppClassNames const* coppClasses() const override { return &_helper->coppClasses(); }
  void turn() override;

 private:
  std::shared_ptr<Hardware::Simulated::Chip const> const _chip;
  Kel::Ptr<Hardware::Simulated::CountersHelper> const _helper;
  Kel::Ptr<Hardware::Simulated::VlanCountersHelper> const _vlanHelper;
  Kel::Ptr<Hardware::Linux::GlimOffsetStore::Table> const _linkOffsets;
  Kel::Ptr<Hardware::Linux::GlimQueueOffsetStore::Table> const _queueOffsets;
  Kel::Ptr<Hardware::Linux::CoppOffsetTable> const _coppOffsets;
  Kel::Ptr<Hardware::Linux::GlimVlanOffsetStore::Table> const _vlanOffsets;
  Kel::Ptr<Qos::AllCoppClassCounter> const _coppRows;
  bool _refusedClassesTold = false;
  Interfaces& _interfaces;
  Vlans& _vlans;
};

}  // namespace Agent
