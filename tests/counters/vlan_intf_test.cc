// Routed VLAN interfaces as they come and go.
#include <gtest/gtest.h>

#include "counters/pollers/cpu_port_counters_sm.h"
#include "counters/pollers/unit.h"
#include "counters/pollers/vlan_intf_counters_sm.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Support::Calls;
using Support::cpu;
using Support::eth1;
using Support::vlan7;

class HandleVlanIntf : public Support::CountersFixture {
 public:
  // With its table and writer status, and the start's notifications forgotten.
  void makeStarted() {
    make();
    sut->allVlanIntfCountersIs(table);
    sut->vlanIntfCounterWriterStatusIs(vlanWriterStatus);
    sut->initializedIs(true);
    log.clear();
  }
  void addVlanIntf(Pekt::IntfId const& id = vlan7) {
    vlanIntfConfigDir->intfConfigIs(id, config);
    vlanIntfStatusDir->intfStatusIs(id, status);
    ocsd->vlanIntfIs(id, true);
  }
  void present() {
    makeStarted();
    addVlanIntf();
    log.clear();
  }
  // What handling Vlan7 traces.
  Calls traced() {
    Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
    sut->handleVlanIntf(vlan7);
    return trace.lines();
  }

  Kel::Ptr<Interface::VlanIntfConfig> config = Kel::make<Interface::VlanIntfConfig>();
  Kel::Ptr<Interface::VlanIntfStatus> status = Kel::make<Interface::VlanIntfStatus>();
  Kel::Ptr<Support::RecordingVlanTable> table =
      tables.table<Support::RecordingVlanTable>("vlans", log, "counter");
  Kel::Ptr<Interface::VlanIntfCounterWriterStatus> vlanWriterStatus =
      Kel::make<Support::RecordingFlags<Interface::VlanIntfCounterWriterStatus>>(
          log, "vlanWriterStatus");

  std::string const entry =
      "8 void Oru::Counters::CountersSm::handleVlanIntf(Pekt::IntfId) vlanIntf: Vlan7";
  std::string const function = "7 void Oru::Counters::CountersSm::handleVlanIntf(Pekt::IntfId)";
};

TEST_F(HandleVlanIntf, BeforeTheStartWritesItsFirstTraceLineAlone) {
  make();
  addVlanIntf();
  log.clear();
  EXPECT_EQ(traced(), Calls{entry});
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(HandleVlanIntf, APresentInterfaceGetsEverythingInOrder) {
  makeStarted();
  addVlanIntf();
  EXPECT_EQ(log.calls(), (Calls{"initializeVlanIntfCounters Vlan7 7", "vlans.counterIs Vlan7",
                                "vlanWriterStatus.intfIs Vlan7 true"}));
}

TEST_F(HandleVlanIntf, APresentInterfaceIsTraced) {
  makeStarted();
  addVlanIntf();
  EXPECT_EQ(traced(),
            (Calls{entry, function + " interface Vlan7 status 1 config 1 counters 1 ocsd 1",
                   function + " Initializing counter state machine for VLAN interface Vlan7"}));
}

TEST_F(HandleVlanIntf, ThePollerIsMadeOfTheInputs) {
  present();
  auto const poller = sut->vlanIntfCountersSm(vlan7);
  ASSERT_NE(poller, nullptr);
  EXPECT_EQ(poller->ocsd(), ocsd);
  EXPECT_EQ(poller->intfId(), vlan7);
  EXPECT_EQ(poller->counterPollPeriod(), 5.0);
  EXPECT_EQ(poller->clock(), time.clock());
  EXPECT_EQ(poller->platformHelper(), helper);
  EXPECT_EQ(poller->globalIntfConfig(), globalIntfConfig);
  EXPECT_EQ(poller->vlanIntfConfig(), config);
  EXPECT_EQ(poller->vlanIntfStatus(), status);
  EXPECT_EQ(poller->allVlanIntfCounters(), table);
  EXPECT_TRUE(poller->initialized());
  EXPECT_TRUE(poller->hasNotificationActive());
}

TEST_F(HandleVlanIntf, ASecondCallTellsTheHelperAgainAndNothingElse) {
  present();
  auto const poller = sut->vlanIntfCountersSm(vlan7);
  sut->counterPollPeriodIs(7.0);  // no matter
  sut->handleVlanIntf(vlan7);
  EXPECT_EQ(log.calls(), Calls{"initializeVlanIntfCounters Vlan7 7"});
  EXPECT_EQ(sut->vlanIntfCountersSm(vlan7), poller);
}

TEST_F(HandleVlanIntf, ARefusedInterfaceGetsNothingAndIsAskedAgain) {
  makeStarted();
  helper->countsVlanIntfs = false;
  addVlanIntf();
  EXPECT_EQ(log.calls(), Calls{"initializeVlanIntfCounters Vlan7 7"});
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 0u);
  helper->countsVlanIntfs = true;
  sut->handleVlanIntf(vlan7);
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 1u);
}

