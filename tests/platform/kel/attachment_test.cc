// Reactors attached, moved and dropped through their owner.
#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/kel/exceptions.h"
#include "tests/platform/kel/station_fixture.h"

namespace KelTest {
namespace {

using Kel::Ptr;

using Attachment = StationTest;

TEST_F(Attachment, RunsTheKeylessHandlersOnceInDeclarationOrder) {
  auto const sut = station();
  sut->configIs(config);
  EXPECT_EQ(journal->lines(), (Lines{"handleMode", "handlePort"}));
}

TEST_F(Attachment, OfAClockCallsHandleTime) {
  auto const sut = station();
  sut->clockIs(clock);
  EXPECT_EQ(journal->lines(), (Lines{"handleTime"}));
}

TEST_F(Attachment, OfTheSameObjectAgainDoesNothing) {
  auto const sut = station();
  sut->clockIs(clock);
  auto* const reactor = &sut->clockReactor();
  journal->taken();
  sut->clockIs(clock);
  EXPECT_EQ(journal->lines(), Lines{});
  EXPECT_EQ(&sut->clockReactor(), reactor);
}

TEST_F(Attachment, InTheConstructorRunsNoHandler) {
  auto const sut = station(clock);
  EXPECT_EQ(sut->clock(), clock);
  auto const again = Station::StationIs(journal, "t", 5.0, clock);
  EXPECT_EQ(journal->lines(), (Lines{"active clock reactor"}));
}

TEST_F(Attachment, InTheConstructorOfWhatIsSetLaterDoesNothing) {
  auto const sut = station(clock);
  sut->clockIs(clock);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Attachment, OfNothingToNothingMakesNoReactor) {
  auto const sut = station();
  sut->configIs(nullptr);
  EXPECT_THROW(sut->configReactor(), Kel::RangeException);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Attachment, HoldsWhatIsWatched) {
  auto const sut = station();
  Config const* const watched = config.get();
  sut->configIs(config);
  config = nullptr;
  EXPECT_EQ(sut->config().get(), watched);
  EXPECT_EQ(watched->mode(), 0);
}

TEST_F(Attachment, ToAnActiveOwnerIsLive) {
  auto const sut = station();
  sut->configIs(config);
  EXPECT_TRUE(sut->configReactor().listening());
  journal->taken();
  config->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"handleMode"}));
}

TEST_F(Attachment, ToAnOwnerWhoseNotificationsAreOffIsNotLiveYet) {
  auto const sut = station();
  sut->hasNotificationActiveIs(false);
  sut->configIs(config);
  EXPECT_FALSE(sut->configReactor().hasNotificationActive());
  EXPECT_FALSE(sut->configReactor().kelMarkedForDeletion());
  journal->taken();
  config->modeIs(1);
  EXPECT_EQ(journal->lines(), Lines{});
  sut->hasNotificationActiveIs(true);
  journal->taken();
  config->modeIs(2);
  EXPECT_EQ(journal->lines(), (Lines{"handleMode"}));
}

TEST_F(Attachment, ToAZombieOwnerIsAZombieThatNeverCalls) {
  auto const sut = station();
  sut->kelDoZombieReactors(true);
  sut->clockIs(clock);
  EXPECT_EQ(sut->clock(), clock);
  EXPECT_TRUE(sut->clockReactor().kelMarkedForDeletion());
  EXPECT_FALSE(sut->clockReactor().hasNotificationActive());
  sut->clockReactor().timeMinIs(1.0);
  clock->timeIs(2.0);
  sut->clockReactor().onTime();
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Attachment, OfAnotherObjectToAZombieReactorRunsNoHandler) {
  auto const sut = station(clock);
  sut->kelDoZombieReactors(true);
  journal->taken();
  auto const other = Kel::make<Kel::Clock>();
  sut->clockIs(other);
  EXPECT_EQ(sut->clock(), other);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Attachment, OfAnotherObjectKeepsTheReactorAndRunsTheHandlersAgain) {
  auto const sut = station();
  sut->configIs(config);
  auto* const reactor = &sut->configReactor();
  journal->taken();
  auto const other = Kel::make<Config>();
  sut->configIs(other);
  EXPECT_EQ(&sut->configReactor(), reactor);
  EXPECT_EQ(journal->lines(), (Lines{"handleMode", "handlePort"}));
}

TEST_F(Attachment, OfAnotherObjectListensToThatAlone) {
  auto const sut = station();
  sut->configIs(config);
  auto const other = Kel::make<Config>();
  sut->configIs(other);
  EXPECT_EQ(config->notifiees(), 0u);
  EXPECT_EQ(config->references(), 1u);
  EXPECT_EQ(other->notifiees(), 1u);
  journal->taken();
  config->modeIs(1);
  EXPECT_EQ(journal->lines(), Lines{});
  other->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"handleMode"}));
}

TEST_F(Attachment, IsCalledForEachMemberByKeyAndForTheWholeOnce) {
  auto const sut = station();
  sut->configIs(config);
  journal->taken();
  config->portIs("p1", 1);
  config->portIs("p1", 1);
  config->portIs("p1", 2);
  config->portIs("p2", 1);
  config->portDel("p1");
  config->portDel("p1");
  config->portDelAll();
  config->portDelAll();
  EXPECT_EQ(journal->lines(), (Lines{"handlePort p1", "handlePort p1", "handlePort p2",
                                     "handlePort p1", "handlePort"}));
}

TEST_F(Attachment, OfNullDropsTheReactor) {
  auto const sut = station();
  sut->configIs(config);
  journal->taken();
  sut->configIs(nullptr);
  EXPECT_EQ(sut->config(), nullptr);
  EXPECT_EQ(config->notifiees(), 0u);
  EXPECT_EQ(config->references(), 1u);
  EXPECT_EQ(journal->lines(),
            (Lines{"zombie config reactor", "inactive config reactor", "~config reactor"}));
}

