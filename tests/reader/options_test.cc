#include "reader/options.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <sstream>

#include "reader/show_commands.h"

namespace Show {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class CommandLine : public testing::Test {
 protected:
  CommandLine() { ::unsetenv("ORU_TABLES"); }
  ~CommandLine() override { ::unsetenv("ORU_TABLES"); }

  std::optional<ExitCode> parse(std::vector<char const*> arguments) {
    arguments.insert(arguments.begin(), "oru-counters");
    return Show::parse(static_cast<int>(arguments.size()), arguments.data(), sut, out, err);
  }
  Options sut;
  std::ostringstream out, err;
};

TEST_F(CommandLine, ShowInterfacesTakesNames) {
  EXPECT_EQ(parse({"show", "interfaces", "Ethernet1", "eth*"}), std::nullopt);
  EXPECT_EQ(sut.show, &kShowInterfaces);
  EXPECT_THAT(sut.names, ElementsAre("Ethernet1", "eth*"));
  EXPECT_EQ(sut.basis(), Basis::total);
}

TEST_F(CommandLine, ShowInterfacesTakesItsFlags) {
  EXPECT_EQ(parse({"show", "interfaces", "--errors", "--rates", "--json", "--since-clear"}),
            std::nullopt);
  EXPECT_TRUE(sut.errors && sut.rates && sut.json);
  EXPECT_EQ(sut.basis(), Basis::sinceClear);
}

TEST_F(CommandLine, ShowVlanInterfacesTakesNamesAndRates) {
  EXPECT_EQ(parse({"show", "vlan-interfaces", "Vlan7", "eth0.*", "--rates", "--json"}),
            std::nullopt);
  EXPECT_EQ(sut.show, &kShowVlanInterfaces);
  EXPECT_THAT(sut.names, ElementsAre("Vlan7", "eth0.*"));
  EXPECT_TRUE(sut.rates && sut.json);
  for (char const* const flag : {"--errors", "--since-clear"})
    EXPECT_EQ(parse({"show", "vlan-interfaces", flag}), ExitCode::usage);
}

TEST_F(CommandLine, ShowCoppTakesClassesAndItsFlag) {
  EXPECT_EQ(parse({"show", "copp", "copp-*", "--since-reset", "--json"}), std::nullopt);
  EXPECT_EQ(sut.show, &kShowCopp);
  EXPECT_THAT(sut.names, ElementsAre("copp-*"));
  EXPECT_TRUE(sut.sinceReset && sut.json);
  EXPECT_EQ(parse({"show", "copp"}), std::nullopt);
  EXPECT_EQ(parse({"show", "copp", "--since-clear"}), ExitCode::usage);
}

TEST_F(CommandLine, ShowVlansTakesListsAndFlags) {
  EXPECT_EQ(parse({"show", "vlans", "10-20,30", "40", "--since-clear", "--json"}), std::nullopt);
  EXPECT_EQ(sut.show, &kShowVlans);
  EXPECT_THAT(sut.names, ElementsAre("10-20,30", "40"));
  EXPECT_EQ(sut.basis(), Basis::sinceClear);
  EXPECT_TRUE(sut.json);
  EXPECT_EQ(parse({"show", "vlan"}), std::nullopt);
  EXPECT_EQ(sut.show, &kShowVlans);
  EXPECT_EQ(parse({"show", "vlans", "--rates"}), ExitCode::usage);
}

TEST_F(CommandLine, ShowVlansRefusesWhatIsNoVlan) {
  for (char const* const wrong : {"0", "4095", "20-10", "10,", "Vlan10", "all", ""})
    EXPECT_EQ(parse({"show", "vlans", "10", wrong}), ExitCode::usage) << wrong;
  parse({"show", "vlans", "4095"});
  EXPECT_THAT(err.str(), HasSubstr("'4095' is no VLAN: give ids from 1 to 4094"));
}

TEST_F(CommandLine, ShowQueuesTakesNamesAndFlags) {
  EXPECT_EQ(parse({"show", "queues", "Ethernet1", "eth*"}), std::nullopt);
  EXPECT_EQ(sut.show, &kShowQueues);
  EXPECT_THAT(sut.names, ElementsAre("Ethernet1", "eth*"));
  EXPECT_EQ(sut.basis(), Basis::total);
  EXPECT_EQ(parse({"show", "queues", "--since-clear", "--json"}), std::nullopt);
  EXPECT_TRUE(sut.json);
  EXPECT_EQ(sut.basis(), Basis::sinceClear);
}

TEST_F(CommandLine, ShowDropsTakesNamesAndJson) {
  EXPECT_EQ(parse({"show", "drops", "Ethernet1", "--json"}), std::nullopt);
  EXPECT_EQ(sut.show, &kShowDrops);
  EXPECT_THAT(sut.names, ElementsAre("Ethernet1"));
  EXPECT_TRUE(sut.json);
}

TEST_F(CommandLine, TopCountsSinceTheClearWhenTold) {
  EXPECT_EQ(parse({"top", "--since-clear"}), std::nullopt);
  EXPECT_EQ(sut.basis(), Basis::sinceClear);
}

TEST_F(CommandLine, TopTakesItsOptions) {
  EXPECT_EQ(parse({"top", "--interval", "0.5", "--for", "10", "--sort", "errors"}), std::nullopt);
  EXPECT_EQ(sut.command, Options::Command::top);
  EXPECT_EQ(sut.interval, 0.5);
  EXPECT_EQ(sut.duration, 10.0);
  EXPECT_EQ(sut.sort, SortKey::errors);
}

TEST_F(CommandLine, TablesIsTheListOfThem) {
  EXPECT_EQ(parse({"tables"}), std::nullopt);
  EXPECT_EQ(sut.command, Options::Command::tablesList);
  EXPECT_EQ(parse({"tables", "list", "--json"}), std::nullopt);
  EXPECT_EQ(sut.command, Options::Command::tablesList);
  EXPECT_TRUE(sut.json);
}

TEST_F(CommandLine, TablesVerifyTakesNamesAndProgress) {
  EXPECT_EQ(parse({"tables", "verify"}), std::nullopt);
  EXPECT_EQ(sut.command, Options::Command::tablesVerify);
  EXPECT_THAT(sut.names, IsEmpty());
  EXPECT_EQ(parse({"tables", "verify", "intf*", "other", "--progress", "--json"}), std::nullopt);
  EXPECT_THAT(sut.names, ElementsAre("intf*", "other"));
  EXPECT_TRUE(sut.progress && sut.json);
}

TEST_F(CommandLine, TablesDumpTakesOneName) {
  EXPECT_EQ(parse({"tables", "--json", "dump", "intfCounters", "--tables", "/d"}), std::nullopt);
  EXPECT_EQ(sut.command, Options::Command::tablesDump);
  EXPECT_THAT(sut.names, ElementsAre("intfCounters"));
  EXPECT_TRUE(sut.json);
  EXPECT_EQ(sut.directory, "/d");
  for (auto const& wrong :
       {std::vector<char const*>{"tables", "dump"}, {"tables", "dump", "one", "two"}})
    EXPECT_EQ(parse(wrong), ExitCode::usage);
}

TEST_F(CommandLine, WhatTablesCannotDoIsRefusedByItsWord) {
  EXPECT_EQ(parse({"tables", "mend"}), ExitCode::usage);
  EXPECT_THAT(err.str(), HasSubstr("mend"));
}

TEST_F(CommandLine, EverySortKeyIsKnownByItsName) {
  for (std::size_t i = 0; i < kSortKeyNames.size(); ++i) {
    EXPECT_EQ(parse({"top", "--sort", std::string(kSortKeyNames[i]).c_str()}), std::nullopt);
    EXPECT_EQ(sut.sort, static_cast<SortKey>(i));
  }
}

TEST_F(CommandLine, TheDirectoryMayStandBeforeOrAfterTheCommand) {
  EXPECT_EQ(parse({"--tables", "/a", "top"}), std::nullopt);
  EXPECT_EQ(sut.directory, "/a");
  EXPECT_EQ(parse({"show", "interfaces", "--tables", "/b"}), std::nullopt);
  EXPECT_EQ(sut.directory, "/b");
}

TEST_F(CommandLine, TheDirectoryIsThatOfTheEnvironmentElseTheUsualOne) {
  EXPECT_EQ(parse({"top"}), std::nullopt);
  EXPECT_EQ(sut.directory, "/dev/shm/oru-counters");
  ::setenv("ORU_TABLES", "/c", 1);
  EXPECT_EQ(parse({"top"}), std::nullopt);
  EXPECT_EQ(sut.directory, "/c");
  ::setenv("ORU_TABLES", "", 1);
  EXPECT_EQ(parse({"top"}), std::nullopt);
  EXPECT_EQ(sut.directory, "/dev/shm/oru-counters");
}

TEST_F(CommandLine, TheUsualDirectoryIsNotNamedUnlessTheUserSaysSo) {
  parse({"top"});
  EXPECT_FALSE(sut.directoryNamed);
  parse({"top", "--tables", "/dev/shm/oru-counters"});
  EXPECT_TRUE(sut.directoryNamed);
  ::setenv("ORU_TABLES", "", 1);
  parse({"top"});
  EXPECT_FALSE(sut.directoryNamed);
  ::setenv("ORU_TABLES", "/c", 1);
  parse({"top"});
  EXPECT_TRUE(sut.directoryNamed);
}

TEST_F(CommandLine, WrongUsageIsRefusedWithAMessage) {
  using Arguments = std::vector<char const*>;
  for (Arguments const& wrong :
       {Arguments{}, Arguments{"show"}, Arguments{"shw"}, Arguments{"top", "--interval", "0"},
        Arguments{"top", "--interval", "soon"}, Arguments{"top", "--for", "-1"},
        Arguments{"top", "--sort", "colour"}, Arguments{"show", "interfaces", "--loud"},
        Arguments{"top", "--rates"}, Arguments{"show", "drops", "--since-clear"},
        Arguments{"show", "queues", "--rates"}, Arguments{"show", "interfaces", "--total"},
        Arguments{"--tables", "", "top"}}) {
    err.str("");
    EXPECT_EQ(parse(wrong), ExitCode::usage);
    EXPECT_THAT(err.str(), Not(IsEmpty()));
    EXPECT_THAT(out.str(), IsEmpty());
  }
}

TEST_F(CommandLine, ARefusalNamesTheWrongWordAndPointsToTheHelpOfItsCommand) {
  struct Case {
    std::vector<char const*> arguments;
    char const* word;
    char const* help;
  };
  for (Case const& wrong :
       {Case{{"--bogus"}, "oru-counters has no option --bogus", ""},
        Case{{"bogus"}, "oru-counters has no command bogus; there are: show, top, tables", ""},
        Case{{"sh", "interfaces"}, "no command sh; ", ""},
        Case{{"show", "bogus"}, "'show' has no bogus; there are: interfaces, queues, ", "show "},
        Case{{"show", "--bogus"}, "'show' has no option --bogus", "show "},
        Case{{"top", "--bogus"}, "'top' has no option --bogus", "top "},
        Case{{"show", "interfaces", "--bogus"},
             "'show interfaces' has no option --bogus",
             "show interfaces "},
        Case{{"tables", "list", "bogus"}, "'tables list' does not take bogus", "tables list "},
        Case{{"tables", "dump"}, "'tables dump': NAME is required", "tables dump "},
        Case{{"show"}, "'show' must be told what", "show "}, Case{{}, "a command is needed", ""},
        Case{{"top", "--for", "abc"}, "--for: 'abc'", "top "},
        Case{{"top", "--for", "nan"}, "--for: 'nan'", "top "},
        Case{{"top", "--for"}, "--for", "top "},
        Case{{"top", "--interval", "5s"}, "--interval: '5s'", "top "},
        Case{{"top", "--sort", "colour"}, "'colour'", "top "}}) {
    err.str("");
    EXPECT_EQ(parse(wrong.arguments), ExitCode::usage) << wrong.word;
    EXPECT_THAT(err.str(), testing::StartsWith("oru-counters: "));
    EXPECT_THAT(err.str(), HasSubstr(wrong.word));
    EXPECT_THAT(err.str(),
                testing::EndsWith("\nTry 'oru-counters " + std::string(wrong.help) + "--help'.\n"));
    EXPECT_THAT(err.str(), Not(HasSubstr("subcommand")));
  }
}

TEST_F(CommandLine, ShowThatIsNotToldWhatNamesEveryCommand) {
  parse({"show"});
  EXPECT_THAT(err.str(), HasSubstr("'show' must be told what: interfaces, queues, drops, "
                                   "vlan-interfaces, vlans or copp\n"));
}

TEST_F(CommandLine, HelpTellsTheExitCodes) {
  EXPECT_EQ(parse({"--help"}), ExitCode::ok);
  EXPECT_THAT(out.str(), HasSubstr(std::string(kExitCodesText)));
  EXPECT_THAT(err.str(), IsEmpty());
}

TEST_F(CommandLine, HelpOfACommandTellsItsOptions) {
  EXPECT_EQ(parse({"top", "--help"}), ExitCode::ok);
  EXPECT_THAT(out.str(), HasSubstr("--interval SECONDS"));
  EXPECT_THAT(out.str(), HasSubstr("name, in, out, errors"));
}

TEST_F(CommandLine, HelpOfVlanInterfacesNamesSuch) {
  EXPECT_EQ(parse({"show", "vlan-interfaces", "--help"}), ExitCode::ok);
  EXPECT_THAT(out.str(), HasSubstr("names (Vlan7), the kernel's names (eth0.7)"));
  EXPECT_THAT(out.str(), Not(HasSubstr("Ethernet3")));
}

TEST_F(CommandLine, HelpTellsWhoMayChangeThings) {
  parse({"--help"});
  EXPECT_THAT(out.str(), testing::ContainsRegex("clear, poll, invoke and set change things in it: "
                                                "they take the\\s*superuser or the agent's own"));
}

TEST_F(CommandLine, TheVersionIsThePrograms) {
  EXPECT_EQ(parse({"--version"}), ExitCode::ok);
  EXPECT_THAT(out.str(), testing::MatchesRegex("oru-counters [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

}  // namespace
}  // namespace Show
