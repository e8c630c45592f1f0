// Ethernet interfaces as they come and go, with all three kinds of pollers.
#include <gtest/gtest.h>

#include "counters/pollers/unit.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Glim::Interface::DropCounter;
using Support::Calls;
using Support::eth1;
using Support::eth2;
using Support::VirtualTime;

class EthernetPollers : public Support::CountersFixture {
 public:
  EthernetPollers() { withQueuesAndDrops(); }

  // Present, with the notifications of its coming forgotten.
  void present() {
    makeInitialized();
    addIntf(eth1);
    log.clear();
  }
  std::size_t pollers() const {
    return sut->portCountersSm().size() + sut->intfQueueCountersSm().size() +
           sut->intfAclDropCountersSm().size();
  }
  // The error of a second handling; empty where there is none.
  std::string refusal() {
    try {
      sut->handleIntf(eth1);
      return {};
    } catch (Kel::NameInUseException const& e) {
      return e.what();
    }
  }
};

TEST_F(EthernetPollers, APresentInterfaceGetsEverythingInOrder) {
  makeInitialized();
  addConfig(eth1);
  addStatus(eth1);
  log.clear();
  ocsd->intfIs(eth1, true);
  EXPECT_EQ(log.calls(),
            (Calls{"writerConfig.intfIs Ethernet1 true", "aclDropConfig.intfIs Ethernet1 true",
                   "live.counterIs Ethernet1", "clear.counterIs Ethernet1",
                   "writerStatus.intfIs Ethernet1 true", "initialize Ethernet1",
                   "getIntfQueueType Ethernet1", "queues.intfQueueCounterIs Ethernet1",
                   "clearQueues.intfQueueCounterIs Ethernet1", "drops.counterIs Ethernet1",
                   "getIntfAclDropCounters Ethernet1", "drops.directWrite Ethernet1",
                   "drops.counterCommit Ethernet1"}));
}

TEST_F(EthernetPollers, APresentInterfaceIsTracedInOrder) {
  makeInitialized();
  addConfig(eth1);
  addStatus(eth1);
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  ocsd->intfIs(eth1, true);
  EXPECT_EQ(
      trace.lines(),
      (Calls{"8 CountersSm::handleIntf(Ethernet1)",
             "8 virtual void Oru::Counters::PortCountersSm::handleInitialized() Ethernet1",
             "8 virtual void Oru::Counters::IntfQueueCountersSm::handleInitialized() Ethernet1",
             "8 void Oru::Counters::IntfQueueCountersSm::addQueues() Ethernet1",
             "6  Adding Glim entry acldrop for Ethernet1",
             "8 IntfAclDropCountersSm::Not Initialized yet"}));
}

TEST_F(EthernetPollers, AnAbsentInterfaceLosesEverythingInOrder) {
  present();
  Calls seen;
  helper->duringDeinitialize = [&] {
    seen = {sut->portCountersSm(eth1) ? "port" : "", sut->intfQueueCountersSm(eth1) ? "queue" : "",
            sut->intfAclDropCountersSm(eth1) ? "drops" : ""};
  };
  ocsd->intfIs(eth1, false);
  EXPECT_EQ(log.calls(),
            (Calls{"writerConfig.intfDel Ethernet1", "aclDropConfig.intfIs Ethernet1 false",
                   "writerStatus.intfDel Ethernet1", "live.counterDel Ethernet1",
                   "clear.counterDel Ethernet1", "deinitialize Ethernet1"}));
  EXPECT_EQ(seen, (Calls{"port", "queue", "drops"}));  // the helper lets go before any is deleted
  EXPECT_EQ(pollers(), 0u);
}

TEST_F(EthernetPollers, TheKeepFlagKeepsTheRowsAndNoPoller) {
  present();
  ocsd->keepIntfCountersIs(true);
  ocsd->intfIs(eth1, false);
  EXPECT_EQ(log.calls(), (Calls{"writerConfig.intfDel Ethernet1",
                                "aclDropConfig.intfIs Ethernet1 false", "deinitialize Ethernet1"}));
  EXPECT_TRUE(allIntfCounters->contains(eth1));
  EXPECT_TRUE(writerStatus->intf().contains(eth1));
  EXPECT_EQ(pollers(), 0u);
}

TEST_F(EthernetPollers, RowsOfQueuesAndDropsStayWhenTheInterfaceGoes) {
  present();
  ocsd->intfDel(eth1);
  EXPECT_TRUE(allIntfQueueCounters->contains(eth1));
  EXPECT_TRUE(allIntfClearQueueCounters->contains(eth1));
  EXPECT_TRUE(intfAclDropCountersDir->contains(eth1));
}

