// The reactors of CountersSm: which notification calls which handler. For
// counters_sm.cc alone.
#pragma once

#include "counters/counters_sm.h"
#include "platform/kel/reactor.h"

namespace Oru::Counters {

class CountersSm::KelReactOcsd final : public Kel::Reactor<CountersSm, OruCommonSmData> {
 public:
  using NotifieeConst::onCpuIntf, NotifieeConst::onIntf, NotifieeConst::onVlanIntf;
  using Reactor::Reactor;
  void onIntf(Pekt::IntfId id) override { tell(&CountersSm::handleIntf, id); }
  void onIntfkelImmediate() override { tell(&CountersSm::handleIntf); }
  void onCpuIntf(Pekt::IntfId id) override { tell(&CountersSm::handleCpuIntf, id); }
  void onCpuIntfkelImmediate() override { tell(&CountersSm::handleCpuIntf); }
  void onVlanIntf(Pekt::IntfId id) override { tell(&CountersSm::handleVlanIntf, id); }
  void onVlanIntfkelImmediate() override { tell(&CountersSm::handleVlanIntf); }
  void resync() override {
    onIntfkelImmediate();
    onCpuIntfkelImmediate();
    onVlanIntfkelImmediate();
  }
};

class CountersSm::KelEthPhyIntfConfigDir final
    : public Kel::Reactor<CountersSm, Interface::AllEthPhyIntfConfigDir const> {
 public:
  using NotifieeConst::onIntfConfig;
  using Reactor::Reactor;
  void onIntfConfig(Pekt::IntfId id) override { tell(&CountersSm::handleIntf, id); }
  void onIntfConfigkelImmediate() override { tell(&CountersSm::handleIntf); }
  void resync() override { onIntfConfigkelImmediate(); }
};

class CountersSm::KelEthPhyIntfStatusDir final
    : public Kel::Reactor<CountersSm, Interface::AllEthPhyIntfStatusDir const> {
 public:
  using NotifieeConst::onIntfStatus;
  using Reactor::Reactor;
  void onIntfStatus(Pekt::IntfId id) override { tell(&CountersSm::handleIntf, id); }
  void onIntfStatuskelImmediate() override { tell(&CountersSm::handleIntf); }
  void resync() override { onIntfStatuskelImmediate(); }
};

// A request is acted on only when it arrives: a newly watched configuration
// means nothing.
class CountersSm::KelCliConfig final : public Kel::Reactor<CountersSm, HwCliConfig const> {
 public:
  using NotifieeConst::onClearCountersRequest;
  using Reactor::Reactor;
  void onClearCountersRequest(Kel::String request) override {
    tell(&CountersSm::doClearCounters, request);
  }
};

class CountersSm::KelQosSliceHwStatus final : public Kel::Reactor<CountersSm, Qos::SliceHwStatus> {
 public:
  using NotifieeConst::onPmapType;
  using Reactor::Reactor;
  void onPmapType(Qos::MapType type) override { tell(&CountersSm::handlePolicyMapType, type); }
  void onPmapTypekelImmediate() override { tell(&CountersSm::handlePolicyMapType); }
  void resync() override { onPmapTypekelImmediate(); }
};

class CountersSm::KelQosSliceHwStatusDir final : public Kel::Reactor<CountersSm, Kel::Dir> {
 public:
  using NotifieeConst::onEntityPtr;
  using Reactor::Reactor;
  void onEntityPtr(Kel::Name name) override { tell(&CountersSm::handleQosSliceHwStatusDir, name); }
};

class CountersSm::KelQosAclSliceHwStatus final
    : public Kel::Reactor<CountersSm, Qos::AclSliceHwStatus> {
 public:
  using NotifieeConst::onPmapType;
  using Reactor::Reactor;
  void onPmapType(Qos::MapType type) override {
    tell(&CountersSm::handleDynamicPolicyMapType, type);
  }
  void onPmapTypekelImmediate() override { tell(&CountersSm::handleDynamicPolicyMapType); }
  void resync() override { onPmapTypekelImmediate(); }
};

class CountersSm::KelQosAclSliceHwStatusDir final : public Kel::Reactor<CountersSm, Kel::Dir> {
 public:
  using NotifieeConst::onEntityPtr;
  using Reactor::Reactor;
  void onEntityPtr(Kel::Name name) override {
    tell(&CountersSm::handleQosAclSliceHwStatusDir, name);
  }
};

class CountersSm::KelVlanIntfConfigDir final
    : public Kel::Reactor<CountersSm, Interface::VlanIntfConfigDir const> {
 public:
  using NotifieeConst::onIntfConfig;
  using Reactor::Reactor;
  void onIntfConfig(Pekt::IntfId id) override { tell(&CountersSm::handleVlanIntf, id); }
  void onIntfConfigkelImmediate() override { tell(&CountersSm::handleVlanIntf); }
  void resync() override { onIntfConfigkelImmediate(); }
};

class CountersSm::KelVlanIntfStatusDir final
    : public Kel::Reactor<CountersSm, Interface::VlanIntfStatusDir const> {
 public:
  using NotifieeConst::onIntfStatus;
  using Reactor::Reactor;
  void onIntfStatus(Pekt::IntfId id) override { tell(&CountersSm::handleVlanIntf, id); }
  void onIntfStatuskelImmediate() override { tell(&CountersSm::handleVlanIntf); }
  void resync() override { onIntfStatuskelImmediate(); }
};

}  // namespace Oru::Counters
