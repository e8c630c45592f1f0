// The pollers of queue counters without an agent around them.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "counters/pollers/intf_queue_counters_sm.h"
#include "platform/kel/hash_map.h"

namespace Oru::Counters {

class IntfQueueCountersHelper;

// Makes the poller of queue counters of every interface of the common data, with the helper in the
// place of a chip:
//
//   auto const sut =
//       Oru::Counters::intfQueueCounterTestWrapperFactory(ocsd, helper, live, cleared);
//
//   sut->initializedIs(true);  // makes and starts the pollers
//   helper->intfExpectedCountersIs(record);
//   Kel::System::timeSource = …;                         // says `later`
//   Kel::ActivityManagerConfig::clock()->timeIs(later);  // one poll of each poller that is due
//   live->intfQueueCounter(id);
//
// A poller is due every 2 seconds by the system's time; for more polls, go from one wake-up of the
// clock to the next (examples/queue_harness does). Interfaces that come to the common data later
// have no poller, unless interfaceIs makes one. What the wrapper is given is read when it makes
// pollers: another table or helper is for later ones.
class IntfQueueCounterTestWrapper
    : public Kel::StateMachine<IntfQueueCounterTestWrapper, OruBaseSm> {
 public:
  using Table = Interface::QueueCounter::AllIntfQueueCounters;

  // Who watches the wrapper is told of the pollers that are made and removed.
  class NotifieeConst : public Kel::NotifieeOn<IntfQueueCounterTestWrapper> {
   public:
    virtual void onInterface(Pekt::IntfId) {}
    virtual void onInterfacekelImmediate() {}
    virtual void onInterface() {}
  };
  class Notifiee : public NotifieeConst {};

  // Poll period of the pollers that handleInitialized makes, seconds.
  static constexpr Kel::Seconds kPollPeriod = 2.0;

  IntfQueueCounterTestWrapper(Kel::Ptr<OruCommonSmData> const& ocsd,
                              Kel::Ptr<IntfQueueCountersHelper> const& oruCounterHelper,
                              Kel::Ptr<Table> const& allIntfCurrQueueCounters,
                              Kel::Ptr<Table> const& allIntfClearQueueCounters);
  ~IntfQueueCounterTestWrapper() override;

  // Makes one with its notifications on; the parameters are the constructor's.
  template <class... Params>
  static Kel::Ptr<IntfQueueCounterTestWrapper> IntfQueueCounterTestWrapperIs(
      Params const&... params) {
    return Kel::instance<IntfQueueCounterTestWrapper>(params...);
  }

  Kel::Ptr<IntfQueueCountersHelper> oruCounterHelper() const;
  void oruCounterHelperIs(Kel::Ptr<IntfQueueCountersHelper> const& helper);
  Kel::Ptr<IntfQueueCountersHelper> oruCounterHelperDel();

  Kel::Ptr<Table> allIntfCurrQueueCounters() const;
  void allIntfCurrQueueCountersIs(Kel::Ptr<Table> const& table);
  Kel::Ptr<Table> allIntfCurrQueueCountersDel();

  Kel::Ptr<Table> allIntfClearQueueCounters() const;
  void allIntfClearQueueCountersIs(Kel::Ptr<Table> const& table);
  Kel::Ptr<Table> allIntfClearQueueCountersDel();

  // In the order in which a poller that is there is compared with what is asked for.
  struct InterfaceOrder {
    static constexpr std::array<std::string_view, 6> names{"clock",
                                                           "platformHelper",
                                                           "allIntfQueueCounters",
                                                           "allIntfClearQueueCounters",
                                                           "counterPollPeriod",
                                                           "ocsd"};
  };
  using Interfaces = Kel::HashMap<IntfQueueCountersSm, Pekt::IntfId, InterfaceOrder>;

  Interfaces const& interface() const { return _interface; }
  // Null if there is none.
  Kel::Ptr<IntfQueueCountersSm> interface(Pekt::IntfId const& intfId) const {
    return _interface.member(intfId);
  }
  // Finds the interface's poller, or makes and starts it. Throws Kel::NameInUseException where it
  // is there with other parameters, and leaves it as it was; Kel::RangeException for what is no
  // period, where the helper tells more than 17 queues, or "null ValidPtr" without a clock, helper
  // or clear table: there is then no poller, though there may be rows.
  Kel::Ptr<IntfQueueCountersSm> interfaceIs(
      Kel::Ptr<OruCommonSmData> const& ocsd, Pekt::IntfId const& intfId, Kel::Seconds pollPeriod,
      Kel::Ptr<Kel::Clock const> const& clock,
      Kel::Ptr<OruHelper::OruHelperCountersSm> const& platformHelper,
      Kel::Ptr<Table> const& allIntfQueueCounters,
      Kel::Ptr<Table> const& allIntfClearQueueCounters);
  // A poller that is removed polls and writes no more, also where somebody else still holds it.
  // (The wrapper's end only lets go of its pollers: one that somebody holds goes on.)
  void interfaceDel(Pekt::IntfId const& intfId);
  void interfaceDelAll();
  // Tells those who watch the wrapper that the member of this interface has changed.
  void interfaceNotify(Pekt::IntfId const& intfId);

  // A change, either way, has handleInitialized() run; where that throws, the flag is as it was,
  // and so are the pollers that were made before. REQUIRES: ocsd(), oruCounterHelper().
  void initializedIs(bool initialized) override;
  // A poller for each interface of the common data.
  // REQUIRES: ocsd(), oruCounterHelper().
  void handleInitialized() override;

  static constexpr auto kelDescription() {
    using Sm = IntfQueueCounterTestWrapper;
    return Kel::describe(
        "Oru::Counters::IntfQueueCounterTestWrapper", Kel::parameter("ocsd", &Sm::ocsd),
        Kel::watchedParameter("oruCounterHelper", &Sm::_oruCounterHelper),
        Kel::watchedParameter("allIntfCurrQueueCounters", &Sm::_allIntfCurrQueueCounters),
        Kel::watchedParameter("allIntfClearQueueCounters", &Sm::_allIntfClearQueueCounters),
        Kel::collection("interface", &Sm::_interface, &Sm::interfaceDel),
        Kel::value("initialized", &Sm::initialized, &Sm::initializedIs, &Sm::cannotStart),
        Kel::operation("handleInitialized", &Sm::handleInitialized, &Sm::refusal),
        Kel::operation("interfaceDel", &Sm::interfaceDel),
        Kel::operation("interfaceDelAll", &Sm::interfaceDelAll),
        Kel::operation("interfaceNotify", &Sm::interfaceNotify));
  }
  static Kel::TypeNode const _kelType;

 private:
  class KelOruCounterHelper;
  class KelAllIntfCurrQueueCounters;
  class KelAllIntfClearQueueCounters;

  static std::string refusal(IntfQueueCounterTestWrapper const& sm);
  static std::string cannotStart(IntfQueueCounterTestWrapper const& sm, bool const&);

  Kel::Input<KelOruCounterHelper, IntfQueueCountersHelper> _oruCounterHelper;
  Kel::Input<KelAllIntfCurrQueueCounters, Table> _allIntfCurrQueueCounters;
  Kel::Input<KelAllIntfClearQueueCounters, Table> _allIntfClearQueueCounters;
  Interfaces _interface;
};

// Makes a wrapper with its notifications on. Throws Kel::RangeException "null ValidPtr" when there
// is no memory.
Kel::Ptr<IntfQueueCounterTestWrapper> intfQueueCounterTestWrapperFactory(
    Kel::Ptr<OruCommonSmData> const& ocsd, Kel::Ptr<IntfQueueCountersHelper> const& helper,
    Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const& allIntfCurrQueueCounters,
    Kel::Ptr<Interface::QueueCounter::AllIntfQueueCounters> const& allIntfClearQueueCounters);

}  // namespace Oru::Counters

extern template class Kel::StateMachine<Oru::Counters::IntfQueueCounterTestWrapper, Oru::OruBaseSm>;
