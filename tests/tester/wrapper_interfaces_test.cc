// The pollers of a queue counter test wrapper: when they poll, and how they come and go.
#include "tests/tester/wrapper_fixture.h"

namespace TesterTest {
namespace {

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

// A helper that hands over increments hands each over once.
TEST_F(IntfQueueCounterTestWrapper, APollerThatSomebodyHoldsTakesNoIncrement) {
  sut->initializedIs(true);
  auto const held = sut->interface(eth1);
  sut->interfaceDel(eth1);
  helper->queueCountersIncrementIs(true);
  helper->intfIncCountersIs(record("Ethernet1", {{0, {.pkts = 1}}}));
  held->updateCounters();
  interfaceIs(eth1);
  time.runFor(2.0);
  EXPECT_EQ(current->intfQueueCounter(eth1)
                .statistics[Interface::QueueCounter::QueueIndex(0)]
                .counts.pkts,
            1u);
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

TEST_F(IntfQueueCounterTestWrapper, APollerThatIsRemovedWhileItStartsWritesNothing) {
  helper->duringStart = [&] { sut->interfaceDel(eth3); };
  auto const held = interfaceIs(eth3);
  EXPECT_FALSE(current->contains(eth3));
  EXPECT_FALSE(cleared->contains(eth3));
  EXPECT_EQ(time.clock()->nextWakeUp(), Kel::Clock::kNever);
}

TEST_F(IntfQueueCounterTestWrapper, MayBeLetGoOfWhileAPollerStarts) {
  helper->duringStart = [&] { sut = nullptr; };
  interfaceIs(eth3);
  EXPECT_EQ(sut, nullptr);
  EXPECT_EQ(helper->references(), 1u);
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

}  // namespace
}  // namespace TesterTest
