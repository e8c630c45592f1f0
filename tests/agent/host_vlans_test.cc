// The VLANs of a whole agent, whose chip a test makes up, in virtual time.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <vector>

#include "agent/host.h"
#include "hardware/simulated/counters_helper.h"
#include "platform/glim/reader.h"
#include "tests/agent/control_client.h"
#include "tests/agent/counted_vlans.h"
#include "tests/support/virtual_time.h"

namespace Agent {
namespace {

using Json = nlohmann::json;
using testing::HasSubstr;

// It has VLANs alone: those that a test tells.
class MadeUpChip : public Chip {
 public:
  explicit MadeUpChip(Vlans& served) : vlans(served) {}
  Kel::Ptr<OruHelper::OruHelperCountersSm> helper() const override { return _helper; }
  Kel::Ptr<OruHelper::OruVlanCountersHelper> vlanHelper() const override { return counting; }
  void start(EventLoop&) override {}
  void retellRefused() override {
    ++retold;
    for (std::uint64_t const id : refused) vlanIs(id);
  }
  bool vlansAreTold() const override { return areTold; }
  bool couldRead(Bridging::VlanId vlanId) const override {
    return !counting->unreadable.contains(vlanId);
  }
  bool vlanIs(std::uint64_t id) {
    return vlans.vlanIs({.vlanId = Bridging::VlanId(id),
                         .bridge = std::string_view("br0"),
                         .name = {},
                         .unsupported = 0});
  }

  Vlans& vlans;
  Kel::Ptr<CountingChip> const counting = Kel::make<CountingChip>();
  bool areTold = true;
  int retold = 0;
  std::vector<std::uint64_t> refused;

 private:
  Kel::Ptr<Hardware::Simulated::CountersHelper> const _helper =
      Kel::make<Hardware::Simulated::CountersHelper>(
          Kel::Name("none"), std::make_shared<Hardware::Simulated::Chip const>());
};

class HostOfVlans : public testing::Test {
 protected:
  HostOfVlans() {
    options.tables = place.directory().string();
    options.period = 2.0;
  }
  void start(Glim::TableLimits const& limits = {}, bool vlansAreTold = true) {
    sut = std::make_unique<Host>(
        options, [this] { return time.now(); }, limits,
        [&](Tables&, Interfaces&, Vlans& vlans) {
          auto made = std::make_unique<MadeUpChip>(vlans);
          chip = made.get();
          chip->areTold = vlansAreTold;
          return made;
        });
    sut->start(loop);
    sut->turn();
  }
  void turnsFor(Kel::Seconds span) {
    for (Kel::Seconds const end = time.now() + span; time.now() < end;) {
      time.nowIs(time.now() + 0.1);
      sut->turn();
    }
  }
  std::optional<Glim::Bridging::VlanCounter> vlan(std::uint64_t id) {
    Glim::Reader<Glim::Bridging::VlanCounter> reader(options.tables + "/" +
                                                     std::string(Bridging::kVlanCounters));
    EXPECT_EQ(reader.attach(), Glim::Answer::ok);
    Glim::Bridging::VlanCounter row;
    return reader.lookup(Bridging::VlanId(id), row) == Glim::Answer::ok ? std::optional(row)
                                                                        : std::nullopt;
  }
  Json ask(Json const& request) {
    TestClient client(options.tables);
    return ask(client, request);
  }
  Json ask(TestClient& client, Json const& request) {
    client.send(request.dump() + "\n");
    for (int i = 0; i < 3; ++i)
      loop.run([&] {
        loop.stop();
        return sut->turn();
      });
    return Json::parse(client.received(), nullptr, false);
  }
  std::uint64_t& octets(std::uint64_t id) {
    return chip->counting->counts[Bridging::VlanId(id)].inOctets;
  }

