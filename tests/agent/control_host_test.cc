// A whole agent that is asked over its socket, with a simulated chip and in virtual time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <list>
#include <nlohmann/json.hpp>
#include <random>

#include "agent/host.h"
#include "counters/pollers/port_counters_sm.h"
#include "platform/glim/reader.h"
#include "tests/agent/control_client.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"

namespace Agent {
namespace {

using Json = nlohmann::json;
using Row = Interface::EthIntfCounterGlim;

std::size_t descriptors() {
  std::filesystem::directory_iterator const open("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(open), end(open)));
}

#ifdef __SANITIZE_ADDRESS__
constexpr bool kFreedMemoryIsKept = true;
#else
constexpr bool kFreedMemoryIsKept = false;
#endif

std::size_t residentBytes() {
  std::size_t size = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident * 4096;
}

class ControlHostTest : public testing::Test {
 protected:
  ControlHostTest() {
    options.tables = place.directory().string();
    options.chip = ChipKind::simulated;
    options.ports = 3;
    options.seed = 11;
    options.period = 1.0;
  }
  void start() {
    sut = std::make_unique<Host>(options, [this] { return time.now(); });
    sut->start(loop);
    sut->turn();
  }
  void turn(int times = 1) {
    for (int i = 0; i < times; ++i)
      loop.run([&] {
        loop.stop();
        return sut->turn();
      });
  }
  void pass(Kel::Seconds span) {
    time.nowIs(time.now() + span);
    turn();
  }
  Json ask(Json const& request) {
    TestClient client(options.tables);
    client.send(request.dump() + "\n");
    turn(3);
    return Json::parse(client.received(), nullptr, false);
  }
  std::optional<Row> row(std::string_view table, Pekt::IntfId const& id) {
    Glim::Reader<Row> reader(options.tables + "/" + std::string(table));
    EXPECT_EQ(reader.attach(), Glim::Answer::ok);
    Row found;
    return reader.lookup(id, found) == Glim::Answer::ok ? std::optional(found) : std::nullopt;
  }
  std::optional<Row> live(char const* id) { return row(Interface::kIntfCounters, id); }
  std::optional<Row> clear(char const* id) { return row(Interface::kIntfClearCounters, id); }

  Support::VirtualTime time;
  Support::TemporaryTables place;
  Options options;
  EventLoop loop;
  std::unique_ptr<Host> sut;
};

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

// It has an ACL drop poller, which was made from the row as it stood before.
TEST_F(ControlHostTest, AnInterfaceThatIsThereCannotBeHandledASecondTime) {
  start();
  Json const answer = ask({{"op", "invoke"},
                           {"path", "countersSm"},
                           {"operation", "handleIntf"},
                           {"arguments", {"Ethernet1"}}});
  EXPECT_EQ(answer["error"]["code"], "failed") << answer;
  EXPECT_THAT(answer["error"]["text"].get<std::string>(),
              testing::StartsWith("what there is was made from other values, and goes on as it is: "
                                  "Reinstantiating the pointer interface"));
}

TEST_F(ControlHostTest, TheIntervalOfADropPollerIsSetByName) {
  start();
  std::string const poller = "countersSm/intfAclDropCountersSm/Ethernet1";
  EXPECT_EQ(ask({{"op", "set"}, {"path", poller}, {"attribute", "pollInterval"}, {"value", "5"}}),
            Json({{"ok", true}}));
  EXPECT_EQ(ask({{"op", "get"}, {"path", poller}, {"attribute", "pollInterval"}})["value"], "5");
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

// --- Nothing that is asked by name ends the agent ---

std::vector<std::string> const& values() {
  static std::vector<std::string> const all{"",
                                            "0",
                                            "1",
                                            "4",
                                            "5",
                                            "6",
                                            "7",
                                            "-1",
                                            "2.5",
                                            "nan",
                                            "inf",
                                            "1e308",
                                            "1e-300",
                                            "4294967295",
                                            "18446744073709551616",
                                            "true",
                                            "false",
                                            "null",
                                            "all",
                                            "Ethernet1",
                                            "Ethernet99",
                                            "Ethernet1/1",
                                            "Vlan7",
                                            "Cpu",
                                            "default",
                                            "\xc3\xbc",
                                            std::string(48, 'n'),
                                            std::string(5000, 'n')};
  return all;
}

// Asks for everything that there is at the path, and goes on below.
void askEverything(std::function<Json(Json const&)> const& ask, std::string const& path,
                   std::size_t& asked) {
  Json const listed = ask({{"op", "ls"}, {"path", path}});
  ASSERT_TRUE(listed.contains("attributes")) << path << ": " << listed;
  auto const answered = [&](Json const& request) {
    ++asked;
    Json const answer = ask(request);
    EXPECT_TRUE(answer.is_object() && answer.contains("ok")) << request << ": " << answer;
    return answer;
  };
  for (Json const& each : listed["attributes"]) {
    std::string const name = each["name"];
    answered({{"op", "get"}, {"path", path}, {"attribute", name}});
    answered({{"op", "ls"}, {"path", path}, {"attribute", name}});
    for (std::string const& value : values())
      answered({{"op", "set"}, {"path", path}, {"attribute", name}, {"value", value}});
    answered({{"op", "invoke"}, {"path", path}, {"operation", name}});
    for (std::string const& one : values()) {
      answered({{"op", "invoke"}, {"path", path}, {"operation", name}, {"arguments", {one}}});
      for (char const* const other : {"Ethernet1", "Ethernet9", "1", ""})
        answered(
            {{"op", "invoke"}, {"path", path}, {"operation", name}, {"arguments", {one, other}}});
    }
  }
}

TEST_F(ControlHostTest, NothingThatIsDeclaredEndsTheAgentWhateverItIsAskedWith) {
  options.ports = 2;
  start();
  testing::internal::CaptureStderr();  // what the agent has to say of it
  std::size_t asked = 0;
  TestClient client(options.tables);
  auto const askIt = [&](Json const& request) {
    client.send(request.dump() + "\n");
    std::string answer;
    for (int i = 0; i < 5 && answer.find('\n') == std::string::npos; ++i) {
      turn();
      answer += client.received();
    }
    return Json::parse(answer, nullptr, false);
  };
  std::vector<std::string> paths{"countersSm"};
  Json const all = askIt({{"op", "ls"}, {"path", "countersSm"}});
  for (Json const& each : all["attributes"])
    if (each["kind"] == "collection")
      paths.push_back("countersSm/" + each["name"].get<std::string>() + "/Ethernet1");
  EXPECT_GT(paths.size(), 1u);
  // Members first, while there are some; twice, since the first time leaves them in odd states.
  for (int i = 0; i < 2; ++i) {
    for (auto path = paths.rbegin(); path != paths.rend(); ++path) {
      askIt(
          {{"op", "set"}, {"path", "countersSm"}, {"attribute", "initialized"}, {"value", "true"}});
      if (askIt({{"op", "ls"}, {"path", *path}}).contains("attributes"))
        askEverything(askIt, *path, asked);
      pass(1.0);
    }
  }
  testing::internal::GetCapturedStderr();
  EXPECT_GT(asked, 5000u);
  RecordProperty("asked", static_cast<int>(asked));
  EXPECT_EQ(askIt({{"op", "ls"}})["ok"], true);
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

// --- Garbage beside the polls ---

class Garbage {
 public:
  explicit Garbage(std::uint32_t seed) : _random(seed) {}

  std::size_t below(std::size_t n) { return _random() % n; }
  // A line, or a part of one, that is hardly ever a good one.
  std::string next() {
    switch (below(8)) {
      case 0:
        return bytes(below(200));
      case 1:
        return std::string(70'000, "x[{\" "[below(5)]);
      case 2:
        return good().substr(0, below(60));  // half a line
      case 3:
        return good() + "\n";
      default:
        return mutated() + "\n";
    }
  }

 private:
  std::string bytes(std::size_t n) {
    std::string all;
    while (all.size() < n) all += static_cast<char>(below(256));
    return all;
  }
  std::string good() {
    static std::vector<std::string> const all{
        R"({"op":"ls"})",
        R"({"op":"ls","path":"countersSm"})",
        R"({"op":"ls","path":"countersSm","attribute":"portCountersSm"})",
        R"({"op":"get","path":"countersSm/portCountersSm/Ethernet7","attribute":"initialized"})",
        R"({"op":"set","path":"countersSm","attribute":"counterPollPeriod","value":"1"})",
        R"({"op":"invoke","path":"countersSm","operation":"updateCounters","arguments":["1","Ethernet7"]})",
        R"({"op":"clear","names":["Ethernet1","Ethernet2"]})",
        R"({"op":"clear","all":true})"};
    return all[below(all.size())];
  }
  std::string mutated() {
    std::string line = good();
    for (std::size_t i = 0; i <= below(4); ++i) {
      std::size_t const at = below(line.size() + 1);
      switch (below(4)) {
        case 0:
          line.insert(at, bytes(1 + below(4)));
          break;
        case 1:
          line.erase(at, 1 + below(6));
          break;
        case 2:
          line.insert(at, line.substr(below(line.size() + 1), below(30)));
          break;
        default:
          if (at < line.size()) line[at] = static_cast<char>(below(256));
      }
    }
    return line;
  }
  std::minstd_rand _random;
};

TEST_F(ControlHostTest, GarbageKeepsNoPortFromItsPollsAndLeavesNothingBehind) {
  constexpr int kPorts = 1000, kRequests = 10'000, kStepsPerPeriod = 8;
  options.ports = kPorts;
  start();
  turn();
  Glim::Reader<Row> rows(options.tables + "/" + std::string(Interface::kIntfCounters));
  ASSERT_EQ(rows.attach(), Glim::Answer::ok);
  auto const pollers = Kel::AllocTrackTypeInfo::live(Oru::Counters::PortCountersSm::_kelType);
  EXPECT_EQ(pollers.objects, std::size_t{kPorts});
  std::size_t const descriptorsBefore = descriptors();

  testing::internal::CaptureStderr();
  Garbage garbage(20261121);
  std::list<TestClient> clients;
  std::size_t residentBefore = 0, answers = 0, missed = 0, periods = 0;
  for (int sent = 0, step = 1; sent < kRequests || step % kStepsPerPeriod != 1; ++step) {
    for (int i = 0; i < 20; ++i, ++sent) {
      if (clients.size() < 8 || garbage.below(3) == 0) clients.emplace_back(options.tables);
      auto client =
          std::next(clients.begin(), static_cast<std::ptrdiff_t>(garbage.below(clients.size())));
      client->send(garbage.next());
      if (garbage.below(10) == 0) client->endSending();
      if (garbage.below(4) == 0) {
        auto const received = client->received();
        answers += static_cast<std::size_t>(std::count(received.begin(), received.end(), '\n'));
      }
      if (clients.size() > 16 || garbage.below(5) == 0) clients.erase(client);
    }
    pass(1.0 / kStepsPerPeriod);
    if (step % kStepsPerPeriod != 0) continue;
    ++periods;
    for (int port = 1; port <= kPorts; ++port) {
      Row row;
      bool const polled =
          rows.lookup(Pekt::IntfId("Ethernet" + std::to_string(port)), row) == Glim::Answer::ok &&
          row.statistics.lastUpdate == time.now();
      if (!polled) ++missed;
    }
    if (periods == 10) residentBefore = residentBytes();
  }
  clients.clear();
  turn(100);
  testing::internal::GetCapturedStderr();
  RecordProperty("answers", static_cast<int>(answers));
  EXPECT_GT(answers, 500u);
  EXPECT_EQ(missed, 0u) << "of " << periods * kPorts;
  EXPECT_EQ(descriptors(), descriptorsBefore);
  EXPECT_EQ(Kel::AllocTrackTypeInfo::live(Oru::Counters::PortCountersSm::_kelType).objects,
            pollers.objects);
  if (!kFreedMemoryIsKept) {
    EXPECT_LT(residentBytes(), residentBefore + 8 * 1024 * 1024);
  }
  EXPECT_EQ(ask({{"op", "ls"}})["ok"], true);
}

}  // namespace
}  // namespace Agent
