// The start of a queue counter test wrapper, its inputs and its names.
#include <stdexcept>

#include "platform/kel/activity.h"
#include "platform/kel/type_node.h"
#include "tests/support/reflection.h"
#include "tests/tester/wrapper_fixture.h"

namespace TesterTest {
namespace {

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

TEST_F(IntfQueueCounterTestWrapperDeathTest, WithoutEitherTheCommonDataIsMissedFirst) {
  sut = Oru::Counters::intfQueueCounterTestWrapperFactory(nullptr, nullptr, current, cleared);
  EXPECT_DEATH(sut->initializedIs(true), "OruIntfQueueTester:79: .*Assertion `ocsd\\(\\)' failed");
}

TEST_F(IntfQueueCounterTestWrapperDeathTest, WithoutAHelperTheStartEndsTheProcess) {
  sut->oruCounterHelperDel();
  EXPECT_DEATH(sut->initializedIs(true),
               "OruIntfQueueTester:80: .*IntfQueueCounterTestWrapper::handleInitialized\\(\\).*"
               "Assertion `oruCounterHelper\\(\\)' failed");
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

TEST_F(IntfQueueCounterTestWrapper, AHelperThatIsAttachedAnewIsForPollersMadeFromThenOn) {
  sut->initializedIs(true);
  auto const other = Kel::make<RecordingHelper>(log);
  sut->oruCounterHelperIs(other);
  EXPECT_EQ(sut->interface(eth1)->platformHelper(), helper);
  sut->interfaceDel(eth1);
  sut->interfaceDel(eth2);
  sut->handleInitialized();
  EXPECT_EQ(sut->interface(eth1)->platformHelper(), other);
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
  EXPECT_EQ(current->members(), 0u);
  EXPECT_EQ(cleared->members(), 0u);
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
  EXPECT_EQ(Support::names(Wrapper::_kelType),
            (Calls{"ocsd", "oruCounterHelper", "allIntfCurrQueueCounters",
                   "allIntfClearQueueCounters", "interface", "initialized", "handleInitialized",
                   "interfaceDel", "interfaceDelAll", "interfaceNotify"}));
}

TEST_F(IntfQueueCounterTestWrapper, EveryAttributeAnswers) {
  sut->initializedIs(true);
  Support::expectEveryAttributeAnswers(*sut);
  Support::expectEveryAttributeAnswers(*helper);
}

TEST_F(IntfQueueCounterTestWrapper, ItsInputsAreReadByName) {
  auto const same = [&](char const* name, Kel::PtrInterface const& object) {
    EXPECT_EQ(Kel::read(*sut, name), Kel::toStrep(Kel::Ptr<Kel::PtrInterface const>(&object)))
        << name;
  };
  same("ocsd", *ocsd);
  same("oruCounterHelper", *helper);
  same("allIntfCurrQueueCounters", *current);
  same("allIntfClearQueueCounters", *cleared);
}

TEST_F(IntfQueueCounterTestWrapper, ItsOperationsAreInvokedByName) {
  Support::CallLog told;
  auto const watcher = Kel::make<Watcher>(Kel::Ptr<Wrapper const>(sut), told);
  Kel::invoke(*sut, "handleInitialized");
  EXPECT_EQ(sut->interface().size(), 2u);
  Kel::invoke(*sut, "interfaceNotify", {"Ethernet2"});
  Kel::invoke(*sut, "interfaceDelAll");
  EXPECT_EQ(sut->interface().size(), 0u);
  EXPECT_EQ(told.calls(), (Calls{"here Ethernet1", "here Ethernet2", "here Ethernet2", "at once 0",
                                 "as a whole"}));
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
}  // namespace TesterTest
