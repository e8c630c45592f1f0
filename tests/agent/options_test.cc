#include "agent/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "hardware/simulated/chip.h"
#include "tests/support/temporary_folder.h"

namespace Agent {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class OptionsTest : public ::testing::Test {
 protected:
  OptionsTest() { ::unsetenv("ORU_TABLES"); }
  ~OptionsTest() override { ::unsetenv("ORU_TABLES"); }

  static std::variant<Options, Finished> read(std::vector<std::string> const& arguments) {
    std::vector<char const*> argv{"oru-agentd"};
    for (auto const& argument : arguments) argv.push_back(argument.c_str());
    return readOptions(static_cast<int>(argv.size()), argv.data());
  }
  static Options options(std::vector<std::string> const& arguments) {
    auto const answer = read(arguments);
    if (auto const* const finished = std::get_if<Finished>(&answer)) ADD_FAILURE() << finished->err;
    return std::holds_alternative<Options>(answer) ? std::get<Options>(answer) : Options();
  }
  // What it says when it refuses.
  static std::string refusal(std::vector<std::string> const& arguments) {
    auto const answer = read(arguments);
    auto const* const finished = std::get_if<Finished>(&answer);
    if (finished == nullptr) return "accepted";
    EXPECT_EQ(finished->status, 2);
    EXPECT_THAT(finished->out, IsEmpty());
    return finished->err;
  }
  std::string config(std::string const& text) {
    std::ofstream(_folder.text("config.toml")) << text;
    return _folder.text("config.toml");
  }

