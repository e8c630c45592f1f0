#include "reader/reset_command.h"

#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "tests/reader/asked_agent.h"

namespace Show {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class ResetCommand : public AskedAgent {
 protected:
  ResetCommand() {
    ::setenv("TZ", "UTC", 1);
    for (char const* const name : {"copp-arp", "copp-bgp", "copp-ospf"}) {
      Qos::CoppClassCounter row;
      row.className = name;
      row.policyMap = std::string_view("copp-system-policy");
      row.lastReset = 1000.0;
      row.lastUpdate = 1500.0;
      snapshot.classes.push_back(row);
    }
    snapshot.tables[Table::coppCounters].answer = Glim::Answer::ok;
  }
  ExitCode reset(std::vector<std::string> names) {
    done.clear();
    return runOn(Command::clearCopp, std::move(names));
  }
  std::string answer(std::string const& line) override {
    auto const question = nlohmann::json::parse(line);
    std::string const path = question["path"];
    if (question["op"] == "ls") {
      std::string const at = path + "/" + question["attribute"].get<std::string>();
      return nlohmann::json{{"ok", true}, {"names", keys[at]}}.dump();
    }
    if (!refusal.empty()) return refusal;
    if (question["operation"] == "updateCounters") {
      EXPECT_EQ(question["arguments"], (nlohmann::json{"2", "Cpu"}));
      for (auto& row : snapshot.classes)
        if (!gone.contains(std::string(row.className.view())) && chipReads) row.lastUpdate += 1.0;
      return R"({"ok":true})";
    }
    EXPECT_EQ(question["operation"], "handleClass");
    std::string const name = question["arguments"].at(0);
    if (name == goesFirst) gone.insert(name);
    if (gone.contains(name)) return R"({"ok":true})";
    if (name == failsAt) return R"({"ok":false,"error":{"code":"failed","text":"oh"}})";
    done.push_back(path + " " + name);
    for (auto& row : snapshot.classes)
      if (row.className == Qos::CoppClassName(name) && chipResets) row.lastReset = 2000.0;
    return R"({"ok":true})";
  }
  std::map<std::string, std::vector<std::string>> keys{
      {"countersSm/coppTypeSm", {"0"}},
      {"countersSm/coppTypeSm/0/coppSm", {"copp-system-policy"}},
      {"countersSm/cpuPortCountersSm", {"Cpu"}},
      {"countersSm/coppDynamicTypeSm", {}}};
  std::string refusal;
  bool chipResets = true, chipReads = true;
  std::set<std::string> gone;      // rows that are kept, and that nobody counts
  std::string goesFirst, failsAt;  // the class that goes before its reset, or cannot be reset
  std::vector<std::string> done;
};

TEST_F(ResetCommand, ResetsClassesThroughTheirPolicyMap) {
  EXPECT_EQ(reset({"copp-[ab]*"}), ExitCode::ok);
  EXPECT_EQ(err.str(), "");
  EXPECT_EQ(out.str(),
            "reset copp-arp at 1970-01-01 00:33:20\n"
            "reset copp-bgp at 1970-01-01 00:33:20\n");
  EXPECT_THAT(done, ElementsAre("countersSm/coppTypeSm/0/coppSm/copp-system-policy copp-arp",
                                "countersSm/coppTypeSm/0/coppSm/copp-system-policy copp-bgp"));
}

TEST_F(ResetCommand, AllIsEveryClass) {
  EXPECT_EQ(reset({"all"}), ExitCode::ok);
  EXPECT_EQ(done.size(), 3u);
}

TEST_F(ResetCommand, FindsTheClassesOfADynamicPolicyMap) {
  keys["countersSm/coppDynamicTypeSm"] = {"0"};
  keys["countersSm/coppDynamicTypeSm/0/coppSm"] = {"dynamic"};
  snapshot.classes[0].policyMap = std::string_view("dynamic");
  EXPECT_EQ(reset({"copp-arp"}), ExitCode::ok);
  EXPECT_THAT(done, ElementsAre("countersSm/coppDynamicTypeSm/0/coppSm/dynamic copp-arp"));
}

TEST_F(ResetCommand, AnUnknownClassIsToldAndNothingIsReset) {
  EXPECT_EQ(reset({"copp-arp", "nope"}), ExitCode::unknownName);
  EXPECT_EQ(err.str(), "oru-counters: there is no class nope, and nothing was reset\n");
  EXPECT_THAT(done, IsEmpty());
}

TEST_F(ResetCommand, APolicyMapThatIsNotWatchedIsToldAndNothingIsReset) {
  snapshot.classes[2].policyMap = std::string_view("other");
  EXPECT_EQ(reset({"all"}), ExitCode::refused);
  EXPECT_EQ(err.str(),
            "oru-counters: policy map other of class copp-ospf is not watched, and nothing was "
            "reset\n");
  keys["countersSm/coppTypeSm"].clear();
  EXPECT_EQ(reset({"copp-arp"}), ExitCode::refused);
  EXPECT_THAT(done, IsEmpty());
}

TEST_F(ResetCommand, AClassThatWasNotResetIsNotSaidToBe) {
  chipResets = false;
  EXPECT_EQ(reset({"copp-arp"}), ExitCode::agentFailed);
  EXPECT_THAT(err.str(), StartsWith("oru-counters: class copp-arp was not reset: "));
  EXPECT_EQ(out.str(), "");
}

TEST_F(ResetCommand, WhatTheAgentRefusesHasItsExitCode) {
  refusal = R"({"ok":false,"error":{"code":"noPermission","text":"not you"}})";
  EXPECT_EQ(reset({"all"}), ExitCode::noPermission);
  EXPECT_EQ(err.str(), "oru-counters: not you\n");
}

TEST_F(ResetCommand, WithoutTheTableNothingIsAsked) {
  snapshot.tables[Table::coppCounters].answer = Glim::Answer::unreadable;
  snapshot.classes.clear();
  EXPECT_EQ(reset({"all"}), ExitCode::unreadable);
  EXPECT_THAT(err.str(), HasSubstr("coppCounters.glim"));
  EXPECT_THAT(asked, IsEmpty());
}

TEST_F(ResetCommand, AsJsonItIsOneAnswer) {
  options.json = true;
  EXPECT_EQ(reset({"copp-bgp"}), ExitCode::ok);
  EXPECT_EQ(out.str(), R"({"ok":true,"reset":[{"name":"copp-bgp","time":2000.0}],"gone":[]})"
                       "\n");
}

TEST_F(ResetCommand, AllPassesOverWhatIsGoneAndTellsIt) {
  gone = {"copp-arp", "copp-ospf"};
  EXPECT_EQ(reset({"all"}), ExitCode::ok);
  EXPECT_EQ(out.str(),
            "reset copp-bgp at 1970-01-01 00:33:20\n"
            "not there any more: copp-arp, copp-ospf\n");
  EXPECT_EQ(err.str(), "");
  options.json = true;
  EXPECT_EQ(reset({"copp-*"}), ExitCode::agentFailed);  // it was reset at that time already
  snapshot.classes[1].lastReset = 1000.0;
  EXPECT_EQ(reset({"copp-*"}), ExitCode::ok);
  EXPECT_EQ(out.str(), R"({"ok":true,"reset":[{"name":"copp-bgp","time":2000.0}],)"
                       R"("gone":["copp-arp","copp-ospf"]})"
                       "\n");
}

TEST_F(ResetCommand, ANamedClassThatIsGoneIsToldAndNothingIsReset) {
  gone = {"copp-bgp"};
  for (auto const& names : {std::vector<std::string>{"copp-arp", "copp-bgp"}, {"copp-b*"}}) {
    EXPECT_EQ(reset(names), ExitCode::unknownName);
    EXPECT_EQ(err.str(), "oru-counters: not there any more: copp-bgp, and nothing was reset\n");
    EXPECT_THAT(done, IsEmpty());
  }
}

TEST_F(ResetCommand, AClassThatGoesMeanwhileIsPassedOverToo) {
  goesFirst = "copp-bgp";
  EXPECT_EQ(reset({"all"}), ExitCode::ok);
  EXPECT_EQ(done.size(), 2u);
  EXPECT_THAT(out.str(), HasSubstr("\nnot there any more: copp-bgp\n"));
  gone.clear();
  EXPECT_EQ(reset({"copp-bgp"}), ExitCode::agentFailed);
  EXPECT_THAT(err.str(), HasSubstr("class copp-bgp was not reset: it is not there any more"));
}

TEST_F(ResetCommand, WhatWasResetBeforeAFailureIsTold) {
  failsAt = "copp-bgp";
  EXPECT_EQ(reset({"all"}), ExitCode::agentFailed);
  EXPECT_EQ(out.str(), "reset copp-arp at 1970-01-01 00:33:20\n");
  snapshot.classes[0].lastReset = 1000.0;
  options.json = true;
  EXPECT_EQ(reset({"all"}), ExitCode::agentFailed);
  EXPECT_EQ(out.str(), R"({"ok":false,"error":{"code":"failed","text":"oh"},)"
                       R"("reset":[{"name":"copp-arp","time":2000.0}],"gone":[]})"
                       "\n");
}

TEST_F(ResetCommand, AChipThatCannotBeReadIsNoClassThatIsGone) {
  chipReads = false;
  EXPECT_EQ(reset({"all"}), ExitCode::agentFailed);
  EXPECT_THAT(err.str(), HasSubstr("no class could be read"));
  EXPECT_THAT(done, IsEmpty());
}

TEST_F(ResetCommand, AllOfNoneSaysSoToThoseWhoMayReset) {
  snapshot.classes.clear();
  EXPECT_EQ(reset({"all"}), ExitCode::ok);
  EXPECT_EQ(out.str(), "No classes.\n");
  keys["countersSm/cpuPortCountersSm"].clear();
  refusal = R"({"ok":false,"error":{"code":"noPermission","text":"not you"}})";
  EXPECT_EQ(reset({"all"}), ExitCode::noPermission);
}

}  // namespace
}  // namespace Show
