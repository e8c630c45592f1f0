// The control plane's policy maps, asked for by name: both flavours, which differ in where they
// are.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "agent/control_dispatcher.h"
#include "counters/counters_sm.h"
#include "tests/support/temporary_tables.h"

namespace Agent {
namespace {

using Json = nlohmann::json;
using Qos::Direction;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class ResetHelper : public OruHelper::OruHelperCountersSm {
 public:
  ResetHelper() : OruHelperCountersSm("helper") {}
  void resetCpuQueueCounters(Kel::Name className) override { reset.emplace_back(className.view()); }
  std::vector<std::string> reset;
};

class ControlOfPolicyMaps : public testing::TestWithParam<char const*> {
 protected:
  ControlOfPolicyMaps() {
    auto const types = Kel::make<Qos::PolicyMapTypeHwStatus>(Qos::MapType::controlPlane);
    types->pmapIs({"copp-system-policy", Direction::input}, pmap);
    types->pmapIs({"copp-system-policy", Direction::output}, Kel::make<Qos::PolicyMapHwStatus>());
    for (char const* const name : {"copp-bgp", "copp-ospf"}) pmap->cmapIs(name, {});
    auto const slice = Kel::make<Qos::SliceHwStatus>("slice");
    auto const aclSlice = Kel::make<Qos::AclSliceHwStatus>("slice");
    counters = Oru::Counters::countersSmFactory(
        nullptr, nullptr, nullptr, nullptr, helper, nullptr, nullptr, slice, nullptr, aclSlice,
        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    slice->pmapTypeIs(types);
    aclSlice->pmapTypeIs(types);
    ObjectTree tree;
    tree.rootIs("countersSm", counters);
    sut.emplace(tree,
                Clearing(counters, Kel::make<Oru::HwCliConfig>(), tables, [] { return 0.0; }));
  }
  Json ask(Json const& request, bool mayWrite = true) {
    return Json::parse(sut->answer(request.dump(), mayWrite));
  }
  Json invoke(std::string const& path, char const* operation, std::vector<std::string> arguments,
              bool mayWrite = true) {
    return ask({{"op", "invoke"},
                {"path", path},
                {"operation", operation},
                {"arguments", std::move(arguments)}},
               mayWrite);
  }
  Json invoke(char const* operation, std::vector<std::string> arguments = {}) {
    return invoke(type, operation, std::move(arguments));
  }
  std::vector<std::string> members() {
    return ask({{"op", "ls"}, {"path", type}, {"attribute", "coppSm"}}, false)["names"];
  }
  static Json refused(char const* code, std::string const& text) {
    return {{"ok", false}, {"error", {{"code", code}, {"text", text}}}};
  }

  std::string const type = std::string("countersSm/") + GetParam() + "/0";
  Json const done{{"ok", true}};
  Support::TemporaryTables place;
  Tables tables{place.directory().string(), {.maxRows = 16}};
  Kel::Ptr<ResetHelper> helper = Kel::make<ResetHelper>();
  Kel::Ptr<Qos::PolicyMapHwStatus> pmap = Kel::make<Qos::PolicyMapHwStatus>();
  Kel::Ptr<Oru::Counters::CountersSm> counters;
  std::optional<ControlDispatcher> sut;
};
INSTANTIATE_TEST_SUITE_P(Flavours, ControlOfPolicyMaps,
                         testing::Values("coppTypeSm", "coppDynamicTypeSm"),
                         [](auto const& flavour) { return std::string(flavour.param); });

TEST_P(ControlOfPolicyMaps, TheTypeOfTheControlPlaneIsUnderItsNumber) {
  EXPECT_EQ(ask({{"op", "ls"}, {"path", "countersSm"}, {"attribute", GetParam()}})["names"],
            Json({"0"}));
}

TEST_P(ControlOfPolicyMaps, AMemberIsMadeByThePolicyMapsName) {
  EXPECT_THAT(members(), IsEmpty());
  EXPECT_EQ(invoke("coppSmIs", {"copp-system-policy"}), done);
  EXPECT_THAT(members(), ElementsAre("copp-system-policy"));
  std::string const member = type + "/coppSm/copp-system-policy";
  EXPECT_EQ(ask({{"op", "get"}, {"path", member}, {"attribute", "name"}})["value"],
            "copp-system-policy");
  EXPECT_THAT(helper->reset, IsEmpty());
  EXPECT_EQ(invoke(member, "handleClass", {"copp-ospf"}), done);
  EXPECT_THAT(helper->reset, ElementsAre("copp-ospf"));
}

TEST_P(ControlOfPolicyMaps, AMemberHearsOfClassesThatComeAndChange) {
  invoke("coppSmIs", {"copp-system-policy", "input"});
  pmap->cmapIs("copp-arp", {});
  EXPECT_THAT(helper->reset, ElementsAre("copp-arp"));
  EXPECT_EQ(invoke("coppSmDel", {"copp-system-policy"}), done);
  pmap->cmapIs("copp-dhcp", {});
  EXPECT_THAT(helper->reset, ElementsAre("copp-arp"));
}

TEST_P(ControlOfPolicyMaps, MembersGoByNameAllAtOnceAndBeforeTheEnd) {
  for (auto const& [operation, arguments] :
       std::vector<std::pair<char const*, std::vector<std::string>>>{
           {"coppSmDel", {"copp-system-policy"}}, {"coppSmDelAll", {}}, {"doPrepareToDie", {}}}) {
    invoke("coppSmIs", {"copp-system-policy"});
    EXPECT_EQ(members().size(), 1u);
    EXPECT_EQ(invoke(operation, arguments), done) << operation;
    EXPECT_THAT(members(), IsEmpty()) << operation;
  }
}

TEST_P(ControlOfPolicyMaps, ANameWithoutAPolicyMapIsRefusedWithThoseThatThereAre) {
  EXPECT_EQ(invoke("coppSmIs", {"copp"}),
            refused("wrongArguments",
                    "there is no policy map copp input; there are: copp-system-policy input, "
                    "copp-system-policy output"));
  EXPECT_EQ(invoke("coppSmIs", {"copp-system-policy", "both"}),
            refused("wrongArguments", "'both' is neither input nor output"));
  EXPECT_EQ(invoke("coppSmIs"),
            refused("wrongArguments", "coppSmIs takes 1 or 2 arguments, not 0"));
  EXPECT_THAT(members(), IsEmpty());
}

TEST_P(ControlOfPolicyMaps, AMemberOfAnotherPolicyMapOfThatNameFails) {
  invoke("coppSmIs", {"copp-system-policy"});
  EXPECT_EQ(invoke("coppSmIs", {"copp-system-policy", "input"}), done);
  Json const answer = invoke("coppSmIs", {"copp-system-policy", "output"});
  EXPECT_EQ(answer["error"]["code"], "failed") << answer;
  EXPECT_THAT(answer["error"]["text"].get<std::string>(),
              StartsWith("what there is was made from other values, and goes on as it is: "
                         "Reinstantiating the pointer interface where constructor parameter "
                         "attribute _pmap has a different value of "));
  EXPECT_THAT(members(), ElementsAre("copp-system-policy"));
}

TEST_P(ControlOfPolicyMaps, WhoMayOnlyReadMakesAndDeletesNone) {
  invoke("coppSmIs", {"copp-system-policy"});
  for (char const* const operation : {"coppSmIs", "coppSmDel"})
    EXPECT_EQ(invoke(type, operation, {"copp-system-policy"}, false)["error"]["code"],
              "noPermission");
  EXPECT_THAT(members(), ElementsAre("copp-system-policy"));
}

TEST_P(ControlOfPolicyMaps, TheNameOfTheSystemsPolicyMapIsReadAndSet) {
  Json const get{{"op", "get"}, {"path", type}, {"attribute", "coppPMapName"}};
  EXPECT_EQ(ask(get)["value"], "copp-system-policy");
  EXPECT_EQ(ask({{"op", "set"}, {"path", type}, {"attribute", "coppPMapName"}, {"value", "other"}}),
            done);
  EXPECT_EQ(ask(get)["value"], "other");
}

}  // namespace
}  // namespace Agent