 private:
  Support::TemporaryFolder const _folder{::testing::TempDir()};
};

TEST_F(OptionsTest, NothingAskedForIsTheKernelsLinksEveryTwoSeconds) {
  Options const sut = options({});
  EXPECT_EQ(sut.tables, "/dev/shm/oru-counters");
  EXPECT_EQ(sut.period, 2.0);
  EXPECT_EQ(sut.chip, ChipKind::kernel);
  EXPECT_THAT(sut.interfaces, IsEmpty());
  EXPECT_FALSE(sut.loadInterval.configured());
  EXPECT_FALSE(sut.keepCounters);
  EXPECT_EQ(sut.traceLevels, 0u);
}

TEST_F(OptionsTest, TakesEveryOption) {
  Options const sut =
      options({"--tables", "/run/oru", "--period", "0.25", "--interfaces", "eth*", "swp1",
               "--load-interval", "60", "--keep-counters", "--trace", "6-8"});
  EXPECT_EQ(sut.tables, "/run/oru");
  EXPECT_EQ(sut.period, 0.25);
  EXPECT_THAT(sut.interfaces, ElementsAre("eth*", "swp1"));
  EXPECT_EQ(sut.loadInterval, Interface::LoadInterval(60.0));
  EXPECT_TRUE(sut.keepCounters);
  EXPECT_EQ(sut.traceLevels, 0x1c0u);
}

TEST_F(OptionsTest, TheSimulatedChipHasPortsAndASeed) {
  Options const sut = options({"--chip", "simulated", "--ports", "48", "--seed", "7"});
  EXPECT_EQ(sut.chip, ChipKind::simulated);
  EXPECT_EQ(sut.ports, 48u);
  EXPECT_EQ(sut.seed, 7u);
}

TEST_F(OptionsTest, OptionsOfTheSimulatedChipAreRefusedWithoutIt) {
  EXPECT_THAT(refusal({"--ports", "4"}), HasSubstr("--ports needs --chip simulated"));
  EXPECT_THAT(refusal({"--seed", "4"}), HasSubstr("--seed needs --chip simulated"));
}

TEST_F(OptionsTest, AScriptTellsWhatTheSimulatedChipHas) {
  std::string const script = config("at 0 port Ethernet7 inUcastPkts 10pps 100B\n");
  Options const sut = options({"--chip", "simulated", "--script", script});
  ASSERT_TRUE(sut.scripted);
  auto const* const port = sut.scripted->find(Pekt::IntfId("Ethernet7"));
  ASSERT_TRUE(port);
  EXPECT_EQ(port->sample(2.0).inOctets, 2000u);
  EXPECT_FALSE(options({"--chip", "simulated"}).scripted);
}

TEST_F(OptionsTest, AScriptThatIsWrongIsRefusedWithItsLine) {
  std::string const script = config("# port\nat 0 port Ethernet7 explode\n");
  EXPECT_THAT(refusal({"--chip", "simulated", "--script", script}),
              StartsWith("oru-agentd: " + script + ": line 2: unknown event 'explode'\n"));
  EXPECT_THAT(refusal({"--chip", "simulated", "--script", "/nonexistent"}),
              HasSubstr("/nonexistent: cannot be read: No such file"));
  EXPECT_THAT(refusal({"--chip", "simulated", "--script", "/"}),
              HasSubstr("cannot be read: Is a directory"));
}

TEST_F(OptionsTest, AScriptTakesThePlaceOfPortsAndSeed) {
  std::string const script = config("");
  EXPECT_THAT(refusal({"--script", script}), HasSubstr("--script needs --chip simulated"));
  for (char const* const other : {"--ports", "--seed", "--vlan-interfaces"})
    EXPECT_THAT(refusal({"--chip", "simulated", "--script", script, other, "1"}), HasSubstr(other));
}

TEST_F(OptionsTest, TheFileIsCheckedAlone) {
  auto const checked = [](std::string const& path) {
    return std::get<Finished>(read({"--check-config", "--config", path}));
  };
  std::string const path = config("period = 0.5\n");
  Finished const good = checked(path);
  EXPECT_EQ(good.status, 0);
  EXPECT_EQ(good.out, path + ": nothing is wrong with it\n");
  EXPECT_THAT(good.err, IsEmpty());
  config("perod = 0.5\n");
  EXPECT_EQ(checked(path).status, 2);
  EXPECT_THAT(checked(path).err, HasSubstr(":1: perod is not a setting"));
  EXPECT_THAT(refusal({"--check-config"}), HasSubstr("--check-config needs --config FILE"));
}

TEST_F(OptionsTest, LinksCannotBeChosenOnTheSimulatedChip) {
  EXPECT_THAT(refusal({"--chip", "simulated", "--interfaces", "eth*"}), HasSubstr("--interfaces"));
}

TEST_F(OptionsTest, AChipThatIsNoneIsRefused) {
  EXPECT_THAT(refusal({"--chip", "broken"}),
              HasSubstr("--chip: 'broken' is no chip: there are linux and simulated\n"));
}

TEST_F(OptionsTest, APeriodThatIsNoneIsRefusedWithItsBounds) {
  for (char const* const period : {"0", "0.04", "3601", "-1", "nan", "inf", "2s", "", "1e400"})
    EXPECT_THAT(refusal({"--period", period}), HasSubstr("number of seconds from 0.05 to 3600"))
        << period;
}

TEST_F(OptionsTest, TheBoundsOfThePeriodAreAllowed) {
  EXPECT_EQ(options({"--period", "0.05"}).period, 0.05);
  EXPECT_EQ(options({"--period", "3600"}).period, 3600.0);
}

TEST_F(OptionsTest, ANumberOfPortsThatIsNoneIsRefused) {
  for (char const* const ports : {"0", "-1", "4097", "many", "1.5"})
    EXPECT_THAT(refusal({"--chip", "simulated", "--ports", ports}),
                HasSubstr("number of ports from 1 to 4096"))
        << ports;
}

TEST_F(OptionsTest, ARefusalNamesTheProgramAndTheWayToHelp) {
  std::string const text = refusal({"--period", "0"});
  EXPECT_THAT(text, StartsWith("oru-agentd: --period"));
  EXPECT_THAT(text, HasSubstr("Try 'oru-agentd --help'."));
}

TEST_F(OptionsTest, WhatIsNoOptionIsRefused) {
  EXPECT_THAT(refusal({"--frobnicate"}), HasSubstr("--frobnicate"));
  EXPECT_THAT(refusal({"eth0"}), HasSubstr("eth0"));
  EXPECT_THAT(refusal({"--tables"}), HasSubstr("--tables"));
}

TEST_F(OptionsTest, AnOptionGivenAgainCounts) {
  EXPECT_EQ(options({"--period", "1", "--period", "5"}).period, 5.0);
}

TEST_F(OptionsTest, HelpGoesToStandardOutputAndIsNoError) {
  auto const answer = read({"--help"});
  auto const& sut = std::get<Finished>(answer);
  EXPECT_EQ(sut.status, 0);
  EXPECT_THAT(sut.err, IsEmpty());
  for (char const* const option :
       {"--tables", "--period", "--interfaces", "--chip", "--ports", "--seed", "--trace",
        "--config", "--load-interval", "--keep-counters", "--version", "ORU_TABLES"})
    EXPECT_THAT(sut.out, HasSubstr(option));
}

TEST_F(OptionsTest, VersionIsOneLine) {
  auto const answer = read({"--version"});
  auto const& sut = std::get<Finished>(answer);
  EXPECT_EQ(sut.status, 0);
  EXPECT_THAT(sut.out, ::testing::MatchesRegex("oru-agentd [0-9.]+\n"));
}

TEST_F(OptionsTest, TheEnvironmentNamesTheTables) {
  ::setenv("ORU_TABLES", "/run/from-environment", 1);
  EXPECT_EQ(options({}).tables, "/run/from-environment");
  EXPECT_EQ(options({"--tables", "/run/given"}).tables, "/run/given");
}

TEST_F(OptionsTest, AnEmptyVariableIsNone) {
  ::setenv("ORU_TABLES", "", 1);
  EXPECT_EQ(options({}).tables, "/dev/shm/oru-counters");
}

TEST_F(OptionsTest, ARelativeDirectoryIsMadeAbsolute) {
  EXPECT_EQ(options({"--tables", "x/../tables"}).tables.front(), '/');
  EXPECT_THAT(options({"--tables", "x/../tables"}).tables, ::testing::EndsWith("/tables"));
}

TEST_F(OptionsTest, NoDirectoryIsRefused) {
  EXPECT_THAT(refusal({"--tables", ""}), HasSubstr("--tables"));
}

TEST_F(OptionsTest, TheFileCountsBeforeTheDefaults) {
  Options const sut = options({"--config", config("tables = '/run/file'\nperiod = 9\n"
                                                  "interfaces = ['eth*']\nload-interval = 20\n"
                                                  "keep-counters = true\n"
                                                  "[names]\neth0 = 'Ethernet1'\n")});
  EXPECT_EQ(sut.tables, "/run/file");
  EXPECT_EQ(sut.period, 9.0);
  EXPECT_THAT(sut.interfaces, ElementsAre("eth*"));
  EXPECT_EQ(sut.loadInterval.seconds(), 20.0);
  EXPECT_TRUE(sut.keepCounters);
  EXPECT_EQ(sut.names.at("eth0"), Pekt::IntfId("Ethernet1"));
}

TEST_F(OptionsTest, TheCommandLineCountsBeforeTheFile) {
  std::string const file = config("tables = '/run/file'\nperiod = 9\ninterfaces = ['eth*']\n");
  Options const sut = options(
      {"--tables", "/run/given", "--period", "3", "--interfaces", "swp*", "--config", file});
  EXPECT_EQ(sut.tables, "/run/given");
  EXPECT_EQ(sut.period, 3.0);
  EXPECT_THAT(sut.interfaces, ElementsAre("swp*"));
}

TEST_F(OptionsTest, TheEnvironmentCountsBeforeTheFile) {
  ::setenv("ORU_TABLES", "/run/from-environment", 1);
  EXPECT_EQ(options({"--config", config("tables = '/run/file'\n")}).tables,
            "/run/from-environment");
}

TEST_F(OptionsTest, AFileThatIsWrongIsRefused) {
  EXPECT_THAT(refusal({"--config", config("period = 0\n")}), HasSubstr(".toml:1: "));
  EXPECT_THAT(refusal({"--config", "/nonexistent.toml"}), HasSubstr("cannot read"));
}

TEST(TraceLevels, SingleListsAndRanges) {
  EXPECT_EQ(readTraceLevels("7"), 0x80u);
  EXPECT_EQ(readTraceLevels("7,8"), 0x180u);
  EXPECT_EQ(readTraceLevels("6-8"), 0x1c0u);
  EXPECT_EQ(readTraceLevels("1,6-8,31"), 0x800001c2u);
}

TEST(TraceLevels, AnythingElseIsNone) {
  for (char const* const text : {"", ",", "7,", "8-6", "32", "-1", "a", "7-", "7 8", "6-8-9"})
    EXPECT_EQ(readTraceLevels(text), std::nullopt) << text;
}

}  // namespace
}  // namespace Agent
