#include "reader/poll_command.h"

#include <map>
#include <nlohmann/json.hpp>

#include "tests/reader/asked_agent.h"

namespace Show {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PollCommand : public AskedAgent {
 protected:
  PollCommand() {
    addIntf("Ethernet1", "eth0");
    addIntf("Ethernet2", "wan0");
    addIntf("Ethernet3", "gone0");
    addIntf("Vlan7", "eth0.7");
    for (char const* const collection :
         {"portCountersSm", "intfQueueCountersSm", "intfAclDropCountersSm"})
      keys[collection] = {"Ethernet2", "Ethernet1"};
    keys["vlanIntfCountersSm"] = {"Vlan7"};
    keys["cpuPortCountersSm"] = {"Cpu"};
  }
  ExitCode poll(std::vector<std::string> names, std::string kind = {}) {
    options.kind = std::move(kind);
    polled.clear();
    return runOn(Command::poll, std::move(names));
  }
  std::string answer(std::string const& line) override {
    auto const question = nlohmann::json::parse(line);
    if (question["op"] == "ls") {
      EXPECT_EQ(question["path"], "countersSm");
      return nlohmann::json{{"ok", true}, {"names", keys.at(question["attribute"])}}.dump();
    }
    EXPECT_EQ(question["op"], "invoke");
    EXPECT_EQ(question["path"], "countersSm");
    EXPECT_EQ(question["operation"], "updateCounters");
    EXPECT_EQ(question["arguments"].size(), 2u);
    if (!refusal.empty()) return refusal;
    std::string const type = question["arguments"][0], name = question["arguments"][1];
    if (name == failsAt) return R"({"ok":false,"error":{"code":"failed","text":"oh"}})";
    polled.push_back(type + " " + name);
    for (Intf& intf : snapshot.interfaces)
      if (intf.intfId == Pekt::IntfId(name) && (type == "1" || type == "3") && name != unread)
        intf.counters->statistics.lastUpdate += 1.0;
    return R"({"ok":true})";
  }
  std::map<std::string, std::vector<std::string>> keys;
  std::string refusal;
  std::string failsAt, unread;  // the interface that cannot be polled, or of which nothing is read
  std::vector<std::string> polled;
};

TEST_F(PollCommand, PollsEveryKindThatThereIsAPollerOf) {
  EXPECT_EQ(poll({"Ethernet1", "Vlan7", "Cpu"}), ExitCode::ok);
  EXPECT_EQ(err.str(), "");
  EXPECT_EQ(out.str(),
            "polled Cpu: cpu\n"
            "polled Ethernet1: port, queue, acl\n"
            "polled Vlan7: vlan\n");
  EXPECT_THAT(polled, ElementsAre("2 Cpu", "1 Ethernet1", "0 Ethernet1", "6 Ethernet1", "3 Vlan7"));
}

TEST_F(PollCommand, AllIsEverythingThatHasAPoller) {
  EXPECT_EQ(poll({"all"}), ExitCode::ok);
  EXPECT_EQ(out.str(),
            "polled Cpu: cpu\n"
            "polled Ethernet1: port, queue, acl\n"
            "polled Ethernet2: port, queue, acl\n"
            "polled Vlan7: vlan\n");
}

TEST_F(PollCommand, OneKindAloneIsPolledOfThoseThatHaveIt) {
  EXPECT_EQ(poll({"all"}, "queue"), ExitCode::ok);
  EXPECT_EQ(out.str(), "polled Ethernet1: queue\npolled Ethernet2: queue\n");
  EXPECT_THAT(polled, ElementsAre("0 Ethernet1", "0 Ethernet2"));
  EXPECT_EQ(poll({"*"}, "vlan"), ExitCode::ok);
  EXPECT_EQ(out.str(), "polled Vlan7: vlan\n");
}

TEST_F(PollCommand, NamesAreAsWithShow) {
  EXPECT_EQ(poll({"eth0.7", "wan0", "Ethernet2"}), ExitCode::ok);
  EXPECT_EQ(out.str(), "polled Ethernet2: port, queue, acl\npolled Vlan7: vlan\n");
  EXPECT_EQ(poll({"eth0*"}), ExitCode::ok);
  EXPECT_EQ(out.str(), "polled Ethernet1: port, queue, acl\npolled Vlan7: vlan\n");
}

TEST_F(PollCommand, AnUnknownIntfIsToldAndNothingIsPolled) {
  EXPECT_EQ(poll({"Ethernet1", "nope", "none*"}), ExitCode::unknownName);
  EXPECT_EQ(err.str(), "oru-counters: there is no interface nope, none*, and nothing was polled\n");
  EXPECT_EQ(out.str(), "");
  EXPECT_THAT(polled, IsEmpty());
}

TEST_F(PollCommand, AnIntfWithoutAPollerOfTheKindIsToldAndNothingIsPolled) {
  EXPECT_EQ(poll({"Ethernet1", "eth0"}, "cpu"), ExitCode::refused);
  EXPECT_EQ(err.str(),
            "oru-counters: Ethernet1 has no poller of kind cpu, but of port, queue, acl, and "
            "nothing was polled\n");
  EXPECT_EQ(poll({"Ethernet3"}), ExitCode::refused);
  EXPECT_EQ(err.str(), "oru-counters: Ethernet3 has no poller, and nothing was polled\n");
  EXPECT_EQ(poll({"gone0"}, "port"), ExitCode::refused);
  EXPECT_EQ(err.str(), "oru-counters: gone0 has no poller of kind port, and nothing was polled\n");
  keys["cpuPortCountersSm"].clear();
  EXPECT_EQ(poll({"all"}, "cpu"), ExitCode::refused);
  EXPECT_EQ(err.str(), "oru-counters: nothing has a poller of kind cpu, and nothing was polled\n");
  EXPECT_THAT(polled, IsEmpty());
}

TEST_F(PollCommand, WhatTheAgentRefusesHasItsExitCode) {
  refusal = R"({"ok":false,"error":{"code":"noPermission","text":"not you"}})";
  EXPECT_EQ(poll({"Ethernet1"}), ExitCode::noPermission);
  EXPECT_EQ(err.str(), "oru-counters: not you\n");
  EXPECT_EQ(out.str(), "");
  options.json = true;
  EXPECT_EQ(poll({"Ethernet1"}), ExitCode::noPermission);
  EXPECT_EQ(out.str(), refusal + "\n");
}

TEST_F(PollCommand, AsJsonItIsOneAnswer) {
  options.json = true;
  EXPECT_EQ(poll({"Ethernet1", "Cpu"}), ExitCode::ok);
  EXPECT_EQ(out.str(), R"({"ok":true,"polled":[{"name":"Cpu","kinds":["cpu"]},)"
                       R"({"name":"Ethernet1","kinds":["port","queue","acl"]}]})"
                       "\n");
  EXPECT_EQ(poll({"nope"}), ExitCode::unknownName);
  EXPECT_EQ(out.str(), R"({"ok":false,"error":{"code":"none","text":"there is no interface nope, )"
                       R"(and nothing was polled"}})"
                       "\n");
}

