// The poller of the CPU port's counters.
#pragma once

#include "counters/pollers/helper.h"
#include "platform/kel/clock.h"
#include "platform/kel/state_machine.h"
#include "platform/oru/base_sm.h"
#include "platform/oru/common_sm_data.h"
#include "platform/pekt/intf_id.h"

namespace Oru::Counters {

// Tells the helper which interface is the CPU port, and then has it refresh the control-plane
// policing counters on a period. Writes no table.
//
// The first wake-up comes at now plus the larger of the helper's firstSyncDelay() and the poll
// period; each poll sets the next one period after its end. A wake-up that finds the period 0
// neither polls nor sets another: polling has then stopped for good.
class CpuPortCountersSm : public Kel::StateMachine<CpuPortCountersSm, OruBaseSm> {
 public:
  // Throws Kel::RangeException for what is no period.
  CpuPortCountersSm(Kel::Ptr<OruCommonSmData> const& ocsd, Pekt::IntfId intfId,
                    Kel::Seconds counterPollPeriod, Kel::Ptr<Kel::Clock const> const& clock,
                    Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper);
  ~CpuPortCountersSm() override;

  // Makes a poller with its notifications on; the parameters are the constructor's.
  template <class... Params>
  static Kel::Ptr<CpuPortCountersSm> CpuPortCountersSmIs(Params const&... params) {
    return Kel::instance<CpuPortCountersSm>(params...);
  }

  Pekt::IntfId const& intfId() const { return _intfId; }
  // Seconds; 0 means no polling.
  Kel::Seconds counterPollPeriod() const { return _counterPollPeriod; }

  Kel::Ptr<Kel::Clock const> clock() const { return _clock.notifier(); }
  void clockIs(Kel::Ptr<Kel::Clock const> const& clock);
  Kel::Ptr<Kel::Clock const> clockDel();

  Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper() const { return _platformHelper; }

  // Starts the poller: CPU port announced, first wake-up set. REQUIRES: initialized().
  void handleInitialized() override;
  // A wake-up.
  void handleTime();
  // Polls once, now. Does nothing before the poller is initialized.
  void updateCounters();

  static constexpr auto kelDescription() {
    using Sm = CpuPortCountersSm;
    return Kel::describe("Oru::Counters::CpuPortCountersSm", Kel::parameter("ocsd", &Sm::ocsd),
                         Kel::key("intfId", &Sm::_intfId),
                         Kel::parameter("counterPollPeriod", &Sm::_counterPollPeriod),
                         Kel::watchedParameter("clock", &Sm::_clock),
                         Kel::parameter("platformHelper", &Sm::_platformHelper),
                         Kel::value("initialized", &Sm::initialized, &Sm::initializedIs),
                         Kel::operation("handleTime", &Sm::handleTime),
                         Kel::operation("updateCounters", &Sm::updateCounters));
  }
  static Kel::TypeNode const _kelType;

 private:
  class KelClock;

  Pekt::IntfId const _intfId;
  Kel::Seconds const _counterPollPeriod;
  Kel::Input<KelClock, Kel::Clock const> _clock;
  Kel::Ptr<OruHelper::OruHelperCountersSm> const _platformHelper;
};

}  // namespace Oru::Counters