TEST_F(Attachment, DelReturnsWhatWasWatched) {
  auto const sut = station();
  EXPECT_EQ(sut->configDel(), nullptr);
  sut->configIs(config);
  EXPECT_EQ(sut->configDel(), config);
  EXPECT_EQ(sut->config(), nullptr);
  EXPECT_EQ(sut->configDel(), nullptr);
}

TEST_F(Attachment, AfterADropMakesAReactorAgain) {
  auto const sut = station();
  sut->configIs(config);
  sut->configDel();
  journal->taken();
  sut->configIs(config);
  EXPECT_EQ(journal->lines(), (Lines{"handleMode", "handlePort"}));
  EXPECT_EQ(config->notifiees(), 1u);
}

TEST_F(Attachment, ADroppedReactorIsAZombieWithoutAnOwner) {
  auto const sut = station();
  sut->configIs(config);
  Ptr<Station::KelConfig> const kept(&sut->configReactor());
  sut->configDel();
  EXPECT_TRUE(kept->kelMarkedForDeletion());
  EXPECT_FALSE(kept->hasNotificationActive());
  EXPECT_FALSE(kept->hasOwner());
  EXPECT_EQ(kept->notifier(), config);  // a zombie keeps its notifier
  journal->taken();
  config->modeIs(1);
  kept->onMode();
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Attachment, AReactorReplacedMeanwhileIsAZombieWithoutAnOwner) {
  auto const sut = station();
  sut->configIs(config);
  Ptr<Station::KelConfig> const old(&sut->configReactor());
  auto const second = Kel::make<Config>(), third = Kel::make<Config>();
  journal->on("handleMode", [&] {
    journal->on("handleMode", [] {});
    sut->configDel();
    sut->configIs(third);
  });
  sut->configIs(second);
  EXPECT_NE(&sut->configReactor(), old.get());
  EXPECT_EQ(sut->config(), third);
  EXPECT_TRUE(old->kelMarkedForDeletion());
  EXPECT_FALSE(old->hasOwner());
  EXPECT_EQ(third->notifiees(), 1u);
  EXPECT_TRUE(sut->configReactor().listening());
}

TEST_F(Attachment, StopsItsHandlersOnceOneHasDroppedTheReactor) {
  auto const sut = station();
  journal->on("handleMode", [&] { sut->configDel(); });
  sut->configIs(config);
  EXPECT_EQ(journal->lines(), (Lines{"handleMode", "zombie config reactor",
                                     "inactive config reactor", "~config reactor"}));
  EXPECT_EQ(sut->config(), nullptr);
  EXPECT_EQ(config->notifiees(), 0u);
}

TEST_F(Attachment, StopsItsHandlersOnceOneHasMadeTheOwnerAZombie) {
  auto const sut = station();
  journal->on("handleMode", [&] { sut->kelDoZombieReactors(true); });
  sut->configIs(config);
  EXPECT_EQ(journal->lines(),
            (Lines{"handleMode", "zombie config reactor", "inactive config reactor"}));
  EXPECT_TRUE(sut->configReactor().kelMarkedForDeletion());
}

TEST_F(Attachment, StopsItsHandlersOnceOneHasDestroyedTheOwner) {
  auto sut = station();
  sut->configIs(config);
  Ptr<Station::KelConfig> const reactor(&sut->configReactor());
  auto const other = Kel::make<Config>();
  journal->taken();
  journal->on("handleMode", [&] { sut = nullptr; });
  reactor->notifierIs(other);
  // It dies once the handler is through with it.
  EXPECT_EQ(journal->lines(),
            (Lines{"handleMode", "zombie config reactor", "inactive config reactor", "~station",
                   "last member", "first member"}));
  EXPECT_FALSE(reactor->hasOwner());
}

TEST_F(Attachment, LetsAHandlerDestroyTheOwner) {
  auto sut = station();
  journal->on("handleMode", [&] { sut = nullptr; });
  Station* const owner = sut.get();
  owner->configIs(config);
  EXPECT_EQ(config->notifiees(), 0u);
  EXPECT_EQ(config->references(), 1u);
  EXPECT_EQ(journal->lines(),
            (Lines{"handleMode", "handlePort", "zombie config reactor", "inactive config reactor",
                   "~station", "last member", "~config reactor", "first member"}));
}

TEST_F(Attachment, LetsAHandlerAttachAnotherObject) {
  auto const sut = station();
  auto const other = Kel::make<Config>();
  journal->on("handleMode", [&] { sut->configIs(other); });
  sut->configIs(config);
  EXPECT_EQ(sut->config(), other);
  EXPECT_EQ(config->notifiees(), 0u);
  EXPECT_EQ(other->notifiees(), 1u);
  EXPECT_EQ(journal->lines(), (Lines{"handleMode", "handleMode", "handlePort", "handlePort"}));
}

TEST_F(Attachment, WatchesEvenWhereAHandlerFails) {
  auto const sut = station();
  journal->on("handleMode", [] { throw std::runtime_error("broken"); });
  EXPECT_THROW(sut->configIs(config), std::runtime_error);
  EXPECT_EQ(sut->config(), config);
  journal->on("handleMode", [] {});
  journal->taken();
  config->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"handleMode"}));
}

TEST_F(Attachment, TakesAnObjectOfAnotherTypeAsNone) {
  auto const sut = station();
  sut->configIs(config);
  journal->taken();
  sut->configReactor().notifierIs(clock);
  EXPECT_EQ(sut->config(), nullptr);
  EXPECT_EQ(config->notifiees(), 0u);
  EXPECT_EQ(journal->lines(), Lines{});
}

}  // namespace
}  // namespace KelTest
