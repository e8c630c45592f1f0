// The poller of one interface's ACL drop counter.
#pragma once

#include <cstdint>

#include "counters/pollers/helper.h"
#include "platform/interface/drop_counter.h"
#include "platform/kel/clock.h"
#include "platform/kel/state_machine.h"
#include "platform/pekt/intf_id.h"

namespace Glim::Interface {
class AllDropCounterDir;
}

namespace Oru::Counters {

// Publishes, every two seconds, how many packets access lists have dropped on an interface: the
// chip's absolute count, as it is. A count that the hardware has reset is published as the lower
// one.
//
// Polls once before its constructor returns. A wake-up that finds pollInterval 0 neither polls nor
// sets another: polling of this interface has then stopped for good.
class IntfAclDropCountersSm : public Kel::StateMachine<IntfAclDropCountersSm, Kel::ReactorOwner> {
 public:
  // Without a clock it is never woken. Throws Kel::RangeException "null ValidPtr" where there is no
  // table, and what writing its row throws.
  IntfAclDropCountersSm(Pekt::IntfId intfId, Kel::Ptr<Kel::Clock const> const& clock,
                        Glim::Interface::DropCounter const& intfAclDropCounter,
                        Kel::Ptr<Glim::Interface::AllDropCounterDir> const& intfAclDropCountersDir,
                        Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper);
  ~IntfAclDropCountersSm() override;

  // Makes a poller with its notifications on; the parameters are the constructor's.
  template <class... Params>
  static Kel::Ptr<IntfAclDropCountersSm> IntfAclDropCountersSmIs(Params const&... params) {
    return Kel::instance<IntfAclDropCountersSm>(params...);
  }

  Pekt::IntfId const& intfId() const { return _intfId; }

  Kel::Ptr<Kel::Clock const> clock() const { return _clock.notifier(); }
  void clockIs(Kel::Ptr<Kel::Clock const> const& clock);
  Kel::Ptr<Kel::Clock const> clockDel();

  // The row as it stood when the poller was made.
  Glim::Interface::DropCounter const& intfAclDropCounter() const { return _intfAclDropCounter; }
  Kel::Ptr<Glim::Interface::AllDropCounterDir> const& intfAclDropCountersDir() const {
    return _intfAclDropCountersDir;
  }
  Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper() const { return _platformHelper; }

  // The count that was published last.
  std::uint64_t prevCounters() const { return _prevCounters; }
  void prevCountersIs(std::uint64_t count) { _prevCounters = count; }

  // Seconds; 0 means no polling. A new interval takes effect after the next wake-up.
  Kel::Seconds pollInterval() const { return _pollInterval; }
  // Throws Kel::RangeException for what is no interval.
  void pollIntervalIs(Kel::Seconds interval) {
    Kel::requirePeriod(interval);
    _pollInterval = interval;
  }

  bool initialized() const { return _initialized; }
  void initializedIs(bool initialized) { _initialized = initialized; }

  void handleInitialized();
  // A wake-up.
  void handleTime();
  // Polls once, now. Before the poller is initialized it only says so.
  void updateCounters();

  static constexpr auto kelDescription() {
    using Sm = IntfAclDropCountersSm;
    return Kel::describe("Oru::Counters::IntfAclDropCountersSm", Kel::key("intfId", &Sm::_intfId),
                         Kel::watchedParameter("clock", &Sm::_clock),
                         Kel::parameter("intfAclDropCounter", &Sm::_intfAclDropCounter),
                         Kel::parameter("intfAclDropCountersDir", &Sm::_intfAclDropCountersDir),
                         Kel::parameter("platformHelper", &Sm::_platformHelper),
                         Kel::value("prevCounters", &Sm::prevCounters, &Sm::prevCountersIs),
                         Kel::value("pollInterval", &Sm::pollInterval, &Sm::pollIntervalIs),
                         Kel::value("initialized", &Sm::initialized, &Sm::initializedIs),
                         Kel::operation("handleInitialized", &Sm::handleInitialized),
                         Kel::operation("handleTime", &Sm::handleTime),
                         Kel::operation("updateCounters", &Sm::updateCounters));
  }
  static Kel::TypeNode const _kelType;

 private:
  class KelClock;

  Pekt::IntfId const _intfId;
  Kel::Input<KelClock, Kel::Clock const> _clock;
  Glim::Interface::DropCounter const _intfAclDropCounter;
  Kel::Ptr<Glim::Interface::AllDropCounterDir> const _intfAclDropCountersDir;
  Kel::Ptr<OruHelper::OruHelperCountersSm> const _platformHelper;
  std::uint64_t _prevCounters = 0;
  Kel::Seconds _pollInterval = 2.0;
  bool _initialized = false;
};

}  // namespace Oru::Counters
