#include "agent/link_names.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

TEST(LinkNames, WithoutAChoiceEveryLinkIsCountedByItsIndex) {
  LinkNames const sut;
  EXPECT_EQ(sut.of("eth0", 7).intfId, Pekt::IntfId("Ethernet7"));
}

TEST(LinkNames, OnlyLinksThatMatchAPatternAreCounted) {
  LinkNames const sut({"eth*", "swp[12]"}, {});
  EXPECT_TRUE(sut.of("eth12", 7).intfId);
  EXPECT_TRUE(sut.of("swp2", 7).intfId);
  EXPECT_FALSE(sut.of("swp3", 7).intfId);
  EXPECT_FALSE(sut.of("veth0", 7).intfId);
}

TEST(LinkNames, APatternWithoutWildcardsIsAName) {
  LinkNames const sut({"eth1"}, {});
  EXPECT_TRUE(sut.of("eth1", 7).intfId);
  EXPECT_FALSE(sut.of("eth10", 7).intfId);
}

TEST(LinkNames, AConfiguredNameCountsBeforeTheIndex) {
  LinkNames const sut({}, {{"eth0", "Ethernet1/1"}});
  EXPECT_EQ(sut.of("eth0", 7).intfId, Pekt::IntfId("Ethernet1/1"));
  EXPECT_EQ(sut.of("eth1", 8).intfId, Pekt::IntfId("Ethernet8"));
}

TEST(LinkNames, AConfiguredNameDoesNotMakeALinkCounted) {
  LinkNames const sut({"swp*"}, {{"eth0", "Ethernet1"}});
  EXPECT_FALSE(sut.of("eth0", 7).intfId);
}

TEST(LinkNames, ANameThatIsGivenAwayIsNotTakenByIndex) {
  LinkNames const sut({}, {{"eth0", "Ethernet8"}});
  auto const answer = sut.of("eth1", 8);
  EXPECT_FALSE(answer.intfId);
  EXPECT_TRUE(answer.nameIsGivenAway);
}

}  // namespace
}  // namespace Agent
