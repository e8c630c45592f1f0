// The common data of the agent.
#pragma once

#include "platform/kel/notifier.h"
#include "platform/kel/text.h"
#include "platform/pekt/intf_id.h"

namespace Oru {

// Which interfaces this agent serves, and how. An interface belongs to the agent
// when its entry exists and is true.
class OruCommonSmData : public Kel::Notifier {
 public:
  class NotifieeConst : public Kel::NotifieeOn<OruCommonSmData> {
   public:
    virtual void onOperationalMode() {}
    virtual void onInitialized() {}
    virtual void onIntf(Pekt::IntfId) {}
    virtual void onIntfkelImmediate() {}
    virtual void onIntf() {}
    virtual void onCpuIntf(Pekt::IntfId) {}
    virtual void onCpuIntfkelImmediate() {}
    virtual void onCpuIntf() {}
    virtual void onVlanIntf(Pekt::IntfId) {}
    virtual void onVlanIntfkelImmediate() {}
    virtual void onVlanIntf() {}
    virtual void onKeepIntfCounters() {}
  };
  class Notifiee : public NotifieeConst {};
  using IntfMap = Kel::RbTreeMap<bool, Pekt::IntfId>;

  Kel::String const& operationalMode() const { return _operationalMode; }
  void operationalModeIs(Kel::String const& mode) {
    assign(_operationalMode, mode, &NotifieeConst::onOperationalMode);
  }
  bool initialized() const { return _initialized; }
  void initializedIs(bool initialized) {
    assign(_initialized, initialized, &NotifieeConst::onInitialized);
  }

  // Ethernet interfaces.
  IntfMap const& intf() const { return _intf; }
  bool intf(Pekt::IntfId const& id) const { return served(_intf, id); }
  void intfIs(Pekt::IntfId const& id, bool serve) {
    insert(_intf, id, serve, &NotifieeConst::onIntf);
  }
  void intfDel(Pekt::IntfId const& id) { erase(_intf, id, &NotifieeConst::onIntf); }
  void intfDelAll() { eraseAll(_intf, &NotifieeConst::onIntfkelImmediate, &NotifieeConst::onIntf); }

  // CPU ports.
  IntfMap const& cpuIntf() const { return _cpuIntf; }
  bool cpuIntf(Pekt::IntfId const& id) const { return served(_cpuIntf, id); }
  void cpuIntfIs(Pekt::IntfId const& id, bool serve) {
    insert(_cpuIntf, id, serve, &NotifieeConst::onCpuIntf);
  }
  void cpuIntfDel(Pekt::IntfId const& id) { erase(_cpuIntf, id, &NotifieeConst::onCpuIntf); }
  void cpuIntfDelAll() {
    eraseAll(_cpuIntf, &NotifieeConst::onCpuIntfkelImmediate, &NotifieeConst::onCpuIntf);
  }

  // Routed VLAN interfaces.
  IntfMap const& vlanIntf() const { return _vlanIntf; }
  bool vlanIntf(Pekt::IntfId const& id) const { return served(_vlanIntf, id); }
  void vlanIntfIs(Pekt::IntfId const& id, bool serve) {
    insert(_vlanIntf, id, serve, &NotifieeConst::onVlanIntf);
  }
  void vlanIntfDel(Pekt::IntfId const& id) { erase(_vlanIntf, id, &NotifieeConst::onVlanIntf); }
  void vlanIntfDelAll() {
    eraseAll(_vlanIntf, &NotifieeConst::onVlanIntfkelImmediate, &NotifieeConst::onVlanIntf);
  }

  // Keeps the counters of an interface that is gone from `intf` for as long as its status is there.
  bool keepIntfCounters() const { return _keepIntfCounters; }
  void keepIntfCountersIs(bool keep) {
    assign(_keepIntfCounters, keep, &NotifieeConst::onKeepIntfCounters);
  }

 private:
  static bool served(IntfMap const& map, Pekt::IntfId const& id) {
    auto const it = map.find(id);
    return it != map.end() && it->second;
  }

  Kel::String _operationalMode;
  bool _initialized = false;
  IntfMap _intf;
  IntfMap _cpuIntf;
  IntfMap _vlanIntf;
  bool _keepIntfCounters = false;
};

}  // namespace Oru
