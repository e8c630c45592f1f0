#include "counters/copp/copp_type_sm.h"

#include <gtest/gtest.h>

#include "counters/pollers/unit.h"
#include "tests/counters/counters_fixture.h"
#include "tests/support/trace_capture.h"

namespace {

using Qos::Direction;
using Support::Calls;

// A type whose policy maps can be told of as a whole while there are any.
class BulkPolicyMapType : public Qos::PolicyMapTypeHwStatus {
 public:
  using PolicyMapTypeHwStatus::PolicyMapTypeHwStatus;
  void tellOfAllPolicyMaps() { notify(&NotifieeConst::onPmapkelImmediate); }
};

// Both flavours: they differ in their names alone.
template <class Sm>
class CoppTypeSm : public Support::CountersFixture {
 public:
  CoppTypeSm() { sut = make(); }

  Kel::Ptr<Sm> make() {
    return Kel::instance<Sm>(Kel::Ptr<Qos::PolicyMapTypeHwStatus const>(pmapType), helper);
  }
  static std::string traced(std::string const& text) {
    return "7 void " + std::string(Sm::kTypeName) + "::" + text;
  }
  static std::string tracedKey(std::string const& key) {
    return traced("handlePolicyMap(const Qos::PolicyMapHwStatusKey&)" + key);
  }
  void addMember(char const* name) { sut->coppSmIs(name, pmap, helper); }

