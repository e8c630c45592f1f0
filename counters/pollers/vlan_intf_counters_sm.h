// The poller of one routed VLAN interface's counters.
#pragma once

#include "counters/pollers/counter_records.h"
#include "counters/pollers/helper.h"
#include "platform/interface/intf_config.h"
#include "platform/interface/intf_status.h"
#include "platform/kel/clock.h"
#include "platform/kel/state_machine.h"
#include "platform/oru/base_sm.h"
#include "platform/oru/common_sm_data.h"
#include "platform/pekt/intf_id.h"

namespace Interface {
class AllVlanIntfCounterGlim;
}

namespace Oru::Counters {

// Reads a VLAN interface's absolute counts on a period and adds what passed since the previous
// sample to its published row: the first poll adds the chip's whole counts to what the row holds,
// and a count that goes backwards adds its difference modulo 2^64.
//
// The first wake-up comes at now plus the larger of the helper's firstSyncDelay() and the poll
// period; each poll sets the next one period after its end. A wake-up that finds the period 0
// neither polls nor sets another: polling of this interface has then stopped for good.
class VlanIntfCountersSm : public Kel::StateMachine<VlanIntfCountersSm, OruBaseSm> {
 public:
  // Throws Kel::RangeException for what is no period.
  VlanIntfCountersSm(Kel::Ptr<OruCommonSmData> const& ocsd, Pekt::IntfId intfId,
                     Kel::Seconds counterPollPeriod, Kel::Ptr<Kel::Clock const> const& clock,
                     Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper,
                     Kel::Ptr<Interface::GlobalIntfConfig const> const& globalIntfConfig,
                     Kel::Ptr<Interface::VlanIntfConfig const> const& vlanIntfConfig,
                     Kel::Ptr<Interface::VlanIntfStatus const> const& vlanIntfStatus,
                     Kel::Ptr<Interface::AllVlanIntfCounterGlim> const& allVlanIntfCounters);
  ~VlanIntfCountersSm() override;

  // Makes a poller with its notifications on; the parameters are the constructor's.
  template <class... Params>
  static Kel::Ptr<VlanIntfCountersSm> VlanIntfCountersSmIs(Params const&... params) {
    return Kel::instance<VlanIntfCountersSm>(params...);
  }

  Pekt::IntfId const& intfId() const { return _intfId; }
  // Seconds; 0 means no polling.
  Kel::Seconds counterPollPeriod() const { return _counterPollPeriod; }

  Kel::Ptr<Kel::Clock const> clock() const { return _clock.notifier(); }
  void clockIs(Kel::Ptr<Kel::Clock const> const& clock);
  Kel::Ptr<Kel::Clock const> clockDel();

  Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper() const { return _platformHelper; }

  Kel::Ptr<Interface::GlobalIntfConfig const> globalIntfConfig() const {
    return _globalIntfConfig.notifier();
  }
  void globalIntfConfigIs(Kel::Ptr<Interface::GlobalIntfConfig const> const& config);
  Kel::Ptr<Interface::GlobalIntfConfig const> globalIntfConfigDel();

  Kel::Ptr<Interface::VlanIntfConfig const> const& vlanIntfConfig() const {
    return _vlanIntfConfig;
  }
  Kel::Ptr<Interface::VlanIntfStatus const> const& vlanIntfStatus() const {
    return _vlanIntfStatus;
  }
  Kel::Ptr<Interface::AllVlanIntfCounterGlim> const& allVlanIntfCounters() const {
    return _allVlanIntfCounters;
  }

  // The previous sample; null before the poller is initialized.
  Kel::Ptr<OruTypes::VlanIntfCounters> const& prevCounters() const { return _prevCounters; }
  void prevCountersIs() { _prevCounters = Kel::make<OruTypes::VlanIntfCounters>(); }

  // Starts the poller: zero previous sample, a row where there is none, first wake-up set. Called
  // directly, it sets the flag `initialized` itself. REQUIRES: allVlanIntfCounters().
  void handleInitialized() override;
  // A wake-up.
  void handleTime();
  // Polls once, now. Does nothing before the poller is initialized.
  void updateCounters();

  static constexpr auto kelDescription() {
    using Sm = VlanIntfCountersSm;
    return Kel::describe("Oru::Counters::VlanIntfCountersSm", Kel::parameter("ocsd", &Sm::ocsd),
                         Kel::key("intfId", &Sm::_intfId),
                         Kel::parameter("counterPollPeriod", &Sm::_counterPollPeriod),
                         Kel::watchedParameter("clock", &Sm::_clock),
                         Kel::parameter("platformHelper", &Sm::_platformHelper),
                         Kel::watchedParameter("globalIntfConfig", &Sm::_globalIntfConfig),
                         Kel::parameter("vlanIntfConfig", &Sm::_vlanIntfConfig),
                         Kel::parameter("vlanIntfStatus", &Sm::_vlanIntfStatus),
                         Kel::parameter("allVlanIntfCounters", &Sm::_allVlanIntfCounters),
                         Kel::value("prevCounters", &Sm::prevCounters),
                         Kel::value("initialized", &Sm::initialized, &Sm::initializedIs),
                         Kel::operation("handleTime", &Sm::handleTime),
                         Kel::operation("updateCounters", &Sm::updateCounters));
  }
  static Kel::TypeNode const _kelType;

 private:
  class KelClock;
  class KelGlobalIntfConfig;

  Pekt::IntfId const _intfId;
  Kel::Seconds const _counterPollPeriod;
  Kel::Input<KelClock, Kel::Clock const> _clock;
  Kel::Ptr<OruHelper::OruHelperCountersSm> const _platformHelper;
  Kel::Input<KelGlobalIntfConfig, Interface::GlobalIntfConfig const> _globalIntfConfig;
  Kel::Ptr<Interface::VlanIntfConfig const> const _vlanIntfConfig;
  Kel::Ptr<Interface::VlanIntfStatus const> const _vlanIntfStatus;
  Kel::Ptr<Interface::AllVlanIntfCounterGlim> const _allVlanIntfCounters;
  Kel::Ptr<OruTypes::VlanIntfCounters> _prevCounters;
};

}  // namespace Oru::Counters
