// What there is of a whole agent, asked for by name: nothing of it ends the agent.
#include <functional>

#include "tests/agent/control_host_fixture.h"

namespace Agent {
namespace {

using Json = nlohmann::json;

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

}  // namespace
}  // namespace Agent
