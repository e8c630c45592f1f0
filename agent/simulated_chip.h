// A chip that is arithmetic, for trying things out: its ports, VLAN interfaces, VLANs and classes
// of its CPU port are those of a seed or of a script, in the time of this machine. Ports may come
// and go.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "agent/chip.h"
#include "agent/vlans.h"
#include "hardware/linux/copp_offsets.h"
#include "hardware/linux/glim_offset_store.h"
#include "hardware/simulated/counters_helper.h"
#include "hardware/simulated/vlan_counters_helper.h"

namespace Agent {

class SimulatedChip : public Chip {
 public:
  SimulatedChip(std::shared_ptr<Hardware::Simulated::Chip const> chip, Tables& tables,
                Interfaces& interfaces, Vlans& vlans);

  Kel::Ptr<OruHelper::OruHelperCountersSm> helper() const override { return _helper; }
  Kel::Ptr<OruHelper::OruVlanCountersHelper> vlanHelper() const override { return _vlanHelper; }
  // The simulated counts begin anew with each agent, and so do the rows: all that is in the tables
  // is dropped, the counts of links included.
  void start(EventLoop& loop) override;
  void retellRefused() override;
  CoppClassNames const* coppClasses() const override {
    return _chip->coppClasses().empty() ? nullptr : &_helper->coppClasses();
  }
  void turn() override;

 private:
  void tellPorts();
  std::uint32_t indexOf(Pekt::IntfId const& intfId);

  std::shared_ptr<Hardware::Simulated::Chip const> const _chip;
  Kel::Ptr<Hardware::Simulated::CountersHelper> const _helper;
  Kel::Ptr<Hardware::Simulated::VlanCountersHelper> const _vlanHelper;
  Kel::Ptr<Hardware::Linux::GlimOffsetStore::Table> const _linkOffsets;
  Kel::Ptr<Hardware::Linux::GlimQueueOffsetStore::Table> const _queueOffsets;
  Kel::Ptr<Hardware::Linux::CoppOffsetTable> const _coppOffsets;
  Kel::Ptr<Hardware::Linux::GlimVlanOffsetStore::Table> const _vlanOffsets;
  Kel::Ptr<Qos::AllCoppClassCounter> const _coppRows;
  bool _refusedClassesTold = false;
  std::map<Pekt::IntfId, std::uint32_t> _indices;  // of the ports that ever were there
  std::vector<Pekt::IntfId> _there;
  Hardware::Simulated::Seconds _toldAt = 0.0, _nextChange = 0.0;
  Interfaces& _interfaces;
  Vlans& _vlans;
};

}  // namespace Agent
