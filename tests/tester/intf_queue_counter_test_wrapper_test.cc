#include "tester/intf_queue_counter_test_wrapper.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/interface/counter_tables.h"
#include "platform/kel/activity.h"
#include "platform/kel/exceptions.h"
#include "platform/kel/type_node.h"
#include "platform/oru/common_sm_data.h"
#include "tester/intf_queue_counters_helper.h"
#include "tests/support/call_log.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"
#include "tests/tester/queue_record.h"

namespace {

using Interface::QueueCounter::IntfQueueCounter;
using Support::Calls;
using TesterTest::record;

Pekt::IntfId const eth1("Ethernet1"), eth2("Ethernet2"), eth3("Ethernet3");

// Records what the pollers ask.
class RecordingHelper : public Oru::Counters::IntfQueueCountersHelper {
 public:
  explicit RecordingHelper(Support::CallLog& log) : IntfQueueCountersHelper("helper"), _log(log) {}
  void getIntfQueueType(Pekt::IntfId id, Kel::Ptr<OruTypes::IntfQueueType> types) override {
    _log("getIntfQueueType", id);
    IntfQueueCountersHelper::getIntfQueueType(id, types);
    if (duringStart) duringStart();
  }
  void getIntfQueueCounters(Pekt::IntfId id,
                            Kel::Ptr<OruTypes::IntfQueueCounters> counters) override {
    _log("getIntfQueueCounters", id);
    IntfQueueCountersHelper::getIntfQueueCounters(id, counters);
    if (duringPoll) duringPoll();
  }
  std::function<void()> duringStart, duringPoll;

 private:
  Support::CallLog& _log;
};

class IntfQueueCounterTestWrapper : public testing::Test {
 public:
  using Wrapper = Oru::Counters::IntfQueueCounterTestWrapper;
  using Poller = Oru::Counters::IntfQueueCountersSm;
  using Table = Interface::QueueCounter::AllIntfQueueCounters;

  IntfQueueCounterTestWrapper() {
    ocsd->intfIs(eth1, true);
    ocsd->intfIs(eth2, true);
  }
  Kel::Ptr<Wrapper> make() {
    return Oru::Counters::intfQueueCounterTestWrapperFactory(ocsd, helper, current, cleared);
  }
  Kel::Ptr<Poller> interfaceIs(Pekt::IntfId const& id, Kel::Seconds period = 2.0) {
    return sut->interfaceIs(ocsd, id, period, time.clock(), helper, current, cleared);
  }
  std::string refusal(Kel::Ptr<Oru::OruCommonSmData> const& data, Kel::Seconds period,
                      Kel::Ptr<Kel::Clock const> const& clock,
                      Kel::Ptr<OruHelper::OruHelperCountersSm> const& chip,
                      Kel::Ptr<Table> const& live, Kel::Ptr<Table> const& clear) {
    try {
      sut->interfaceIs(data, eth1, period, clock, chip, live, clear);
    } catch (Kel::NameInUseException const& e) {
      std::string const text = e.what();
      std::string const start =
          "Reinstantiating the pointer interface where constructor parameter attribute ";
      return text.starts_with(start)
                 ? text.substr(start.size(), text.find(' ', start.size()) - start.size())
                 : text;
    }
    return "not refused";
  }
  std::size_t polls() const {
    return log.count("getIntfQueueCounters Ethernet1") +
           log.count("getIntfQueueCounters Ethernet2");
  }

  Support::VirtualTime time;
  Support::TemporaryTables tables;
  Support::CallLog log;
  Kel::Ptr<Oru::OruCommonSmData> ocsd = Kel::make<Oru::OruCommonSmData>();
  Kel::Ptr<RecordingHelper> helper = Kel::make<RecordingHelper>(log);
  Kel::Ptr<Table> current = tables.table<Table>("current");
  Kel::Ptr<Table> cleared = tables.table<Table>("cleared");
  Kel::Ptr<Wrapper> sut = make();
};
using IntfQueueCounterTestWrapperDeathTest = IntfQueueCounterTestWrapper;

class Watcher : public Oru::Counters::IntfQueueCounterTestWrapper::NotifieeConst {
 public:
  Watcher(Kel::Ptr<Oru::Counters::IntfQueueCounterTestWrapper const> const& wrapper,
          Support::CallLog& log)
      : _log(log) {
    notifierIs(wrapper);
    isRegisteredNotifieeIs(true);
    hasNotificationActiveIs(true);
  }
  void onInterface(Pekt::IntfId id) override {
    _log(notifier()->interface(id) ? "here" : "gone", id);
  }
  void onInterfacekelImmediate() override { _log("at once", notifier()->interface().size()); }
  void onInterface() override { _log("as a whole"); }

