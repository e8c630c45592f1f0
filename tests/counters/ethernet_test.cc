// Ethernet interfaces as they come and go.
#include <gtest/gtest.h>

#include "counters/pollers/unit.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Support::Calls;
using Support::eth1;
using Support::eth2;

class HandleIntf : public Support::CountersFixture {
 public:
  // Present, with the notifications of its coming forgotten.
  void present() {
    makeInitialized();
    addIntf(eth1);
    log.clear();
  }
};

TEST_F(HandleIntf, BeforeTheStartDoesNothingAtAll) {
  make();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->handleIntf(eth1);
  sut->handleIntf();
  EXPECT_EQ(trace.lines(), Calls{});
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(HandleIntf, APresentInterfaceGetsEverythingInOrder) {
  makeInitialized();
  addConfig(eth1);
  addStatus(eth1);
  log.clear();
  ocsd->intfIs(eth1, true);
  EXPECT_EQ(log.calls(),
            (Calls{"writerConfig.intfIs Ethernet1 true", "aclDropConfig.intfIs Ethernet1 true",
                   "live.counterIs Ethernet1", "clear.counterIs Ethernet1",
                   "writerStatus.intfIs Ethernet1 true", "initialize Ethernet1"}));
}

TEST_F(HandleIntf, AnAbsentInterfaceLosesEverythingInOrder) {
  present();
  ocsd->intfIs(eth1, false);
  EXPECT_EQ(log.calls(),
            (Calls{"writerConfig.intfDel Ethernet1", "aclDropConfig.intfIs Ethernet1 false",
                   "writerStatus.intfDel Ethernet1", "live.counterDel Ethernet1",
                   "clear.counterDel Ethernet1", "deinitialize Ethernet1"}));
  EXPECT_EQ(sut->portCountersSm().size(), 0u);
}

TEST_F(HandleIntf, ThePollerIsMadeOfTheInputs) {
  present();
  auto const poller = sut->portCountersSm(eth1);
  EXPECT_EQ(poller->ocsd(), ocsd);
  EXPECT_EQ(poller->intfId(), eth1);
  EXPECT_EQ(poller->cliCounterConfig(), cliCounterConfig);
  EXPECT_EQ(poller->clock(), time.clock());
  EXPECT_EQ(poller->ethPhyIntfConfig(), configDir->intfConfig(eth1));
  EXPECT_EQ(poller->ethPhyIntfStatus(), statusDir->intfStatus(eth1));
  EXPECT_EQ(poller->platformHelper(), helper);
  EXPECT_EQ(poller->globalIntfConfig(), globalIntfConfig);
  EXPECT_EQ(poller->allIntfCounters(), allIntfCounters);
  EXPECT_EQ(poller->allIntfClearCounters(), allIntfClearCounters);
  EXPECT_EQ(poller->counterPollPeriod(), 5.0);
  EXPECT_TRUE(poller->initialized());
  EXPECT_TRUE(poller->hasNotificationActive());
}

TEST_F(HandleIntf, ThePeriodIsGivenBeforeThePollerIsInitialized) {
  present();
  EXPECT_EQ(time.clock()->nextWakeUp(), Support::VirtualTime::kStart + 5.0);
}

TEST_F(HandleIntf, AFalseEntryIsAbsent) {
  makeInitialized();
  addConfig(eth1);
  addStatus(eth1);
  ocsd->intfIs(eth1, false);
  EXPECT_EQ(sut->portCountersSm().size(), 0u);
  EXPECT_FALSE(allIntfCounters->contains(eth1));
}

TEST_F(HandleIntf, AMissingConfigurationIsAbsent) {
  present();
  configDir->intfConfigDel(eth1);
  EXPECT_EQ(sut->portCountersSm().size(), 0u);
}

TEST_F(HandleIntf, AMissingStatusIsAbsent) {
  present();
  statusDir->intfStatusDel(eth1);
  EXPECT_EQ(sut->portCountersSm().size(), 0u);
}

TEST_F(HandleIntf, ARowThatExistsIsKeptAndTheClearTableNotTouched) {
  Interface::EthIntfCounterGlim row;
  row.intfId = eth1;
  row.statistics.inOctets = 99;
  allIntfCounters->counterIs(row);
  make();
  addIntf(eth1);  // before the start: while it is on its way, the interface counts as absent
  log.clear();
  sut->initializedIs(true);
  EXPECT_EQ(this->row(eth1), row);
  EXPECT_EQ(log.count("live.counterIs Ethernet1"), 0u);
  EXPECT_EQ(log.count("clear.counterIs Ethernet1"), 0u);
  EXPECT_EQ(log.count("writerStatus.intfIs Ethernet1 true"), 1u);
}

TEST_F(HandleIntf, ANewRowIsAllZeros) {
  present();
  Interface::EthIntfCounterGlim zero;
  zero.intfId = eth1;
  EXPECT_EQ(row(eth1), zero);
  EXPECT_EQ(allIntfClearCounters->counter(eth1), zero);
}

TEST_F(HandleIntf, ASecondCallMakesNothingAndGivesPeriodAndFlagAgain) {
  present();
  auto const poller = sut->portCountersSm(eth1);
  poller->counterPollPeriodIs(1.0);
  poller->initializedIs(false);
  sut->handleIntf(eth1);
  EXPECT_EQ(log.calls(),
            (Calls{"writerConfig.intfIs Ethernet1 true", "aclDropConfig.intfIs Ethernet1 true",
                   "writerStatus.intfIs Ethernet1 true", "initialize Ethernet1"}));
  EXPECT_EQ(sut->portCountersSm(eth1), poller);
  EXPECT_EQ(poller->counterPollPeriod(), 5.0);
  EXPECT_TRUE(poller->initialized());
}

TEST_F(HandleIntf, TheKeepFlagKeepsTheRowsWhileTheStatusExists) {
  present();
  ocsd->keepIntfCountersIs(true);
  ocsd->intfDel(eth1);
  EXPECT_EQ(log.calls(), (Calls{"writerConfig.intfDel Ethernet1",
                                "aclDropConfig.intfIs Ethernet1 false", "deinitialize Ethernet1"}));
  EXPECT_TRUE(allIntfCounters->contains(eth1));
  EXPECT_TRUE(writerStatus->intf().contains(eth1));
  EXPECT_EQ(sut->portCountersSm().size(), 0u);
}

TEST_F(HandleIntf, TheKeepFlagKeepsNothingOnceTheStatusIsGone) {
  present();
  ocsd->keepIntfCountersIs(true);
  statusDir->intfStatusDel(eth1);
  EXPECT_FALSE(allIntfCounters->contains(eth1));
}

TEST_F(HandleIntf, AnInterfaceThatLeavesIsCleanedUpByItsNotification) {
  present();
  ocsd->intfDel(eth1);
  EXPECT_EQ(sut->portCountersSm().size(), 0u);
  EXPECT_FALSE(allIntfCounters->contains(eth1));
}

TEST_F(HandleIntf, TheScanDoesNotVisitAnInterfaceThatHasLeft) {
  present();
  ocsd->intfDelAll();  // told as a whole
  EXPECT_EQ(sut->portCountersSm().size(), 1u);
  EXPECT_TRUE(allIntfCounters->contains(eth1));
}

TEST_F(HandleIntf, AnAbsentInterfaceThatNeverWasIsStillSaid) {
  makeInitialized();
  log.clear();
  sut->handleIntf(eth1);
  // writerConfig is asked first; everything else is told without asking.
  EXPECT_EQ(log.calls(),
            (Calls{"aclDropConfig.intfIs Ethernet1 false", "writerStatus.intfDel Ethernet1",
                   "live.counterDel Ethernet1", "clear.counterDel Ethernet1"}));
}

TEST_F(HandleIntf, WithoutWriterConfigAndTablesThePollerIsStillMade) {
  allIntfCounters = nullptr;
  writerConfig = nullptr;
  aclDropConfig = nullptr;
  writerStatus = nullptr;
  makeInitialized();
  addIntf(eth1);
  EXPECT_EQ(sut->portCountersSm().size(), 1u);
  ocsd->intfDel(eth1);
  EXPECT_EQ(log.calls(), (Calls{"hwInit", "initialize Ethernet1", "deinitialize Ethernet1"}));
}

TEST_F(HandleIntf, AnotherConfigurationObjectIsRefusedByName) {
  present();
  auto const before = Kel::notificationExceptions();
  Support::TraceCapture const trace(Kel::frameworkTraceHandle());
  addConfig(eth1);
  EXPECT_EQ(Kel::notificationExceptions(), before + 1);
  ASSERT_EQ(trace.lines().size(), 1u);
  EXPECT_NE(trace.lines()[0].find("KelEthPhyIntfConfigDir: Reinstantiating the pointer interface "
                                  "where constructor parameter attribute _ethPhyIntfConfig has a "
                                  "different value of Interface::EthPhyIntfConfig@"),
            std::string::npos)
      << trace.lines()[0];
  // The steps before it are done.
  EXPECT_EQ(log.calls(),
            (Calls{"writerConfig.intfIs Ethernet1 true", "aclDropConfig.intfIs Ethernet1 true",
                   "writerStatus.intfIs Ethernet1 true"}));
}

TEST_F(HandleIntf, TracesItsEntry) {
  makeInitialized();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->handleIntf(eth2);
  EXPECT_EQ(trace.lines(), (Calls{"8 CountersSm::handleIntf(Ethernet2)"}));
}

// Takes interfaces away while Ethernet1 is being handled.
struct Remover : Interface::IntfFlags::NotifieeConst {
  using NotifieeConst::onIntf;
  Remover(Kel::Ptr<Oru::OruCommonSmData> d, Kel::Ptr<Interface::IntfFlags> const& flags)
      : data(std::move(d)) {
    notifierIs(flags);
    isRegisteredNotifieeIs(true);
    hasNotificationActiveIs(true);
  }
  void onIntf(Pekt::IntfId id) override {
    if (id != eth1) return;
    data->intfDel(eth2);
    data->intfDel(eth1);
  }
  Kel::Ptr<Oru::OruCommonSmData> data;
};

TEST_F(HandleIntf, AChangeOfTheCollectionDuringTheScanIsSurvived) {
  make();
  for (auto const* name : {"Ethernet1", "Ethernet2", "Ethernet3"}) addIntf(name);
  auto const remover = Kel::make<Remover>(ocsd, writerConfig);
  sut->initializedIs(true);
  EXPECT_EQ(sut->portCountersSm(eth2), nullptr);
  EXPECT_NE(sut->portCountersSm("Ethernet3"), nullptr);
}

TEST_F(HandleIntf, AnInterfaceThatIsTakenAwayWhileItIsAddedLeavesNothing) {
  make();
  addIntf(eth1);
  auto const remover = Kel::make<Remover>(ocsd, writerConfig);
  sut->initializedIs(true);
  EXPECT_EQ(sut->portCountersSm().size(), 0u);
  EXPECT_FALSE(allIntfCounters->contains(eth1));
  EXPECT_FALSE(allIntfClearCounters->contains(eth1));
  EXPECT_FALSE(writerStatus->intf().contains(eth1));
  EXPECT_EQ(log.count("initialize Ethernet1"), 0u);
}

TEST_F(HandleIntf, APortThatGoesWhileItIsReadStaysGone) {
  present();
  helper->duringGetCounters = [&] { ocsd->intfDel(eth1); };
  helper->sample->intfStats().inOctets = 5;
  auto const held = sut->portCountersSm(eth1);
  time.runFor(5.0);
  EXPECT_EQ(sut->portCountersSm().size(), 0u);
  EXPECT_FALSE(allIntfCounters->contains(eth1));
  log.clear();
  time.runFor(60.0);  // a poller that somebody still holds does not poll
  held->updateCounters();
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(HandleIntf, ThePollerIsReleasedAfterTheHelperLetGoOfThePort) {
  present();
  Calls seen;
  auto const poller = sut->portCountersSm(eth1).get();  // held by the collection alone
  EXPECT_EQ(poller->references(), 1u);
  helper->duringDeinitialize = [&] {
    seen.push_back(sut->portCountersSm(eth1) ? "there" : "gone");
  };
  ocsd->intfDel(eth1);
  EXPECT_EQ(seen, Calls{"there"});
  EXPECT_EQ(sut->portCountersSm(eth1), nullptr);
}

}  // namespace
