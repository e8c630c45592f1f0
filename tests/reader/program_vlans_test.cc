// `show vlans` as its users start it.
#include <gmock/gmock.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "platform/kel/system.h"
#include "tests/reader/program.h"

namespace Show {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

// VLANs 30, 4 and 100, of which 30 was cleared.
class ProgramOfVlans : public Program {
 protected:
  void SetUp() override {
    tables.start();
    tables.startVlans();
    tables.writeTwo();
    for (std::uint64_t const id : {30u, 4u, 100u}) {
      Glim::Bridging::VlanCounter row{Bridging::VlanId(id)};
      tables.writeClear(row);
      row.counts.inOctets = 1000 + id;
      row.lastUpdate = Kel::System::currentTime();
      tables.write(row);
      Bridging::VlanDescription description;
      description.vlanId = row.vlanId;
      description.bridge = std::string_view("br0");
      tables.write(description);
      row.counts.inOctets = 1000;
      if (id == 30) tables.writeClear(row);
    }
  }
};

TEST_F(ProgramOfVlans, ShowsThemInTheOrderOfTheirIds) {
  for (char const* const what : {"vlans", "vlan"}) {
    Result const result = run({"show", what});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, IsEmpty());
    auto const first = result.out.find("\n   4  br0 "), last = result.out.find("\n 100  br0 ");
    EXPECT_LT(first, result.out.find("\n  30  br0 "));
    EXPECT_LT(result.out.find("\n  30  br0 "), last);
    EXPECT_NE(last, std::string::npos) << result.out;
  }
}

TEST_F(ProgramOfVlans, ShowsCountsSinceTheClear) {
  auto const json = nlohmann::json::parse(run({"show", "vlans", "30,100", "--json"}).out);
  ASSERT_EQ(json["vlans"].size(), 2u);
  EXPECT_EQ(json["vlans"][0]["counters"]["inOctets"], 1030);
  EXPECT_EQ(json["vlans"][0]["sinceClear"]["inOctets"], 30);
  EXPECT_EQ(json["vlans"][1]["sinceClear"]["inOctets"], 1100);
  EXPECT_TRUE(json["vlans"][1]["cleared"].is_null());
  EXPECT_EQ(json["agent"]["state"], "running");
}

TEST_F(ProgramOfVlans, AnUnknownVlanIsToldAndWrongOnesAreWrongUsage) {
  Result const unknown = run({"show", "vlans", "5-29", "30"});
  EXPECT_EQ(unknown.exitCode, 3);
  EXPECT_EQ(unknown.err, "oru-counters: there is no VLAN 5-29\n");
  EXPECT_THAT(unknown.out, HasSubstr("\n  30  br0 "));
  Result const wrong = run({"show", "vlans", "0"});
  EXPECT_EQ(wrong.exitCode, 2);
  EXPECT_THAT(wrong.out, IsEmpty());
}

TEST_F(ProgramOfVlans, WithoutTheirTableItSaysWhatThatMeans) {
  tables.stop();
  for (auto const table :
       {Bridging::kVlanCounters, Bridging::kVlanCounterSnapshots, Bridging::kVlanDescriptions})
    std::filesystem::remove(tables.file(table));
  Result const result = run({"show", "vlans"});
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_THAT(result.err, HasSubstr("the agent counts no VLANs"));
  EXPECT_THAT(result.out, IsEmpty());
  EXPECT_EQ(run({"show", "interfaces"}).exitCode, 0);
}

TEST_F(ProgramOfVlans, OfADeadAgentTheyAreStaleAndACorruptRowIsLeftOut) {
  tables.stop();
  tables.damageRow(Bridging::kVlanCounters, 0);
  Result const result = run({"show", "vlans"});
  EXPECT_EQ(result.exitCode, 9);
  EXPECT_EQ(result.err,
            "oru-counters: 1 corrupt row of " + tables.file("vlanCounters") + " was left out\n");
  EXPECT_THAT(result.out, HasSubstr("stale"));
  EXPECT_THAT(result.out, HasSubstr("\n  30  br0           n/a "));
}

}  // namespace
}  // namespace Show