TEST_F(HandleVlanIntf, ARefusalLaterLeavesThePollerThatThereIs) {
  present();
  helper->countsVlanIntfs = false;
  sut->handleVlanIntf(vlan7);
  EXPECT_EQ(log.calls(), Calls{"initializeVlanIntfCounters Vlan7 7"});
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 1u);
}

TEST_F(HandleVlanIntf, AnAbsentInterfaceLosesEverythingInOrder) {
  present();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  ocsd->vlanIntfIs(vlan7, false);
  EXPECT_EQ(log.calls(), (Calls{"vlanWriterStatus.intfDel Vlan7", "deleteVlanIntfCounters Vlan7",
                                "vlans.counterDel Vlan7"}));
  EXPECT_EQ(trace.lines(),
            (Calls{entry, function + " interface Vlan7 status 1 config 1 counters 1 ocsd 0",
                   function + " Deleting counter state machine vlanIntf: Vlan7"}));
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 0u);
}

TEST_F(HandleVlanIntf, AMissingConfigurationOrStatusIsAbsent) {
  present();
  vlanIntfConfigDir->intfConfigDel(vlan7);
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 0u);
  vlanIntfConfigDir->intfConfigIs(vlan7, config);
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 1u);
  vlanIntfStatusDir->intfStatusDel(vlan7);
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 0u);
}

