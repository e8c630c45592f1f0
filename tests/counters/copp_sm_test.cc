#include "counters/copp/copp_sm.h"

#include <gtest/gtest.h>

#include "counters/pollers/unit.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Support::Calls;

// A policy map whose classes can be told of as a whole while there are any.
class BulkPolicyMap : public Qos::PolicyMapHwStatus {
 public:
  using PolicyMapHwStatus::PolicyMapHwStatus;
  void tellOfAllClasses() { notify(&NotifieeConst::onCmapkelImmediate); }
};

// Both flavours: they differ in their names alone.
template <class Sm>
class CoppSm : public Support::CountersFixture {
 public:
  CoppSm() { sut = make(pmap); }

  Kel::Ptr<Sm> make(Kel::Ptr<Qos::PolicyMapHwStatus const> const& watched) {
    return Kel::instance<Sm>(Kel::Name("copp-system-policy"), watched, helper);
  }
  void addClasses() {
    for (auto const* name : {"copp-bgp", "copp-arp", "copp-lldp"}) pmap->cmapIs(name, {});
    log.clear();
  }
  static std::string traced(std::string const& text) {
    return "7 void " + std::string(Sm::kTypeName) + "::" + text;
  }

  Kel::Ptr<BulkPolicyMap> pmap = Kel::make<BulkPolicyMap>();
  Kel::Ptr<Sm> sut;
  Calls const resetOfEach{"resetCpuQueueCounters copp-arp", "resetCpuQueueCounters copp-bgp",
                          "resetCpuQueueCounters copp-lldp"};
};
using Flavours =
    testing::Types<Oru::Counters::CountersCoppSm, Oru::Counters::CountersDynamicCoppSm>;
// Names the suites in the output of the tests.
class FlavourNames {
 public:
  template <class Sm>
  static std::string GetName(int) {
    return std::is_same_v<Sm, Oru::Counters::CountersCoppSm> ? "Static" : "Dynamic";
  }
};
TYPED_TEST_SUITE(CoppSm, Flavours, FlavourNames);
template <class Sm>
using CoppSmDeathTest = CoppSm<Sm>;
TYPED_TEST_SUITE(CoppSmDeathTest, Flavours, FlavourNames);

TYPED_TEST(CoppSm, DoesNothingWhenConstructed) {
  this->addClasses();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  this->sut = this->make(this->pmap);
  EXPECT_EQ(this->log.calls(), Calls{});
  EXPECT_EQ(trace.lines(), Calls{});
  EXPECT_FALSE(this->sut->initialized());
  EXPECT_TRUE(this->sut->hasNotificationActive());
  EXPECT_EQ(this->sut->pmap(), this->pmap);
  EXPECT_EQ(this->sut->name(), Kel::Name("copp-system-policy"));
  EXPECT_EQ(this->sut->platformHelper(), this->helper);
}

TYPED_TEST(CoppSm, AClassThatIsAddedOrChangedIsResetOnceEach) {
  this->pmap->cmapIs("copp-bgp", {});
  EXPECT_EQ(this->log.calls(), Calls{"resetCpuQueueCounters copp-bgp"});
  this->pmap->cmapIs("copp-bgp", {.version = 2});
  EXPECT_EQ(this->log.count("resetCpuQueueCounters copp-bgp"), 2u);
  this->pmap->cmapIs("copp-bgp", {.version = 2});  // no change
  EXPECT_EQ(this->log.count("resetCpuQueueCounters copp-bgp"), 2u);
}

TYPED_TEST(CoppSm, AClassThatGoesIsTracedAlone) {
  this->addClasses();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  this->pmap->cmapDel("copp-bgp");
  EXPECT_EQ(this->log.calls(), Calls{});
  EXPECT_EQ(trace.lines(), Calls{this->traced("handleClass(Kel::Name)copp-bgp")});
}

TYPED_TEST(CoppSm, EachChangeOfItsFlagResetsEachClass) {
  this->addClasses();
  this->sut->initializedIs(true);
  EXPECT_EQ(this->log.calls(), this->resetOfEach);
  this->log.clear();
  this->sut->initializedIs(true);
  EXPECT_EQ(this->log.calls(), Calls{});
  this->sut->initializedIs(false);
  EXPECT_EQ(this->log.calls(), this->resetOfEach);
  this->log.clear();
  this->sut->initializedIs(false);
  EXPECT_EQ(this->log.calls(), Calls{});
}

