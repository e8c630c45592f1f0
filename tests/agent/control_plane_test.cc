// Policing as the agent tells it to the library, with the library behind it.
#include "agent/control_plane.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "counters/copp/copp_type_sm.h"
#include "counters/pollers/cpu_port_counters_sm.h"
#include "tests/support/call_log.h"
#include "tests/support/virtual_time.h"

namespace Agent {
namespace {

using Oru::Counters::CountersSm;
using Qos::MapType;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Helper : public OruHelper::OruHelperCountersSm {
 public:
  explicit Helper(Support::CallLog& l) : OruHelperCountersSm("helper"), log(l) {}
  void resetCpuQueueCounters(Kel::Name name) override {
    log("reset", name);
    if (onReset) onReset();
  }
  void initializeCpuPort(Kel::String name) override { log("cpu port", name); }
  void getCoppCounters() override { log("poll"); }
  Support::CallLog& log;
  std::function<void()> onReset;
};

class ControlPlaneTest : public ::testing::Test {
 protected:
  ControlPlaneTest() {
    counters->counterPollPeriodIs(2.0);
    sut.countersIs(counters);
    testing::internal::CaptureStderr();
  }
  ~ControlPlaneTest() override { said(); }

  void classesAre(CoppClassNames const& names) { sut.classesAre(&names); }
  void noCpuPort() { sut.classesAre(nullptr); }
  std::string said() {
    if (captured_) return {};
    captured_ = true;
    return testing::internal::GetCapturedStderr();
  }
  auto types() { return counters->coppTypeSm(MapType::controlPlane); }
  auto policyMap() { return types()->coppSm(Kel::Name("copp-system-policy")); }
  std::vector<std::string> classes() {
    std::vector<std::string> names;
    for (auto const& [name, status] : policyMap()->pmap()->cmap()) names.emplace_back(name.view());
    return names;
  }

