// Start-up, inputs and end of the top-level state machine.
#include "counters/counters_sm.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <stdexcept>

#include "counters/pollers/cpu_port_counters_sm.h"
#include "counters/pollers/unit.h"
#include "counters/pollers/vlan_intf_counters_sm.h"
#include "platform/kel/system.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Support::Calls;
using Support::cpu;
using Support::eth1;
using Support::eth2;
using Support::vlan7;

class CountersSm : public Support::CountersFixture {};

TEST_F(CountersSm, IsMadeWithItsNotificationsOnAndNotInitialized) {
  make();
  EXPECT_TRUE(sut->hasNotificationActive());
  EXPECT_FALSE(sut->initialized());
  EXPECT_EQ(sut->references(), 1u);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(CountersSm, WatchesEveryInputThatItIsGiven) {
  withQueuesAndDrops();
  make();
  EXPECT_EQ(sut->ocsd(), ocsd);
  EXPECT_EQ(sut->reactOcsd(), ocsd);
  EXPECT_EQ(sut->ethPhyIntfConfigDir(), configDir);
  EXPECT_EQ(sut->ethPhyIntfStatusDir(), statusDir);
  EXPECT_EQ(sut->cliCounterConfig(), cliCounterConfig);
  EXPECT_EQ(sut->platformHelper(), helper);
  EXPECT_EQ(sut->globalIntfConfig(), globalIntfConfig);
  EXPECT_EQ(sut->cliConfig(), cliConfig);
  EXPECT_EQ(sut->qosSliceHwStatus(), qosSliceHwStatus);
  EXPECT_EQ(sut->qosSliceHwStatusDir(), qosSliceHwStatusDir);
  EXPECT_EQ(sut->qosAclSliceHwStatus(), qosAclSliceHwStatus);
  EXPECT_EQ(sut->qosAclSliceHwStatusDir(), qosAclSliceHwStatusDir);
  EXPECT_EQ(sut->vlanIntfConfigDir(), vlanIntfConfigDir);
  EXPECT_EQ(sut->vlanIntfStatusDir(), vlanIntfStatusDir);
  EXPECT_EQ(sut->allIntfCounters(), allIntfCounters);
  EXPECT_EQ(sut->allIntfClearCounters(), allIntfClearCounters);
  EXPECT_EQ(sut->allIntfQueueCounters(), allIntfQueueCounters);
  EXPECT_EQ(sut->allIntfClearQueueCounters(), allIntfClearQueueCounters);
  EXPECT_EQ(sut->intfAclDropCountersDir(), intfAclDropCountersDir);
}

TEST_F(CountersSm, MayBeMadeOfNullInputsAlone) {
  auto const none = Oru::Counters::countersSmFactory(
      nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
      nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(none->reactOcsd(), nullptr);
  EXPECT_EQ(none->counterPollPeriod(), 0.0);
  EXPECT_EQ(none->writerConfig(), nullptr);
  EXPECT_EQ(none->ethIntfCounterWriterStatus(), nullptr);
  EXPECT_EQ(none->aclDropConfig(), nullptr);
  EXPECT_EQ(none->allVlanIntfCounters(), nullptr);
  EXPECT_EQ(none->vlanIntfCounterWriterStatus(), nullptr);
}

TEST_F(CountersSm, NotificationsBeforeItIsInitializedMakeNothing) {
  make();
  addIntf(eth1);
  EXPECT_EQ(sut->portCountersSm().size(), 0u);
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(CountersSm, TheScanAtTheStartMakesWhatTheStateCallsFor) {
  make();
  addIntf(eth1);
  addIntf(eth2);
  sut->initializedIs(true);
  EXPECT_EQ(sut->portCountersSm().size(), 2u);
}

TEST_F(CountersSm, PreparesTheChipOnceAndBeforeAnyPoller) {
  make();
  addIntf(eth1);
  sut->initializedIs(true);
  EXPECT_EQ(log.calls().front(), "hwInit");
  EXPECT_EQ(log.count("hwInit"), 1u);
  EXPECT_EQ(log.count("initialize Ethernet1"), 1u);
}

TEST_F(CountersSm, HandleInitializedReachedDirectlyPreparesAndScansOnce) {
  make();
  addIntf(eth1);
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->handleInitialized();
  EXPECT_TRUE(sut->initialized());
  EXPECT_EQ(log.count("hwInit"), 1u);
  EXPECT_EQ(
      std::count(trace.lines().begin(), trace.lines().end(), "8 CountersSm::handleIntf(Ethernet1)"),
      1);
}

TEST_F(CountersSm, BeingInitializedAgainDoesNothing) {
  makeInitialized();
  sut->initializedIs(true);
  EXPECT_EQ(log.count("hwInit"), 1u);
}

TEST_F(CountersSm, ScansInTheStatedOrder) {
  qosSliceHwStatus->pmapTypeIs(Kel::make<Qos::PolicyMapTypeHwStatus>(Qos::MapType::controlPlane));
  qosAclSliceHwStatus->pmapTypeIs(
      Kel::make<Qos::PolicyMapTypeHwStatus>(Qos::MapType::controlPlane));
  make();
  ocsd->intfIs(eth1, false);
  ocsd->cpuIntfIs("Cpu", true);
  ocsd->vlanIntfIs("Vlan7", true);
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->initializedIs(true);
  EXPECT_EQ(trace.lines(),
            (Calls{
                "8 virtual void Oru::Counters::CountersSm::handleInitialized()",
                "8 CountersSm::handleIntf(Ethernet1)",
                "7 void Oru::Counters::CountersSm::handlePolicyMapType()",
                "7 void Oru::Counters::CountersSm::handlePolicyMapType(Qos::MapType)type: 0",
                "7 void Oru::Counters::CountersCoppTypeSm::handleInitialized()",
                "7 void Oru::Counters::CountersSm::handleDynamicPolicyMapType()",
                "7 void Oru::Counters::CountersSm::handleDynamicPolicyMapType(Qos::MapType)type: 0",
                "7 void Oru::Counters::CountersDynamicCoppTypeSm::handleInitialized()",
                "7 CountersSm::handleCpuIntf(Cpu)",
                "8 virtual void Oru::Counters::CpuPortCountersSm::handleInitialized() Cpu",
                "8 void Oru::Counters::CountersSm::handleVlanIntf()",
                "8 void Oru::Counters::CountersSm::handleVlanIntf(Pekt::IntfId) vlanIntf: Vlan7",
                "7 void Oru::Counters::CountersSm::handleVlanIntf(Pekt::IntfId) interface Vlan7 "
                "status 0 config 0 counters 0 ocsd 1",
            }));
}

TEST_F(CountersSm, EachNotificationReachesItsHandler) {
  make();
  sut->initializedIs(true);
  Support::TraceCapture trace(Oru::Counters::_defaultTraceHandle());
  auto const reaches = [&](std::string const& line, auto const& change) {
    trace.clear();
    change();
    ASSERT_FALSE(trace.lines().empty());
    EXPECT_EQ(trace.lines().front(), line);
  };
  std::string const counters = "void Oru::Counters::CountersSm::";
  reaches("8 CountersSm::handleIntf(Ethernet1)", [&] { ocsd->intfIs(eth1, false); });
  reaches("8 CountersSm::handleIntf(Ethernet1)", [&] { addConfig(eth1); });
  reaches("8 CountersSm::handleIntf(Ethernet1)", [&] { addStatus(eth1); });
  reaches("7 CountersSm::handleCpuIntf(Cpu)", [&] { ocsd->cpuIntfIs("Cpu", true); });
  std::string const vlan = "8 " + counters + "handleVlanIntf(Pekt::IntfId) vlanIntf: Vlan7";
  reaches(vlan, [&] { ocsd->vlanIntfIs("Vlan7", true); });
  reaches(vlan, [&] {
    vlanIntfConfigDir->intfConfigIs("Vlan7", Kel::make<Interface::VlanIntfConfig>());
  });
  reaches(vlan, [&] {
    vlanIntfStatusDir->intfStatusIs("Vlan7", Kel::make<Interface::VlanIntfStatus>());
  });
  reaches("7 " + counters + "handlePolicyMapType(Qos::MapType)type: 1", [&] {
    qosSliceHwStatus->pmapTypeIs(Kel::make<Qos::PolicyMapTypeHwStatus>(Qos::MapType::qos));
  });
  reaches("7 " + counters + "handleDynamicPolicyMapType(Qos::MapType)type: 2", [&] {
    qosAclSliceHwStatus->pmapTypeIs(Kel::make<Qos::PolicyMapTypeHwStatus>(Qos::MapType::pbr));
  });
  reaches("8 virtual void Oru::Counters::CountersSm::doClearCounters(Kel::String) Ethernet1",
          [&] { cliConfig->clearCountersRequestIs("Ethernet1"); });
}

TEST_F(CountersSm, BulkNotificationsRescan) {
  makeInitialized();
  auto const vlanConfig = Kel::make<Interface::VlanIntfConfig>();
  auto const type = Kel::make<Qos::PolicyMapTypeHwStatus>(Qos::MapType::qos);
  ocsd->cpuIntfIs("Cpu", true);
  ocsd->vlanIntfIs("Vlan7", true);
  vlanIntfConfigDir->intfConfigIs("Vlan7", vlanConfig);
  vlanIntfStatusDir->intfStatusIs("Vlan7", Kel::make<Interface::VlanIntfStatus>());
  qosSliceHwStatus->pmapTypeIs(type);
  qosAclSliceHwStatus->pmapTypeIs(type);
  addIntf(eth1);
  addIntf(eth2);
  Support::TraceCapture trace(Oru::Counters::_defaultTraceHandle());
  auto const rescans = [&](Calls const& lines, auto const& change) {
    trace.clear();
    change();
    EXPECT_EQ(trace.lines(), lines);
  };
  std::string const counters = "void Oru::Counters::CountersSm::";
  std::string const exit = "8 void Oru::Counters::PortCountersSm::handleExit() ";
  auto const vlans = [&](char const* found) {
    return Calls{"8 " + counters + "handleVlanIntf()",
                 "8 " + counters + "handleVlanIntf(Pekt::IntfId) vlanIntf: Vlan7",
                 "7 " + counters + "handleVlanIntf(Pekt::IntfId) interface Vlan7 " + found +
                     " counters 0 ocsd 1"};
  };
  rescans({"8 CountersSm::handleIntf(Ethernet1)", exit + "Ethernet1",
           "8 CountersSm::handleIntf(Ethernet2)", exit + "Ethernet2"},
          [&] { configDir->intfConfigDelAll(); });
  rescans({"8 CountersSm::handleIntf(Ethernet1)", "8 CountersSm::handleIntf(Ethernet2)"},
          [&] { statusDir->intfStatusDelAll(); });
  rescans(vlans("status 1 config 0"), [&] { vlanIntfConfigDir->intfConfigDelAll(); });
  rescans(vlans("status 0 config 0"), [&] { vlanIntfStatusDir->intfStatusDelAll(); });
  rescans({"8 " + counters + "handleVlanIntf()"}, [&] { ocsd->vlanIntfDelAll(); });
  rescans({}, [&] { ocsd->cpuIntfDelAll(); });  // scans what is left, which is nothing
  rescans({}, [&] { ocsd->intfDelAll(); });
  rescans({"7 " + counters + "handlePolicyMapType()"}, [&] { qosSliceHwStatus->pmapTypeDelAll(); });
  rescans({"7 " + counters + "handleDynamicPolicyMapType()"},
          [&] { qosAclSliceHwStatus->pmapTypeDelAll(); });
}

TEST_F(CountersSm, ItsConstructionAttachesTheCommonDataLastAsIfByName) {
  ocsd->intfIs(eth1, false);
  ocsd->vlanIntfIs("Vlan7", true);
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  make();
  // Of the keyless handlers that an attachment runs, these two lines are all that can be seen of an
  // object that is not initialized.
  EXPECT_EQ(
      trace.lines(),
      (Calls{"8 void Oru::Counters::CountersSm::handleVlanIntf()",
             "8 void Oru::Counters::CountersSm::handleVlanIntf(Pekt::IntfId) vlanIntf: Vlan7"}));
}

TEST_F(CountersSm, NoPollerIsMadeWhileTheChipIsPrepared) {
  make();
  addIntf(eth1);
  helper->duringHwInit = [&] {
    addIntf(eth2);
    EXPECT_EQ(sut->portCountersSm().size(), 0u);
  };
  sut->initializedIs(true);
  EXPECT_EQ(sut->portCountersSm().size(), 2u);
}

TEST_F(CountersSm, AStartThatFailsCanBeTriedAgain) {
  make();
  addIntf(eth1);
  helper->duringHwInit = [] { throw std::runtime_error("the chip is away"); };
  EXPECT_THROW(sut->initializedIs(true), std::runtime_error);
  EXPECT_FALSE(sut->initialized());
  helper->duringHwInit = nullptr;
  sut->initializedIs(true);
  EXPECT_EQ(log.count("hwInit"), 2u);
  EXPECT_EQ(sut->portCountersSm().size(), 1u);
}

TEST_F(CountersSm, AStartThatIsCalledDirectlyAndFailsCanBeTriedAgain) {
  make();
  helper->duringInitialize = [] { throw std::runtime_error("the port is away"); };
  addIntf(eth1);
  EXPECT_THROW(sut->handleInitialized(), std::runtime_error);
  EXPECT_FALSE(sut->initialized());
  helper->duringInitialize = nullptr;
  sut->handleInitialized();
  EXPECT_TRUE(sut->initialized());
  EXPECT_TRUE(sut->portCountersSm(eth1)->initialized());
}

TEST_F(CountersSm, NoPollerIsMadeWhileTheChipIsPreparedAgain) {
  makeInitialized();
  sut->initializedIs(false);
  std::size_t meanwhile = 99;
  helper->duringHwInit = [&] {
    addIntf(eth1);
    meanwhile = sut->portCountersSm().size();
  };
  sut->initializedIs(true);
  EXPECT_EQ(meanwhile, 0u);
  EXPECT_EQ(sut->portCountersSm().size(), 1u);
}

TEST_F(CountersSm, AnInputAttachedLaterRunsItsHandlersOnce) {
  makeInitialized();
  ocsd->vlanIntfIs("Vlan7", true);
  auto const other = Kel::make<Interface::VlanIntfConfigDir>();
  Support::TraceCapture trace(Oru::Counters::_defaultTraceHandle());
  sut->vlanIntfConfigDirIs(other);
  Calls const once{
      "8 void Oru::Counters::CountersSm::handleVlanIntf()",
      "8 void Oru::Counters::CountersSm::handleVlanIntf(Pekt::IntfId) vlanIntf: Vlan7",
      "7 void Oru::Counters::CountersSm::handleVlanIntf(Pekt::IntfId) interface Vlan7 status 0 "
      "config 0 counters 0 ocsd 1"};
  EXPECT_EQ(trace.lines(), once);
  sut->vlanIntfConfigDirIs(other);
  EXPECT_EQ(trace.lines(), once);
  EXPECT_EQ(sut->vlanIntfConfigDirDel(), other);
  EXPECT_EQ(sut->vlanIntfConfigDir(), nullptr);
}

TEST_F(CountersSm, TheCommonDataAttachedRunsItsThreeHandlersInOrder) {
  makeInitialized();
  sut->reactOcsdDel();
  ocsd->intfIs(eth1, false);
  ocsd->cpuIntfIs("Cpu", false);
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->reactOcsdIs(ocsd);
  EXPECT_EQ(trace.lines(),
            (Calls{"8 CountersSm::handleIntf(Ethernet1)", "7 CountersSm::handleCpuIntf(Cpu)",
                   "8 void Oru::Counters::CountersSm::handleVlanIntf()"}));
}

TEST_F(CountersSm, WithoutConfigurationsNoPollerIsEverMade) {
  configDir = nullptr;
  makeInitialized();
  addStatus(eth1);
  ocsd->intfIs(eth1, true);
  EXPECT_EQ(sut->portCountersSm().size(), 0u);
}

TEST_F(CountersSm, WithoutStatusesNoPollerIsEverMade) {
  statusDir = nullptr;
  makeInitialized();
  addConfig(eth1);
  ocsd->intfIs(eth1, true);
  EXPECT_EQ(sut->portCountersSm().size(), 0u);
}

TEST_F(CountersSm, ANewPeriodIsForPollersMadeFromThenOn) {
  makeInitialized();
  addIntf(eth1);
  sut->counterPollPeriodIs(7.0);
  EXPECT_EQ(sut->portCountersSm(eth1)->counterPollPeriod(), 5.0);
  addIntf(eth2);
  EXPECT_EQ(sut->portCountersSm(eth2)->counterPollPeriod(), 7.0);
}

TEST_F(CountersSm, NotificationsOffReachEveryPollerAndReactor) {
  withQueuesAndDrops();
  make();
  sut->allVlanIntfCountersIs(tables.table<Support::RecordingVlanTable>("vlans", log, "counter"));
  sut->vlanIntfCounterWriterStatusIs(Kel::make<Interface::VlanIntfCounterWriterStatus>());
  sut->initializedIs(true);
  addIntf(eth1);
  addIntf(eth2);
  ocsd->cpuIntfIs(cpu, true);
  vlanIntfConfigDir->intfConfigIs(vlan7, Kel::make<Interface::VlanIntfConfig>());
  vlanIntfStatusDir->intfStatusIs(vlan7, Kel::make<Interface::VlanIntfStatus>());
  ocsd->vlanIntfIs(vlan7, true);
  Kel::Ptr<Kel::PtrInterface> const pollers[] = {
      sut->portCountersSm(eth1),        sut->portCountersSm(eth2),
      sut->intfQueueCountersSm(eth1),   sut->intfQueueCountersSm(eth2),
      sut->intfAclDropCountersSm(eth1), sut->intfAclDropCountersSm(eth2),
      sut->cpuPortCountersSm(cpu),      sut->vlanIntfCountersSm(vlan7)};
  log.clear();
  sut->hasNotificationActiveIs(false);
  for (auto const& poller : pollers)
    EXPECT_FALSE(poller->hasNotificationActive()) << Kel::typeText(*poller);
  addIntf("Ethernet3");
  ocsd->cpuIntfIs("Cpu2", true);
  ocsd->vlanIntfDel(vlan7);
  time.runFor(60.0);
  EXPECT_EQ(log.calls(), Calls{});
  sut->hasNotificationActiveIs(true);
  for (auto const& poller : pollers)
    EXPECT_TRUE(poller->hasNotificationActive()) << Kel::typeText(*poller);
}

TEST_F(CountersSm, ItsEndDeletesThePollersAndLeavesRowsAndWriterStatus) {
  makeInitialized();
  addIntf(eth1);
  log.clear();
  sut = nullptr;
  EXPECT_EQ(Kel::AllocTrackTypeInfo::live(Oru::Counters::PortCountersSm::_kelType).objects, 0u);
  EXPECT_EQ(Kel::AllocTrackTypeInfo::live(Oru::Counters::CountersSm::_kelType).objects, 0u);
  EXPECT_EQ(log.calls(), Calls{});
  EXPECT_TRUE(allIntfCounters->contains(eth1));
  EXPECT_TRUE(writerStatus->intf().contains(eth1));
  addIntf(eth2);  // nobody listens any more
  EXPECT_EQ(log.calls(), Calls{});
}

TEST_F(CountersSm, APollerThatOutlivesItIsHeldByItsHolderAlone) {
  makeInitialized();
  addIntf(eth1);
  auto const poller = sut->portCountersSm(eth1);
  sut = nullptr;
  EXPECT_EQ(poller->references(), 1u);
}

TEST_F(CountersSm, APlatformMayOverrideTheHandlers) {
  class Derived : public Oru::Counters::CountersSm {
   public:
    Derived(Kel::Ptr<Oru::OruCommonSmData> const& data,
            Kel::Ptr<OruHelper::OruHelperCountersSm> const& chip, Support::CallLog& calls)
        : CountersSm(data, nullptr, nullptr, nullptr, chip, nullptr, nullptr, nullptr, nullptr,
                     nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                     nullptr),
          _log(calls) {}
    using CountersSm::handleCpuIntf, CountersSm::handleIntf;
    void handleIntf(Pekt::IntfId id) override { _log("derived.handleIntf", id); }
    void handleCpuIntf(Pekt::IntfId id) override { _log("derived.handleCpuIntf", id); }

   private:
    Support::CallLog& _log;
  };
  auto const derived = Kel::make<Derived>(ocsd, helper, log);
  derived->hasNotificationActiveIs(true);
  derived->initializedIs(true);
  ocsd->intfIs(eth1, true);
  ocsd->cpuIntfIs("Cpu", true);
  EXPECT_EQ(log.calls(),
            (Calls{"hwInit", "derived.handleIntf Ethernet1", "derived.handleCpuIntf Cpu"}));
}

// The constructor runs out of memory at each of its allocations in turn.
int allocationsLeft = 0;
void* limited(std::size_t size) noexcept {
  return allocationsLeft-- > 0 ? std::malloc(size) : nullptr;
}

TEST_F(CountersSm, AConstructorThatThrowsLeavesNothingBehind) {
  for (int allocations = 0; allocations < 11; ++allocations) {  // the object and ten reactors
    allocationsLeft = allocations;
    Kel::System::allocator = &limited;
    EXPECT_THROW(make(), Kel::RangeException) << allocations;
    Kel::System::allocator = &Kel::System::heap;
    EXPECT_EQ(Kel::AllocTrackTypeInfo::live(Oru::Counters::CountersSm::_kelType).objects, 0u);
    EXPECT_EQ(ocsd->references(), 1u);
    EXPECT_EQ(configDir->references(), 1u);
    EXPECT_EQ(helper->references(), 1u);
    EXPECT_EQ(vlanIntfStatusDir->references(), 1u);
    EXPECT_EQ(configDir->notifieeList()->size(), 0u);
  }
  make();
  EXPECT_NE(sut, nullptr);
}

TEST_F(CountersSm, AHandlerThatEndsItIsItsLast) {
  make();
  addIntf(eth1);
  struct Ender : Interface::IntfFlags::NotifieeConst {
    using NotifieeConst::onIntf;
    explicit Ender(Kel::Ptr<Oru::Counters::CountersSm>& s) : sm(s) {}
    void onIntf(Pekt::IntfId) override { sm = nullptr; }
    Kel::Ptr<Oru::Counters::CountersSm>& sm;
  };
  sut->initializedIs(true);
  auto const ender = Kel::make<Ender>(sut);
  ender->notifierIs(writerConfig);
  ender->isRegisteredNotifieeIs(true);
  ender->hasNotificationActiveIs(true);
  addIntf(eth2);  // its handling drops the last reference to the state machine
  EXPECT_EQ(sut, nullptr);
  EXPECT_EQ(Kel::AllocTrackTypeInfo::live(Oru::Counters::CountersSm::_kelType).objects, 0u);
}

TEST_F(CountersSm, AnExceptionFromAHandlerIsCountedAndItsNeighboursStillHear) {
  allIntfClearCounters = nullptr;  // neither branch can finish
  makeInitialized();
  struct Neighbour : Oru::OruCommonSmData::NotifieeConst {
    using NotifieeConst::onIntf;
    explicit Neighbour(Support::CallLog& l) : log(l) {}
    void onIntf(Pekt::IntfId id) override { log("neighbour", id); }
    Support::CallLog& log;
  };
  auto const neighbour = Kel::make<Neighbour>(log);
  neighbour->notifierIs(ocsd);
  neighbour->isRegisteredNotifieeIs(true);
  neighbour->hasNotificationActiveIs(true);
  auto const before = Kel::notificationExceptions();
  Support::TraceCapture const trace(Kel::frameworkTraceHandle());
  ocsd->intfIs(eth1, true);
  EXPECT_EQ(Kel::notificationExceptions(), before + 1);
  EXPECT_EQ(trace.lines(), (Calls{"1 exception from Oru::Counters::CountersSm::KelReactOcsd: "
                                  "null ValidPtr"}));
  EXPECT_EQ(log.calls().back(), "neighbour Ethernet1");
}

TEST_F(CountersSm, ManyInterfacesAreNotifiedAndPolledOnceEach) {
  makeInitialized();
  for (int i = 1; i <= 500; ++i) addIntf("Ethernet" + std::to_string(i));
  log.clear();
  time.runFor(5.0);
  std::map<std::string, int> calls;
  for (auto const& call : log.calls()) ++calls[call];
  EXPECT_EQ(calls.size(), 1000u);
  for (auto const& [call, times] : calls) EXPECT_EQ(times, 1) << call;
}

}  // namespace
