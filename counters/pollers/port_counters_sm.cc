#include "counters/pollers/port_counters_sm.h"

#include "counters/pollers/unit.h"
#include "counters/pollers/wake_ups.h"
#include "platform/interface/counter_tables.h"

namespace Oru::Counters {

class PortCountersSm::KelCliCounterConfig final
    : public Kel::Reactor<PortCountersSm, CliConfig const> {
 public:
  using Reactor::Reactor;
  void onPeriodPoll() override { tell(&PortCountersSm::handlePeriodPoll); }
  void resync() override { onPeriodPoll(); }
};

class PortCountersSm::KelClock final : public Kel::Reactor<PortCountersSm, Kel::Clock const> {
 public:
  using Reactor::Reactor;
  void onTime() override { tell(&PortCountersSm::handleTime); }
  void resync() override { onTime(); }
};

// Reacts to nothing: each poll reads the load interval anew.
class PortCountersSm::KelGlobalIntfConfig final
    : public Kel::Reactor<PortCountersSm, Interface::GlobalIntfConfig const> {
 public:
  using Reactor::Reactor;
};

constinit Kel::TypeNode const PortCountersSm::_kelType = Kel::typeNode<PortCountersSm>();

PortCountersSm::PortCountersSm(
    Kel::Ptr<OruCommonSmData> const& ocsd, Pekt::IntfId intfId,
    Kel::Ptr<CliConfig const> const& cliCounterConfig, Kel::Ptr<Kel::Clock const> const& clock,
    Kel::Ptr<Interface::EthPhyIntfConfig const> const& ethPhyIntfConfig,
    Kel::Ptr<Interface::EthPhyIntfStatus const> const& ethPhyIntfStatus,
    Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper,
    Kel::Ptr<Interface::GlobalIntfConfig const> const& globalIntfConfig,
    Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfCounters,
    Kel::Ptr<Interface::AllEthIntfCounterGlim> const& allIntfClearCounters)
    : StateMachine(ocsd),
      _intfId(intfId),
      _cliCounterConfig(*this, cliCounterConfig),
      _clock(*this, clock),
      _ethPhyIntfConfig(ethPhyIntfConfig),
      _ethPhyIntfStatus(ethPhyIntfStatus),
      _platformHelper(platformHelper),
      _globalIntfConfig(*this, globalIntfConfig),
      _allIntfCounters(allIntfCounters),
      _allIntfClearCounters(allIntfClearCounters) {}

PortCountersSm::~PortCountersSm() = default;

void PortCountersSm::cliCounterConfigIs(Kel::Ptr<CliConfig const> const& config) {
  _cliCounterConfig.notifierIs(*this, config);
}
Kel::Ptr<CliConfig const> PortCountersSm::cliCounterConfigDel() {
  return _cliCounterConfig.notifierDel(*this);
}
void PortCountersSm::clockIs(Kel::Ptr<Kel::Clock const> const& clock) {
  _clock.notifierIs(*this, clock);
}
Kel::Ptr<Kel::Clock const> PortCountersSm::clockDel() { return _clock.notifierDel(*this); }
void PortCountersSm::globalIntfConfigIs(Kel::Ptr<Interface::GlobalIntfConfig const> const& config) {
  _globalIntfConfig.notifierIs(*this, config);
}
Kel::Ptr<Interface::GlobalIntfConfig const> PortCountersSm::globalIntfConfigDel() {
  return _globalIntfConfig.notifierDel(*this);
}

void PortCountersSm::handleInitialized() {
  if (auto t = trace(8))
    t << "virtual void Oru::Counters::PortCountersSm::handleInitialized() " << intfId();
  require(initialized(), "initialized()");
  prevCountersIs();
  platformHelper()->initialize(intfId());
  _clock->timeMinIs(firstWakeUp(*platformHelper(), counterPollPeriod()));
}

void PortCountersSm::handlePeriodPoll() {
  if (initialized()) counterPollPeriodIs(cliCounterConfig()->periodPoll());
}

void PortCountersSm::handleTime() {
  if (!initialized()) return;
  if (counterPollPeriod() == 0.0) return;  // stops for good: nothing re-arms the clock
  pollAndSetNext([this] { updateCounters(); }, [this] { setNextWakeUp(); });
}

void PortCountersSm::setNextWakeUp() {
  if (initialized()) wakeUpAfter(_clock, counterPollPeriod());  // else the poll has ended it
}

void PortCountersSm::updateCounters() {
  if (!initialized()) return;
  if (auto t = trace(8)) t << "void Oru::Counters::PortCountersSm::updateCounters() " << intfId();
  if (!allIntfCounters()) return;

  auto const newCounters = Kel::make<OruTypes::IntfCounters>();
  Kel::Seconds const now = clock()->time();
  platformHelper()->getCounters(intfId(), newCounters, prevCounters());
  if (!initialized()) return;  // the port went while it was read, and its row with it
  Interface::EthIntfCounterGlim intfCounter = allIntfCounters()->counter(intfId());

  require(newCounters->intfStats().inErrors == receiveErrorSum(newCounters->ethStats()),
          "newCounters->intfStats().inErrors() == ( newCounters->ethStats().alignmentErrors() + "
          "newCounters->ethStats().fcsErrors() + newCounters->ethStats().frameTooLongs() + "
          "newCounters->ethStats().frameTooShorts() + "
          "newCounters->ethStats().internalMacReceiveErrors() )");
  require(newCounters->intfStats().outErrors == transmitErrorSum(newCounters->ethStats()),
          "newCounters->intfStats().outErrors() == ( newCounters->ethStats().sqeTestErrors() + "
          "newCounters->ethStats().lateCollisions() + "
          "newCounters->ethStats().excessiveCollisions() + "
          "newCounters->ethStats().internalMacTransmitErrors() + "
          "newCounters->ethStats().carrierSenseErrors() )");

  auto const intfStatsDelta = newCounters->intfStats() - prevCounters()->intfStats();
  if (auto t = trace(8))
    t << "updateCounters " << intfId() << " intfStatsDelta is " << intfStatsDelta;
  intfCounter.rates = Interface::updateIntfMovingAverages(
      intfCounter.rates, intfStatsDelta, now, Interface::loadIntervalOf(ethPhyIntfConfig()),
      Interface::loadIntervalOf(globalIntfConfig()));

  if (auto t = trace(8))
    t << "updateCounters " << intfId() << " old intfCounter.statistics is "
      << intfCounter.statistics;
  intfCounter.statistics = intfCounter.statistics + intfStatsDelta;
  if (auto t = trace(8))
    t << "updateCounters " << intfId() << " new intfStat is " << intfCounter.statistics;

  addDifference(intfCounter.ethStatistics, newCounters->ethStats(), prevCounters()->ethStats());

  // Published before it is taken as the previous sample: a row that the table
  // refuses must not lose its increment.
  allIntfCounters()->counterIs(intfCounter);
  prevCounters()->intfStatsIs(newCounters->intfStats());
  prevCounters()->ethStatsIs(newCounters->ethStats());
}

void PortCountersSm::handleExit() {
  if (auto t = trace(8)) t << "void Oru::Counters::PortCountersSm::handleExit() " << intfId();
  initializedIs(false);  // whoever still holds the poller must not make it poll
  platformHelper()->deinitialize(intfId());
}

}  // namespace Oru::Counters
