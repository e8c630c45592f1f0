// A whole agent that is asked over its socket, with a simulated chip and in virtual time.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "agent/host.h"
#include "platform/glim/reader.h"
#include "tests/agent/control_client.h"
#include "tests/support/temporary_tables.h"
#include "tests/support/virtual_time.h"

namespace Agent {

class ControlHostTest : public testing::Test {
 protected:
  using Json = nlohmann::json;
  using Row = Interface::EthIntfCounterGlim;

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

}  // namespace Agent