TEST_F(HandleVlanIntf, AnInterfaceThatNeverWasPresentChangesNothing) {
  makeStarted();
  EXPECT_EQ(traced(),
            (Calls{entry, function + " interface Vlan7 status 0 config 0 counters 1 ocsd 0"}));
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(HandleVlanIntf, WithoutItsTableNoInterfaceIsPresent) {
  makeInitialized();
  log.clear();
  addVlanIntf();
  EXPECT_EQ(traced(),
            (Calls{entry, function + " interface Vlan7 status 1 config 1 counters 0 ocsd 1"}));
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(HandleVlanIntf, WithoutAWriterStatusAnInterfaceIsStillDeleted) {
  present();
  sut->vlanIntfCounterWriterStatusIs(nullptr);
  ocsd->vlanIntfIs(vlan7, false);
  EXPECT_EQ(log.calls(), (Calls{"deleteVlanIntfCounters Vlan7", "vlans.counterDel Vlan7"}));
}

TEST_F(HandleVlanIntf, ANameThatIsNoVlanInterfacesIsIgnored) {
  makeStarted();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  ocsd->vlanIntfIs(eth1, true);
  EXPECT_EQ(trace.lines(),
            Calls{"8 void Oru::Counters::CountersSm::handleVlanIntf(Pekt::IntfId) vlanIntf: "
                  "Ethernet1"});
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(HandleVlanIntf, APollerUnderAForeignNameIsNotDeleted) {
  makeStarted();
  sut->vlanIntfCountersSmIs(ocsd, eth1, 5.0, time.clock(), helper, globalIntfConfig, config, status,
                            table);
  sut->handleVlanIntf(eth1);
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 1u);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(HandleVlanIntf, TracesBeforeItsWork) {
  makeStarted();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  std::size_t before = 0;
  helper->duringInitializeVlanIntfCounters = [&] { before = trace.lines().size(); };
  addVlanIntf();
  EXPECT_EQ(trace.lines().at(before - 1),
            function + " Initializing counter state machine for VLAN interface Vlan7");
  helper->duringDeleteVlanIntfCounters = [&] { before = trace.lines().size(); };
  ocsd->vlanIntfIs(vlan7, false);
  EXPECT_EQ(trace.lines().at(before - 1),
            function + " Deleting counter state machine vlanIntf: Vlan7");
}

TEST_F(HandleVlanIntf, ThePollerEndsAfterTheHelpersDeletionAndBeforeTheRows) {
  present();
  std::vector<std::size_t> pollers;
  auto const look = [&] { pollers.push_back(sut->vlanIntfCountersSm().size()); };
  helper->duringDeleteVlanIntfCounters = look;
  table->duringRemove = look;
  ocsd->vlanIntfIs(vlan7, false);
  EXPECT_EQ(pollers, (std::vector<std::size_t>{1, 0}));
}

TEST_F(HandleVlanIntf, ADeletionWithoutTheTableIsRefusedAtItsLastStep) {
  present();
  sut->allVlanIntfCountersIs(nullptr);
  EXPECT_THROW(sut->handleVlanIntf(vlan7), Kel::RangeException);
  EXPECT_EQ(log.calls(), (Calls{"vlanWriterStatus.intfDel Vlan7", "deleteVlanIntfCounters Vlan7"}));
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 0u);
}

// --- a start that fails ---

TEST_F(HandleVlanIntf, AStartThatTheTableRefusesIsTriedAgain) {
  makeStarted();
  Kel::frameworkTraceHandle().levelsIs(0);
  table->full = true;
  addVlanIntf();
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 0u);
  EXPECT_THROW(sut->handleVlanIntf(vlan7), Dov::ResourceException);
  table->full = false;
  sut->handleVlanIntf(vlan7);
  EXPECT_TRUE(vlanWriterStatus->intf().contains(vlan7));
  ASSERT_NE(sut->vlanIntfCountersSm(vlan7), nullptr);
  log.clear();
  time.runFor(60.0);
  EXPECT_EQ(log.count("getVlanIntfCounters Vlan7"), 12u);
}

TEST_F(HandleVlanIntf, ANewInterfaceNeedsTheWriterStatusAndIsTriedAgain) {
  makeStarted();
  sut->vlanIntfCounterWriterStatusIs(nullptr);
  Kel::frameworkTraceHandle().levelsIs(0);
  addVlanIntf();
  EXPECT_THROW(sut->handleVlanIntf(vlan7), Kel::RangeException);
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 0u);
  log.clear();
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
  sut->vlanIntfCounterWriterStatusIs(vlanWriterStatus);
  sut->handleVlanIntf(vlan7);
  EXPECT_TRUE(vlanWriterStatus->intf().contains(vlan7));
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 1u);
}

// --- what the helper may set off ---

TEST_F(HandleVlanIntf, AnInterfaceThatEndsWhileItIsPolledLeavesNoRow) {
  present();
  helper->duringGetVlanIntfCounters = [&] { ocsd->vlanIntfIs(vlan7, false); };
  time.runFor(60.0);
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 0u);
  EXPECT_FALSE(table->contains(vlan7));
  EXPECT_EQ(log.count("getVlanIntfCounters Vlan7"), 1u);
}

TEST_F(HandleVlanIntf, APollerThatSomebodyHoldsWritesNothingAfterItsEnd) {
  present();
  auto const held = sut->vlanIntfCountersSm(vlan7);
  ocsd->vlanIntfIs(vlan7, false);
  log.clear();
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
  held->updateCounters();
  EXPECT_FALSE(table->contains(vlan7));
}