TEST_F(EthernetPollers, AnInterfaceThatComesBackGoesOnWithItsRows) {
  present();
  ocsd->intfDel(eth1);
  log.clear();
  ocsd->intfIs(eth1, true);
  EXPECT_EQ(log.count("queues.intfQueueCounterIs Ethernet1"), 0u);
  EXPECT_EQ(log.count("drops.counterIs Ethernet1"), 0u);
  EXPECT_EQ(pollers(), 3u);
}

TEST_F(EthernetPollers, AMissingConfigurationEndsAllThree) {
  present();
  configDir->intfConfigDel(eth1);
  EXPECT_EQ(pollers(), 0u);
}

TEST_F(EthernetPollers, TheQueuePollerIsMadeOfTheInputs) {
  present();
  auto const poller = sut->intfQueueCountersSm(eth1);
  EXPECT_EQ(poller->ocsd(), ocsd);
  EXPECT_EQ(poller->intfId(), eth1);
  EXPECT_EQ(poller->counterPollPeriod(), 5.0);
  EXPECT_EQ(poller->clock(), time.clock());
  EXPECT_EQ(poller->platformHelper(), helper);
  EXPECT_EQ(poller->allIntfQueueCounters(), allIntfQueueCounters);
  EXPECT_EQ(poller->allIntfClearQueueCounters(), allIntfClearQueueCounters);
  EXPECT_TRUE(poller->initialized());
  EXPECT_TRUE(poller->hasNotificationActive());
}

TEST_F(EthernetPollers, TheDropPollerIsMadeOfTheInputsAndTheRecordAsItWasFound) {
  present();
  auto const poller = sut->intfAclDropCountersSm(eth1);
  EXPECT_EQ(poller->intfId(), eth1);
  EXPECT_EQ(poller->clock(), time.clock());
  EXPECT_EQ(poller->intfAclDropCounter(), DropCounter());  // not the row that was just added
  EXPECT_EQ(poller->intfAclDropCountersDir(), intfAclDropCountersDir);
  EXPECT_EQ(poller->platformHelper(), helper);
  EXPECT_TRUE(poller->hasNotificationActive());
}

TEST_F(EthernetPollers, ADropRowThatExistsIsHandedOverAndNotWritten) {
  DropCounter const row{.intfId = eth1, .aclDropPkts = 12};
  intfAclDropCountersDir->counterIs(row);
  make();
  addIntf(eth1);
  log.clear();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->initializedIs(true);
  EXPECT_EQ(log.count("drops.counterIs Ethernet1"), 0u);
  for (auto const& line : trace.lines()) EXPECT_EQ(line.find("acldrop"), std::string::npos) << line;
  EXPECT_EQ(sut->intfAclDropCountersSm(eth1)->intfAclDropCounter(), row);
}

TEST_F(EthernetPollers, ASecondHandlingIsRefusedByNameWithTheStepsBeforeItDone) {
  present();
  helper->aclDrops = 3;
  time.runFor(2.0);
  log.clear();
  EXPECT_EQ(refusal(),
            "Reinstantiating the pointer interface where constructor parameter attribute "
            "_intfAclDropCounter has a different value of Ethernet1 3 than the current value of  0 "
            "not allowed");
  EXPECT_EQ(log.calls(),
            (Calls{"writerConfig.intfIs Ethernet1 true", "aclDropConfig.intfIs Ethernet1 true",
                   "writerStatus.intfIs Ethernet1 true"}));
  EXPECT_EQ(pollers(), 3u);
  EXPECT_EQ(sut->intfAclDropCountersSm(eth1)->intfAclDropCounter(), DropCounter());
}

TEST_F(EthernetPollers, ASecondHandlingWithTheSameRecordMakesNothing) {
  intfAclDropCountersDir->counterIs({.intfId = eth1, .aclDropPkts = 3});
  helper->aclDrops = 3;  // what the poller publishes is what it was made from
  present();
  auto const port = sut->portCountersSm(eth1);
  auto const queues = sut->intfQueueCountersSm(eth1);
  auto const drops = sut->intfAclDropCountersSm(eth1);
  EXPECT_EQ(refusal(), "");
  EXPECT_EQ(log.calls(),
            (Calls{"writerConfig.intfIs Ethernet1 true", "aclDropConfig.intfIs Ethernet1 true",
                   "writerStatus.intfIs Ethernet1 true"}));
  EXPECT_EQ(sut->portCountersSm(eth1), port);
  EXPECT_EQ(sut->intfQueueCountersSm(eth1), queues);
  EXPECT_EQ(sut->intfAclDropCountersSm(eth1), drops);
}

