#include "counters/pollers/vlan_intf_counters_sm.h"

#include "counters/pollers/unit.h"
#include "counters/pollers/wake_ups.h"
#include "platform/interface/counter_tables.h"

namespace Oru::Counters {

class VlanIntfCountersSm::KelClock final
    : public Kel::Reactor<VlanIntfCountersSm, Kel::Clock const> {
 public:
  using Reactor::Reactor;
  void onTime() override { tell(&VlanIntfCountersSm::handleTime); }
  void resync() override { onTime(); }
};

// Reacts to nothing: each poll reads the load interval anew.
class VlanIntfCountersSm::KelGlobalIntfConfig final
    : public Kel::Reactor<VlanIntfCountersSm, Interface::GlobalIntfConfig const> {
 public:
  using Reactor::Reactor;
};

constinit Kel::TypeNode const VlanIntfCountersSm::_kelType = Kel::typeNode<VlanIntfCountersSm>();

VlanIntfCountersSm::VlanIntfCountersSm(
    Kel::Ptr<OruCommonSmData> const& ocsd, Pekt::IntfId intfId, Kel::Seconds counterPollPeriod,
    Kel::Ptr<Kel::Clock const> const& clock,
    Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper,
    Kel::Ptr<Interface::GlobalIntfConfig const> const& globalIntfConfig,
    Kel::Ptr<Interface::VlanIntfConfig const> const& vlanIntfConfig,
    Kel::Ptr<Interface::VlanIntfStatus const> const& vlanIntfStatus,
    Kel::Ptr<Interface::AllVlanIntfCounterGlim> const& allVlanIntfCounters)
    : StateMachine(ocsd),
      _intfId(intfId),
      _counterPollPeriod(counterPollPeriod),
      _clock(*this, clock),
      _platformHelper(platformHelper),
      _globalIntfConfig(*this, globalIntfConfig),
      _vlanIntfConfig(vlanIntfConfig),
      _vlanIntfStatus(vlanIntfStatus),
      _allVlanIntfCounters(allVlanIntfCounters) {
  Kel::requirePeriod(counterPollPeriod);
}

VlanIntfCountersSm::~VlanIntfCountersSm() = default;

void VlanIntfCountersSm::clockIs(Kel::Ptr<Kel::Clock const> const& clock) {
  _clock.notifierIs(*this, clock);
}
Kel::Ptr<Kel::Clock const> VlanIntfCountersSm::clockDel() { return _clock.notifierDel(*this); }
void VlanIntfCountersSm::globalIntfConfigIs(
    Kel::Ptr<Interface::GlobalIntfConfig const> const& config) {
  _globalIntfConfig.notifierIs(*this, config);
}
Kel::Ptr<Interface::GlobalIntfConfig const> VlanIntfCountersSm::globalIntfConfigDel() {
  return _globalIntfConfig.notifierDel(*this);
}

void VlanIntfCountersSm::handleInitialized() {
  Initializing const once(*this);
  if (auto t = trace(8)) t << "virtual void Oru::Counters::VlanIntfCountersSm::handleInitialized()";
  require(bool(allVlanIntfCounters()), "allVlanIntfCounters()");
  prevCountersIs();
  if (!allVlanIntfCounters()->contains(intfId())) {
    Interface::VlanIntfCounterGlim row;
    row.intfId = intfId();
    allVlanIntfCounters()->counterIs(row);
  }
  initializedIs(true);
  _clock->timeMinIs(firstWakeUp(*platformHelper(), counterPollPeriod()));
}

void VlanIntfCountersSm::handleTime() {
  if (counterPollPeriod() == 0.0) return;  // stops for good: nothing re-arms the clock
  pollAndSetNext([this] { updateCounters(); },
                 [this] { wakeUpAfter(_clock, counterPollPeriod()); });
}

void VlanIntfCountersSm::updateCounters() {
  if (!initialized()) return;
  if (auto t = trace(8)) t << "void Oru::Counters::VlanIntfCountersSm::updateCounters()";
  Interface::VlanIntfCounterGlim intfCounter = allVlanIntfCounters()->counter(intfId());
  auto const newCounters = Kel::make<OruTypes::VlanIntfCounters>();
  Kel::Seconds const now = clock()->time();
  platformHelper()->getVlanIntfCounters(intfId(), newCounters, prevCounters());
  if (kelMarkedForDeletion()) return;  // the interface went, and its row with it

  auto const delta = newCounters->intfStats() - prevCounters()->intfStats();
  intfCounter.statistics = intfCounter.statistics + delta;
  intfCounter.rates = Interface::updateIntfMovingAverages(
      intfCounter.rates, delta, now, Interface::loadIntervalOf(vlanIntfConfig()),
      Interface::loadIntervalOf(globalIntfConfig()));

  // Published before it is taken as the previous sample: a row that the table
  // refuses must not lose its increment.
  allVlanIntfCounters()->counterIs(intfCounter);
  prevCounters()->intfStatsIs(newCounters->intfStats());
}

}  // namespace Oru::Counters