TYPED_TEST(CoppSm, TracesItsHandlersBeforeTheirWork) {
  this->addClasses();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  std::size_t before = 99;
  this->helper->duringReset = [&] { before = std::min(before, trace.lines().size()); };
  this->sut->handleInitialized();
  EXPECT_EQ(trace.lines(), (Calls{this->traced("handleInitialized()"),
                                  this->traced("handleClass(Kel::Name)copp-arp"),
                                  this->traced("handleClass(Kel::Name)copp-bgp"),
                                  this->traced("handleClass(Kel::Name)copp-lldp")}));
  EXPECT_EQ(before, 2u);
}

TYPED_TEST(CoppSm, AClassThatGoesDuringTheWalkIsLeftOut) {
  this->addClasses();
  this->helper->duringReset = [&] {
    this->helper->duringReset = nullptr;
    this->pmap->cmapDel("copp-arp");  // the one at hand
    this->pmap->cmapDel("copp-bgp");  // the next one
    this->pmap->cmapIs("copp-zz", {});
  };
  this->log.clear();
  this->sut->handleInitialized();
  EXPECT_EQ(this->log.calls(),
            (Calls{"resetCpuQueueCounters copp-arp", "resetCpuQueueCounters copp-zz",
                   "resetCpuQueueCounters copp-lldp", "resetCpuQueueCounters copp-zz"}));
}

TYPED_TEST(CoppSm, ItsFlagIsSetBeforeTheClassesAreReset) {
  this->addClasses();
  std::vector<bool> flags;
  this->helper->duringReset = [&] { flags.push_back(this->sut->initialized()); };
  this->sut->initializedIs(true);
  this->sut->initializedIs(false);
  EXPECT_EQ(flags, (std::vector<bool>{true, true, true, false, false, false}));
}

TYPED_TEST(CoppSm, AHelperThatDropsThePolicyMapEndsTheWalk) {
  this->addClasses();
  this->helper->duringReset = [&] { this->sut->pmapDel(); };
  this->sut->handleInitialized();
  EXPECT_EQ(this->log.calls(), Calls{"resetCpuQueueCounters copp-arp"});
}

TYPED_TEST(CoppSm, AHelperThatReplacesThePolicyMapHasTheNewOneWalkedAlone) {
  this->addClasses();
  auto const other = Kel::make<Qos::PolicyMapHwStatus>();
  other->cmapIs("copp-bgp", {});
  other->cmapIs("copp-ssh", {});
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  this->helper->duringReset = [&] {
    this->helper->duringReset = nullptr;
    this->sut->pmapIs(other);
  };
  this->sut->handleInitialized();
  EXPECT_EQ(this->log.calls(),
            (Calls{"resetCpuQueueCounters copp-arp", "resetCpuQueueCounters copp-bgp",
                   "resetCpuQueueCounters copp-ssh"}));
  EXPECT_EQ(trace.lines().size(), 4u);  // no class of the old one but the first
}

TYPED_TEST(CoppSm, AHelperThatMarksItForDeletionEndsTheWalk) {
  this->addClasses();
  this->helper->duringReset = [&] { this->sut->kelDoZombieReactors(true); };
  this->sut->handleInitialized();
  EXPECT_EQ(this->log.calls(), Calls{"resetCpuQueueCounters copp-arp"});
}

TYPED_TEST(CoppSm, APolicyMapWithClassesAttachedWithNotificationsOffIsResetAllTheSame) {
  this->addClasses();
  this->sut = this->make(nullptr);
  this->sut->hasNotificationActiveIs(false);
  this->sut->pmapIs(this->pmap);
  EXPECT_EQ(this->log.calls(), this->resetOfEach);
  this->log.clear();
  this->pmap->cmapIs("copp-new", {});
  EXPECT_EQ(this->log.calls(), Calls{});
}

TYPED_TEST(CoppSm, WithoutAPolicyMapItHasNoTypeAndHearsNothing) {
  this->sut = this->make(nullptr);
  EXPECT_EQ(this->sut->pmap(), nullptr);
  EXPECT_EQ(this->sut->type(), Qos::MapType{});
  this->pmap->cmapIs("copp-bgp", {});
  EXPECT_EQ(this->log.calls(), Calls{});
}

TYPED_TEST(CoppSm, APolicyMapThatIsSetLaterIsWatchedInItsState) {
  auto const other = Kel::make<Qos::PolicyMapHwStatus>(Qos::MapType::pbr);
  this->sut = this->make(nullptr);
  this->sut->hasNotificationActiveIs(false);
  this->sut->pmapIs(other);
  EXPECT_EQ(this->sut->type(), Qos::MapType::pbr);
  other->cmapIs("copp-bgp", {});
  EXPECT_EQ(this->log.calls(), Calls{});
  this->sut->hasNotificationActiveIs(true);
  other->cmapIs("copp-arp", {});
  EXPECT_EQ(this->log.calls(), Calls{"resetCpuQueueCounters copp-arp"});
}

