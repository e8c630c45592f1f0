#include "counters/pollers/intf_queue_counters_sm.h"

#include "counters/pollers/unit.h"
#include "counters/pollers/wake_ups.h"
#include "platform/interface/counter_tables.h"

namespace Oru::Counters {

using Interface::QueueCounter::IntfQueueCounter;
using Interface::QueueCounter::QueueCounts;
using Interface::QueueCounter::QueueIndex;

class IntfQueueCountersSm::KelClock final
    : public Kel::Reactor<IntfQueueCountersSm, Kel::Clock const> {
 public:
  using Reactor::Reactor;
  void onTime() override { tell(&IntfQueueCountersSm::handleTime); }
  void resync() override { onTime(); }
};

constinit Kel::TypeNode const IntfQueueCountersSm::_kelType = Kel::typeNode<IntfQueueCountersSm>();

IntfQueueCountersSm::IntfQueueCountersSm(
    Kel::Ptr<OruCommonSmData> const& ocsd, Pekt::IntfId intfId, Kel::Seconds counterPollPeriod,
    Kel::Ptr<Kel::Clock const> const& clock,
    Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper,
    Kel::Ptr<Table> const& allIntfQueueCounters, Kel::Ptr<Table> const& allIntfClearQueueCounters)
    : StateMachine(ocsd),
      _intfId(intfId),
      _counterPollPeriod(counterPollPeriod),
      _clock(*this, clock),
      _platformHelper(platformHelper),
      _allIntfQueueCounters(allIntfQueueCounters),
      _allIntfClearQueueCounters(allIntfClearQueueCounters) {
  Kel::requirePeriod(counterPollPeriod);
}

IntfQueueCountersSm::~IntfQueueCountersSm() = default;

void IntfQueueCountersSm::clockIs(Kel::Ptr<Kel::Clock const> const& clock) {
  _clock.notifierIs(*this, clock);
}
Kel::Ptr<Kel::Clock const> IntfQueueCountersSm::clockDel() { return _clock.notifierDel(*this); }

void IntfQueueCountersSm::handleInitialized() {
  if (auto t = trace(8))
    t << "virtual void Oru::Counters::IntfQueueCountersSm::handleInitialized() " << intfId();
  addQueues();
  require(initialized(), "initialized()");
  prevCountersIs();
  _clock->timeMinIs(firstWakeUp(*platformHelper(), counterPollPeriod()));
}

void IntfQueueCountersSm::addQueues() {
  if (auto t = trace(8)) t << "void Oru::Counters::IntfQueueCountersSm::addQueues() " << intfId();
  auto const queueType = Kel::make<OruTypes::IntfQueueType>();
  platformHelper()->getIntfQueueType(intfId(), queueType);
  if (kelMarkedForDeletion()) return;  // the interface went meanwhile, and its row with it

  bool const known = allIntfQueueCounters() && allIntfQueueCounters()->contains(intfId());
  IntfQueueCounter row;
  row.intfId = intfId();
  for (auto const& [number, type] : queueType->queueType()) {
    QueueIndex const index(number);
    row.statistics.sizeIs(std::max(row.statistics.size(), index.value() + 1));
    row.statistics[index].queueType = type;
  }
  if (!allIntfQueueCounters() || known) return;
  Table& clear = *allIntfClearQueueCounters();  // refused before the first row is there
  allIntfQueueCounters()->intfQueueCounterIs(row);
  clear.intfQueueCounterIs(row);
}

void IntfQueueCountersSm::handleTime() {
  if (!initialized()) return;
  if (counterPollPeriod() == 0.0) return;  // stops for good: nothing re-arms the clock
  pollAndSetNext([this] { updateCounters(); },
                 [this] { wakeUpAfter(_clock, counterPollPeriod()); });
}

void IntfQueueCountersSm::updateCounters() {
  if (!initialized() || kelMarkedForDeletion()) return;
  // What the helper leaves as it is would be added again.
  if (platformHelper()->queueCountersIncrement()) prevCounters()->clear();
  platformHelper()->getIntfQueueCounters(intfId(), prevCounters());
  if (kelMarkedForDeletion()) return;  // the interface went, and its row with it
  if (!allIntfQueueCounters()) return;

  IntfQueueCounter const published = allIntfQueueCounters()->intfQueueCounter(intfId());
  IntfQueueCounter row;
  row.intfId = published.intfId;
  row.intfCounts = published.intfCounts;
  row.statistics.set(published.statistics);

  auto const merge = [increment = platformHelper()->queueCountersIncrement()](
                         QueueCounts& into, QueueCounts const& sample) {
    if (increment)
      into += sample;
    else
      into = sample;
  };
  if (auto const& sample = prevCounters()->intfCounts()) merge(row.intfCounts, *sample);
  for (std::uint32_t number = QueueIndex::min; number <= QueueIndex::max; ++number) {
    QueueIndex const index(number);
    if (!prevCounters()->contains(index)) continue;
    merge(row.statistics[index].counts, prevCounters()->queueCounts(index));
    row.statistics.sizeIs(std::max(row.statistics.size(), number + 1));
  }
  allIntfQueueCounters()->intfQueueCounterIs(row);
}

}  // namespace Oru::Counters
