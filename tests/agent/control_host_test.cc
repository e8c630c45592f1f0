// What a whole agent clears when it is asked to, and where it is asked.
#include <filesystem>
#include <fstream>

#include "tests/agent/control_host_fixture.h"

namespace Agent {
namespace {

// --- Clearing ---

TEST_F(ControlHostTest, AClearPollsFirst) {
  start();
  pass(1.0);
  pass(0.5);
  auto const before = *live("Ethernet1");
  Json const answer = ask({{"op", "clear"}, {"all", true}});
  EXPECT_EQ(answer["cleared"], 3);
  EXPECT_EQ(answer["time"], time.now());
  for (char const* const id : {"Ethernet1", "Ethernet2", "Ethernet3"}) {
    EXPECT_EQ(live(id)->statistics.lastUpdate, time.now());
    EXPECT_EQ(live(id), clear(id));
  }
  EXPECT_GT(live("Ethernet1")->statistics.inOctets, before.statistics.inOctets);
}

TEST_F(ControlHostTest, AClearPollsTheQueuesFirstAndClearsThemToo) {
  start();
  pass(1.0);
  pass(0.5);
  auto const queues = [&](std::string_view table) {
    Glim::Reader<Interface::QueueCounter::IntfQueueCounter> reader(options.tables + "/" +
                                                                   std::string(table));
    EXPECT_EQ(reader.attach(), Glim::Answer::ok);
    Interface::QueueCounter::IntfQueueCounter found;
    EXPECT_EQ(reader.lookup(Pekt::IntfId("Ethernet1"), found), Glim::Answer::ok);
    return found;
  };
  auto const before = queues(Interface::kIntfQueueCounters);
  ASSERT_EQ(ask({{"op", "clear"}, {"names", {"Ethernet1"}}})["ok"], true);
  EXPECT_NE(queues(Interface::kIntfQueueCounters), before);
  EXPECT_EQ(queues(Interface::kIntfQueueCounters), queues(Interface::kIntfClearQueueCounters));
}

// A chip may answer from one reading as long as the clock stands.
TEST_F(ControlHostTest, AClearPollsByAClockThatIsAtThePresent) {
  start();
  TestClient client(options.tables);
  turn(2);
  time.nowIs(time.now() + 0.5);  // no turn meanwhile: the clock stands where it stood
  client.send("{\"op\":\"clear\",\"names\":[\"Ethernet2\"]}\n");
  turn();
  EXPECT_THAT(client.received(), testing::HasSubstr("\"ok\":true"));
  EXPECT_EQ(live("Ethernet2")->rates.lastUpdate, time.now());
}

TEST_F(ControlHostTest, AClearOfNamesLeavesTheOthers) {
  start();
  pass(1.0);
  Json const answer = ask({{"op", "clear"}, {"names", {"Ethernet3", "Ethernet1", "Ethernet3"}}});
  EXPECT_EQ(answer["names"], Json({"Ethernet3", "Ethernet1"}));
  EXPECT_EQ(answer["cleared"], 2);
  EXPECT_EQ(live("Ethernet1"), clear("Ethernet1"));
  EXPECT_EQ(live("Ethernet3"), clear("Ethernet3"));
  EXPECT_EQ(clear("Ethernet2")->statistics.inOctets, 0u);
}

TEST_F(ControlHostTest, WithAnUnknownNameNothingIsCleared) {
  start();
  pass(1.0);
  for (char const* const name : {"Ethernet9", "Vlan1", "Ethernet*", "all", "", "Cpu"}) {
    Json const answer = ask({{"op", "clear"}, {"names", {"Ethernet1", name}}});
    EXPECT_EQ(answer["error"]["code"], "unknownInterface") << name;
  }
  EXPECT_EQ(clear("Ethernet1")->statistics.inOctets, 0u);
}

// --- The socket's name ---

TEST_F(ControlHostTest, TheSocketGoesWithTheAgentAndComesWithTheNext) {
  start();
  EXPECT_TRUE(std::filesystem::is_socket(options.tables + "/control"));
  sut.reset();
  EXPECT_FALSE(std::filesystem::exists(options.tables + "/control"));
  start();
  EXPECT_EQ(ask({{"op", "ls"}})["names"], Json({"countersSm", "vlanCountersSm"}));
}

TEST_F(ControlHostTest, WithoutASocketTheAgentCountsAllTheSame) {
  std::ofstream(options.tables + "/control") << "in the way";
  testing::internal::CaptureStderr();
  start();
  pass(1.0);
  EXPECT_EQ(live("Ethernet1")->statistics.lastUpdate, time.now());
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::MatchesRegex("oru-agentd: policy map[^\n]*\n"
                                    "oru-agentd: [^\n]*control is no socket[^\n]*\n"));
}

TEST_F(ControlHostTest, ASocketThatSomebodyRemovedIsMadeAnew) {
  start();
  std::filesystem::path const socket =
      options.tables + "/" + std::string(Interface::kControlSocket);
  std::filesystem::remove(socket);
  pass(3.0);
  EXPECT_TRUE(std::filesystem::exists(socket));
  EXPECT_EQ(ask({{"op", "ls"}})["ok"], true);
}

TEST_F(ControlHostTest, ASocketWhosePlaceIsTakenIsToldOnceAndMadeWhenItIsFree) {
  start();
  std::filesystem::path const socket =
      options.tables + "/" + std::string(Interface::kControlSocket);
  std::filesystem::remove(socket);
  std::ofstream(socket) << "something else";
  testing::internal::CaptureStderr();
  pass(3.0);
  pass(3.0);
  std::string const said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(said.find("is no socket"), said.rfind("is no socket")) << said;
  EXPECT_NE(said.find("is no socket"), std::string::npos) << said;
  std::filesystem::remove(socket);
  pass(3.0);
  EXPECT_EQ(ask({{"op", "ls"}})["ok"], true);
}

}  // namespace
}  // namespace Agent