TYPED_TEST(CoppSm, AnotherPolicyMapIsResetAsAWhole) {
  this->addClasses();
  auto const other = Kel::make<Qos::PolicyMapHwStatus>();
  other->cmapIs("copp-ssh", {});
  this->sut->pmapIs(other);
  EXPECT_EQ(this->log.calls(), Calls{"resetCpuQueueCounters copp-ssh"});
  this->sut->pmapIs(other);            // the same one
  this->pmap->cmapIs("copp-new", {});  // watched no more
  EXPECT_EQ(this->log.calls(), Calls{"resetCpuQueueCounters copp-ssh"});
  EXPECT_EQ(this->sut->pmapDel(), other);
  EXPECT_EQ(this->sut->pmapDel(), nullptr);
}

TYPED_TEST(CoppSm, ClassesThatGoAllAtOnceChangeNothing) {
  this->addClasses();
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  this->pmap->cmapDelAll();
  EXPECT_EQ(this->log.calls(), Calls{});
  EXPECT_EQ(trace.lines(), Calls{});
  this->pmap->cmapIs("copp-bgp", {});  // it goes on listening
  EXPECT_EQ(this->log.calls(), Calls{"resetCpuQueueCounters copp-bgp"});
}

TYPED_TEST(CoppSm, AChangeOfAllClassesResetsEach) {
  this->addClasses();
  this->pmap->tellOfAllClasses();
  EXPECT_EQ(this->log.calls(), this->resetOfEach);
}

TYPED_TEST(CoppSm, OtherNewsOfThePolicyMapChangesNothing) {
  this->addClasses();
  this->pmap->versionIs(3);
  this->pmap->prgmStatusIs(Qos::PrgmStatus::failed);
  this->pmap->prgmStatusErrMessageIs("no room");
  EXPECT_EQ(this->log.calls(), Calls{});
}

TYPED_TEST(CoppSm, HearsNothingOnceItIsGone) {
  this->sut = nullptr;
  this->addClasses();
  this->pmap->cmapIs("copp-bgp", {.version = 9});
  EXPECT_EQ(this->log.calls(), Calls{});
}

TYPED_TEST(CoppSm, DeclaresItsAttributes) {
  Calls names;
  for (auto const& a : TypeParam::_kelType.attributes()) names.emplace_back(a.name);
  EXPECT_EQ(names, (Calls{"name", "pmap", "platformHelper", "type", "initialized", "handleClass",
                          "handleInitialized"}));
  this->addClasses();
  Kel::invoke(*this->sut, "handleClass", {"copp-bgp"});
  EXPECT_EQ(this->log.calls(), Calls{"resetCpuQueueCounters copp-bgp"});
}

TYPED_TEST(CoppSm, ByNameNothingIsHandledWithoutAPolicyMap) {
  this->sut->pmapDel();
  EXPECT_THROW(Kel::invoke(*this->sut, "handleClass", {"copp-bgp"}), Kel::RangeException);
  EXPECT_THROW(Kel::invoke(*this->sut, "handleInitialized"), Kel::RangeException);
}

TYPED_TEST(CoppSm, ByNameItsFlagIsNotChangedWithoutAPolicyMap) {
  this->sut->pmapDel();
  try {
    Kel::set(*this->sut, "initialized", "true");
    ADD_FAILURE() << "it was changed";
  } catch (Kel::RangeException const& refusal) {
    EXPECT_STREQ(refusal.what(), "no policy map is watched");
  }
  EXPECT_FALSE(this->sut->initialized());
  EXPECT_NO_THROW(Kel::set(*this->sut, "initialized", "false"));  // no change
  this->sut->pmapIs(this->pmap);
  Kel::set(*this->sut, "initialized", "true");
  EXPECT_TRUE(this->sut->initialized());
}

TYPED_TEST(CoppSmDeathTest, HandlingWithoutAPolicyMapEndsTheProcess) {
  this->sut->pmapDel();
  EXPECT_DEATH(this->sut->handleClass("copp-bgp"),
               "OruCountersSm:[0-9]+: .*Assertion `pmap\\(\\)'");
  EXPECT_DEATH(this->sut->handleInitialized(), "OruCountersSm:[0-9]+: .*Assertion `pmap\\(\\)'");
}

}  // namespace
