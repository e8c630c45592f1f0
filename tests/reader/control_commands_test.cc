#include "tests/reader/asked_agent.h"

namespace Show {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class ControlCommands : public AskedAgent {
 protected:
  ExitCode clear(std::vector<std::string> names) { return runOn(Command::clear, std::move(names)); }
  ExitCode clearVlans(std::vector<std::string> lists) {
    return runOn(Command::clearVlans, std::move(lists));
  }
  void addVlan(std::uint64_t id) {
    Vlan vlan;
    vlan.vlanId = Bridging::VlanId(id);
    vlan.counters.emplace(vlan.vlanId);
    snapshot.vlans.push_back(vlan);
    snapshot.tables[Table::vlanCounters].answer = Glim::Answer::ok;
  }
  ExitCode refusedWith(std::string const& code) {
    answers = {R"({"ok":false,"error":{"code":")" + code + R"(","text":"why"}})"};
    ExitCode const exit = run(Command::get, {"countersSm", "x"});
    EXPECT_EQ(err.str(), "oru-counters: why\n");
    EXPECT_EQ(out.str(), "");
    return exit;
  }
};

TEST_F(ControlCommands, GetPrintsTheBareValue) {
  answers = {R"({"ok":true,"value":"2.5"})"};
  EXPECT_EQ(run(Command::get, {"countersSm", "counterPollPeriod"}), ExitCode::ok);
  EXPECT_THAT(asked,
              ElementsAre(R"({"op":"get","path":"countersSm","attribute":"counterPollPeriod"})"));
  EXPECT_EQ(out.str(), "2.5\n");
  EXPECT_EQ(err.str(), "");
}

TEST_F(ControlCommands, WhatWouldUpsetATerminalIsShownAsText) {
  answers = {R"({"ok":true,"value":"a\u001b[2Jb\nc"})"};
  EXPECT_EQ(run(Command::get, {"countersSm", "x"}), ExitCode::ok);
  std::string const shown = out.str();
  EXPECT_EQ(shown.find('\x1b'), std::string::npos);
  EXPECT_EQ(shown.find('\n'), shown.size() - 1);
}

TEST_F(ControlCommands, SetAndInvokePrintNothing) {
  answers = {R"({"ok":true})", R"({"ok":true})"};
  EXPECT_EQ(run(Command::set, {"a", "b", "c"}), ExitCode::ok);
  EXPECT_EQ(run(Command::invoke, {"a", "f", "1", "2"}), ExitCode::ok);
  EXPECT_THAT(asked,
              ElementsAre(R"({"op":"set","path":"a","attribute":"b","value":"c"})",
                          R"({"op":"invoke","path":"a","operation":"f","arguments":["1","2"]})"));
  EXPECT_EQ(out.str(), "");
}

TEST_F(ControlCommands, LsPrintsKeysInNaturalOrder) {
  answers = {R"({"ok":true,"names":["Ethernet10","Ethernet2","Ethernet1/1"]})"};
  EXPECT_EQ(run(Command::ls, {"countersSm", "portCountersSm"}), ExitCode::ok);
  EXPECT_EQ(out.str(), "Ethernet1/1\nEthernet2\nEthernet10\n");
}

TEST_F(ControlCommands, LsPrintsAttributesWithTheirKinds) {
  answers = {R"({"ok":true,"type":"T","attributes":[)"
             R"({"name":"p","kind":"value","access":["get","set"]},)"
             R"({"name":"f","kind":"operation","access":["invoke"],"arguments":2}]})"};
  EXPECT_EQ(run(Command::ls, {"countersSm"}), ExitCode::ok);
  EXPECT_EQ(out.str(), "p\tvalue\tget,set\nf\toperation\tinvoke\t2\n");
}

TEST_F(ControlCommands, EachRefusalHasItsExitCode) {
  EXPECT_EQ(refusedWith("noPermission"), ExitCode::noPermission);
  EXPECT_EQ(refusedWith("unknownPath"), ExitCode::refused);
  EXPECT_EQ(refusedWith("notSupported"), ExitCode::refused);
  EXPECT_EQ(refusedWith("unknownOperation"), ExitCode::refused);
  EXPECT_EQ(refusedWith("wrongArguments"), ExitCode::wrongArguments);
  EXPECT_EQ(refusedWith("tooLong"), ExitCode::wrongArguments);
  EXPECT_EQ(refusedWith("unknownInterface"), ExitCode::unknownName);
  for (char const* const code : {"failed", "busy", "timeout", "badRequest", "of the future"})
    EXPECT_EQ(refusedWith(code), ExitCode::agentFailed) << code;
}

TEST_F(ControlCommands, AnAnswerThatIsNoneIsTheAgentsFailure) {
  for (char const* const answer : {"", "nonsense", "[]", "{}", R"({"ok":false})", R"({"ok":5})",
                                   R"({"ok":true,"names":[1]})", R"({"ok":true,"names":5})"}) {
    answers = {answer};
    EXPECT_EQ(run(Command::ls, {}), ExitCode::agentFailed) << answer;
  }
}

TEST_F(ControlCommands, AsJsonTheAnswersAreAsTheyWere) {
  options.json = true;
  answers = {R"({"ok":true,"value":"2.5"})",
             R"({"ok":false,"error":{"code":"unknownPath","text":"why"}})"};
  EXPECT_EQ(run(Command::get, {"a", "b"}), ExitCode::ok);
  EXPECT_EQ(out.str(), "{\"ok\":true,\"value\":\"2.5\"}\n");
  EXPECT_EQ(run(Command::get, {"a", "b"}), ExitCode::refused);
  EXPECT_THAT(out.str(), StartsWith(R"({"ok":false,"error":{"code":"unknownPath")"));
  EXPECT_EQ(err.str(), "oru-counters: why\n");
  EXPECT_EQ(run(Command::get, {"a", "b"}), ExitCode::agentFailed);  // no answer at all
  EXPECT_THAT(out.str(), StartsWith(R"({"ok":false)"));
}

TEST_F(ControlCommands, WhatIsNotUtf8IsWrongUsageAndNotAsked) {
  EXPECT_EQ(run(Command::get, {"a", "\xff"}), ExitCode::usage);
  EXPECT_THAT(asked, IsEmpty());
}

TEST_F(ControlCommands, ClearAllIsOneRequest) {
  answers = {R"({"ok":true,"cleared":4,"time":0.0})"};
  EXPECT_EQ(clear({"all"}), ExitCode::ok);
  EXPECT_THAT(asked, ElementsAre(R"({"op":"clear","all":true})"));
  EXPECT_THAT(out.str(), StartsWith("cleared all 4 interfaces at 19"));
}

TEST_F(ControlCommands, ClearTakesNamesAsShowDoes) {
  addIntf("Ethernet1", "eth0");
  addIntf("Ethernet2", "lan0");
  addIntf("Ethernet3", "lan1");
  answers = {R"({"ok":true,"cleared":3,"names":["Ethernet1","Ethernet2","Ethernet3"],"time":0})"};
  EXPECT_EQ(clear({"lan*", "eth0"}), ExitCode::ok);
  EXPECT_THAT(asked,
              ElementsAre(R"({"op":"clear","names":["Ethernet1","Ethernet2","Ethernet3"]})"));
  EXPECT_THAT(out.str(), HasSubstr("cleared Ethernet2 at "));
}

TEST_F(ControlCommands, ClearWithAnUnknownNameAsksNothing) {
  addIntf("Ethernet1", "eth0");
  EXPECT_EQ(clear({"Ethernet1", "nope", "none*"}), ExitCode::unknownName);
  EXPECT_THAT(asked, IsEmpty());
  EXPECT_EQ(err.str(),
            "oru-counters: there is no interface nope, none*, and nothing was cleared\n");
}

// Their descriptions are among those of all interfaces.
TEST_F(ControlCommands, ClearOfWhatIsNoEthernetIntfSaysSoAndAsksNothing) {
  addIntf("Ethernet1", "eth0");
  addIntf("Vlan7", "eth0.7");
  snapshot.interfaces.back().counters.reset();
  for (char const* const name : {"Vlan7", "eth0.7", "Vlan*", "Vlan99", "Cpu"}) {
    EXPECT_EQ(clear({"Ethernet1", name}), ExitCode::unknownName) << name;
    EXPECT_EQ(err.str(), "oru-counters: only Ethernet interfaces can be cleared, which " +
                             std::string(name) + " is not, and nothing was cleared\n");
  }
  EXPECT_THAT(asked, IsEmpty());
}

TEST_F(ControlCommands, ClearByAPatternPassesOverVlanIntfs) {
  addIntf("Ethernet1", "eth0");
  addIntf("Vlan7", "eth0.7");
  answers = {R"({"ok":true,"cleared":1,"names":["Ethernet1"],"time":0})"};
  EXPECT_EQ(clear({"eth0*"}), ExitCode::ok);
  EXPECT_THAT(asked, ElementsAre(R"({"op":"clear","names":["Ethernet1"]})"));
}

TEST_F(ControlCommands, ClearWithoutReadableTablesAsksNothing) {
  snapshot.directory = "/nowhere";
  snapshot.tables[Table::counters].answer = Glim::Answer::missing;
  EXPECT_EQ(clear({"Ethernet1"}), ExitCode::tableMissing);
  EXPECT_THAT(asked, IsEmpty());
}

TEST_F(ControlCommands, ClearOfAllVlansIsOneRequest) {
  answers = {R"({"ok":true,"cleared":3,"time":0.0})"};
  EXPECT_EQ(clearVlans({"all"}), ExitCode::ok);
  EXPECT_THAT(asked, ElementsAre(R"({"op":"clear","allVlans":true})"));
  EXPECT_THAT(out.str(), StartsWith("cleared all 3 VLANs at 19"));
}

TEST_F(ControlCommands, ClearOfVlansTakesIdsAndRangesAsShowDoes) {
  for (std::uint64_t const id : {5u, 10u, 12u, 30u}) addVlan(id);
  answers = {R"({"ok":true,"cleared":3,"vlans":["10","12","30"],"time":0})"};
  EXPECT_EQ(clearVlans({"10-20,30", "12"}), ExitCode::ok);
  EXPECT_THAT(asked, ElementsAre(R"({"op":"clear","vlans":["10","12","30"]})"));
  EXPECT_THAT(out.str(), HasSubstr("\ncleared VLAN 12 at "));
}

TEST_F(ControlCommands, ClearOfAnUnknownVlanAsksNothing) {
  addVlan(10);
  EXPECT_EQ(clearVlans({"10,40-50", "20"}), ExitCode::unknownName);
  EXPECT_THAT(asked, IsEmpty());
  EXPECT_EQ(err.str(), "oru-counters: there is no VLAN 40-50, 20, and nothing was cleared\n");
}

TEST_F(ControlCommands, AVlanThatIsNotCountedYetIsNotCleared) {
  addVlan(10);
  snapshot.vlans.back().counters.reset();
  EXPECT_EQ(clearVlans({"10"}), ExitCode::unknownName);
  EXPECT_THAT(asked, IsEmpty());
}

TEST_F(ControlCommands, ClearOfVlansWithoutTheirTableAsksNothing) {
  snapshot.directory = "/nowhere";
  snapshot.tables[Table::vlanCounters].answer = Glim::Answer::missing;
  EXPECT_EQ(clearVlans({"10"}), ExitCode::tableMissing);
  EXPECT_THAT(asked, IsEmpty());
}

TEST_F(ControlCommands, AVlanThatTheAgentDoesNotKnowIsAnUnknownName) {
  addVlan(10);
  answers = {R"({"ok":false,"error":{"code":"unknownVlan","text":"why"}})"};
  EXPECT_EQ(clearVlans({"10"}), ExitCode::unknownName);
  EXPECT_EQ(err.str(), "oru-counters: why\n");
}

TEST_F(ControlCommands, ManyNamesGoInSeveralRequests) {
  for (int i = 1; i <= 1000; ++i) addIntf(("Ethernet" + std::to_string(i)).c_str(), "");
  answers = {R"({"ok":true,"cleared":512,"names":["Ethernet1"],"time":0})",
             R"({"ok":true,"cleared":488,"names":["Ethernet2"],"time":0})"};
  EXPECT_EQ(clear({"*"}), ExitCode::ok);
  ASSERT_EQ(asked.size(), 2u);
  for (auto const& line : asked) EXPECT_LT(line.size(), 64u * 1024);
}

TEST_F(ControlCommands, TheAnswersToSeveralRequestsAreOneAsJson) {
  for (int i = 1; i <= 1000; ++i) addIntf(("Ethernet" + std::to_string(i)).c_str(), "");
  options.json = true;
  std::string const first = R"({"ok":true,"cleared":512,"names":["Ethernet1"],"time":1.5})";
  answers = {first, R"({"ok":true,"cleared":488,"names":["Ethernet2"],"time":2.5})"};
  EXPECT_EQ(clear({"*"}), ExitCode::ok);
  EXPECT_EQ(
      out.str(),
      "{\"ok\":true,\"cleared\":1000,\"names\":[\"Ethernet1\",\"Ethernet2\"],\"time\":2.5}\n");
  answers = {first, R"({"ok":false,"error":{"code":"failed","text":"why"}})"};
  EXPECT_EQ(clear({"*"}), ExitCode::agentFailed);
  EXPECT_EQ(out.str(), R"({"ok":false,"error":{"code":"failed","text":"why"},)"
                       R"("cleared":512,"names":["Ethernet1"],"time":1.5})"
                       "\n");
}

}  // namespace
}  // namespace Show
