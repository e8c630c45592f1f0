// CPU ports and routed VLAN interfaces as they come and go.
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

// --- CPU ports ---

using HandleCpuIntf = Support::CountersFixture;

TEST_F(HandleCpuIntf, BeforeTheStartWritesNothing) {
  make();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  ocsd->cpuIntfIs(cpu, true);
  sut->handleCpuIntf(cpu);
  sut->handleCpuIntf();
  EXPECT_EQ(trace.lines(), Calls{});
  EXPECT_EQ(sut->cpuPortCountersSm().size(), 0u);
}

TEST_F(HandleCpuIntf, AServedPortGetsItsPollerMadeOfTheInputs) {
  makeInitialized();
  log.clear();
  ocsd->cpuIntfIs(cpu, true);
  EXPECT_EQ(log.calls(), Calls{"initializeCpuPort Cpu"});
  auto const poller = sut->cpuPortCountersSm(cpu);
  ASSERT_NE(poller, nullptr);
  EXPECT_EQ(poller->ocsd(), ocsd);
  EXPECT_EQ(poller->intfId(), cpu);
  EXPECT_EQ(poller->counterPollPeriod(), 5.0);
  EXPECT_EQ(poller->clock(), time.clock());
  EXPECT_EQ(poller->platformHelper(), helper);
  EXPECT_TRUE(poller->initialized());
  EXPECT_TRUE(poller->hasNotificationActive());
}

TEST_F(HandleCpuIntf, ASecondCallKeepsThePollerAndGivesTheFlagAgain) {
  makeInitialized();
  ocsd->cpuIntfIs(cpu, true);
  auto const poller = sut->cpuPortCountersSm(cpu);
  poller->initializedIs(false);
  log.clear();
  sut->handleCpuIntf(cpu);
  EXPECT_EQ(sut->cpuPortCountersSm(cpu), poller);
  EXPECT_TRUE(poller->initialized());
  EXPECT_EQ(log.calls(), Calls{"initializeCpuPort Cpu"});
}

TEST_F(HandleCpuIntf, AnEntryThatTurnsFalseDeletesThePoller) {
  makeInitialized();
  ocsd->cpuIntfIs(cpu, true);
  ocsd->cpuIntfIs(cpu, false);
  EXPECT_EQ(sut->cpuPortCountersSm().size(), 0u);
}

TEST_F(HandleCpuIntf, AnEntryThatGoesDeletesThePoller) {
  makeInitialized();
  ocsd->cpuIntfIs(cpu, true);
  ocsd->cpuIntfDel(cpu);
  EXPECT_EQ(sut->cpuPortCountersSm().size(), 0u);
}

TEST_F(HandleCpuIntf, ANewPeriodIsRefusedByName) {
  makeInitialized();
  ocsd->cpuIntfIs(cpu, true);
  sut->counterPollPeriodIs(7.0);
  try {
    sut->handleCpuIntf(cpu);
    FAIL() << "not refused";
  } catch (Kel::NameInUseException const& e) {
    EXPECT_STREQ(e.what(),
                 "Reinstantiating the pointer interface where constructor parameter attribute "
                 "_counterPollPeriod has a different value of 7 than the current value of 5 not "
                 "allowed");
  }
}

// --- VLAN interfaces ---

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

TEST_F(HandleVlanIntf, ItsEndDeletesThePollersAndLeavesTheRow) {
  using namespace Oru::Counters;
  present();
  ocsd->cpuIntfIs(cpu, true);
  sut = nullptr;
  for (auto const* type : {&CpuPortCountersSm::_kelType, &VlanIntfCountersSm::_kelType})
    EXPECT_EQ(Kel::AllocTrackTypeInfo::live(*type).objects, 0u) << type->name();
  EXPECT_TRUE(table->contains(vlan7));
}

}  // namespace
