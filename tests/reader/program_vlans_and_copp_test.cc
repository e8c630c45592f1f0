// `show vlan-interfaces` and `show copp` as their users start them.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "platform/kel/system.h"
#include "tests/reader/program.h"

namespace Show {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// Two Ethernet interfaces, a VLAN interface, and two classes.
class ProgramOfVlansAndCopp : public Program {
 protected:
  void SetUp() override {
    tables.start();
    tables.startQueuesAndDrops();
    tables.startVlansAndCopp();
    tables.writeTwo();
    Interface::IntfDescription description;
    description.intfId = "Vlan7";
    description.kernelName = std::string_view("eth0.7");
    description.adminState = Interface::AdminState::up;
    description.operState = Interface::OperState::up;
    tables.write(description);
    Interface::VlanIntfCounterGlim vlan;
    vlan.intfId = "Vlan7";
    vlan.statistics.inOctets = 4242;
    vlan.statistics.lastUpdate = Kel::System::currentTime();
    tables.write(vlan);
    Qos::CoppClassCounter row;
    row.policyMap = std::string_view("copp-system-policy");
    row.lastUpdate = Kel::System::currentTime();
    for (char const* const name : {"copp-ospf", "copp-bgp"}) {
      row.className = name;
      row.pkts += 10;
      tables.write(row);
    }
  }
};

TEST_F(ProgramOfVlansAndCopp, ShowsVlanIntfsAndNoOthers) {
  for (char const* const what : {"vlan-interfaces", "vlan-interface"}) {
    Result const result = run({"show", what});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_THAT(result.out, StartsWith("Agent running, process " + std::to_string(::getpid())));
    EXPECT_THAT(result.out, HasSubstr("\nVlan7      eth0.7  up          4242 "));
    EXPECT_THAT(result.out, Not(HasSubstr("Ethernet")));
  }
}

TEST_F(ProgramOfVlansAndCopp, ShowsThemNowhereElse) {
  for (std::string const what : {"interfaces", "queues", "drops"}) {
    Result const result = run({"show", what});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr("\nEthernet1 ")) << what;
    EXPECT_THAT(result.out, Not(HasSubstr("Vlan"))) << what;
  }
  EXPECT_THAT(run({"top", "--for", "0"}).out, Not(HasSubstr("Vlan")));
}

TEST_F(ProgramOfVlansAndCopp, ShowsClassesByTheirNames) {
  Result const result = run({"show", "copp"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.err, IsEmpty());
  EXPECT_THAT(result.out, HasSubstr("\ncopp-bgp   copp-system-policy       20 "));
  EXPECT_THAT(result.out, HasSubstr("\ncopp-ospf  copp-system-policy       10 "));
  EXPECT_LT(result.out.find("copp-bgp"), result.out.find("copp-ospf"));
  Result const unknown = run({"show", "copp", "nope"});
  EXPECT_EQ(unknown.exitCode, 3);
  EXPECT_EQ(unknown.err, "oru-counters: there is no class nope\n");
}

TEST_F(ProgramOfVlansAndCopp, PrintsJsonThatParses) {
  auto const vlans = nlohmann::json::parse(run({"show", "vlan-interfaces", "--json"}).out);
  ASSERT_EQ(vlans["interfaces"].size(), 1u);
  EXPECT_EQ(vlans["interfaces"][0]["counters"]["inOctets"], 4242);
  auto const copp = nlohmann::json::parse(run({"show", "copp", "copp-bgp", "--json"}).out);
  ASSERT_EQ(copp["classes"].size(), 1u);
  EXPECT_EQ(copp["classes"][0]["counters"]["pkts"], 20);
}

TEST_F(ProgramOfVlansAndCopp, LeavesACorruptRowOutAndSaysSo) {
  tables.stop();
  tables.damageRow(Interface::kVlanIntfCounters, 0);
  tables.damageRow(Qos::kCoppCounters, 0);
  Result const vlans = run({"show", "vlan-interfaces"});
  EXPECT_EQ(vlans.exitCode, 9);
  EXPECT_EQ(vlans.err, "oru-counters: 1 corrupt row of " + tables.file("vlanIntfCounters") +
                           " was left out\n");
  EXPECT_THAT(vlans.out, HasSubstr("\nVlan7      eth0.7  up           n/a "));
  Result const copp = run({"show", "copp"});
  EXPECT_EQ(copp.exitCode, 9);
  EXPECT_EQ(copp.err,
            "oru-counters: 1 corrupt row of " + tables.file("coppCounters") + " was left out\n");
  EXPECT_THAT(copp.out, HasSubstr("stale"));
}

TEST_F(ProgramOfVlansAndCopp, SaysWhatAMissingTableMeansToThoseWhoNeedIt) {
  tables.stop();
  for (auto const table : {Interface::kVlanIntfCounters, Qos::kCoppCounters})
    std::filesystem::remove(tables.file(table));
  Result const vlans = run({"show", "vlan-interfaces"});
  EXPECT_EQ(vlans.exitCode, 4);
  EXPECT_THAT(vlans.err, HasSubstr("the agent counts no VLAN interfaces"));
  EXPECT_THAT(vlans.out, IsEmpty());
  Result const copp = run({"show", "copp"});
  EXPECT_EQ(copp.exitCode, 4);
  EXPECT_THAT(copp.err, HasSubstr("the agent's chip has no control-plane policing"));
  EXPECT_THAT(copp.out, IsEmpty());
  for (std::string const what : {"interfaces", "queues", "drops"})
    EXPECT_EQ(run({"show", what}).exitCode, 0) << what;
}

TEST_F(ProgramOfVlansAndCopp, ChecksTheTablesOfBothInFull) {
  Result const result = run({"tables", "verify", "vlanIntfCounters", "coppCounters"});
  EXPECT_EQ(result.exitCode, 0) << result.out;
  EXPECT_THAT(result.out, HasSubstr("coppCounters: good; 2 rows"));
  EXPECT_THAT(run({"tables", "dump", "coppCounters"}).out, HasSubstr("copp-ospf"));
}

}  // namespace
}  // namespace Show
