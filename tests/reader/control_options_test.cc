// The command line of clear, get, ls, invoke and set.
#include <gmock/gmock.h>

#include <cstdlib>
#include <sstream>

#include "reader/options.h"

namespace Show {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Command = Options::Command;

class ControlCommandLine : public testing::Test {
 protected:
  ControlCommandLine() { ::unsetenv("ORU_TABLES"); }

  std::optional<ExitCode> parse(std::vector<char const*> arguments) {
    arguments.insert(arguments.begin(), "oru-counters");
    sut = {};
    return Show::parse(static_cast<int>(arguments.size()), arguments.data(), sut, out, err);
  }
  Options sut;
  std::ostringstream out, err;
};

TEST_F(ControlCommandLine, ClearTakesNamesOrAll) {
  EXPECT_EQ(parse({"clear", "Ethernet1", "eth*"}), std::nullopt);
  EXPECT_EQ(sut.command, Command::clear);
  EXPECT_THAT(sut.names, ElementsAre("Ethernet1", "eth*"));
  EXPECT_EQ(parse({"clear", "all"}), std::nullopt);
  EXPECT_EQ(parse({"clear"}), ExitCode::usage);
  EXPECT_EQ(parse({"clear", "all", "Ethernet1"}), ExitCode::usage);
}

TEST_F(ControlCommandLine, ClearCoppTakesClassesOrAll) {
  EXPECT_EQ(parse({"clear", "copp", "copp-bgp", "copp-*", "--json"}), std::nullopt);
  EXPECT_EQ(sut.command, Command::clearCopp);
  EXPECT_THAT(sut.names, ElementsAre("copp-bgp", "copp-*"));
  EXPECT_TRUE(sut.json);
  EXPECT_EQ(parse({"clear", "copp", "all"}), std::nullopt);
  EXPECT_EQ(parse({"clear", "copp"}), ExitCode::usage);
  EXPECT_THAT(err.str(), HasSubstr("'clear copp' must be told what: all, or classes\n"));
  EXPECT_EQ(parse({"clear", "copp", "all", "copp-bgp"}), ExitCode::usage);
  EXPECT_EQ(parse({"clear", "Ethernet1", "copp", "all"}), ExitCode::usage);
}

TEST_F(ControlCommandLine, ClearVlanTakesListsOrAll) {
  EXPECT_EQ(parse({"clear", "vlan", "10-20,30", "40", "--json"}), std::nullopt);
  EXPECT_EQ(sut.command, Command::clearVlans);
  EXPECT_THAT(sut.names, ElementsAre("10-20,30", "40"));
  EXPECT_TRUE(sut.json);
  EXPECT_EQ(parse({"clear", "vlan", "all"}), std::nullopt);
  EXPECT_THAT(sut.names, ElementsAre("all"));
  EXPECT_EQ(parse({"clear", "vlan"}), ExitCode::usage);
  EXPECT_THAT(err.str(), HasSubstr("'clear vlan' must be told what: all, or VLANs\n"));
  EXPECT_EQ(parse({"clear", "vlan", "all", "10"}), ExitCode::usage);
  EXPECT_THAT(err.str(), HasSubstr("'clear vlan all' takes no further names"));
  EXPECT_EQ(parse({"clear", "Ethernet1", "vlan", "10"}), ExitCode::usage);
  EXPECT_THAT(err.str(), HasSubstr("'clear vlan' takes VLANs, and no names of interfaces"));
}

TEST_F(ControlCommandLine, ClearVlanRefusesWhatIsNoVlan) {
  for (char const* const wrong : {"0", "4095", "20-10", "10,", "Vlan10", "all,10", ""})
    EXPECT_EQ(parse({"clear", "vlan", "10", wrong}), ExitCode::usage) << wrong;
  parse({"clear", "vlan", "4095"});
  EXPECT_THAT(err.str(), HasSubstr("'4095' is no VLAN: give ids from 1 to 4094"));
}

TEST_F(ControlCommandLine, PollTakesNamesOrAllAndAKind) {
  EXPECT_EQ(parse({"poll", "Ethernet1", "eth*"}), std::nullopt);
  EXPECT_EQ(sut.command, Command::poll);
  EXPECT_THAT(sut.names, ElementsAre("Ethernet1", "eth*"));
  EXPECT_EQ(sut.kind, "");
  for (char const* const kind : {"port", "queue", "acl", "vlan", "cpu"}) {
    EXPECT_EQ(parse({"poll", "all", "--kind", kind}), std::nullopt);
    EXPECT_EQ(sut.kind, kind);
  }
  EXPECT_EQ(parse({"poll"}), ExitCode::usage);
  EXPECT_THAT(err.str(), HasSubstr("'poll' must be told what: all, or names\n"));
  EXPECT_EQ(parse({"poll", "all", "Ethernet1"}), ExitCode::usage);
  EXPECT_THAT(err.str(), HasSubstr("'poll all' takes no further names"));
  EXPECT_EQ(parse({"poll", "all", "--kind", "ports"}), ExitCode::usage);
  EXPECT_THAT(err.str(), HasSubstr("'ports' is none of port, queue, acl, vlan, cpu"));
}

TEST_F(ControlCommandLine, TheWordsAreInTheirOrder) {
  EXPECT_EQ(parse({"get", "countersSm", "ocsd"}), std::nullopt);
  EXPECT_EQ(sut.command, Command::get);
  EXPECT_THAT(sut.words, ElementsAre("countersSm", "ocsd"));
  EXPECT_EQ(parse({"set", "countersSm", "x", "5"}), std::nullopt);
  EXPECT_EQ(sut.command, Command::set);
  EXPECT_THAT(sut.words, ElementsAre("countersSm", "x", "5"));
  EXPECT_EQ(parse({"invoke", "countersSm", "f", "1", "Ethernet1"}), std::nullopt);
  EXPECT_EQ(sut.command, Command::invoke);
  EXPECT_THAT(sut.words, ElementsAre("countersSm", "f", "1", "Ethernet1"));
  EXPECT_EQ(parse({"ls"}), std::nullopt);
  EXPECT_EQ(sut.command, Command::ls);
  EXPECT_THAT(sut.words, IsEmpty());
}

// An argument may be anything: empty, another command's name, or look like an option after --.
TEST_F(ControlCommandLine, WordsMayBeOfAnyKind) {
  EXPECT_EQ(parse({"set", "countersSm", "x", ""}), std::nullopt);
  EXPECT_THAT(sut.words, ElementsAre("countersSm", "x", ""));
  EXPECT_EQ(parse({"invoke", "countersSm", "f", "top"}), std::nullopt);
  EXPECT_THAT(sut.words, ElementsAre("countersSm", "f", "top"));
  EXPECT_EQ(parse({"set", "countersSm", "x", "--", "-5"}), std::nullopt);
  EXPECT_THAT(sut.words, ElementsAre("countersSm", "x", "-5"));
}

TEST_F(ControlCommandLine, TooFewAndTooManyWordsAreWrong) {
  EXPECT_EQ(parse({"get", "countersSm"}), ExitCode::usage);
  EXPECT_EQ(parse({"get", "countersSm", "a", "b"}), ExitCode::usage);
  EXPECT_EQ(parse({"set", "countersSm", "a"}), ExitCode::usage);
  EXPECT_EQ(parse({"invoke", "countersSm"}), ExitCode::usage);
  EXPECT_EQ(parse({"ls", "countersSm", "a", "b"}), ExitCode::usage);
}

TEST_F(ControlCommandLine, NamesAreNotEmpty) {
  EXPECT_EQ(parse({"poll", ""}), ExitCode::usage);
  EXPECT_THAT(err.str(), HasSubstr("'poll': a name is empty"));
  EXPECT_EQ(parse({"clear", "copp", "copp-bgp", ""}), ExitCode::usage);
}

TEST_F(ControlCommandLine, TheTimeoutIsWithinBounds) {
  EXPECT_EQ(parse({"ls"}), std::nullopt);
  EXPECT_EQ(sut.timeout, 10.0);
  EXPECT_EQ(parse({"ls", "--timeout", "0.5", "--json"}), std::nullopt);
  EXPECT_EQ(sut.timeout, 0.5);
  EXPECT_TRUE(sut.json);
  for (char const* const wrong : {"0", "-1", "nan", "4000", "x"})
    EXPECT_EQ(parse({"ls", "--timeout", wrong}), ExitCode::usage) << wrong;
}

TEST_F(ControlCommandLine, HelpHasExamples) {
  EXPECT_EQ(parse({"clear", "--help"}), ExitCode::ok);
  EXPECT_THAT(out.str(), HasSubstr("oru-counters clear all"));
}

TEST_F(ControlCommandLine, HelpOfWhatIsClearedHasTheOptionsOfAllThatIsAsked) {
  for (char const* const what : {"vlan", "copp"}) {
    out.str("");
    EXPECT_EQ(parse({"clear", what, "--help"}), ExitCode::ok);
    EXPECT_THAT(out.str(), HasSubstr("--json"));
    EXPECT_THAT(out.str(), HasSubstr("--timeout SECONDS"));
  }
}

TEST_F(ControlCommandLine, WhatIsClearedTakesATimeoutBeforeAndAfterItsWord) {
  EXPECT_EQ(parse({"clear", "vlan", "10", "--timeout", "0.5"}), std::nullopt);
  EXPECT_EQ(sut.timeout, 0.5);
  EXPECT_EQ(parse({"clear", "--timeout", "0.7", "copp", "all"}), std::nullopt);
  EXPECT_EQ(sut.timeout, 0.7);
}

}  // namespace
}  // namespace Show
