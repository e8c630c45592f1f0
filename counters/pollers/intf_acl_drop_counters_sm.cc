#include "counters/pollers/intf_acl_drop_counters_sm.h"

#include "counters/pollers/unit.h"
#include "counters/pollers/wake_ups.h"
#include "platform/interface/counter_tables.h"

namespace Oru::Counters {

class IntfAclDropCountersSm::KelClock final
    : public Kel::Reactor<IntfAclDropCountersSm, Kel::Clock const> {
 public:
  using Reactor::Reactor;
  void onTime() override { tell(&IntfAclDropCountersSm::handleTime); }
  void resync() override { onTime(); }
};

constinit Kel::TypeNode const IntfAclDropCountersSm::_kelType =
    Kel::typeNode<IntfAclDropCountersSm>();

IntfAclDropCountersSm::IntfAclDropCountersSm(
    Pekt::IntfId intfId, Kel::Ptr<Kel::Clock const> const& clock,
    Glim::Interface::DropCounter const& intfAclDropCounter,
    Kel::Ptr<Glim::Interface::AllDropCounterDir> const& intfAclDropCountersDir,
    Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper)
    : _intfId(intfId),
      _intfAclDropCounter(intfAclDropCounter),
      _intfAclDropCountersDir(intfAclDropCountersDir),
      _platformHelper(platformHelper) {
  *_intfAclDropCountersDir;  // the range error of a null one, before anything is done
  clockIs(clock);
  handleInitialized();
}

IntfAclDropCountersSm::~IntfAclDropCountersSm() = default;

void IntfAclDropCountersSm::clockIs(Kel::Ptr<Kel::Clock const> const& clock) {
  _clock.notifierIs(*this, clock);
}
Kel::Ptr<Kel::Clock const> IntfAclDropCountersSm::clockDel() { return _clock.notifierDel(*this); }

void IntfAclDropCountersSm::handleInitialized() {
  initializedIs(true);
  handleTime();
}

void IntfAclDropCountersSm::handleTime() {
  if (pollInterval() == 0.0) return;  // stops for good: nothing re-arms the clock
  pollAndSetNext([this] { updateCounters(); }, [this] { wakeUpAfter(_clock, pollInterval()); });
}

void IntfAclDropCountersSm::updateCounters() {
  if (!initialized()) {
    if (auto t = trace(8)) t << "IntfAclDropCountersSm::Not Initialized yet";
    return;
  }
  std::uint64_t const count = platformHelper()->getIntfAclDropCounters(intfId());
  if (kelMarkedForDeletion()) return;  // the interface went, and its row with it
  auto const slot = intfAclDropCountersDir()->directWrite(intfId());
  slot->aclDropPkts = count;
  intfAclDropCountersDir()->counterCommit(slot);
  prevCountersIs(count);
}

}  // namespace Oru::Counters
