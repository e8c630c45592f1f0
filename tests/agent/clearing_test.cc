#include "agent/clearing.h"

#include <gmock/gmock.h>

#include "agent/control_request.h"
#include "platform/kel/type_node.h"
#include "tests/agent/control_box.h"
#include "tests/support/temporary_tables.h"

namespace Agent {
namespace {

using testing::HasSubstr;

// Stands in for the state machine of the counters, as far as it is reached by name.
class StandIn : public Kel::StateMachine<StandIn, Kel::ReactorOwner> {
 public:
  void updateCounters(Kel::String type, Kel::String name) {
    if (onUpdate) onUpdate(type.str(), name.str());
  }
  static constexpr auto kelDescription() {
    return Kel::describe("Agent::StandIn", Kel::collection("portCountersSm", &StandIn::ports),
                         Kel::operation("updateCounters", &StandIn::updateCounters));
  }
  static Kel::TypeNode const _kelType;

  std::function<void(std::string const& type, std::string const& name)> onUpdate;
  Kel::HashMap<Box, Kel::Name> ports;
};
Kel::TypeNode const StandIn::_kelType = Kel::typeNode<StandIn>();

class ClearingTest : public testing::Test {
 protected:
  static constexpr Kel::Seconds kNow = 100.0;

  ClearingTest() {
    sample("Ethernet1", kNow);
    counters->ports.newMember("Ethernet1", Kel::Name("Ethernet1"));
  }
  void sample(char const* name, Kel::Seconds when) {
    Interface::EthIntfCounterGlim row;
    row.intfId = name;
    row.statistics.inOctets = 7;
    row.statistics.lastUpdate = when;
    tables.intfCounters()->counterIs(row);
  }
  // The library's part of a clear.
  struct Library : Oru::HwCliConfig::NotifieeConst {
    using NotifieeConst::onClearCountersRequest;
    Library(Kel::Ptr<Oru::HwCliConfig> const& requests, Tables& all) : tables(all) {
      notifierIs(requests);
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
    }
    void onClearCountersRequest(Kel::String request) override {
      heard.push_back(request.str());
      if (works)
        tables.intfCounters()->forEach(
            [&](auto const& row) { tables.intfClearCounters()->counterIs(row); });
    }
    Tables& tables;
    bool works = true;
    std::vector<std::string> heard;
  };
  std::string refusal(std::vector<std::string> const& names) {
    try {
      names.empty() ? void(sut.all()) : void(sut.these(names));
      return "cleared";
    } catch (ControlError const& error) {
      code = error.code();
      return error.what();
    }
  }

  Support::TemporaryTables place;
  Tables tables{place.directory().string(), {.maxRows = 16}};
  Kel::Ptr<StandIn> counters = Kel::instance<StandIn>();
  Kel::Ptr<Oru::HwCliConfig> requests = Kel::make<Oru::HwCliConfig>();
  Kel::Ptr<Library> library = Kel::make<Library>(requests, tables);
  ControlCode code = ControlCode::badRequest;
  Clearing sut{counters, requests, tables, [] { return kNow; }};
};

TEST_F(ClearingTest, PollsPortAndQueuesAndThenAsks) {
  std::vector<std::string> polled;
  counters->onUpdate = [&](std::string const& type, std::string const& name) {
    EXPECT_TRUE(library->heard.empty());
    polled.push_back(type + " " + name);
  };
  EXPECT_EQ(refusal({"Ethernet1"}), "cleared");
  EXPECT_EQ(polled, (std::vector<std::string>{"1 Ethernet1", "0 Ethernet1"}));
  EXPECT_EQ(library->heard, std::vector<std::string>{"Ethernet1"});
}

TEST_F(ClearingTest, APollThatFailsClearsNothing) {
  counters->onUpdate = [](auto const&, auto const&) { throw std::runtime_error("it is away"); };
  for (std::vector<std::string> const& names : {std::vector<std::string>{}, {"Ethernet1"}}) {
    EXPECT_EQ(refusal(names), "nothing was cleared: Ethernet1 could not be polled: it is away");
    EXPECT_EQ(code, ControlCode::failed);
  }
  EXPECT_TRUE(library->heard.empty());
}

TEST_F(ClearingTest, APollThatReadNothingClearsNothing) {
  sample("Ethernet1", kNow - 1.0);
  EXPECT_THAT(refusal({"Ethernet1"}), HasSubstr("Ethernet1 could not be read just now"));
  EXPECT_THAT(refusal({}), HasSubstr("nothing was cleared"));
  EXPECT_TRUE(library->heard.empty());
  counters->onUpdate = [&](auto const&, auto const&) { sample("Ethernet1", kNow); };
  EXPECT_EQ(refusal({"Ethernet1"}), "cleared");
}

TEST_F(ClearingTest, AnInterfaceThatWentIsClearedAsItWasLeft) {
  sample("Ethernet2", kNow - 50.0);  // without a poller
  EXPECT_EQ(refusal({"Ethernet2"}), "cleared");
}

TEST_F(ClearingTest, WhatIsNoEthernetInterfaceIsToldAsSuchAndNothingIsCleared) {
  for (std::string const name : {"Vlan7", "Cpu"}) {
    EXPECT_EQ(refusal({"Ethernet1", name}), "only Ethernet interfaces can be cleared, which " +
                                                name + " is not, and nothing was cleared");
    EXPECT_EQ(code, ControlCode::unknownInterface);
  }
  EXPECT_TRUE(library->heard.empty());
}

TEST_F(ClearingTest, AClearThatTheLibraryDoesNotDoIsToldAsFailed) {
  library->works = false;
  EXPECT_THAT(refusal({"Ethernet1"}), HasSubstr("Ethernet1 could not be cleared"));
  EXPECT_EQ(code, ControlCode::failed);
  EXPECT_THAT(refusal({}), HasSubstr("Ethernet1 could not be cleared"));
}

}  // namespace
}  // namespace Agent
