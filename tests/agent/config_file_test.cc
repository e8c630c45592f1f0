#include "agent/config_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "platform/interface/table_directory_default.h"

namespace Agent {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string errorOf(std::string const& text) {
  try {
    readConfigText(text, "agentd.toml");
  } catch (ConfigError const& error) {
    return error.what();
  }
  return "no error";
}

TEST(ConfigFile, EmptySetsNothing) {
  ConfigFile const file = readConfigText("", "agentd.toml");
  EXPECT_FALSE(file.tables || file.period || file.interfaces || file.loadInterval ||
               file.keepCounters);
  EXPECT_TRUE(file.names.empty());
}

TEST(ConfigFile, ReadsEverySetting) {
  ConfigFile const file = readConfigText(
      "tables = '/run/oru'\n"
      "period = 0.5\n"
      "interfaces = ['eth*', 'swp1']\n"
      "load-interval = 30\n"
      "keep-counters = true\n"
      "[names]\n"
      "eth0 = 'Ethernet1/1'\n"
      "\"lan.7\" = 'Ethernet7'\n"
      "[acl-drops]\n"
      "eth0 = 'inet acl eth0_drops'\n",
      "agentd.toml");
  EXPECT_EQ(file.tables, "/run/oru");
  EXPECT_EQ(file.period, 0.5);
  EXPECT_THAT(*file.interfaces, ElementsAre("eth*", "swp1"));
  EXPECT_EQ(file.loadInterval, Interface::LoadInterval(30.0));
  EXPECT_EQ(file.keepCounters, true);
  EXPECT_EQ(file.names, (NameMap{{"eth0", "Ethernet1/1"}, {"lan.7", "Ethernet7"}}));
  ASSERT_EQ(file.aclDrops.size(), 1u);
  EXPECT_EQ(file.aclDrops.at("eth0").text(), "inet acl eth0_drops");
}

TEST(ConfigFile, AWholeNumberOfSecondsIsANumber) {
  EXPECT_EQ(readConfigText("period = 5", "agentd.toml").period, 5.0);
}

TEST(ConfigFile, NamesTheLineOfASettingThatItDoesNotKnow) {
  EXPECT_THAT(errorOf("period = 1\nperoid = 2\n"),
              StartsWith("agentd.toml:2: peroid is not a setting"));
}

TEST(ConfigFile, NamesTheLineOfWhatIsNotToml) {
  EXPECT_THAT(errorOf("period = 1\nperiod 2\n"), StartsWith("agentd.toml:2: "));
}

TEST(ConfigFile, RefusesAPeriodOutOfBounds) {
  for (char const* const period : {"0", "0.049", "3600.1", "-1", "nan", "inf", "'1'", "true"}) {
    EXPECT_THAT(errorOf(std::string("period = ") + period),
                StartsWith("agentd.toml:1: period must be a number of seconds from 0.05 to 3600"))
        << period;
  }
}

TEST(ConfigFile, RefusesALoadIntervalOutOfBounds) {
  EXPECT_THAT(errorOf("load-interval = 601"),
              HasSubstr("load-interval must be a number of seconds from 1 to 600"));
}

TEST(ConfigFile, RefusesInterfacesThatAreNoList) {
  EXPECT_THAT(errorOf("interfaces = 'eth*'"), HasSubstr("interfaces must be a list"));
  EXPECT_THAT(errorOf("interfaces = []"), HasSubstr("must be a list"));
  EXPECT_THAT(errorOf("interfaces = [7]"),
              HasSubstr("each of interfaces must be a pattern of kernel names in quotes"));
}

TEST(ConfigFile, RefusesAFlagThatIsNotTrueOrFalse) {
  EXPECT_THAT(errorOf("keep-counters = 1"), HasSubstr("keep-counters must be true or false"));
}

TEST(ConfigFile, RefusesANameThatIsNotOfAnEthernetInterface) {
  for (char const* const name : {"eth0", "Vlan7", "Ethernet", "Ethernet01", ""})
    EXPECT_THAT(errorOf(std::string("[names]\neth0 = '") + name + "'\n"),
                StartsWith("agentd.toml:2: "))
        << name;
  EXPECT_THAT(errorOf("[names]\neth0 = '" + std::string(100, '1') + "'\n"),
              HasSubstr("is not the name of an Ethernet interface"));
  EXPECT_EQ(
      errorOf("[names]\neth0 = 'Vlan7'\n"),
      "agentd.toml:2: eth0 of [names]: 'Vlan7' is not the name of an Ethernet interface, such "
      "as Ethernet1/1");
  EXPECT_THAT(errorOf("[names]\neth0 = 7\n"), HasSubstr("eth0 of [names] must be a name such as"));
}

TEST(ConfigFile, RefusesANameThatIsGivenTwice) {
  EXPECT_EQ(errorOf("[names]\neth0 = 'Ethernet1'\neth1 = 'Ethernet1'\n"),
            "agentd.toml:3: Ethernet1 is given to two links");
}

TEST(ConfigFile, RefusesDropsThatAreNoNftablesCounter) {
  for (char const* const counter :
       {"'acl eth0_drops'", "'inet acl a b'", "'ipv6 acl a'", "''", "7", "['inet acl a']"})
    EXPECT_THAT(errorOf(std::string("period = 1\n[acl-drops]\neth0 = 'inet acl a'\neth1 = ") +
                        counter + "\n"),
                ::testing::AllOf(StartsWith("agentd.toml:4: eth1 of [acl-drops] must be the "
                                            "family, table and name of an nftables "
                                            "counter, as \"inet acl eth0_drops\""),
                                 ::testing::Not(HasSubstr("no error"))))
        << counter;
  EXPECT_THAT(errorOf("[acl-drops]\neth0 = 'ipv6 acl a'\n"), HasSubstr("families are ip, ip6"));
}

TEST(ConfigFile, RefusesDropsThatAreNoSection) {
  EXPECT_EQ(errorOf("acl-drops = 'inet acl a'\n"),
            "agentd.toml:1: acl-drops must be a section: [acl-drops]");
}

TEST(ConfigFile, ReadsWhichBridgesVlansAreCountedAndWhetherItMayBeToldToCount) {
  VlanOptions const none = readConfigText("", "agentd.toml").vlans;
  EXPECT_EQ(none.bridge, "");
  EXPECT_FALSE(none.statistics);
  VlanOptions const vlans =
      readConfigText("[vlans]\nbridge = 'br0'\nstatistics = true\n", "agentd.toml").vlans;
  EXPECT_EQ(vlans.bridge, "br0");
  EXPECT_TRUE(vlans.statistics);
}

TEST(ConfigFile, RefusesWhatIsNoSettingOfVlans) {
  EXPECT_EQ(errorOf("vlans = true\n"), "agentd.toml:1: vlans must be a section: [vlans]");
  EXPECT_EQ(errorOf("[vlans]\nstatistics = 'yes'\n"),
            "agentd.toml:2: statistics of [vlans] must be true or false");
  EXPECT_EQ(errorOf("[vlans]\nbridge = ''\n"),
            "agentd.toml:2: bridge of [vlans] must be the kernel name of a bridge in quotes");
  EXPECT_THAT(errorOf("[vlans]\nbrige = 'br0'\n"),
              StartsWith("agentd.toml:2: brige is not a setting of [vlans]"));
}

TEST(ConfigFile, RefusesNamesThatNoLinkHas) {
  EXPECT_EQ(errorOf("[names]\nuplink-to-core-1 = 'Ethernet1'\n"),
            "agentd.toml:2: 'uplink-to-core-1' is no link's kernel name: those have 1 to 15 bytes, "
            "and no slash");
  for (char const* const wrong :
       {"[acl-drops]\nuplink-to-core-1 = 'inet acl a'\n", "[vlans]\nbridge = 'bridge-of-the-lab'\n",
        "[names]\n'eth0/1' = 'Ethernet1'\n", "[names]\n'' = 'Ethernet1'\n"})
    EXPECT_THAT(errorOf(wrong), HasSubstr("is no link's kernel name")) << wrong;
  EXPECT_EQ(errorOf("[names]\nuplink-to-core1 = 'Ethernet1'\n"), "no error");
}

// Its comments, and nothing else, are what an operator would take away.
TEST(ConfigFile, TheSampleSetsNothingAndWouldBeTakenInFull) {
  std::ifstream file(ORU_SOURCE_DIR "/packaging/oru-agentd.toml");
  std::string all, line;
  while (std::getline(file, line)) {
    EXPECT_TRUE(line.empty() || line.starts_with('#')) << line;
    bool const isSetting = line.size() > 1 && line[0] == '#' && line[1] != ' ';
    all += (isSetting ? line.substr(1) : line) + '\n';
  }
  ConfigFile const sut = readConfigText(all, "oru-agentd.toml");
  Options const usual;
  EXPECT_EQ(sut.tables, Interface::kTableDirectory);
  EXPECT_EQ(sut.period, usual.period);
  EXPECT_EQ(sut.loadInterval, Interface::LoadInterval(300.0));
  EXPECT_EQ(sut.keepCounters, usual.keepCounters);
  EXPECT_EQ(sut.interfaces->size(), 2u);
  EXPECT_EQ(sut.names.size(), 2u);
  EXPECT_EQ(sut.aclDrops.size(), 1u);
  EXPECT_EQ(sut.vlans.bridge, "br0");
  EXPECT_TRUE(sut.vlans.statistics);
}

TEST(ConfigFile, SaysWhyAFileCannotBeRead) {
  try {
    readConfigFile("/nonexistent/agentd.toml");
    FAIL() << "it was read";
  } catch (ConfigError const& error) {
    EXPECT_STREQ(error.what(), "cannot read /nonexistent/agentd.toml: No such file or directory");
  }
  EXPECT_THROW(readConfigFile("/"), ConfigError);
}

}  // namespace
}  // namespace Agent
