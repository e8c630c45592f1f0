// Policy-map types as they come and go.
#include <gtest/gtest.h>

#include "counters/copp/copp_type_sm.h"
#include "counters/pollers/unit.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Qos::MapType;
using Support::Calls;

class PolicyMapTypes : public Support::CountersFixture {
 public:
  Kel::Ptr<Qos::PolicyMapTypeHwStatus> controlPlane =
      Kel::make<Qos::PolicyMapTypeHwStatus>(MapType::controlPlane);
  std::string const function = "7 void Oru::Counters::CountersSm::";
};

TEST_F(PolicyMapTypes, TheControlPlanesGetsItsStateMachineBeforeTheStart) {
  make();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  qosSliceHwStatus->pmapTypeIs(controlPlane);
  qosAclSliceHwStatus->pmapTypeIs(controlPlane);
  EXPECT_EQ(trace.lines(),
            (Calls{function + "handlePolicyMapType(Qos::MapType)type: 0",
                   "7 void Oru::Counters::CountersCoppTypeSm::handleInitialized()",
                   function + "handleDynamicPolicyMapType(Qos::MapType)type: 0",
                   "7 void Oru::Counters::CountersDynamicCoppTypeSm::handleInitialized()"}));
  ASSERT_EQ(sut->coppTypeSm().size(), 1u);
  ASSERT_EQ(sut->coppDynamicTypeSm().size(), 1u);
  EXPECT_EQ(sut->coppTypeSm(MapType::controlPlane)->pmapType(), controlPlane);
  EXPECT_EQ(sut->coppTypeSm(MapType::controlPlane)->platformHelper(), helper);
  EXPECT_TRUE(sut->coppTypeSm(MapType::controlPlane)->hasNotificationActive());
  EXPECT_EQ(sut->coppDynamicTypeSm(MapType::controlPlane)->pmapType(), controlPlane);
}

TEST_F(PolicyMapTypes, AnyOtherTypeIsTracedAlone) {
  make();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  qosSliceHwStatus->pmapTypeIs(Kel::make<Qos::PolicyMapTypeHwStatus>(MapType::qos));
  qosAclSliceHwStatus->pmapTypeIs(Kel::make<Qos::PolicyMapTypeHwStatus>(MapType::pbr));
  EXPECT_EQ(trace.lines(), (Calls{function + "handlePolicyMapType(Qos::MapType)type: 1",
                                  function + "handleDynamicPolicyMapType(Qos::MapType)type: 2"}));
  EXPECT_EQ(sut->coppTypeSm().size() + sut->coppDynamicTypeSm().size(), 0u);
}

TEST_F(PolicyMapTypes, ATypeThatGoesLeavesItsStateMachine) {
  make();
  qosSliceHwStatus->pmapTypeIs(controlPlane);
  qosAclSliceHwStatus->pmapTypeIs(controlPlane);
  auto const machine = sut->coppTypeSm(MapType::controlPlane);
  auto const dynamicMachine = sut->coppDynamicTypeSm(MapType::controlPlane);
  qosSliceHwStatus->pmapTypeDel(MapType::controlPlane);
  qosAclSliceHwStatus->pmapTypeDelAll();
  EXPECT_EQ(sut->coppTypeSm(MapType::controlPlane), machine);
  EXPECT_EQ(sut->coppDynamicTypeSm(MapType::controlPlane), dynamicMachine);
  sut->coppTypeSmDel(MapType::controlPlane);
  sut->coppDynamicTypeSmDel(MapType::controlPlane);
  EXPECT_EQ(sut->coppTypeSm().size() + sut->coppDynamicTypeSm().size(), 0u);
}

TEST_F(PolicyMapTypes, TheSameEntityAgainKeepsTheStateMachine) {
  make();
  qosSliceHwStatus->pmapTypeIs(controlPlane);
  auto const machine = sut->coppTypeSm(MapType::controlPlane);
  sut->handlePolicyMapType(MapType::controlPlane);
  EXPECT_EQ(sut->coppTypeSm(MapType::controlPlane), machine);
}

TEST_F(PolicyMapTypes, AnotherEntityOrHelperIsRefusedByName) {
  make();
  auto const other = Kel::make<Qos::PolicyMapTypeHwStatus>(MapType::controlPlane);
  auto const refusal = [&](auto const& machineIs) {
    try {
      machineIs();
      return std::string("made");
    } catch (Kel::NameInUseException const& e) {
      return std::string(e.what());
    }
  };
  std::string const text =
      "Reinstantiating the pointer interface where constructor parameter attribute ";
  auto const otherHelper = Kel::make<Support::RecordingHelper>(log);
  sut->coppTypeSmIs(controlPlane, helper);
  sut->coppDynamicTypeSmIs(controlPlane, helper);
  for (std::string const& why : {refusal([&] { sut->coppTypeSmIs(other, helper); }),
                                 refusal([&] { sut->coppDynamicTypeSmIs(other, helper); })})
    EXPECT_TRUE(why.starts_with(text + "_pmapType has a different value of ")) << why;
  for (std::string const& why :
       {refusal([&] { sut->coppTypeSmIs(controlPlane, otherHelper); }),
        refusal([&] { sut->coppDynamicTypeSmIs(controlPlane, otherHelper); })})
    EXPECT_TRUE(why.starts_with(text + "_platformHelper has a different value of ")) << why;
}

