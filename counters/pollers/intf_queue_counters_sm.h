// The poller of one interface's queue counters.
#pragma once

#include "counters/pollers/counter_records.h"
#include "counters/pollers/helper.h"
#include "platform/kel/clock.h"
#include "platform/kel/state_machine.h"
#include "platform/oru/base_sm.h"
#include "platform/oru/common_sm_data.h"
#include "platform/pekt/intf_id.h"

namespace Interface::QueueCounter {
class AllIntfQueueCounters;
}

namespace Oru::Counters {

// Asks the helper for the queues of an interface, makes its rows in both tables where there are
// none, and then reads the queues' counters on a period into the live row: what the helper delivers
// is added to it while queueCountersIncrement is set, and replaces it otherwise. The flag is read
// at each poll. The clear table is not touched again.
//
// The first wake-up comes at now plus the larger of the helper's firstSyncDelay() and the poll
// period; each poll sets the next one period after its end. A wake-up that finds the period 0
// neither polls nor sets another: polling of these queues has then stopped for good.
//
// Where the helper tells the type of a queue with an index above 16, the start ends in
// Kel::RangeException. (A sample cannot hold such a queue.)
class IntfQueueCountersSm : public Kel::StateMachine<IntfQueueCountersSm, OruBaseSm> {
 public:
  using Table = Interface::QueueCounter::AllIntfQueueCounters;

  // Without a table nothing is published; with one, the clear table must be there too. Throws
  // Kel::RangeException for what is no period.
  IntfQueueCountersSm(Kel::Ptr<OruCommonSmData> const& ocsd, Pekt::IntfId intfId,
                      Kel::Seconds counterPollPeriod, Kel::Ptr<Kel::Clock const> const& clock,
                      Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper,
                      Kel::Ptr<Table> const& allIntfQueueCounters,
                      Kel::Ptr<Table> const& allIntfClearQueueCounters);
  ~IntfQueueCountersSm() override;

  // Makes a poller with its notifications on; the parameters are the constructor's.
  template <class... Params>
  static Kel::Ptr<IntfQueueCountersSm> IntfQueueCountersSmIs(Params const&... params) {
    return Kel::instance<IntfQueueCountersSm>(params...);
  }

  Pekt::IntfId const& intfId() const { return _intfId; }
  // Seconds; 0 means no polling.
  Kel::Seconds counterPollPeriod() const { return _counterPollPeriod; }

  Kel::Ptr<Kel::Clock const> clock() const { return _clock.notifier(); }
  void clockIs(Kel::Ptr<Kel::Clock const> const& clock);
  Kel::Ptr<Kel::Clock const> clockDel();

  Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper() const { return _platformHelper; }
  Kel::Ptr<Table> const& allIntfQueueCounters() const { return _allIntfQueueCounters; }
  Kel::Ptr<Table> const& allIntfClearQueueCounters() const { return _allIntfClearQueueCounters; }

  // The sample that the helper fills; null before the poller is initialized.
  Kel::Ptr<OruTypes::IntfQueueCounters> const& prevCounters() const { return _prevCounters; }
  void prevCountersIs() { _prevCounters = Kel::make<OruTypes::IntfQueueCounters>(); }
  void prevCountersDel() { _prevCounters = nullptr; }

  // Starts the poller: queues made known, rows ensured, first wake-up set.
  // REQUIRES: initialized(), and clock().
  void handleInitialized() override;
  // Adds rows of the queues that the helper tells, unless the interface has its row.
  void addQueues();
  // A wake-up.
  void handleTime();
  // Polls once, now. Does nothing before the poller is initialized.
  void updateCounters();

  static constexpr auto kelDescription() {
    using Sm = IntfQueueCountersSm;
    return Kel::describe(
        "Oru::Counters::IntfQueueCountersSm", Kel::parameter("ocsd", &Sm::ocsd),
        Kel::key("intfId", &Sm::_intfId),
        Kel::parameter("counterPollPeriod", &Sm::_counterPollPeriod),
        Kel::watchedParameter("clock", &Sm::_clock),
        Kel::parameter("platformHelper", &Sm::_platformHelper),
        Kel::parameter("allIntfQueueCounters", &Sm::_allIntfQueueCounters),
        Kel::parameter("allIntfClearQueueCounters", &Sm::_allIntfClearQueueCounters),
        Kel::value("prevCounters", &Sm::prevCounters),
        Kel::value("initialized", &Sm::initialized, &Sm::initializedIs),
        Kel::operation("addQueues", &Sm::addQueues), Kel::operation("handleTime", &Sm::handleTime),
        Kel::operation("updateCounters", &Sm::updateCounters));
  }
  static Kel::TypeNode const _kelType;

 private:
  class KelClock;

  Pekt::IntfId const _intfId;
  Kel::Seconds const _counterPollPeriod;
  Kel::Input<KelClock, Kel::Clock const> _clock;
  Kel::Ptr<OruHelper::OruHelperCountersSm> const _platformHelper;
  Kel::Ptr<OruTypes::IntfQueueCounters> _prevCounters;
  Kel::Ptr<Table> const _allIntfQueueCounters;
  Kel::Ptr<Table> const _allIntfClearQueueCounters;
};

}  // namespace Oru::Counters
