// A chip that is arithmetic, for trying things out: its ports are Ethernet1 to Ethernet<n>, its
// VLAN interfaces Vlan10 and those after it, and its CPU port has a few classes, all under traffic
// that the seed decides, in the time of this machine.
#pragma once

#include <memory>

#include "agent/chip.h"
#include "hardware/linux/copp_offsets.h"
#include "hardware/linux/glim_offset_store.h"
#include "hardware/simulated/counters_helper.h"

namespace Agent {

class SimulatedChip : public Chip {
 public:
  SimulatedChip(std::uint32_t ports, std::uint32_t vlanInterfaces, std::uint64_t seed,
                Tables& tables, Interfaces& interfaces);

  Kel::Ptr<OruHelper::OruHelperCountersSm> helper() const override { return _helper; }
  // The simulated counts begin anew with each agent, and so do the rows: all that is in the tables
  // is dropped, the counts of links included.
  void start(EventLoop& loop) override;
  void retellRefused() override;
  CoppClassNames const* coppClasses() const override { return &_coppClasses; }

 private:
  std::shared_ptr<Hardware::Simulated::Chip const> const _chip;
  Kel::Ptr<Hardware::Simulated::CountersHelper> const _helper;
  Kel::Ptr<Hardware::Linux::GlimOffsetStore::Table> const _linkOffsets;
  Kel::Ptr<Hardware::Linux::GlimQueueOffsetStore::Table> const _queueOffsets;
  Kel::Ptr<Hardware::Linux::CoppOffsetTable> const _coppOffsets;
  Kel::Ptr<Qos::AllCoppClassCounter> const _coppRows;
  CoppClassNames _coppClasses;
  Interfaces& _interfaces;
};

}  // namespace Agent
