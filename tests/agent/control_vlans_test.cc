// VLAN counters, asked for by name and cleared over the control socket's requests.
#include <nlohmann/json.hpp>
#include <optional>

#include "agent/control_dispatcher.h"
#include "tests/agent/control_box.h"
#include "tests/agent/counted_vlans.h"

namespace Agent {
namespace {

using Json = nlohmann::json;
using testing::Contains;
using testing::HasSubstr;

class ControlOfVlans : public CountedVlans {
 protected:
  ControlOfVlans() {
    ObjectTree tree;
    tree.rootIs("vlanCountersSm", counters);
    sut.emplace(tree,
                Clearing(Kel::instance<Box>(Kel::Name("none")), Kel::make<Oru::HwCliConfig>(),
                         tables, [] { return kNow; }),
                VlanClearing(counters, requests, couldRead()));
  }
  Json ask(Json const& request, bool mayWrite = true) {
    return Json::parse(sut->answer(request.dump(), mayWrite));
  }
  Json asked(char const* op, char const* attribute, Json more = Json::object()) {
    Json request{{"op", op}, {"path", "vlanCountersSm"}};
    request[op == std::string("invoke") ? "operation" : "attribute"] = attribute;
    request.update(more);
    return ask(request);
  }
  std::string codeOf(Json const& answer) { return answer.at("error").at("code"); }

  Json const done{{"ok", true}};
  Support::TemporaryTables ofIntfs;
  Tables tables{ofIntfs.directory().string(), {.maxRows = 16}};
  std::optional<ControlDispatcher> sut;
};

TEST_F(ControlOfVlans, TheStateMachineIsARoot) {
  EXPECT_EQ(ask({{"op", "ls"}})["names"], Json({"vlanCountersSm"}));
  Json const answer = ask({{"op", "ls"}, {"path", "vlanCountersSm"}});
  EXPECT_EQ(answer["type"], "Oru::Counters::VlanCountersSm");
  EXPECT_THAT(
      answer["attributes"],
      Contains(Json{{"name", "pollInterval"}, {"kind", "value"}, {"access", {"get", "set"}}}));
  EXPECT_THAT(answer["attributes"], Contains(Json{{"name", "doTakeSnapshot"},
                                                  {"kind", "operation"},
                                                  {"access", {"invoke"}},
                                                  {"arguments", 1}}));
}

TEST_F(ControlOfVlans, ItsPeriodIsReadAndSetAndKeptAsAPeriod) {
  EXPECT_EQ(asked("get", "pollInterval")["value"], "2");
  EXPECT_EQ(asked("set", "pollInterval", {{"value", "5.5"}}), done);
  EXPECT_EQ(counters->pollInterval(), 5.5);
  EXPECT_EQ(codeOf(asked("set", "pollInterval", {{"value", "-1"}})), "wrongArguments");
  EXPECT_EQ(counters->pollInterval(), 5.5);
}

TEST_F(ControlOfVlans, APollAndASnapshotAreTakenByName) {
  EXPECT_EQ(asked("invoke", "handleTime"), done);
  EXPECT_EQ(octets(v10), 7u);
  EXPECT_EQ(asked("invoke", "doTakeSnapshot", {{"arguments", {"10"}}}), done);
  EXPECT_EQ(cleared(v10).counts.inOctets, 7u);
  EXPECT_EQ(codeOf(asked("invoke", "doTakeSnapshot", {{"arguments", {"4095"}}})), "wrongArguments");
}

TEST_F(ControlOfVlans, VlansAreClearedByTheirIds) {
  Json const answer = ask({{"op", "clear"}, {"vlans", {"20", "10"}}});
  EXPECT_EQ(answer["ok"], true) << answer;
  EXPECT_EQ(answer["cleared"], 2);
  EXPECT_EQ(answer["vlans"], Json({"20", "10"}));
  EXPECT_TRUE(answer["time"].is_number());
  EXPECT_FALSE(answer.contains("names"));
  EXPECT_EQ(cleared(v20).counts.inOctets, 7u);
}

TEST_F(ControlOfVlans, AllVlansAreClearedAtOnce) {
  Json const answer = ask({{"op", "clear"}, {"allVlans", true}});
  EXPECT_EQ(answer["cleared"], 2) << answer;
  EXPECT_FALSE(answer.contains("vlans"));
  EXPECT_EQ(cleared(v10).counts.inOctets, 7u);
}

TEST_F(ControlOfVlans, ClearingIntfsLeavesVlansAlone) {
  EXPECT_EQ(ask({{"op", "clear"}, {"all", true}})["cleared"], 0);
  EXPECT_EQ(codeOf(ask({{"op", "clear"}, {"names", {"10"}}})), "unknownInterface");
  EXPECT_EQ(cleared(v10).lastUpdate, 0.0);
}

TEST_F(ControlOfVlans, AnUnknownVlanHasACodeOfItsOwn) {
  Json const answer = ask({{"op", "clear"}, {"vlans", {"30"}}});
  EXPECT_EQ(answer["error"], (Json{{"code", "unknownVlan"},
                                   {"text", "there is no VLAN 30, and nothing was cleared"}}));
}

TEST_F(ControlOfVlans, WhoMayOnlyReadClearsNone) {
  for (Json const& request :
       {Json{{"op", "clear"}, {"vlans", {"10"}}}, Json{{"op", "clear"}, {"allVlans", true}}})
    EXPECT_EQ(codeOf(ask(request, false)), "noPermission");
  EXPECT_EQ(cleared(v10).lastUpdate, 0.0);
}

}  // namespace
}  // namespace Agent