TEST_F(PolicyMapTypes, WithoutASliceTheControlPlanesIsRefused) {
  qosSliceHwStatus = nullptr;
  qosAclSliceHwStatus = nullptr;
  make();
  EXPECT_NO_THROW(sut->handlePolicyMapType(MapType::qos));
  EXPECT_NO_THROW(sut->handlePolicyMapType());
  EXPECT_THROW(sut->handlePolicyMapType(MapType::controlPlane), Kel::RangeException);
  EXPECT_NO_THROW(sut->handleDynamicPolicyMapType(MapType::qos));
  EXPECT_NO_THROW(sut->handleDynamicPolicyMapType());
  EXPECT_THROW(sut->handleDynamicPolicyMapType(MapType::controlPlane), Kel::RangeException);
}

TEST_F(PolicyMapTypes, TheHandlersPassOnThatAnotherEntityIsRefused) {
  make();
  qosSliceHwStatus->pmapTypeIs(controlPlane);
  qosAclSliceHwStatus->pmapTypeIs(controlPlane);
  Kel::frameworkTraceHandle().levelsIs(0);  // the notifications are refused as well
  qosSliceHwStatus->pmapTypeIs(Kel::make<Qos::PolicyMapTypeHwStatus>(MapType::controlPlane));
  qosAclSliceHwStatus->pmapTypeIs(Kel::make<Qos::PolicyMapTypeHwStatus>(MapType::controlPlane));
  EXPECT_THROW(sut->handlePolicyMapType(MapType::controlPlane), Kel::NameInUseException);
  EXPECT_THROW(sut->handlePolicyMapType(), Kel::NameInUseException);
  EXPECT_THROW(sut->handleDynamicPolicyMapType(MapType::controlPlane), Kel::NameInUseException);
  EXPECT_THROW(sut->handleDynamicPolicyMapType(), Kel::NameInUseException);
  EXPECT_EQ(sut->coppTypeSm(MapType::controlPlane)->pmapType(), controlPlane);
  EXPECT_EQ(sut->coppDynamicTypeSm(MapType::controlPlane)->pmapType(), controlPlane);
}

TEST_F(PolicyMapTypes, EntriesOfTheDirectoriesChangeNothing) {
  make();
  auto const other = Kel::make<Qos::SliceHwStatus>("other");
  auto const otherAcl = Kel::make<Qos::AclSliceHwStatus>("other");
  other->pmapTypeIs(controlPlane);
  otherAcl->pmapTypeIs(controlPlane);
  qosSliceHwStatusDir->entityPtrIs("other", other);
  qosAclSliceHwStatusDir->entityPtrIs("other", otherAcl);
  sut->handleQosSliceHwStatusDir("other");
  sut->handleQosAclSliceHwStatusDir("other");
  EXPECT_EQ(sut->qosSliceHwStatus(), qosSliceHwStatus);
  EXPECT_EQ(sut->qosAclSliceHwStatus(), qosAclSliceHwStatus);
  EXPECT_EQ(sut->coppTypeSm().size() + sut->coppDynamicTypeSm().size(), 0u);
  qosSliceHwStatus->pmapTypeIs(controlPlane);
  qosSliceHwStatusDir->entityPtrDel("other");
  EXPECT_EQ(sut->qosSliceHwStatus(), qosSliceHwStatus);
  EXPECT_EQ(sut->coppTypeSm().size(), 1u);
}

TEST_F(PolicyMapTypes, ATypeThatIsNotThereIsTracedAlone) {
  make();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  sut->handlePolicyMapType(MapType::controlPlane);
  sut->handleDynamicPolicyMapType(MapType::controlPlane);
  EXPECT_EQ(trace.lines(), (Calls{function + "handlePolicyMapType(Qos::MapType)type: 0",
                                  function + "handleDynamicPolicyMapType(Qos::MapType)type: 0"}));
  EXPECT_EQ(sut->coppTypeSm().size() + sut->coppDynamicTypeSm().size(), 0u);
}

TEST_F(PolicyMapTypes, NotificationsOffReachTheStateMachines) {
  make();
  qosSliceHwStatus->pmapTypeIs(controlPlane);
  qosAclSliceHwStatus->pmapTypeIs(controlPlane);
  sut->hasNotificationActiveIs(false);
  EXPECT_FALSE(sut->coppTypeSm(MapType::controlPlane)->hasNotificationActive());
  EXPECT_FALSE(sut->coppDynamicTypeSm(MapType::controlPlane)->hasNotificationActive());
}

TEST_F(PolicyMapTypes, TheEndDeletesTheStateMachines) {
  using namespace Oru::Counters;
  make();
  qosSliceHwStatus->pmapTypeIs(controlPlane);
  qosAclSliceHwStatus->pmapTypeIs(controlPlane);
  sut = nullptr;
  for (auto const* type : {&CountersCoppTypeSm::_kelType, &CountersDynamicCoppTypeSm::_kelType})
    EXPECT_EQ(Kel::AllocTrackTypeInfo::live(*type).objects, 0u) << type->name();
}

}  // namespace
