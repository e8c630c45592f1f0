// How the flags of a state machine reach what it holds, and the order of its end.
#include <gtest/gtest.h>

#include "tests/platform/kel/station_fixture.h"

namespace KelTest {
namespace {

using Kel::Ptr;

class Teardown : public StationTest {
 protected:
  Teardown() {
    sut->configIs(config);
    sut->otherIs("o");
    sut->childIs("c");
    journal->taken();
  }
  bool seen = true;  // by a hook, which may run at the end of sut
  Ptr<Station> sut = station(clock);
};

TEST_F(Teardown, NotificationActiveReachesReactorsThenChildrenInDeclarationOrder) {
  sut->hasNotificationActiveIs(false);
  EXPECT_FALSE(sut->hasNotificationActive());
  EXPECT_EQ(journal->taken(), (Lines{"inactive clock reactor", "inactive config reactor",
                                     "inactive child c", "inactive child o"}));
  sut->hasNotificationActiveIs(true);
  EXPECT_TRUE(sut->hasNotificationActive());
  EXPECT_EQ(journal->taken(), (Lines{"active clock reactor", "active config reactor",
                                     "active child c", "active child o"}));
}

TEST_F(Teardown, NotificationActiveUnchangedReachesNobody) {
  sut->hasNotificationActiveIs(true);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Teardown, NotificationActiveIsSetBeforeItIsPassedOn) {
  journal->on("inactive clock reactor", [&] { seen = sut->hasNotificationActive(); });
  sut->hasNotificationActiveIs(false);
  EXPECT_FALSE(seen);
}

TEST_F(Teardown, ZombieMarkingReachesTheReactorsAndNotTheChildren) {
  sut->kelDoZombieReactors(true);
  EXPECT_TRUE(sut->kelMarkedForDeletion());
  EXPECT_EQ(journal->lines(), (Lines{"zombie clock reactor", "inactive clock reactor",
                                     "zombie config reactor", "inactive config reactor"}));
  EXPECT_FALSE(sut->child("c")->kelMarkedForDeletion());
}

TEST_F(Teardown, ZombieMarkingReachesTheReactorsBeforeTheOwner) {
  journal->on("zombie config reactor", [&] { seen = sut->kelMarkedForDeletion(); });
  sut->kelDoZombieReactors(true);
  EXPECT_FALSE(seen);
}

TEST_F(Teardown, ZombieMarkingUnchangedReachesNobody) {
  sut->kelDoZombieReactors(true);
  journal->taken();
  sut->kelDoZombieReactors(true);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Teardown, AZombiesReactorsCallNoHandler) {
  sut->kelDoZombieReactors(true);
  journal->taken();
  config->modeIs(1);
  config->portIs("p", 1);
  config->portDelAll();
  sut->clockReactor().timeMinIs(1.0);
  clock->timeIs(2.0);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Teardown, AZombieThatIsRevivedListensAgain) {
  sut->kelDoZombieReactors(true);
  sut->kelDoZombieReactors(false);
  EXPECT_FALSE(sut->kelMarkedForDeletion());
  journal->taken();
  config->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"handleMode"}));
}

TEST_F(Teardown, OfAReactorWithoutANotifierOnlyMarksIt) {
  sut->configReactor().notifierIs(nullptr);
  journal->taken();
  sut->configReactor().kelDoZombieReactors(true);
  EXPECT_TRUE(sut->configReactor().kelMarkedForDeletion());
  EXPECT_TRUE(sut->configReactor().hasNotificationActive());
  EXPECT_EQ(journal->lines(), (Lines{"zombie config reactor"}));
}

TEST_F(Teardown, EndsInOrder) {
  sut = nullptr;
  EXPECT_EQ(journal->lines(),
            (Lines{"zombie clock reactor", "inactive clock reactor", "zombie config reactor",
                   "inactive config reactor",         // zombies
                   "zombie child c", "~child c",      // the collections emptied
                   "zombie child o", "~child o",      //
                   "~station",                        //
                   "last member", "~config reactor",  // the members, the last one first
                   "~clock reactor", "first member"}));
}

TEST_F(Teardown, TakesTheWayBackBetweenTheCollectionsAndTheMembers) {
  Ptr<Station::KelClock> const clockReactor(&sut->clockReactor());
  Ptr<Station::KelConfig> const configReactor(&sut->configReactor());
  Lines owners;
  auto const look = [&](std::string const& when) {
    owners.push_back(when + (clockReactor->hasOwner() ? " clock" : "") +
                     (configReactor->hasOwner() ? " config" : ""));
  };
  for (std::string const when : {"zombie config reactor", "~child c", "~child o", "~station"})
    journal->on(when, [=] { look(when); });
  sut = nullptr;
  EXPECT_EQ(owners, (Lines{"zombie config reactor clock config", "~child c clock config",
                           "~child o clock config", "~station"}));
}

TEST_F(Teardown, LeavesAReactorHeldElsewhereDead) {
  Ptr<Station::KelConfig> const kept(&sut->configReactor());
  sut = nullptr;
  journal->taken();
  EXPECT_TRUE(kept->kelMarkedForDeletion());
  EXPECT_FALSE(kept->hasOwner());
  config->modeIs(1);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Teardown, LeavesAChildHeldElsewhereAlive) {
  auto const kept = sut->child("c");
  sut = nullptr;
  EXPECT_FALSE(kept->kelMarkedForDeletion());
  EXPECT_EQ(kept->references(), 1u);
}

TEST_F(Teardown, LetsGoOfWhatWasWatched) {
  sut = nullptr;
  EXPECT_EQ(config->references(), 1u);
  EXPECT_EQ(config->notifiees(), 0u);
  EXPECT_EQ(clock->references(), 1u);
  EXPECT_EQ(clock->notifieeList()->size(), 0u);
}

TEST_F(Teardown, RemovingAMemberDestroysItOnceItHasLeftItsOwner) {
  bool stillFiled = true;
  journal->on("~child c", [&] { stillFiled = sut->child("c") != nullptr; });
  sut->childDel("c");
  EXPECT_FALSE(stillFiled);
  EXPECT_EQ(journal->lines(), (Lines{"zombie child c", "~child c"}));
}

TEST_F(Teardown, AChangeMadeByADyingMemberIsNotHeardByTheOwner) {
  journal->on("~child c", [&] { config->modeIs(1); });
  sut = nullptr;
  for (std::string const& line : journal->lines()) EXPECT_NE(line, "handleMode");
}

}  // namespace
}  // namespace KelTest
