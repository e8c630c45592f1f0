// The poller of one Ethernet port's counters.
#pragma once

#include "counters/pollers/counter_records.h"
#include "counters/pollers/helper.h"
#include "platform/interface/intf_config.h"
#include "platform/interface/intf_status.h"
#include "platform/kel/clock.h"
#include "platform/kel/state_machine.h"
#include "platform/oru/base_sm.h"
#include "platform/oru/common_sm_data.h"
#include "platform/oru/counters_cli_config.h"
#include "platform/pekt/intf_id.h"

namespace Interface {
class AllEthIntfCounterGlim;
}

namespace Oru::Counters {

// Reads a port's absolute counts on a period and adds what passed since the
// previous sample to the port's published row, so that totals survive a poller
// that is made again: the first poll adds the chip's whole counts to what the
// row holds, and a count that goes backwards adds its difference modulo 2^64.
//
// The first wake-up comes at now plus the larger of the helper's
// firstSyncDelay() and the poll period; each poll sets the next one period after
// its end. A wake-up that finds the period 0 neither polls nor sets another:
// polling of this port has then stopped for good.
//
// A sample whose error totals are not the sums of their classes is a defect of
// the chip platform and ends the process; nothing of it is published.
class PortCountersSm : public Kel::StateMachine<PortCountersSm, OruBaseSm> {
 public:
  PortCountersSm(Kel::Ptr<OruCommonSmData> const& ocsd, Pekt::IntfId intfId,
                 Kel::Ptr<CliConfig const> const& cliCounterConfig,
                 Kel::Ptr<Kel::Clock const> const& clock,
                 Kel::Ptr<Interface::EthPhyIntfConfig const> const& ethPhyIntfConfig,
                 Kel::Ptr<Interface::EthPhyIntfStatus const> const& ethPhyIntfStatus,
                 Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper,
                 Kel::Ptr<Interface::GlobalIntfConfig const> const& globalIntfConfig,
                 Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfCounters,
                 Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfClearCounters);
  ~PortCountersSm() override;

  // Makes a poller with its notifications on; the parameters are the constructor's.
  template <class... Params>
  static Kel::Ptr<PortCountersSm> PortCountersSmIs(Params const&... params) {
    return Kel::instance<PortCountersSm>(params...);
  }

  Pekt::IntfId const& intfId() const { return _intfId; }

  Kel::Ptr<CliConfig const> cliCounterConfig() const { return _cliCounterConfig.notifier(); }
  void cliCounterConfigIs(Kel::Ptr<CliConfig const> const& config);
  Kel::Ptr<CliConfig const> cliCounterConfigDel();

  Kel::Ptr<Kel::Clock const> clock() const { return _clock.notifier(); }
  void clockIs(Kel::Ptr<Kel::Clock const> const& clock);
  Kel::Ptr<Kel::Clock const> clockDel();

  Kel::Ptr<Interface::EthPhyIntfConfig const> const& ethPhyIntfConfig() const {
    return _ethPhyIntfConfig;
  }
  Kel::Ptr<Interface::EthPhyIntfStatus const> const& ethPhyIntfStatus() const {
    return _ethPhyIntfStatus;
  }
  Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper() const { return _platformHelper; }

  Kel::Ptr<Interface::GlobalIntfConfig const> globalIntfConfig() const {
    return _globalIntfConfig.notifier();
  }
  void globalIntfConfigIs(Kel::Ptr<Interface::GlobalIntfConfig const> const& config);
  Kel::Ptr<Interface::GlobalIntfConfig const> globalIntfConfigDel();

  Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfCounters() const {
    return _allIntfCounters;
  }
  Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfClearCounters() const {
    return _allIntfClearCounters;
  }

  // Seconds; 0 means no polling. A new period takes effect after the next wake-up.
  Kel::Seconds counterPollPeriod() const { return _counterPollPeriod; }
  // Throws Kel::RangeException for what is no period.
  void counterPollPeriodIs(Kel::Seconds period) {
    Kel::requirePeriod(period);
    _counterPollPeriod = period;
  }

  // The previous sample; null before the poller is initialized.
  Kel::Ptr<OruTypes::IntfCounters> const& prevCounters() const { return _prevCounters; }
  void prevCountersIs() { _prevCounters = Kel::make<OruTypes::IntfCounters>(); }
  void prevCountersDel() { _prevCounters = nullptr; }

  // Starts the poller: zero previous sample, port prepared by the helper, first
  // wake-up set. REQUIRES: initialized().
  void handleInitialized() override;
  // Takes the period of the counters' configuration.
  void handlePeriodPoll();
  // A wake-up.
  void handleTime();
  // Polls once, now. Does nothing before the poller is initialized or without a table.
  void updateCounters();
  // Ends the poller: lets the helper release the port, and polls no more. The
  // row stays.
  void handleExit();

  static constexpr auto kelDescription() {
    using Sm = PortCountersSm;
    return Kel::describe(
        "Oru::Counters::PortCountersSm", Kel::parameter("ocsd", &Sm::ocsd),
        Kel::key("intfId", &Sm::_intfId),
        Kel::watchedParameter("cliCounterConfig", &Sm::_cliCounterConfig),
        Kel::watchedParameter("clock", &Sm::_clock),
        Kel::parameter("ethPhyIntfConfig", &Sm::_ethPhyIntfConfig),
        Kel::parameter("ethPhyIntfStatus", &Sm::_ethPhyIntfStatus),
        Kel::parameter("platformHelper", &Sm::_platformHelper),
        Kel::watchedParameter("globalIntfConfig", &Sm::_globalIntfConfig),
        Kel::parameter("allIntfCounters", &Sm::_allIntfCounters),
        Kel::parameter("allIntfClearCounters", &Sm::_allIntfClearCounters),
        Kel::value("counterPollPeriod", &Sm::counterPollPeriod, &Sm::counterPollPeriodIs),
        Kel::value("prevCounters", &Sm::prevCounters),
        Kel::value("initialized", &Sm::initialized, &Sm::initializedIs),
        Kel::operation("handlePeriodPoll", &Sm::handlePeriodPoll),
        Kel::operation("handleTime", &Sm::handleTime),
        Kel::operation("updateCounters", &Sm::updateCounters),
        Kel::operation("handleExit", &Sm::handleExit));
  }
  static Kel::TypeNode const _kelType;

 private:
  class KelCliCounterConfig;
  class KelClock;
  class KelGlobalIntfConfig;

  void setNextWakeUp();

  Pekt::IntfId const _intfId;
  Kel::Input<KelCliCounterConfig, CliConfig const> _cliCounterConfig;
  Kel::Input<KelClock, Kel::Clock const> _clock;
  Kel::Ptr<Interface::EthPhyIntfConfig const> const _ethPhyIntfConfig;
  Kel::Ptr<Interface::EthPhyIntfStatus const> const _ethPhyIntfStatus;
  Kel::Ptr<OruHelper::OruHelperCountersSm> const _platformHelper;
  Kel::Input<KelGlobalIntfConfig, Interface::GlobalIntfConfig const> _globalIntfConfig;
  Kel::Ptr<Interface::AllEthIntfCounterGlim> const _allIntfCounters;
  Kel::Ptr<Interface::AllEthIntfCounterGlim> const _allIntfClearCounters;
  Kel::Seconds _counterPollPeriod = 0.0;
  Kel::Ptr<OruTypes::IntfCounters> _prevCounters;
};

}  // namespace Oru::Counters