TEST_F(HandleVlanIntf, AnInterfaceThatEndsWhileTheHelperTakesItGetsNothing) {
  makeStarted();
  helper->duringInitializeVlanIntfCounters = [&] {
    helper->duringInitializeVlanIntfCounters = nullptr;
    ocsd->vlanIntfIs(vlan7, false);
  };
  addVlanIntf();
  EXPECT_EQ(log.calls(), Calls{"initializeVlanIntfCounters Vlan7 7"});
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 0u);
}

TEST_F(HandleVlanIntf, AnInterfaceConfiguredAnewWhileTheHelperTakesItIsMadeOfThat) {
  makeStarted();
  auto const other = Kel::make<Interface::VlanIntfConfig>();
  auto const otherStatus = Kel::make<Interface::VlanIntfStatus>();
  helper->duringInitializeVlanIntfCounters = [&] {
    sut->hasNotificationActiveIs(false);  // else the change is handled first
    vlanIntfConfigDir->intfConfigIs(vlan7, other);
    vlanIntfStatusDir->intfStatusIs(vlan7, otherStatus);
    sut->hasNotificationActiveIs(true);
  };
  addVlanIntf();
  ASSERT_NE(sut->vlanIntfCountersSm(vlan7), nullptr);
  EXPECT_EQ(sut->vlanIntfCountersSm(vlan7)->vlanIntfConfig(), other);
  EXPECT_EQ(sut->vlanIntfCountersSm(vlan7)->vlanIntfStatus(), otherStatus);
}

TEST_F(HandleVlanIntf, AnInterfaceThatIsBackAtItsEndHasItsPollerAgain) {
  present();
  helper->duringDeleteVlanIntfCounters = [&] { ocsd->vlanIntfIs(vlan7, true); };
  ocsd->vlanIntfIs(vlan7, false);
  EXPECT_EQ(log.calls(), (Calls{"vlanWriterStatus.intfDel Vlan7", "deleteVlanIntfCounters Vlan7",
                                "initializeVlanIntfCounters Vlan7 7",  // it still had its poller
                                "vlans.counterDel Vlan7", "initializeVlanIntfCounters Vlan7 7",
                                "vlans.counterIs Vlan7", "vlanWriterStatus.intfIs Vlan7 true"}));
  EXPECT_EQ(sut->vlanIntfCountersSm().size(), 1u);
}

// --- the pollers that there are ---

TEST_F(HandleVlanIntf, ForcedUpdatesReachThePollersOfTheirKinds) {
  present();
  ocsd->cpuIntfIs(cpu, true);
  log.clear();
  sut->updateCounters(OruTypes::CounterType{2}, cpu);
  EXPECT_EQ(log.calls(), Calls{"getCoppCounters"});
  log.clear();
  sut->updateCounters(OruTypes::CounterType{3}, vlan7);
  EXPECT_EQ(log.calls(), (Calls{"getVlanIntfCounters Vlan7", "vlans.counterIs Vlan7"}));
}

TEST_F(HandleVlanIntf, NotificationsOffReachThePoller) {
  present();
  sut->hasNotificationActiveIs(false);
  EXPECT_FALSE(sut->vlanIntfCountersSm(vlan7)->hasNotificationActive());
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(HandleVlanIntf, ItsEndDeletesThePollersAndLeavesEverythingElse) {
  using namespace Oru::Counters;
  present();
  ocsd->cpuIntfIs(cpu, true);
  log.clear();
  sut = nullptr;
  for (auto const* type : {&CpuPortCountersSm::_kelType, &VlanIntfCountersSm::_kelType})
    EXPECT_EQ(Kel::AllocTrackTypeInfo::live(*type).objects, 0u) << type->name();
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_TRUE(table->contains(vlan7));
  EXPECT_TRUE(vlanWriterStatus->intf().contains(vlan7));
}

}  // namespace
