// A control socket and its clients, on one thread and in virtual time.
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "agent/control_server.h"
#include "tests/agent/control_box.h"
#include "tests/agent/control_client.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"

namespace Agent {

class ControlServerTest : public testing::Test {
 protected:
  // A turn of the agent: what is ready, then what is due.
  void turn(int times = 1) {
    for (int i = 0; i < times; ++i)
      loop.run([&] {
        loop.stop();
        wanted = sut->turn();
        return wanted;
      });
  }
  std::string ask(TestClient& client, std::string const& line) {
    client.send(line + "\n");
    turn(2);  // a newcomer is taken in one turn, and heard from in the next
    return client.received();
  }
  std::string codeOf(std::string const& answer) {
    auto const json = nlohmann::json::parse(answer, nullptr, false);
    return json.is_object() && json.contains("error") ? json["error"]["code"].get<std::string>()
                                                      : "none: " + answer;
  }
  static std::string valueLine(int n) {
    return R"({"ok":true,"value":")" + std::to_string(n) + "\"}\n";
  }

  Support::VirtualTime time;
  Support::TemporaryTables place;
  std::string directory = place.directory().string();
  Tables tables{directory, {.maxRows = 16}};
  Kel::Ptr<Box> top = Kel::instance<Box>(Kel::Name("top"));
  ObjectTree tree = [this] {
    ObjectTree all;
    all.rootIs("top", top);
    return all;
  }();
  EventLoop loop;
  uid_t user = ::geteuid();
  ControlDispatcher requests() {
    return ControlDispatcher(
        tree, Clearing(top, Kel::make<Oru::HwCliConfig>(), tables, [this] { return time.now(); }));
  }
  std::function<Kel::Seconds()> steady() {
    return [this] {
      time.nowIs(time.now() + steadyStep);
      return time.now();
    };
  }
  Kel::Seconds wanted = 0.0;
  Kel::Seconds steadyStep = 0.0;
  std::optional<ControlServer> sut{std::in_place, loop,
                                   directory,     requests(),
                                   steady(),      [this](int) { return std::optional(user); }};
};

}  // namespace Agent