TEST_F(PollCommand, WhatTheChipGaveNothingForIsNotSaidToBePolled) {
  unread = "Ethernet2";
  EXPECT_EQ(poll({"all"}), ExitCode::agentFailed);
  EXPECT_EQ(err.str(), "oru-counters: Ethernet2 could not be read just now; try again\n");
  EXPECT_EQ(out.str(),
            "polled Cpu: cpu\n"
            "polled Ethernet1: port, queue, acl\n"
            "polled Vlan7: vlan\n");
  unread = "Vlan7";
  EXPECT_EQ(poll({"Vlan7"}, "vlan"), ExitCode::agentFailed);
  EXPECT_EQ(out.str(), "");
  unread = "Ethernet1";
  EXPECT_EQ(poll({"Ethernet1"}, "queue"), ExitCode::ok);  // their rows bear no time
}

TEST_F(PollCommand, WhatWasPolledBeforeAFailureIsTold) {
  failsAt = "Ethernet2";
  EXPECT_EQ(poll({"Ethernet*"}, "port"), ExitCode::agentFailed);
  EXPECT_EQ(out.str(), "polled Ethernet1: port\n");
  options.json = true;
  EXPECT_EQ(poll({"Ethernet*"}, "port"), ExitCode::agentFailed);
  EXPECT_EQ(out.str(), R"({"ok":false,"error":{"code":"failed","text":"oh"},)"
                       R"("polled":[{"name":"Ethernet1","kinds":["port"]}]})"
                       "\n");
}

TEST_F(PollCommand, WithoutDescriptionsAnUnknownNameMayBeOneOfTheKernels) {
  snapshot.interfaces.clear();
  snapshot.tables[Table::descriptions].answer = Glim::Answer::unreadable;
  EXPECT_EQ(poll({"Ethernet1"}), ExitCode::ok);
  EXPECT_EQ(poll({"eth0"}), ExitCode::unreadable);
  EXPECT_THAT(polled, IsEmpty());
}

TEST_F(PollCommand, KeysThatAreNoNamesOfIntfsArePassedOver) {
  keys.at("portCountersSm") = {std::string(60, 'n'), "Ethernet1"};
  EXPECT_EQ(poll({"all"}, "port"), ExitCode::ok);
  EXPECT_EQ(out.str(), "polled Ethernet1: port\n");
}

}  // namespace
}  // namespace Show