  Kel::Ptr<BulkPolicyMapType> pmapType = Kel::make<BulkPolicyMapType>(Qos::MapType::pbr);
  Kel::Ptr<Qos::PolicyMapHwStatus> pmap = Kel::make<Qos::PolicyMapHwStatus>();
  Kel::Ptr<Sm> sut;
};
using Flavours =
    testing::Types<Oru::Counters::CountersCoppTypeSm, Oru::Counters::CountersDynamicCoppTypeSm>;
// Names the suites in the output of the tests.
class FlavourNames {
 public:
  template <class Sm>
  static std::string GetName(int) {
    return std::is_same_v<Sm, Oru::Counters::CountersCoppTypeSm> ? "Static" : "Dynamic";
  }
};
TYPED_TEST_SUITE(CoppTypeSm, Flavours, FlavourNames);
template <class Sm>
using CoppTypeSmDeathTest = CoppTypeSm<Sm>;
TYPED_TEST_SUITE(CoppTypeSmDeathTest, Flavours, FlavourNames);

TYPED_TEST(CoppTypeSm, WalksThePolicyMapsInItsConstructionInTheirOrder) {
  this->pmapType->pmapIs({"qos-b", Direction::input}, this->pmap);
  this->pmapType->pmapIs({"qos-a", Direction::output}, this->pmap);
  this->pmapType->pmapIs({"qos-a", Direction::input}, this->pmap);
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  this->sut = this->make();
  EXPECT_EQ(trace.lines(),
            (Calls{this->traced("handleInitialized()"), this->tracedKey("qos-a input"),
                   this->tracedKey("qos-a output"), this->tracedKey("qos-b input")}));
  EXPECT_EQ(this->sut->coppSm().size(), 0u);
  EXPECT_EQ(this->log.calls(), Calls{});
}

TYPED_TEST(CoppTypeSm, IsMadeOfItsInputs) {
  EXPECT_EQ(this->sut->pmapType(), this->pmapType);
  EXPECT_EQ(this->sut->platformHelper(), this->helper);
  EXPECT_EQ(this->sut->fwkKey(), Qos::MapType::pbr);
  EXPECT_EQ(this->sut->coppPMapName(), "copp-system-policy");
  EXPECT_FALSE(this->sut->initialized());
  EXPECT_TRUE(this->sut->hasNotificationActive());
}

TYPED_TEST(CoppTypeSm, TheNameOfTheSystemsPolicyMapIsOnlyStored) {
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  this->sut->coppPMapNameIs("other");
  EXPECT_EQ(this->sut->coppPMapName(), "other");
  EXPECT_EQ(trace.lines(), Calls{});
}

TYPED_TEST(CoppTypeSm, ItsFlagIsOnlyStored) {
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  this->sut->initializedIs(true);
  EXPECT_TRUE(this->sut->initialized());
  EXPECT_EQ(trace.lines(), Calls{});
}

TYPED_TEST(CoppTypeSm, EachChangeOfAPolicyMapIsTracedAndChangesNothingElse) {
  Support::TraceCapture trace(Oru::Counters::_defaultTraceHandle());
  this->pmapType->pmapIs({"qos-a", Direction::input}, this->pmap);
  this->pmapType->pmapIs({"qos-a", Direction::input}, Kel::make<Qos::PolicyMapHwStatus>());
  this->pmapType->pmapDel({"qos-a", Direction::input});
  EXPECT_EQ(trace.lines(), (Calls{this->tracedKey("qos-a input"), this->tracedKey("qos-a input"),
                                  this->tracedKey("qos-a input")}));
  EXPECT_EQ(this->sut->coppSm().size(), 0u);
  EXPECT_EQ(this->log.calls(), Calls{});
}

TYPED_TEST(CoppTypeSm, AMemberIsMadeOnceAndRefusedByNameWithOtherParameters) {
  auto const member = this->sut->coppSmIs("a", this->pmap, this->helper);
  EXPECT_EQ(this->sut->coppSmIs("a", this->pmap, this->helper), member);
  EXPECT_TRUE(member->hasNotificationActive());
  EXPECT_EQ(member->name(), Kel::Name("a"));
  auto const refusal = [&](auto const& map, auto const& chip) {
    try {
      this->sut->coppSmIs("a", map, chip);
      return std::string("made");
    } catch (Kel::NameInUseException const& e) {
      return std::string(e.what());
    }
  };
  std::string const text =
      "Reinstantiating the pointer interface where constructor parameter attribute ";
  EXPECT_TRUE(refusal(Kel::make<Qos::PolicyMapHwStatus>(), this->helper)
                  .starts_with(text + "_pmap has a different value of "));
  EXPECT_TRUE(refusal(this->pmap, Kel::make<Support::RecordingHelper>(this->log))
                  .starts_with(text + "_platformHelper has a different value of "));
  EXPECT_EQ(this->sut->coppSm("a"), member);
  EXPECT_EQ(member->pmap(), this->pmap);
}

TYPED_TEST(CoppTypeSm, AMemberThatIsDeletedHearsNothingMore) {
  this->addMember("a");
  this->sut->coppSmDel("a");
  this->sut->coppSmDel("a");
  EXPECT_EQ(this->sut->coppSm().size(), 0u);
  this->pmap->cmapIs("copp-bgp", {});
  EXPECT_EQ(this->log.calls(), Calls{});
}

TYPED_TEST(CoppTypeSm, PreparingToDieEmptiesItWithoutTheHelper) {
  for (auto const* name : {"a", "b", "c"}) this->addMember(name);
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  this->sut->doPrepareToDie();
  EXPECT_EQ(this->sut->coppSm().size(), 0u);
  EXPECT_EQ(this->log.calls(), Calls{});
  EXPECT_EQ(trace.lines(), Calls{this->traced("doPrepareToDie()")});
}

TYPED_TEST(CoppTypeSm, NotificationsOffReachItsReactorAndItsMembers) {
  this->addMember("a");
  this->sut->hasNotificationActiveIs(false);
  EXPECT_FALSE(this->sut->coppSm("a")->hasNotificationActive());
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  this->pmapType->pmapIs({"qos-a", Direction::input}, this->pmap);
  this->pmap->cmapIs("copp-bgp", {});
  EXPECT_EQ(trace.lines(), Calls{});
}

TYPED_TEST(CoppTypeSm, AnotherTypeIsWatchedFromThenOn) {
  auto const other = Kel::make<Qos::PolicyMapTypeHwStatus>(Qos::MapType::qos);
  other->pmapIs({"qos-a", Direction::input}, this->pmap);
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  this->sut->pmapTypeIs(other);
  EXPECT_EQ(trace.lines(), Calls{this->tracedKey("qos-a input")});
  EXPECT_EQ(this->sut->fwkKey(), Qos::MapType::qos);
  other->pmapIs({"qos-b", Direction::input}, this->pmap);
  this->pmapType->pmapIs({"qos-old", Direction::input}, this->pmap);
  EXPECT_EQ(trace.lines(), (Calls{this->tracedKey("qos-a input"), this->tracedKey("qos-b input")}));
  EXPECT_EQ(this->sut->pmapTypeDel(), other);
  EXPECT_EQ(this->sut->fwkKey(), Qos::MapType{});
  other->pmapDel({"qos-b", Direction::input});
  EXPECT_EQ(trace.lines().size(), 2u);
}

TYPED_TEST(CoppTypeSm, AChangeOfAllPolicyMapsTracesEach) {
  this->pmapType->pmapIs({"qos-a", Direction::input}, this->pmap);
  this->pmapType->pmapIs({"qos-b", Direction::output}, this->pmap);
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  this->pmapType->tellOfAllPolicyMaps();
  EXPECT_EQ(trace.lines(),
            (Calls{this->tracedKey("qos-a input"), this->tracedKey("qos-b output")}));
}

TYPED_TEST(CoppTypeSm, ItsEndDeletesItsMembers) {
  this->addMember("a");
  this->sut = nullptr;
  EXPECT_EQ(Kel::AllocTrackTypeInfo::live(TypeParam::_kelType).objects, 0u);
  EXPECT_EQ(Kel::AllocTrackTypeInfo::live(Oru::Counters::CountersCoppSm::_kelType).objects, 0u);
  EXPECT_EQ(Kel::AllocTrackTypeInfo::live(Oru::Counters::CountersDynamicCoppSm::_kelType).objects,
            0u);
}

TYPED_TEST(CoppTypeSm, DeclaresItsAttributes) {
  Calls names;
  for (auto const& a : TypeParam::_kelType.attributes()) names.emplace_back(a.name);
  EXPECT_EQ(names, (Calls{"pmapType", "platformHelper", "coppSm", "coppPMapName", "initialized",
                          "handlePolicyMap", "doPrepareToDie", "handleInitialized", "coppSmIs",
                          "coppSmIs", "coppSmDel", "coppSmDelAll"}));
  Support::TraceCapture const trace(Oru::Counters::_defaultTraceHandle());
  Kel::invoke(*this->sut, "handlePolicyMap", {"copp-system-policy output"});
  EXPECT_EQ(trace.lines(), Calls{this->tracedKey("copp-system-policy output")});
  EXPECT_THROW(Kel::invoke(*this->sut, "handlePolicyMap", {"copp-system-policy"}),
               Kel::RangeException);
}

TYPED_TEST(CoppTypeSm, ByNameNothingIsWalkedWithoutAType) {
  this->sut->pmapTypeDel();
  EXPECT_THROW(Kel::invoke(*this->sut, "handleInitialized"), Kel::RangeException);
}

// --- members by name: tools cannot hand a policy map over ---

TYPED_TEST(CoppTypeSm, ByNameAMemberIsMadeOfTheWatchedPolicyMapForInput) {
  auto const other = Kel::make<Qos::PolicyMapHwStatus>();
  this->pmapType->pmapIs({"qos-a", Direction::output}, other);
  this->pmapType->pmapIs({"qos-a", Direction::input}, this->pmap);
  Kel::invoke(*this->sut, "coppSmIs", {"qos-a"});
  auto const member = this->sut->coppSm("qos-a");
  ASSERT_TRUE(member);
  EXPECT_EQ(member->pmap(), this->pmap);
  EXPECT_EQ(member->platformHelper(), this->helper);
  EXPECT_EQ(Kel::iterKey(*this->sut, "coppSm"), Calls{"qos-a"});
  this->pmap->cmapIs("copp-bgp", {});
  EXPECT_EQ(this->log.calls(), Calls{"resetCpuQueueCounters copp-bgp"});
}

TYPED_TEST(CoppTypeSm, ByNameADirectionPicksThePolicyMap) {
  this->pmapType->pmapIs({"qos-a", Direction::input}, Kel::make<Qos::PolicyMapHwStatus>());
  this->pmapType->pmapIs({"qos-a", Direction::output}, this->pmap);
  Kel::invoke(*this->sut, "coppSmIs", {"qos-a", "output"});
  ASSERT_TRUE(this->sut->coppSm("qos-a"));
  EXPECT_EQ(this->sut->coppSm("qos-a")->pmap(), this->pmap);
}

TYPED_TEST(CoppTypeSm, ByNameAPolicyMapThatThereIsNotIsRefusedWithThoseThatThereAre) {
  auto const refusal = [&](std::vector<std::string> const& arguments) {
    try {
      Kel::invoke(*this->sut, "coppSmIs", arguments);
      return std::string("made");
    } catch (Kel::RangeException const& e) {
      return std::string(e.what());
    }
  };
  EXPECT_EQ(refusal({"qos-a"}), "there is no policy map qos-a input; there are: none");
  this->pmapType->pmapIs({"qos-a", Direction::output}, this->pmap);
  this->pmapType->pmapIs({"qos-b", Direction::input}, this->pmap);
  EXPECT_EQ(refusal({"qos-a"}),
            "there is no policy map qos-a input; there are: qos-a output, qos-b input");
  EXPECT_EQ(refusal({"qos-a", "inward"}), "'inward' is neither input nor output");
  EXPECT_EQ(refusal({}), "coppSmIs takes 1 or 2 arguments, not 0");
  this->sut->pmapTypeDel();
  EXPECT_EQ(refusal({"qos-b"}), "no type of policy maps is watched");
  EXPECT_EQ(this->sut->coppSm().size(), 0u);
}

TYPED_TEST(CoppTypeSm, ByNameAMemberIsMadeOnceAndRefusedOfAnotherPolicyMap) {
  this->pmapType->pmapIs({"qos-a", Direction::input}, this->pmap);
  Kel::invoke(*this->sut, "coppSmIs", {"qos-a"});
  auto const member = this->sut->coppSm("qos-a");
  EXPECT_NO_THROW(Kel::invoke(*this->sut, "coppSmIs", {"qos-a", "input"}));
  this->pmapType->pmapIs({"qos-a", Direction::output}, Kel::make<Qos::PolicyMapHwStatus>());
  EXPECT_THROW(Kel::invoke(*this->sut, "coppSmIs", {"qos-a", "output"}), Kel::NameInUseException);
  EXPECT_EQ(this->sut->coppSm("qos-a"), member);
  EXPECT_EQ(member->pmap(), this->pmap);
}

TYPED_TEST(CoppTypeSm, ByNameMembersAreDeletedOneByOneOrAll) {
  for (auto const* name : {"a", "b", "c"}) this->addMember(name);
  Kel::invoke(*this->sut, "coppSmDel", {"b"});
  Kel::invoke(*this->sut, "coppSmDel", {"nope"});
  EXPECT_EQ(this->sut->coppSm().size(), 2u);
  EXPECT_FALSE(this->sut->coppSm("b"));
  Kel::invoke(*this->sut, "coppSmDelAll");
  EXPECT_EQ(this->sut->coppSm().size(), 0u);
  this->addMember("a");
  Kel::invoke(*this->sut, "doPrepareToDie");
  EXPECT_EQ(this->sut->coppSm().size(), 0u);
  EXPECT_EQ(this->log.calls(), Calls{});
}

TYPED_TEST(CoppTypeSmDeathTest, AWalkWithoutATypeEndsTheProcess) {
  this->sut->pmapTypeDel();
  EXPECT_DEATH(this->sut->handleInitialized(),
               "OruCountersSm:[0-9]+: .*Assertion `pmapType\\(\\)'");
}

// --- where the traces stand ---

std::vector<std::string> positions;
void keepPosition(Kel::TraceLine const& line) {
  positions.push_back(std::to_string(line.position.line) + " " + line.position.function);
}

template <class Type>
Calls positionsOf(Support::CountersFixture& fixture) {
  auto const pmapType = Kel::make<Qos::PolicyMapTypeHwStatus>(Qos::MapType::controlPlane);
  auto const pmap = Kel::make<Qos::PolicyMapHwStatus>();
  pmapType->pmapIs({"a", Direction::input}, pmap);
  pmap->cmapIs("copp-bgp", {});
  Support::TraceCapture const levels(Oru::Counters::_defaultTraceHandle());
  positions.clear();
  Kel::traceSinkIs(&keepPosition);
  auto const type =
      Kel::instance<Type>(Kel::Ptr<Qos::PolicyMapTypeHwStatus const>(pmapType), fixture.helper);
  type->coppSmIs("a", pmap, fixture.helper)->handleInitialized();
  type->doPrepareToDie();
  return positions;
}

using CoppTraces = Support::CountersFixture;

TEST_F(CoppTraces, StandAtTheirFixedLines) {
  EXPECT_EQ(positionsOf<Oru::Counters::CountersCoppTypeSm>(*this),
            (Calls{"209 handleInitialized", "219 handlePolicyMap", "255 handleInitialized",
                   "262 handleClass", "224 doPrepareToDie"}));
  EXPECT_EQ(positionsOf<Oru::Counters::CountersDynamicCoppTypeSm>(*this),
            (Calls{"231 handleInitialized", "242 handlePolicyMap", "269 handleInitialized",
                   "276 handleClass", "247 doPrepareToDie"}));
}

}  // namespace