  Json const clearAll{{"op", "clear"}, {"allVlans", true}};
  Support::VirtualTime time;
  Support::TemporaryTables place;
  Options options;
  EventLoop loop;
  std::unique_ptr<Host> sut;
  MadeUpChip* chip = nullptr;
};

TEST_F(HostOfVlans, RowsStayUntilTheChipHasToldWhichThereAre) {
  start();
  chip->vlanIs(10);
  chip->vlanIs(20);
  octets(10) = 7;
  sut->turn();
  ASSERT_EQ(vlan(10)->counts.inOctets, 7u);
  sut.reset();

  start({}, false);
  turnsFor(5.0);
  EXPECT_EQ(vlan(10)->counts.inOctets, 7u);
  EXPECT_TRUE(vlan(20));
  chip->vlanIs(10);
  chip->areTold = true;
  octets(10) = 2;
  sut->turn();
  EXPECT_EQ(vlan(10)->counts.inOctets, 9u);
  EXPECT_EQ(vlan(10)->lastUpdate, time.now());
  EXPECT_FALSE(vlan(20));
  turnsFor(options.period + 0.2);
  EXPECT_NEAR(vlan(10)->lastUpdate, time.now(), 0.3);
}

TEST_F(HostOfVlans, WhoIsConnectedCanAskForThemOnceTheyAreTold) {
  start({}, false);
  TestClient client(options.tables);
  EXPECT_EQ(ask(client, {{"op", "ls"}})["names"], Json({"countersSm"}));
  EXPECT_EQ(ask(client, clearAll)["error"]["code"], "notSupported");
  chip->vlanIs(10);
  chip->areTold = true;
  EXPECT_EQ(ask(client, {{"op", "ls"}})["names"], Json({"countersSm", "vlanCountersSm"}));
  EXPECT_EQ(ask(client, clearAll)["cleared"], 1);
}

TEST_F(HostOfVlans, AClearOfOneThatCannotBeReadIsRefused) {
  start();
  chip->vlanIs(10);
  sut->turn();
  chip->counting->unreadable = {Bridging::VlanId(10u)};
  Json const answer = ask(clearAll);
  EXPECT_EQ(answer["error"]["code"], "failed") << answer;
  EXPECT_EQ(answer["error"]["text"],
            "nothing was cleared: VLAN 10 could not be read just now; try again");
  chip->counting->unreadable.clear();
  EXPECT_EQ(ask(clearAll)["cleared"], 1);
}

TEST_F(HostOfVlans, APollThatFailsDoesNotEndTheAgent) {
  start();
  chip->counting->onPoll = [](auto) { throw std::runtime_error("it is away"); };
  chip->vlanIs(10);
  testing::internal::CaptureStderr();
  EXPECT_NO_THROW(sut->turn());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("it is away"));
  chip->counting->onPoll = {};
  turnsFor(options.period + 0.2);
  EXPECT_NEAR(vlan(10)->lastUpdate, time.now(), 0.3);
}

TEST_F(HostOfVlans, AStartOfTheirsThatFailsDoesNotEndTheAgentAndIsTriedAgain) {
  start({}, false);
  TestClient client(options.tables);
  chip->counting->onInitialize = [](auto) { throw std::runtime_error("it is away"); };
  chip->vlanIs(10);
  chip->areTold = true;
  testing::internal::CaptureStderr();
  EXPECT_NO_THROW(turnsFor(1.0));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("it is away"));
  EXPECT_EQ(ask(client, {{"op", "ls"}})["names"], Json({"countersSm"}));
  chip->counting->onInitialize = {};
  octets(10) = 7;
  sut->turn();
  EXPECT_EQ(vlan(10)->counts.inOctets, 7u);
  EXPECT_EQ(ask(client, {{"op", "ls"}})["names"], Json({"countersSm", "vlanCountersSm"}));
  EXPECT_EQ(ask(client, clearAll)["cleared"], 1);
}

TEST_F(HostOfVlans, NewsThatHasToWaitIsPolledInTime) {
  start();
  chip->vlanIs(10);
  sut->turn();
  chip->vlanIs(20);
  octets(20) = 7;
  Kel::Seconds const next = sut->turn();
  EXPECT_LE(next, 0.1 + 1e-6);
  EXPECT_EQ(vlan(20)->lastUpdate, 0.0);
  time.nowIs(time.now() + 0.1);
  sut->turn();
  EXPECT_EQ(vlan(20)->counts.inOctets, 7u);
}

TEST_F(HostOfVlans, WithoutRoomAreToldAgainEveryFewSecondsAndToTheOperatorOnce) {
  testing::internal::CaptureStderr();
  start({.maxRows = 1});
  chip->vlanIs(10);
  turnsFor(1.0);
  EXPECT_EQ(chip->retold, 0);
  chip->refused = {20};
  chip->vlanIs(20);
  turnsFor(11.0);
  EXPECT_GE(chip->retold, 2);
  EXPECT_LE(chip->retold, 4);
  std::string said = testing::internal::GetCapturedStderr();
  EXPECT_THAT(said, HasSubstr("1 VLAN is not counted for want of room, the first is VLAN 20: "));
  EXPECT_EQ(said.find("want of room"), said.rfind("want of room"));

  chip->vlans.vlanDel(Bridging::VlanId(10u));
  turnsFor(6.0);
  EXPECT_TRUE(vlan(20));
  int const retold = chip->retold;
  turnsFor(6.0);
  EXPECT_EQ(chip->retold, retold);

  // And again, where it happens again.
  testing::internal::CaptureStderr();
  chip->refused = {30};
  chip->vlanIs(30);
  turnsFor(6.0);
  said = testing::internal::GetCapturedStderr();
  EXPECT_THAT(said, HasSubstr("the first is VLAN 30: "));
}

TEST_F(HostOfVlans, OneThatWentWithoutRoomIsForgottenAndTheNextIsTold) {
  start({.maxRows = 1});
  chip->vlanIs(10);
  for (std::uint64_t const id : {20u, 30u}) {
    testing::internal::CaptureStderr();
    chip->refused = {id};
    chip->vlanIs(id);
    turnsFor(6.0);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("the first is VLAN " + std::to_string(id)));
    chip->refused.clear();
    chip->vlans.vlanDel(Bridging::VlanId(id));
    turnsFor(0.2);
  }
}

}  // namespace
}  // namespace Agent
