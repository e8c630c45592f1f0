#include "tester/intf_queue_counter_test_wrapper.h"

#include "platform/interface/counter_tables.h"
#include "platform/kel/activity.h"
#include "platform/kel/walk.h"
#include "tester/intf_queue_counters_helper.h"
#include "tester/unit.h"

template class Kel::StateMachine<Oru::Counters::IntfQueueCounterTestWrapper, Oru::OruBaseSm>;

namespace Oru::Counters {

// What the wrapper is given is read when it starts: no change of it is of any matter.
class IntfQueueCounterTestWrapper::KelOruCounterHelper final
    : public Kel::Reactor<IntfQueueCounterTestWrapper, IntfQueueCountersHelper> {
 public:
  using Reactor::Reactor;
};

class IntfQueueCounterTestWrapper::KelAllIntfCurrQueueCounters final
    : public Kel::Reactor<IntfQueueCounterTestWrapper, Table> {
 public:
  using Reactor::Reactor;
};

class IntfQueueCounterTestWrapper::KelAllIntfClearQueueCounters final
    : public Kel::Reactor<IntfQueueCounterTestWrapper, Table> {
 public:
  using Reactor::Reactor;
};

constinit Kel::TypeNode const IntfQueueCounterTestWrapper::_kelType =
    Kel::typeNode<IntfQueueCounterTestWrapper>();

IntfQueueCounterTestWrapper::IntfQueueCounterTestWrapper(
    Kel::Ptr<OruCommonSmData> const& ocsd,
    Kel::Ptr<IntfQueueCountersHelper> const& oruCounterHelper,
    Kel::Ptr<Table> const& allIntfCurrQueueCounters,
    Kel::Ptr<Table> const& allIntfClearQueueCounters)
    : StateMachine(ocsd),
      _oruCounterHelper(*this, oruCounterHelper),
      _allIntfCurrQueueCounters(*this, allIntfCurrQueueCounters),
      _allIntfClearQueueCounters(*this, allIntfClearQueueCounters) {}

IntfQueueCounterTestWrapper::~IntfQueueCounterTestWrapper() = default;

Kel::Ptr<IntfQueueCountersHelper> IntfQueueCounterTestWrapper::oruCounterHelper() const {
  return _oruCounterHelper.notifier();
}
void IntfQueueCounterTestWrapper::oruCounterHelperIs(
    Kel::Ptr<IntfQueueCountersHelper> const& helper) {
  _oruCounterHelper.notifierIs(*this, helper);
}
Kel::Ptr<IntfQueueCountersHelper> IntfQueueCounterTestWrapper::oruCounterHelperDel() {
  return _oruCounterHelper.notifierDel(*this);
}

auto IntfQueueCounterTestWrapper::allIntfCurrQueueCounters() const -> Kel::Ptr<Table> {
  return _allIntfCurrQueueCounters.notifier();
}
void IntfQueueCounterTestWrapper::allIntfCurrQueueCountersIs(Kel::Ptr<Table> const& table) {
  _allIntfCurrQueueCounters.notifierIs(*this, table);
}
auto IntfQueueCounterTestWrapper::allIntfCurrQueueCountersDel() -> Kel::Ptr<Table> {
  return _allIntfCurrQueueCounters.notifierDel(*this);
}

auto IntfQueueCounterTestWrapper::allIntfClearQueueCounters() const -> Kel::Ptr<Table> {
  return _allIntfClearQueueCounters.notifier();
}
void IntfQueueCounterTestWrapper::allIntfClearQueueCountersIs(Kel::Ptr<Table> const& table) {
  _allIntfClearQueueCounters.notifierIs(*this, table);
}
auto IntfQueueCounterTestWrapper::allIntfClearQueueCountersDel() -> Kel::Ptr<Table> {
  return _allIntfClearQueueCounters.notifierDel(*this);
}

Kel::Ptr<IntfQueueCountersSm> IntfQueueCounterTestWrapper::interfaceIs(
    Kel::Ptr<OruCommonSmData> const& ocsd, Pekt::IntfId const& intfId, Kel::Seconds pollPeriod,
    Kel::Ptr<Kel::Clock const> const& clock,
    Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper,
    Kel::Ptr<Table> const& allIntfQueueCounters, Kel::Ptr<Table> const& allIntfClearQueueCounters) {
  Kel::Ptr<IntfQueueCounterTestWrapper> const alive(this);  // as in handleInitialized
  bool const there = bool(interface(intfId));
  auto const poller = _interface.newMember(intfId, ocsd, intfId, pollPeriod, clock, platformHelper,
                                           allIntfQueueCounters, allIntfClearQueueCounters);
  if (there) return poller;
  try {
    poller->initializedIs(true);
  } catch (...) {  // so that it can be asked for again
    if (interface(intfId) == poller) _interface.endMember(intfId);
    throw;
  }
  if (interface(intfId) == poller) interfaceNotify(intfId);  // not removed by what that set off
  return poller;
}

void IntfQueueCounterTestWrapper::interfaceDel(Pekt::IntfId const& intfId) {
  Pekt::IntfId const held = intfId;  // the caller's may be the member's own
  if (!interface(held)) return;
  _interface.endMember(held);
  interfaceNotify(held);
}

void IntfQueueCounterTestWrapper::interfaceDelAll() {
  if (_interface.size() == 0) return;
  Kel::Ptr<IntfQueueCounterTestWrapper> const alive(this);  // over both notifications
  _interface.endAllMembers();
  notify(&NotifieeConst::onInterfacekelImmediate);
  notify<NotifieeConst>(&NotifieeConst::onInterface);
}

void IntfQueueCounterTestWrapper::interfaceNotify(Pekt::IntfId const& intfId) {
  notify<NotifieeConst, Pekt::IntfId>(&NotifieeConst::onInterface, intfId);
}

void IntfQueueCounterTestWrapper::initializedIs(bool initialized) {
  if (initialized == OruBaseSm::initialized()) return;
  Initializing const once(*this);  // the base leaves our own handler to us
  OruBaseSm::initializedIs(initialized);
  OruBaseSm::handleInitialized();
  handleInitialized();
}

void IntfQueueCounterTestWrapper::handleInitialized() {
  Tester::require(bool(ocsd()), "ocsd()", Tester::Line::commonData);
  Tester::require(bool(oruCounterHelper()), "oruCounterHelper()", Tester::Line::helper);
  // Who is told of a poller, or of a table that it gives up, may let go of the wrapper.
  Kel::Ptr<IntfQueueCounterTestWrapper> const alive(this);
  for (auto const& [intfId, served] : Kel::walk(ocsd()->intf()))
    interfaceIs(ocsd(), intfId, kPollPeriod, Kel::ActivityManagerConfig::clock(),
                oruCounterHelper(), allIntfCurrQueueCounters(), allIntfClearQueueCounters());
}

std::string IntfQueueCounterTestWrapper::refusal(IntfQueueCounterTestWrapper const& sm) {
  if (!sm.ocsd()) return "there is no common data";
  return sm.oruCounterHelper() ? "" : "there is no helper";
}

std::string IntfQueueCounterTestWrapper::cannotStart(IntfQueueCounterTestWrapper const& sm,
                                                     bool const&) {
  return refusal(sm);
}

Kel::Ptr<IntfQueueCounterTestWrapper> intfQueueCounterTestWrapperFactory(
    Kel::Ptr<OruCommonSmData> const& ocsd, Kel::Ptr<IntfQueueCountersHelper> const& helper,
    Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const& allIntfCurrQueueCounters,
    Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const& allIntfClearQueueCounters) {
  return IntfQueueCounterTestWrapper::IntfQueueCounterTestWrapperIs(
      ocsd, helper, allIntfCurrQueueCounters, allIntfClearQueueCounters);
}

}  // namespace Oru::Counters
