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

TEST_F(HandleIntf, TheFirstWakeUpDoesNotYetKnowThePeriodWhenItIsMade) {
  // The period is given before the poller is initialized.
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

TEST_F(HandleIntf, ASecondCallMakesNothingAndGivesThePeriodAgain) {
  present();
  auto const poller = sut->portCountersSm(eth1);
  poller->counterPollPeriodIs(1.0);
  sut->handleIntf(eth1);
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_EQ(sut->portCountersSm(eth1), poller);
  EXPECT_EQ(poller->counterPollPeriod(), 5.0);
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
  EXPECT_EQ(log.calls(), (Calls{"aclDropConfig.intfIs Ethernet1 false", "live.counterDel Ethernet1",
                                "clear.counterDel Ethernet1"}));
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
                                  "different value of object@"),
            std::string::npos)
      << trace.lines()[0];
  EXPECT_EQ(log.calls(), Calls{});  // what was there already is not told again
}

TEST_F(HandleIntf, TracesItsEntry) {
  makeInitialized();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->handleIntf(eth2);
  EXPECT_EQ(trace.lines(), (Calls{"8 CountersSm::handleIntf(Ethernet2)"}));
}

TEST_F(HandleIntf, AChangeOfTheCollectionDuringTheScanIsSurvived) {
  make();
  addIntf("Ethernet1");
  addIntf("Ethernet2");
  addIntf("Ethernet3");
  struct Remover : Interface::IntfFlags::NotifieeConst {
    using NotifieeConst::onIntf;
    explicit Remover(Kel::Ptr<Oru::OruCommonSmData> d) : data(std::move(d)) {}
    void onIntf(Pekt::IntfId id) override {
      if (id != Pekt::IntfId("Ethernet1")) return;
      data->intfDel("Ethernet2");
      data->intfDel("Ethernet1");
    }
    Kel::Ptr<Oru::OruCommonSmData> data;
  };
  auto const remover = Kel::make<Remover>(ocsd);
  remover->notifierIs(writerConfig);
  remover->isRegisteredNotifieeIs(true);
  remover->hasNotificationActiveIs(true);
  sut->initializedIs(true);
  EXPECT_EQ(log.count("initialize Ethernet2"), 0u);
  EXPECT_EQ(log.count("initialize Ethernet3"), 1u);
}

}  // namespace