TEST_F(EthernetPollers, ANewPeriodAtASecondHandlingIsRefusedByName) {
  present();
  sut->counterPollPeriodIs(7.0);
  EXPECT_EQ(refusal(),
            "Reinstantiating the pointer interface where constructor parameter attribute "
            "_counterPollPeriod has a different value of 7 than the current value of 5 not "
            "allowed");
  EXPECT_EQ(sut->portCountersSm(eth1)->counterPollPeriod(), 7.0);  // the step before it is done
  EXPECT_EQ(sut->intfQueueCountersSm(eth1)->counterPollPeriod(), 5.0);
}

TEST_F(EthernetPollers, WithoutAclDropCountersTheConfigurationIsStillTold) {
  helper->aclDropsSupported = false;
  present();
  EXPECT_TRUE(aclDropConfig->intf().contains(eth1));
  EXPECT_FALSE(intfAclDropCountersDir->contains(eth1));
  EXPECT_EQ(sut->intfAclDropCountersSm().size(), 0u);
  EXPECT_EQ(sut->intfQueueCountersSm().size(), 1u);
  EXPECT_EQ(refusal(), "");
}

TEST_F(EthernetPollers, WithoutAQueueTableThereIsNoQueuePoller) {
  allIntfQueueCounters = nullptr;
  present();
  EXPECT_EQ(sut->intfQueueCountersSm().size(), 0u);
  EXPECT_EQ(sut->portCountersSm().size(), 1u);
  EXPECT_EQ(sut->intfAclDropCountersSm().size(), 1u);
}

TEST_F(EthernetPollers, WithoutADropTableTheInterfaceIsRefusedThereAndCountedOtherwise) {
  intfAclDropCountersDir = nullptr;
  make();
  addIntf(eth1);
  log.clear();
  try {
    sut->initializedIs(true);
    FAIL() << "not refused";
  } catch (Kel::RangeException const& e) {
    EXPECT_STREQ(e.what(), "null ValidPtr");
  }
  EXPECT_EQ(log.calls().back(), "clearQueues.intfQueueCounterIs Ethernet1");
  EXPECT_EQ(sut->portCountersSm().size(), 1u);
  EXPECT_EQ(sut->intfQueueCountersSm().size(), 1u);
  EXPECT_EQ(sut->intfAclDropCountersSm().size(), 0u);
}

TEST_F(EthernetPollers, ADropTableThatIsLostMakesNoPollerOfDrops) {
  intfAclDropCountersDir->detach();
  make();
  addIntf(eth1);
  EXPECT_THROW(sut->initializedIs(true), Dov::AssertException);
  EXPECT_EQ(sut->intfAclDropCountersSm().size(), 0u);
  EXPECT_EQ(sut->portCountersSm().size(), 1u);
}

TEST_F(EthernetPollers, AnInterfaceThatGoesWhileItsPortIsPreparedGetsNoOtherPoller) {
  makeInitialized();
  helper->duringInitialize = [&] { ocsd->intfDel(eth1); };
  addIntf(eth1);
  EXPECT_EQ(pollers(), 0u);
  EXPECT_FALSE(allIntfQueueCounters->contains(eth1));
  EXPECT_FALSE(intfAclDropCountersDir->contains(eth1));
}

TEST_F(EthernetPollers, AnInterfaceThatGoesWhileItsQueuesAreAskedGetsNoDropPoller) {
  makeInitialized();
  helper->duringGetIntfQueueType = [&] { ocsd->intfDel(eth1); };
  addIntf(eth1);
  EXPECT_EQ(pollers(), 0u);
  EXPECT_FALSE(allIntfQueueCounters->contains(eth1));
  EXPECT_FALSE(intfAclDropCountersDir->contains(eth1));
}

