// Everything that the state machines declare, by name.
#include <gtest/gtest.h>

#include <set>

#include "counters/copp/copp_type_sm.h"
#include "counters/pollers/cpu_port_counters_sm.h"
#include "counters/pollers/vlan_intf_counters_sm.h"
#include "platform/kel/exceptions.h"
#include "platform/kel/type_node.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/reflection.h"

namespace {

using Support::Calls;
using Support::cpu;
using Support::eth1;
using Support::expectEveryAttributeAnswers;
using Support::names;
using Support::vlan7;

class Reflection : public Support::CountersFixture {
 public:
  Reflection() {
    withQueuesAndDrops();
    makeInitialized();
    addIntf(eth1);
    poller = sut->portCountersSm(eth1);
    queuePoller = sut->intfQueueCountersSm(eth1);
    dropPoller = sut->intfAclDropCountersSm(eth1);
    log.clear();
  }
  Kel::Ptr<Oru::Counters::PortCountersSm> poller;
  Kel::Ptr<Oru::Counters::IntfQueueCountersSm> queuePoller;
  Kel::Ptr<Oru::Counters::IntfAclDropCountersSm> dropPoller;
};

TEST_F(Reflection, TypesAreRegisteredInOrder) {
  Calls registered;
  for (auto const* type : Kel::typeNodes()) registered.emplace_back(type->name());
  EXPECT_EQ(registered,
            (Calls{"Oru::Counters::VlanIntfCountersSm", "Oru::Counters::CountersCoppTypeSm",
                   "Oru::Counters::CountersDynamicCoppSm", "Oru::Counters::CpuPortCountersSm",
                   "Oru::Counters::IntfAclDropCountersSm", "Oru::Counters::IntfQueueCountersSm",
                   "Oru::Counters::PortCountersSm", "Oru::Counters::VlanCountersSm",
                   "Oru::Counters::CountersDynamicCoppTypeSm", "Oru::Counters::CountersSm",
                   "Oru::Counters::CountersCoppSm"}));
}

TEST_F(Reflection, ObjectsKnowTheirType) {
  EXPECT_EQ(sut->fwkType(), &Oru::Counters::CountersSm::_kelType);
  EXPECT_EQ(poller->fwkType(), &Oru::Counters::PortCountersSm::_kelType);
  EXPECT_EQ(queuePoller->fwkType(), &Oru::Counters::IntfQueueCountersSm::_kelType);
  EXPECT_EQ(dropPoller->fwkType(), &Oru::Counters::IntfAclDropCountersSm::_kelType);
}

TEST_F(Reflection, CountersSmDeclaresItsAttributes) {
  EXPECT_EQ(names(Oru::Counters::CountersSm::_kelType), (Calls{"ocsd",
                                                               "ethPhyIntfConfigDir",
                                                               "ethPhyIntfStatusDir",
                                                               "cliCounterConfig",
                                                               "platformHelper",
                                                               "globalIntfConfig",
                                                               "cliConfig",
                                                               "qosSliceHwStatus",
                                                               "qosSliceHwStatusDir",
                                                               "qosAclSliceHwStatus",
                                                               "qosAclSliceHwStatusDir",
                                                               "vlanIntfConfigDir",
                                                               "vlanIntfStatusDir",
                                                               "intfAclDropCountersDir",
                                                               "allIntfQueueCounters",
                                                               "allIntfClearQueueCounters",
                                                               "allIntfCounters",
                                                               "allIntfClearCounters",
                                                               "reactOcsd",
                                                               "writerConfig",
                                                               "ethIntfCounterWriterStatus",
                                                               "aclDropConfig",
                                                               "allVlanIntfCounters",
                                                               "vlanIntfCounterWriterStatus",
                                                               "counterPollPeriod",
                                                               "initialized",
                                                               "portCountersSm",
                                                               "intfQueueCountersSm",
                                                               "intfAclDropCountersSm",
                                                               "coppTypeSm",
                                                               "coppDynamicTypeSm",
                                                               "cpuPortCountersSm",
                                                               "vlanIntfCountersSm",
                                                               "handleIntf",
                                                               "doClearCounters",
                                                               "handleCpuIntf",
                                                               "handleVlanIntf",
                                                               "handlePolicyMapType",
                                                               "handleDynamicPolicyMapType",
                                                               "handleQosSliceHwStatusDir",
                                                               "handleQosAclSliceHwStatusDir",
                                                               "updateCounters"}));
}

TEST_F(Reflection, IntfQueueCountersSmDeclaresItsAttributes) {
  EXPECT_EQ(names(*queuePoller->fwkType()),
            (Calls{"ocsd", "intfId", "counterPollPeriod", "clock", "platformHelper",
                   "allIntfQueueCounters", "allIntfClearQueueCounters", "prevCounters",
                   "initialized", "addQueues", "handleTime", "updateCounters"}));
}

TEST_F(Reflection, IntfAclDropCountersSmDeclaresItsAttributes) {
  EXPECT_EQ(names(*dropPoller->fwkType()),
            (Calls{"intfId", "clock", "intfAclDropCounter", "intfAclDropCountersDir",
                   "platformHelper", "prevCounters", "pollInterval", "initialized",
                   "handleInitialized", "handleTime", "updateCounters"}));
}

TEST_F(Reflection, EveryAttributeOfCountersSmAnswers) { expectEveryAttributeAnswers(*sut); }
TEST_F(Reflection, EveryAttributeOfPortCountersSmAnswers) { expectEveryAttributeAnswers(*poller); }

TEST_F(Reflection, EveryAttributeOfIntfQueueCountersSmAnswers) {
  expectEveryAttributeAnswers(*queuePoller);
}
TEST_F(Reflection, EveryAttributeOfIntfAclDropCountersSmAnswers) {
  expectEveryAttributeAnswers(*dropPoller);
}

TEST_F(Reflection, EveryAttributeOfCpuPortCountersSmAnswers) {
  ocsd->cpuIntfIs(cpu, true);
  expectEveryAttributeAnswers(*sut->cpuPortCountersSm(cpu));
}
TEST_F(Reflection, EveryAttributeOfVlanIntfCountersSmAnswers) {
  using namespace Oru::Counters;
  auto const table = tables.table<Support::RecordingVlanTable>("vlans", log, "counter");
  auto const vlanPoller = VlanIntfCountersSm::VlanIntfCountersSmIs(
      ocsd, vlan7, 5.0, time.clock(), helper, globalIntfConfig,
      Kel::make<Interface::VlanIntfConfig>(), Kel::make<Interface::VlanIntfStatus>(), table);
  expectEveryAttributeAnswers(*vlanPoller);
  vlanPoller->initializedIs(true);
  expectEveryAttributeAnswers(*vlanPoller);
}

// Made by their factories, which switch the notifications on.
TEST_F(Reflection, EveryAttributeOfThePolicyMapsStateMachinesAnswers) {
  using namespace Oru::Counters;
  auto const pmapType = Kel::make<Qos::PolicyMapTypeHwStatus>(Qos::MapType::controlPlane);
  auto const pmap = Kel::make<Qos::PolicyMapHwStatus>();
  Kel::Name const name("copp-system-policy");
  auto const expectAllOf = [](auto const& machine) {
    EXPECT_TRUE(machine->hasNotificationActive());
    expectEveryAttributeAnswers(*machine);
  };
  expectAllOf(CountersCoppSm::CountersCoppSmIs(name, pmap, helper));
  expectAllOf(CountersDynamicCoppSm::CountersDynamicCoppSmIs(name, pmap, helper));
  expectAllOf(CountersCoppTypeSm::CountersCoppTypeSmIs(pmapType, helper));
  expectAllOf(CountersDynamicCoppTypeSm::CountersDynamicCoppTypeSmIs(pmapType, helper));
}

TEST_F(Reflection, EveryOperationOfCountersSmCanBeInvoked) {
  std::map<std::string, Calls> const arguments{{"handleIntf", {"Ethernet1"}},
                                               {"doClearCounters", {"all"}},
                                               {"handleCpuIntf", {"Cpu"}},
                                               {"handleVlanIntf", {"Vlan7"}},
                                               {"handlePolicyMapType", {"0"}},
                                               {"handleDynamicPolicyMapType", {"0"}},
                                               {"handleQosSliceHwStatusDir", {"slice"}},
                                               {"handleQosAclSliceHwStatusDir", {"slice"}},
                                               {"updateCounters", {"1", "Ethernet1"}}};
  std::size_t invoked = 0;
  for (auto const& a : sut->fwkType()->attributes()) {
    if (!a.invoke) continue;
    SCOPED_TRACE(std::string(a.name));
    ASSERT_TRUE(arguments.contains(std::string(a.name)));
    // A second handling of an interface with its ACL drop poller is refused.
    if (a.name == "handleIntf") sut->intfAclDropCountersSmDelAll();
    EXPECT_NO_THROW(Kel::invoke(*sut, a.name, arguments.at(std::string(a.name))));
    EXPECT_THROW(Kel::invoke(*sut, a.name, {"1", "2", "3"}), Kel::RangeException);
    ++invoked;
  }
  EXPECT_EQ(invoked, arguments.size());
  EXPECT_EQ(log.count("getCounters Ethernet1"), 1u);
  EXPECT_EQ(log.count("helper.doClearCounters all"), 1u);
}

TEST_F(Reflection, EveryOperationOfPortCountersSmCanBeInvoked) {
  Kel::invoke(*poller, "updateCounters");
  Kel::invoke(*poller, "handlePeriodPoll");
  Kel::invoke(*poller, "handleTime");
  Kel::invoke(*poller, "handleExit");
  EXPECT_EQ(log.calls(),
            (Calls{"getCounters Ethernet1", "live.counterIs Ethernet1", "getCounters Ethernet1",
                   "live.counterIs Ethernet1", "deinitialize Ethernet1"}));
}

TEST_F(Reflection, EveryOperationOfIntfQueueCountersSmCanBeInvoked) {
  Kel::invoke(*queuePoller, "addQueues");
  Kel::invoke(*queuePoller, "updateCounters");
  Kel::invoke(*queuePoller, "handleTime");
  EXPECT_EQ(log.calls(),
            (Calls{"getIntfQueueType Ethernet1", "getIntfQueueCounters Ethernet1",
                   "queues.intfQueueCounterIs Ethernet1", "getIntfQueueCounters Ethernet1",
                   "queues.intfQueueCounterIs Ethernet1"}));
}

TEST_F(Reflection, EveryOperationOfIntfAclDropCountersSmCanBeInvoked) {
  Calls const poll{"getIntfAclDropCounters Ethernet1", "drops.directWrite Ethernet1",
                   "drops.counterCommit Ethernet1"};
  for (auto const* operation : {"handleInitialized", "handleTime", "updateCounters"}) {
    log.clear();
    Kel::invoke(*dropPoller, operation);
    EXPECT_EQ(log.calls(), poll) << operation;
  }
}

TEST_F(Reflection, TheIntervalOfADropPollerIsSetByName) {
  Kel::set(*Kel::iterObj(*sut, "intfAclDropCountersSm", "Ethernet1"), "pollInterval", "5");
  EXPECT_EQ(dropPoller->pollInterval(), 5.0);
  EXPECT_THROW(Kel::set(*dropPoller, "pollInterval", "-1"), Kel::RangeException);
  EXPECT_EQ(Kel::read(*dropPoller, "pollInterval"), "5");
}

TEST_F(Reflection, ValuesAreReadAndSetAsText) {
  EXPECT_EQ(Kel::read(*sut, "counterPollPeriod"), "5");
  Kel::set(*sut, "counterPollPeriod", "2.5");
  EXPECT_EQ(sut->counterPollPeriod(), 2.5);
  EXPECT_EQ(Kel::read(*sut, "initialized"), "true");
  EXPECT_THROW(Kel::set(*sut, "counterPollPeriod", "soon"), Kel::RangeException);
  EXPECT_EQ(sut->counterPollPeriod(), 2.5);
  EXPECT_EQ(Kel::read(*poller, "intfId"), "Ethernet1");
}

TEST_F(Reflection, CollectionsAreWalkedAndTheirMembersReachedAndDeleted) {
  addIntf("Ethernet10");
  auto const keys = Kel::iterKey(*sut, "portCountersSm");
  EXPECT_EQ(std::set<std::string>(keys.begin(), keys.end()),
            (std::set<std::string>{"Ethernet1", "Ethernet10"}));
  EXPECT_EQ(Kel::iterObj(*sut, "portCountersSm", "Ethernet1"), poller);
  EXPECT_EQ(Kel::iterObj(*sut, "portCountersSm", "Ethernet7"), nullptr);
  Kel::iterDel(*sut, "portCountersSm", "Ethernet1");
  EXPECT_EQ(sut->portCountersSm().size(), 1u);
}

TEST_F(Reflection, AnUnknownNameIsRefused) {
  EXPECT_THROW(Kel::read(*sut, "nonsense"), Kel::OpNotSupportedException);
  EXPECT_THROW(Kel::invoke(*sut, "nonsense"), Kel::OpNotSupportedException);
}

// Called directly, it ends the process: a caller's bug. Whoever asks by name is told.
TEST_F(Reflection, AnUpdateOfAKindWithoutPollersIsRefusedByName) {
  for (char const* const type : {"4", "5"})
    EXPECT_THROW(Kel::invoke(*sut, "updateCounters", {type, "Ethernet1"}), Kel::RangeException);
  for (char const* const type : {"0", "1", "2", "3", "6", "7", "4294967295"})
    EXPECT_NO_THROW(Kel::invoke(*sut, "updateCounters", {type, "Ethernet1"})) << type;
}

}  // namespace