  Support::VirtualTime time;
  Support::CallLog log;
  Kel::Ptr<Helper> helper = Kel::make<Helper>(log);
  Kel::Ptr<Oru::OruCommonSmData> ocsd = Kel::make<Oru::OruCommonSmData>();
  ControlPlane sut{ocsd};
  Kel::Ptr<CountersSm> counters = Oru::Counters::countersSmFactory(
      ocsd, nullptr, nullptr, nullptr, helper, nullptr, nullptr, sut.sliceStatus(),
      sut.sliceStatusDir(), sut.aclSliceStatus(), sut.aclSliceStatusDir(), nullptr, nullptr,
      nullptr, nullptr, nullptr, nullptr, nullptr);
  bool captured_ = false;
};

TEST_F(ControlPlaneTest, WithoutACpuPortTheLibraryWatchesTheTypeAndNoPolicyMap) {
  noCpuPort();
  ASSERT_TRUE(types());
  EXPECT_FALSE(policyMap());
  EXPECT_FALSE(ocsd->cpuIntf("Cpu"));
  EXPECT_EQ(said(), "");
}

TEST_F(ControlPlaneTest, CpuPortComesWithItsPolicyMapAndIsToldOfInTheLog) {
  classesAre({"bgp", "icmp"});
  EXPECT_TRUE(ocsd->cpuIntf("Cpu"));
  ASSERT_TRUE(policyMap());
  EXPECT_THAT(classes(), ElementsAre("bgp", "icmp"));
  EXPECT_EQ(policyMap()->platformHelper(), helper);
  EXPECT_EQ(policyMap()->type(), MapType::controlPlane);
  EXPECT_EQ(said(), "oru-agentd: policy map copp-system-policy is watched, with 2 classes\n");
}

TEST_F(ControlPlaneTest, OneClassIsOneInTheLog) {
  classesAre({"bgp"});
  EXPECT_EQ(said(), "oru-agentd: policy map copp-system-policy is watched, with 1 class\n");
}

TEST_F(ControlPlaneTest, ClassesThatAreThereAtTheStartAreNotReset) {
  classesAre({"bgp", "icmp"});
  counters->initializedIs(true);
  classesAre({"bgp", "icmp"});
  EXPECT_THAT(log.calls(), ElementsAre("cpu port Cpu"));
}

TEST_F(ControlPlaneTest, ClassThatComesLaterIsResetOnce) {
  classesAre({"bgp"});
  classesAre({"bgp", "icmp"});
  classesAre({"bgp", "icmp"});
  EXPECT_THAT(log.calls(), ElementsAre("reset icmp"));
}

TEST_F(ControlPlaneTest, ClassThatGoesIsNotReset) {
  classesAre({"bgp", "icmp"});
  classesAre({"bgp"});
  EXPECT_THAT(classes(), ElementsAre("bgp"));
  EXPECT_THAT(log.calls(), IsEmpty());
}

TEST_F(ControlPlaneTest, ClassesThatComeWithTheirCpuPortAreNotReset) {
  counters->initializedIs(true);
  classesAre({"bgp"});
  noCpuPort();
  classesAre({"bgp"});
  EXPECT_EQ(log.count("reset bgp"), 0u);
}

TEST_F(ControlPlaneTest, CpuPortThatIsThereIsPolled) {
  counters->initializedIs(true);
  classesAre({"bgp"});
  ASSERT_TRUE(counters->cpuPortCountersSm("Cpu"));
  counters->updateCounters(OruTypes::CounterType::cpuPort, "Cpu");
  EXPECT_EQ(log.count("poll"), 1u);
}

TEST_F(ControlPlaneTest, CpuPortThatGoesTakesItsPollerAndItsPolicyMapAlong) {
  counters->initializedIs(true);
  classesAre({"bgp"});
  noCpuPort();
  EXPECT_FALSE(counters->cpuPortCountersSm("Cpu"));
  EXPECT_FALSE(policyMap());
  EXPECT_TRUE(sut.sliceStatus()->pmapType().begin()->second->pmap().empty());
  EXPECT_THAT(said(), HasSubstr("policy map copp-system-policy is no longer watched\n"));
}

TEST_F(ControlPlaneTest, PolicyMapUnderAnotherNameIsNotWatched) {
  types()->coppPMapNameIs("another");
  classesAre({"bgp"});
  EXPECT_FALSE(policyMap());
  EXPECT_TRUE(ocsd->cpuIntf("Cpu"));  // and counted all the same
  EXPECT_THAT(said(), HasSubstr("not watched: coppPMapName is another"));
}

TEST_F(ControlPlaneTest, MemberThatSomebodyMadeOfAnotherStatusStaysAndIsTold) {
  Kel::Name const name("copp-system-policy");
  auto const other = Kel::make<Qos::PolicyMapHwStatus>();
  types()->coppSmIs(name, other, helper);
  classesAre({"bgp"});
  EXPECT_EQ(policyMap()->pmap(), other);
  noCpuPort();
  ASSERT_TRUE(policyMap());
  EXPECT_EQ(policyMap()->pmap(), other);
  std::string const text = said();
  EXPECT_THAT(text, HasSubstr("not watched: "));
  EXPECT_THAT(text, HasSubstr("copp-system-policy is gone\n"));
}

TEST_F(ControlPlaneTest, MemberThatSomebodyMadeInPlaceOfTheAgentsStays) {
  Kel::Name const name("copp-system-policy");
  classesAre({"bgp"});
  types()->coppSmDel(name);
  auto const other = Kel::make<Qos::PolicyMapHwStatus>();
  types()->coppSmIs(name, other, helper);
  noCpuPort();
  ASSERT_TRUE(policyMap());
  EXPECT_EQ(policyMap()->pmap(), other);
}

// The chip reads its classes anew when one is reset.
TEST_F(ControlPlaneTest, ClassesMayChangeWhileThoseThatComeAreReset) {
  classesAre({"bgp"});
  CoppClassNames names{"bgp", "icmp", "ospf"};
  helper->onReset = [&] { names.clear(); };
  sut.classesAre(&names);
  EXPECT_THAT(classes(), ElementsAre("bgp", "icmp", "ospf"));
}

TEST_F(ControlPlaneTest, SlicesStandInTheirDirectories) {
  EXPECT_EQ(sut.sliceStatusDir()->entry(Kel::Name("chip")), sut.sliceStatus());
  EXPECT_EQ(sut.aclSliceStatusDir()->entry(Kel::Name("chip")), sut.aclSliceStatus());
  EXPECT_TRUE(sut.aclSliceStatus()->pmapType().empty());
}

}  // namespace
}  // namespace Agent