 private:
  Support::CallLog& _log;
};

// --- the start ---

TEST_F(IntfQueueCounterTestWrapper, MakesNothingBeforeItIsInitialized) {
  EXPECT_TRUE(sut->hasNotificationActive());
  EXPECT_FALSE(sut->initialized());
  EXPECT_EQ(sut->interface().size(), 0u);
  EXPECT_EQ(sut->ocsd(), ocsd);
  EXPECT_EQ(sut->oruCounterHelper(), helper);
  EXPECT_EQ(sut->allIntfCurrQueueCounters(), current);
  EXPECT_EQ(sut->allIntfClearQueueCounters(), cleared);
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(IntfQueueCounterTestWrapper, InitializedMakesAndStartsAPollerForEachInterface) {
  sut->initializedIs(true);
  EXPECT_TRUE(sut->initialized());
  EXPECT_EQ(log.calls(), (Calls{"getIntfQueueType Ethernet1", "getIntfQueueType Ethernet2"}));
  ASSERT_EQ(sut->interface().size(), 2u);
  auto const poller = sut->interface(eth1);
  EXPECT_EQ(poller->intfId(), eth1);
  EXPECT_EQ(poller->ocsd(), ocsd);
  EXPECT_EQ(poller->counterPollPeriod(), 2.0);
  EXPECT_EQ(poller->clock(), Kel::ActivityManagerConfig::clock());
  EXPECT_EQ(poller->platformHelper(), helper);
  EXPECT_EQ(poller->allIntfQueueCounters(), current);
  EXPECT_EQ(poller->allIntfClearQueueCounters(), cleared);
  EXPECT_TRUE(poller->initialized());
  EXPECT_TRUE(poller->hasNotificationActive());
  EXPECT_EQ(current->intfQueueCounter(eth1).statistics.size(), 17u);
  EXPECT_EQ(cleared->members(), 2u);
}

TEST_F(IntfQueueCounterTestWrapper, InterfacesAreTakenInTheOrderOfTheCommonDataWhateverTheirFlag) {
  ocsd->intfIs(Pekt::IntfId("Ethernet10"), true);
  ocsd->intfIs(eth3, false);
  sut->initializedIs(true);
  EXPECT_EQ(log.calls(), (Calls{"getIntfQueueType Ethernet1", "getIntfQueueType Ethernet2",
                                "getIntfQueueType Ethernet3", "getIntfQueueType Ethernet10"}));
}

TEST_F(IntfQueueCounterTestWrapper, InitializedTwiceMakesThePollersOnce) {
  sut->initializedIs(true);
  auto const poller = sut->interface(eth1);
  ocsd->intfIs(eth3, true);
  log.clear();
  sut->initializedIs(true);
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(sut->interface(eth1), poller);
  EXPECT_EQ(sut->interface().size(), 2u);
}

TEST_F(IntfQueueCounterTestWrapper, AChangeOfTheFlagRunsTheHandlerOnce) {
  class Derived : public Wrapper {
   public:
    Derived(Kel::Ptr<Oru::OruCommonSmData> const& data,
            Kel::Ptr<Oru::Counters::IntfQueueCountersHelper> const& chip, Support::CallLog& calls)
        : IntfQueueCounterTestWrapper(data, chip, nullptr, nullptr), _log(calls) {}
    void handleInitialized() override { _log("handleInitialized", initialized()); }

   private:
    Support::CallLog& _log;
  };
  auto const derived = Kel::make<Derived>(ocsd, helper, log);
  derived->initializedIs(false);
  EXPECT_EQ(log.calls(), Calls{});
  derived->initializedIs(true);
  EXPECT_EQ(log.calls(), (Calls{"handleInitialized 1"}));
  derived->initializedIs(false);
  EXPECT_EQ(log.calls(), (Calls{"handleInitialized 1", "handleInitialized 0"}));
}

TEST_F(IntfQueueCounterTestWrapper, AStartThatFailsCanBeTriedAgain) {
  helper->numUnicastQueuesIs(10);  // 18 with the others
  EXPECT_THROW(sut->initializedIs(true), Kel::RangeException);
  EXPECT_FALSE(sut->initialized());
  EXPECT_EQ(sut->interface().size(), 0u);
  helper->numUnicastQueuesIs(9);
  sut->initializedIs(true);
  EXPECT_EQ(sut->interface().size(), 2u);
  EXPECT_TRUE(sut->interface(eth1)->initialized());
}

TEST_F(IntfQueueCounterTestWrapper, AStartThatFailsHalfWayKeepsThePollersOfBefore) {
  helper->duringStart = [&] {
    if (log.calls().back() == "getIntfQueueType Ethernet2")
      throw std::runtime_error("no such port");
  };
  EXPECT_THROW(sut->initializedIs(true), std::runtime_error);
  EXPECT_FALSE(sut->initialized());
  auto const first = sut->interface(eth1);
  EXPECT_TRUE(first->initialized());
  EXPECT_EQ(sut->interface(eth2), nullptr);
  helper->duringStart = nullptr;
  sut->initializedIs(true);
  EXPECT_EQ(sut->interface(eth1), first);
  EXPECT_NE(sut->interface(eth2), nullptr);
}

TEST_F(IntfQueueCounterTestWrapper, AnInterfaceWithoutClockHelperOrClearTableIsRefused) {
  auto const with = [&](Kel::Ptr<Kel::Clock const> const& clock,
                        Kel::Ptr<OruHelper::OruHelperCountersSm> const& chip,
                        Kel::Ptr<Table> const& clear) {
    sut->interfaceIs(ocsd, eth3, 2.0, clock, chip, current, clear);
  };
  EXPECT_THROW(with(time.clock(), helper, nullptr), Kel::RangeException);
  EXPECT_THROW(with(nullptr, helper, cleared), Kel::RangeException);
  EXPECT_THROW(with(time.clock(), nullptr, cleared), Kel::RangeException);
  EXPECT_EQ(sut->interface(eth3), nullptr);
}

TEST_F(IntfQueueCounterTestWrapperDeathTest, WithoutCommonDataTheStartEndsTheProcess) {
  sut = Oru::Counters::intfQueueCounterTestWrapperFactory(nullptr, helper, current, cleared);
  EXPECT_DEATH(sut->initializedIs(true),
               "OruIntfQueueTester:79: .*IntfQueueCounterTestWrapper::handleInitialized\\(\\).*"
               "Assertion `ocsd\\(\\)' failed");
}

TEST_F(IntfQueueCounterTestWrapperDeathTest, WithoutAHelperTheStartEndsTheProcess) {
  sut->oruCounterHelperDel();
  EXPECT_DEATH(sut->initializedIs(true),
               "OruIntfQueueTester:80: .*IntfQueueCounterTestWrapper::handleInitialized\\(\\).*"
               "Assertion `oruCounterHelper\\(\\)' failed");
}

// --- polling ---

TEST_F(IntfQueueCounterTestWrapper, PollsEveryTwoSecondsIntoTheCurrentTable) {
  sut->initializedIs(true);
  log.clear();
  time.runFor(1.9);
  EXPECT_EQ(polls(), 0u);
  helper->intfExpectedCountersIs(record("Ethernet1", {{3, {1, 2, 3, 4}}}));
  time.runFor(0.1);
  EXPECT_EQ(log.calls(),
            (Calls{"getIntfQueueCounters Ethernet1", "getIntfQueueCounters Ethernet2"}));
  EXPECT_EQ(
      current->intfQueueCounter(eth1).statistics[Interface::QueueCounter::QueueIndex(3)].counts,
      (Interface::QueueCounter::QueueCounts{1, 2, 3, 4}));
  EXPECT_EQ(
      cleared->intfQueueCounter(eth1).statistics[Interface::QueueCounter::QueueIndex(3)].counts,
      Interface::QueueCounter::QueueCounts());
  time.runFor(20.0);
  EXPECT_EQ(polls(), 22u);
}

TEST_F(IntfQueueCounterTestWrapper, AfterItsEndNothingIsPolled) {
  sut->initializedIs(true);
  log.clear();
  sut = nullptr;
  time.runFor(20.0);
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(IntfQueueCounterTestWrapper, SwitchesTheNotificationsOfItsPollers) {
  sut->initializedIs(true);
  log.clear();
  sut->hasNotificationActiveIs(false);
  EXPECT_FALSE(sut->interface(eth1)->hasNotificationActive());
  time.runFor(10.0);
  EXPECT_EQ(polls(), 0u);
  sut->hasNotificationActiveIs(true);
  time.runFor(2.0);
  EXPECT_GT(polls(), 0u);
}

TEST_F(IntfQueueCounterTestWrapper, BecomingAZombieLeavesThePollersAlive) {
  sut->initializedIs(true);
  sut->kelDoZombieReactors(true);
  EXPECT_TRUE(sut->kelMarkedForDeletion());
  EXPECT_FALSE(sut->interface(eth1)->kelMarkedForDeletion());
  log.clear();
  time.runFor(2.0);
  EXPECT_EQ(polls(), 2u);
}

// --- single interfaces ---

TEST_F(IntfQueueCounterTestWrapper, AnInterfaceOfItsOwnIsPolledOnItsOwnPeriod) {
  auto const poller = interfaceIs(eth3, 5.0);
  EXPECT_TRUE(poller->hasNotificationActive());
  EXPECT_TRUE(poller->initialized());
  EXPECT_EQ(sut->interface(eth3), poller);
  log.clear();
  time.runFor(10.0);
  EXPECT_EQ(log.calls(),
            (Calls{"getIntfQueueCounters Ethernet3", "getIntfQueueCounters Ethernet3"}));
}

TEST_F(IntfQueueCounterTestWrapper, AnInterfaceSetAgainWithTheSameParametersIsTheOneThere) {
  sut->initializedIs(true);
  auto const poller = sut->interface(eth1);
  log.clear();
  EXPECT_EQ(interfaceIs(eth1), poller);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(IntfQueueCounterTestWrapper, AnInterfaceSetAgainWithAnotherPeriodIsRefusedToTheLetter) {
  sut->initializedIs(true);
  auto const poller = sut->interface(eth1);
  try {
    interfaceIs(eth1, 3.0);
    FAIL() << "not refused";
  } catch (Kel::NameInUseException const& e) {
    EXPECT_STREQ(e.what(),
                 "Reinstantiating the pointer interface where constructor parameter attribute "
                 "_counterPollPeriod has a different value of 3 than the current value of 2 not "
                 "allowed");
  }
  EXPECT_EQ(sut->interface(eth1), poller);
  EXPECT_EQ(poller->counterPollPeriod(), 2.0);
}

TEST_F(IntfQueueCounterTestWrapper, TheFirstDifferenceIsNamedInTheOrderOfTheWrapper) {
  sut->initializedIs(true);
  auto const data = Kel::make<Oru::OruCommonSmData>();
  auto const clock = Kel::make<Kel::Clock>();
  auto const chip = Oru::Counters::intfQueueCountersHelperFactory("other");
  auto const other = tables.table<Table>("other");
  auto const first = time.clock();
  EXPECT_EQ(refusal(data, 3.0, clock, chip, other, other), "_clock");
  EXPECT_EQ(refusal(data, 3.0, first, chip, other, other), "_platformHelper");
  EXPECT_EQ(refusal(data, 3.0, first, helper, other, other), "_allIntfQueueCounters");
  EXPECT_EQ(refusal(data, 3.0, first, helper, current, other), "_allIntfClearQueueCounters");
  EXPECT_EQ(refusal(data, 3.0, first, helper, current, cleared), "_counterPollPeriod");
  EXPECT_EQ(refusal(data, 2.0, first, helper, current, cleared), "_ocsd");
  EXPECT_EQ(refusal(ocsd, 2.0, first, helper, current, cleared), "not refused");
}

TEST_F(IntfQueueCounterTestWrapper, AnInterfaceThatCannotStartHasNoPoller) {
  helper->numMulticastQueuesIs(9);
  EXPECT_THROW(interfaceIs(eth3), Kel::RangeException);
  EXPECT_THROW(interfaceIs(eth2, -1.0), Kel::RangeException);
  EXPECT_EQ(sut->interface().size(), 0u);
  EXPECT_FALSE(current->contains(eth3));
}

TEST_F(IntfQueueCounterTestWrapper, AnInterfaceThatIsRemovedIsPolledNoMore) {
  sut->initializedIs(true);
  sut->interfaceDel(eth1);
  log.clear();
  time.runFor(2.0);
  EXPECT_EQ(log.calls(), (Calls{"getIntfQueueCounters Ethernet2"}));
  EXPECT_EQ(sut->interface(eth1), nullptr);
}

TEST_F(IntfQueueCounterTestWrapper, AfterTheRemovalOfAllNothingIsWritten) {
  sut->initializedIs(true);
  sut->interfaceDelAll();
  EXPECT_EQ(sut->interface().size(), 0u);
  helper->intfExpectedCountersIs(record("Ethernet1", {{0, {.pkts = 1}}}));
  IntfQueueCounter const before = current->intfQueueCounter(eth1);
  log.clear();
  time.runFor(3600.0);
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(current->intfQueueCounter(eth1), before);
}

TEST_F(IntfQueueCounterTestWrapper, APollerThatSomebodyHoldsPollsNoMoreEither) {
  sut->initializedIs(true);
  auto const one = sut->interface(eth1), two = sut->interface(eth2);
  sut->interfaceDel(eth1);
  EXPECT_EQ(one->references(), 1u);
  log.clear();
  time.runFor(2.0);
  EXPECT_EQ(log.calls(), Calls{"getIntfQueueCounters Ethernet2"});
  sut->interfaceDelAll();
  time.runFor(10.0);
  EXPECT_EQ(log.calls(), Calls{"getIntfQueueCounters Ethernet2"});
}

TEST_F(IntfQueueCounterTestWrapper, APollerThatIsRemovedWhileItPollsWritesNothing) {
  sut->initializedIs(true);
  helper->intfExpectedCountersIs(record("Ethernet1", {{0, {.pkts = 1}}}));
  helper->duringPoll = [&] {
    sut->interfaceDelAll();
    current->intfQueueCounterDel(eth1);
  };
  log.clear();
  time.runFor(2.0);
  EXPECT_EQ(log.calls(), Calls{"getIntfQueueCounters Ethernet1"});
  EXPECT_FALSE(current->contains(eth1));
}

TEST_F(IntfQueueCounterTestWrapper, APollerThatIsRemovedWhileItStartsIsNotTold) {
  Support::CallLog told;
  auto const watcher = Kel::make<Watcher>(Kel::Ptr<Wrapper const>(sut), told);
  helper->duringStart = [&] { sut->interfaceDel(eth3); };
  interfaceIs(eth3);
  EXPECT_EQ(sut->interface(eth3), nullptr);
  EXPECT_EQ(told.calls(), Calls{"gone Ethernet3"});
}

TEST_F(IntfQueueCounterTestWrapper, MayBeLetGoOfByWhoeverIsToldOfAPoller) {
  class LastHolder : public Wrapper::NotifieeConst {
   public:
    explicit LastHolder(Kel::Ptr<Wrapper>& wrapper) : _wrapper(wrapper) {
      notifierIs(wrapper);
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
    }
    void onInterface(Pekt::IntfId) override { letGo(); }
    void onInterfacekelImmediate() override { letGo(); }
    void onInterface() override {}

   private:
    void letGo() {
      _wrapper = nullptr;
      notifierIs(nullptr);
    }
    Kel::Ptr<Wrapper>& _wrapper;
  };
  auto last = Kel::make<LastHolder>(sut);
  sut->handleInitialized();
  EXPECT_EQ(sut, nullptr);
  sut = make();
  sut->initializedIs(true);
  last = Kel::make<LastHolder>(sut);
  sut->interfaceDelAll();
  EXPECT_EQ(sut, nullptr);
  EXPECT_EQ(helper->references(), 1u);
}

TEST_F(IntfQueueCounterTestWrapper, TellsWhoWatchesItOfEachPoller) {
  Support::CallLog told;
  auto const watcher = Kel::make<Watcher>(Kel::Ptr<Wrapper const>(sut), told);
  sut->initializedIs(true);
  interfaceIs(eth1);
  sut->interfaceNotify(eth2);
  sut->interfaceDel(eth2);
  sut->interfaceDel(eth2);
  sut->interfaceDelAll();
  sut->interfaceDelAll();
  EXPECT_EQ(told.calls(), (Calls{"here Ethernet1", "here Ethernet2", "here Ethernet2",
                                 "gone Ethernet2", "at once 0", "as a whole"}));
}

// --- inputs ---

TEST_F(IntfQueueCounterTestWrapper, InputsThatAreAttachedAnewAreForPollersMadeFromThenOn) {
  sut->initializedIs(true);
  auto const other = tables.table<Table>("other");
  auto const otherClear = tables.table<Table>("otherClear");
  log.clear();
  sut->allIntfCurrQueueCountersIs(other);
  sut->allIntfClearQueueCountersIs(otherClear);
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(sut->interface(eth1)->allIntfQueueCounters(), current);
  sut->interfaceDelAll();
  sut->handleInitialized();
  EXPECT_EQ(sut->interface(eth1)->allIntfQueueCounters(), other);
  EXPECT_EQ(sut->interface(eth1)->allIntfClearQueueCounters(), otherClear);
}

TEST_F(IntfQueueCounterTestWrapper, InputsCanBeDetached) {
  EXPECT_EQ(sut->oruCounterHelperDel(), helper);
  EXPECT_EQ(sut->allIntfCurrQueueCountersDel(), current);
  EXPECT_EQ(sut->allIntfClearQueueCountersDel(), cleared);
  EXPECT_EQ(sut->oruCounterHelper(), nullptr);
  EXPECT_EQ(sut->allIntfCurrQueueCounters(), nullptr);
  EXPECT_EQ(sut->allIntfClearQueueCounters(), nullptr);
  EXPECT_EQ(helper->references(), 1u);
  sut->oruCounterHelperIs(helper);
  EXPECT_EQ(sut->oruCounterHelper(), helper);
}

TEST_F(IntfQueueCounterTestWrapper, WithoutTablesPollersRunAndWriteNothing) {
  sut = Oru::Counters::intfQueueCounterTestWrapperFactory(ocsd, helper, nullptr, nullptr);
  sut->initializedIs(true);
  log.clear();
  time.runFor(2.0);
  EXPECT_EQ(polls(), 2u);
}

TEST_F(IntfQueueCounterTestWrapper, LetsGoOfItsInputsAtItsEnd) {
  sut->initializedIs(true);
  sut = nullptr;
  EXPECT_EQ(helper->references(), 1u);
  EXPECT_EQ(current->references(), 1u);
  EXPECT_EQ(cleared->references(), 1u);
  EXPECT_EQ(ocsd->references(), 1u);
}

// --- by name ---

TEST_F(IntfQueueCounterTestWrapper, DeclaresItsAttributes) {
  Calls names;
  for (auto const& a : Wrapper::_kelType.attributes()) names.emplace_back(a.name);
  EXPECT_EQ(names,
            (Calls{"ocsd", "oruCounterHelper", "allIntfCurrQueueCounters",
                   "allIntfClearQueueCounters", "interface", "initialized", "handleInitialized",
                   "interfaceDel", "interfaceDelAll", "interfaceNotify"}));
}

TEST_F(IntfQueueCounterTestWrapper, IsStartedAndInspectedByName) {
  Kel::set(*sut, "initialized", "true");
  EXPECT_EQ(Kel::iterKey(*sut, "interface").size(), 2u);
  EXPECT_EQ(Kel::iterObj(*sut, "interface", "Ethernet1"), sut->interface(eth1));
  Kel::invoke(*sut, "interfaceDel", {"Ethernet1"});
  EXPECT_EQ(sut->interface(eth1), nullptr);
}

TEST_F(IntfQueueCounterTestWrapper, ARemovalByNameIsToldToo) {
  sut->initializedIs(true);
  Support::CallLog told;
  auto const watcher = Kel::make<Watcher>(Kel::Ptr<Wrapper const>(sut), told);
  Kel::iterDel(*sut, "interface", "Ethernet1");
  EXPECT_EQ(told.calls(), Calls{"gone Ethernet1"});
}

TEST_F(IntfQueueCounterTestWrapper, AStartByNameWithoutAHelperIsRefused) {
  sut->oruCounterHelperDel();
  EXPECT_THROW(Kel::set(*sut, "initialized", "true"), Kel::RangeException);
  EXPECT_THROW(Kel::invoke(*sut, "handleInitialized"), Kel::RangeException);
  EXPECT_FALSE(sut->initialized());
}

}  // namespace