TEST_F(EthernetPollers, AnInterfaceThatGoesInTheFirstPollOfItsDropsKeepsNoPoller) {
  makeInitialized();
  helper->duringGetIntfAclDropCounters = [&] { ocsd->intfDel(eth1); };
  addIntf(eth1);
  EXPECT_EQ(pollers(), 0u);
  log.clear();
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(EthernetPollers, RowsThatGoWithTheInterfaceDuringAPollAreNotWrittenAgain) {
  present();
  auto const queues = sut->intfQueueCountersSm(eth1);
  auto const drops = sut->intfAclDropCountersSm(eth1);
  auto const leave = [&] {
    ocsd->intfDel(eth1);
    allIntfQueueCounters->intfQueueCounterDel(eth1);
    intfAclDropCountersDir->counterDel(eth1);
  };
  helper->fillQueueCounters = [&](auto&) { leave(); };
  queues->updateCounters();
  EXPECT_FALSE(allIntfQueueCounters->contains(eth1));
  ocsd->intfIs(eth1, true);
  auto const again = sut->intfAclDropCountersSm(eth1);
  helper->duringGetIntfAclDropCounters = leave;
  again->updateCounters();
  EXPECT_FALSE(intfAclDropCountersDir->contains(eth1));
  // Nor by those that somebody still holds.
  for (auto const& held : {drops, again}) held->updateCounters();
  queues->updateCounters();
  EXPECT_FALSE(allIntfQueueCounters->contains(eth1));
  EXPECT_FALSE(intfAclDropCountersDir->contains(eth1));
  log.clear();
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(EthernetPollers, ASecondHandlingGivesTheQueuePollerItsFlagAgain) {
  helper->aclDropsSupported = false;
  present();
  auto const queues = sut->intfQueueCountersSm(eth1);
  queues->initializedIs(false);
  sut->handleIntf(eth1);
  EXPECT_TRUE(queues->initialized());
  EXPECT_EQ(log.calls().back(), "getIntfQueueType Ethernet1");
}

TEST_F(EthernetPollers, AFullDropTableLeavesTheInterfaceWithItsOtherPollers) {
  make();
  addIntf(eth1);
  intfAclDropCountersDir->full = true;
  EXPECT_THROW(sut->initializedIs(true), Dov::ResourceException);
  EXPECT_EQ(sut->portCountersSm().size(), 1u);
  EXPECT_EQ(sut->intfQueueCountersSm().size(), 1u);
  EXPECT_EQ(sut->intfAclDropCountersSm().size(), 0u);
}

TEST_F(EthernetPollers, AScanEndsAtAnInterfaceThatIsRefused) {
  present();
  addIntf(eth2);
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  EXPECT_THROW(sut->handleIntf(), Kel::NameInUseException);
  EXPECT_EQ(trace.lines().size(), 1u);  // the entry of the first one alone
}

TEST_F(EthernetPollers, NotificationsOffReachAllThree) {
  present();
  sut->hasNotificationActiveIs(false);
  EXPECT_FALSE(sut->portCountersSm(eth1)->hasNotificationActive());
  EXPECT_FALSE(sut->intfQueueCountersSm(eth1)->hasNotificationActive());
  EXPECT_FALSE(sut->intfAclDropCountersSm(eth1)->hasNotificationActive());
  log.clear();
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(EthernetPollers, ItsEndDeletesAllThreeAndLeavesTheirRows) {
  using namespace Oru::Counters;
  present();
  sut = nullptr;
  for (auto const* type : {&PortCountersSm::_kelType, &IntfQueueCountersSm::_kelType,
                           &IntfAclDropCountersSm::_kelType})
    EXPECT_EQ(Kel::AllocTrackTypeInfo::live(*type).objects, 0u) << type->name();
  EXPECT_TRUE(allIntfQueueCounters->contains(eth1));
  EXPECT_TRUE(intfAclDropCountersDir->contains(eth1));
  log.clear();
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(EthernetPollers, CollectionsAreEmptiedByHandToo) {
  present();
  sut->portCountersSmDelAll();
  sut->intfQueueCountersSmDelAll();
  sut->intfAclDropCountersSmDelAll();
  EXPECT_EQ(pollers(), 0u);
}

TEST_F(EthernetPollers, AForcedUpdateReachesThePollerOfItsKind) {
  present();
  sut->updateCounters(OruTypes::CounterType::queue, eth1);
  EXPECT_EQ(log.calls(),
            (Calls{"getIntfQueueCounters Ethernet1", "queues.intfQueueCounterIs Ethernet1"}));
  log.clear();
  sut->updateCounters(OruTypes::CounterType::port, eth1);
  EXPECT_EQ(log.calls(), (Calls{"getCounters Ethernet1", "live.counterIs Ethernet1"}));
  log.clear();
  sut->updateCounters(OruTypes::CounterType{6}, eth1);
  EXPECT_EQ(log.calls(), (Calls{"getIntfAclDropCounters Ethernet1", "drops.directWrite Ethernet1",
                                "drops.counterCommit Ethernet1"}));
  log.clear();
  for (unsigned const kind : {0u, 1u, 6u}) sut->updateCounters(OruTypes::CounterType{kind}, eth2);
  sut->updateCounters(OruTypes::CounterType{7}, eth1);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(EthernetPollers, AClearTouchesNeitherQueueTable) {
  present();
  cliConfig->clearCountersRequestIs("all");
  cliConfig->clearCountersRequestIs("Ethernet1");
  EXPECT_EQ(log.calls(), (Calls{"clear.counterIs Ethernet1", "helper.doClearCounters all",
                                "clear.counterIs Ethernet1", "helper.doClearCounters Ethernet1"}));
}

}  // namespace
