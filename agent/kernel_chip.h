// The Linux kernel as the chip: the Ethernet links of this network namespace are the interfaces,
// the named counters of nftables' table `inet copp` the classes of control-plane policing, and the
// VLANs those of its bridge.
#pragma once

#include "agent/chip.h"
#include "agent/kernel_vlans.h"
#include "agent/link_sync.h"
#include "hardware/linux/link_monitor.h"
#include "hardware/linux/link_speed.h"
#include "hardware/linux/linux_counters_helper.h"
#include "platform/kel/clock.h"

namespace Agent {

class KernelChip : public Chip, private PortLinks {
 public:
  // Keeps its counts' offsets in tables of its own beside the others. What it is given by
  // reference must outlive it.
  KernelChip(LinkNames const& names, AclDropMap const& aclDrops, bool keepCounters,
             VlanOptions const& vlanOptions, Tables& tables, Interfaces& interfaces, Vlans& vlans,
             Kel::Ptr<Kel::Clock> const& clock);

  Kel::Ptr<OruHelper::OruHelperCountersSm> helper() const override { return _helper; }
  Kel::Ptr<OruHelper::OruVlanCountersHelper> vlanHelper() const override {
    return _kernelVlans.helper();
  }
  void start(EventLoop& loop) override;
  void retellRefused() override {
    _sync.serveRefused();
    _kernelVlans.retellRefused();
  }
  bool vlansAreTold() const override { return _kernelVlans.areTold(); }
  bool couldRead(Bridging::VlanId vlanId) const override {
    return _kernelVlans.helper()->couldRead(vlanId);
  }
  std::optional<Interface::CounterSet> unsupported(Pekt::IntfId const& intfId) override;
  std::optional<std::uint32_t> unsupportedQueue(Pekt::IntfId const& intfId) override;
  CoppClassNames const* coppClasses() const override;
  void turn() override;

 private:
  RowsOf rowsOf(Pekt::IntfId const& intfId, Link const& link) override;
  bool reserve(Pekt::IntfId const& intfId, Link const& link) override;
  bool moveTo(Pekt::IntfId const& intfId, Link const& link) override;
  void forget(Pekt::IntfId const& intfId) override { _helper->forget(intfId); }
  void linkIs(Pekt::IntfId const& intfId, Link const& link) override;
  void linkDel(Pekt::IntfId const& intfId) override;
  void lookForClasses();
  void takeNews();
  void handle(Hardware::Linux::LinkMonitor::Events const& events);

  Kel::Ptr<Kel::Clock> const _clock;
  Kel::Ptr<Interface::AllVlanIntfCounterGlim> const _vlanRows;
  Kel::Ptr<Hardware::Linux::LinuxCountersHelper> const _helper;
  Hardware::Linux::LinkSpeed _speed;
  Hardware::Linux::LinkMonitor _monitor;
  LinkSync _sync;
  KernelVlans _kernelVlans;
  bool _newsIsDue = false;  // the last try to read it failed
  bool _offsetsFail = false;
  std::optional<Kel::Seconds> _lastLook;  // for policing classes
};

}  // namespace Agent
