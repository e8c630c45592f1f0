#include "counters/pollers/cpu_port_counters_sm.h"

#include "counters/pollers/unit.h"
#include "counters/pollers/wake_ups.h"

namespace Oru::Counters {

class CpuPortCountersSm::KelClock final : public Kel::Reactor<CpuPortCountersSm, Kel::Clock const> {
 public:
  using Reactor::Reactor;
  void onTime() override { tell(&CpuPortCountersSm::handleTime); }
  void resync() override { onTime(); }
};

constinit Kel::TypeNode const CpuPortCountersSm::_kelType = Kel::typeNode<CpuPortCountersSm>();

CpuPortCountersSm::CpuPortCountersSm(Kel::Ptr<OruCommonSmData> const& ocsd, Pekt::IntfId intfId,
                                     Kel::Seconds counterPollPeriod,
                                     Kel::Ptr<Kel::Clock const> const& clock,
                                     Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper)
    : StateMachine(ocsd),
      _intfId(intfId),
      _counterPollPeriod(counterPollPeriod),
      _clock(*this, clock),
      _platformHelper(platformHelper) {
  Kel::requirePeriod(counterPollPeriod);
}

CpuPortCountersSm::~CpuPortCountersSm() = default;

void CpuPortCountersSm::clockIs(Kel::Ptr<Kel::Clock const> const& clock) {
  _clock.notifierIs(*this, clock);
}
Kel::Ptr<Kel::Clock const> CpuPortCountersSm::clockDel() { return _clock.notifierDel(*this); }

void CpuPortCountersSm::handleInitialized() {
  if (auto t = trace(8))
    t << "virtual void Oru::Counters::CpuPortCountersSm::handleInitialized() " << intfId();
  require(initialized(), "initialized()");
  platformHelper()->initializeCpuPort(intfId().stringValue());
  _clock->timeMinIs(firstWakeUp(*platformHelper(), counterPollPeriod()));
}

void CpuPortCountersSm::handleTime() {
  if (!initialized()) return;
  if (counterPollPeriod() == 0.0) return;  // stops for good: nothing re-arms the clock
  pollAndSetNext([this] { updateCounters(); },
                 [this] { wakeUpAfter(_clock, counterPollPeriod()); });
}

void CpuPortCountersSm::updateCounters() {
  if (initialized()) platformHelper()->getCoppCounters();
}

}  // namespace Oru::Counters
