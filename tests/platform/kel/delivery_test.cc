// What a change tells, whom, in which order, and what callbacks may do meanwhile.
#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/kel/trace.h"
#include "tests/platform/kel/station_fixture.h"

namespace KelTest {
namespace {

using Kel::Ptr;

// A reactor without a state machine behind it.
class Listener : public Config::NotifieeConst {
 public:
  Listener(Ptr<Config const> const& config, Ptr<Journal> journal, std::string name)
      : _journal(std::move(journal)), _name(std::move(name)) {
    notifierIs(config);
    isRegisteredNotifieeIs(true);
    hasNotificationActiveIs(true);
  }
  using Config::NotifieeConst::onPort;
  void onMode() override { (*_journal)(_name + ' ' + std::to_string(notifier()->mode())); }
  void onPort(Kel::Name name) override { (*_journal)(_name + ' ' + std::string(name.view())); }
  void onPortkelImmediate() override { (*_journal)(_name + " at once"); }
  void onPort() override { (*_journal)(_name + " as a whole"); }

 private:
  Ptr<Journal> _journal;
  std::string _name;
};

class Delivery : public testing::Test {
 protected:
  Ptr<Listener> listener(std::string const& name) {
    return Kel::make<Listener>(Ptr<Config const>(sut), journal, name);
  }

  Ptr<Journal> journal = Kel::make<Journal>();
  Ptr<Config> sut = Kel::make<Config>();
  Ptr<Listener> a = listener("a"), b = listener("b"), c = listener("c");
};

TEST_F(Delivery, IsInTheOrderOfRegistration) {
  sut->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"a 1", "b 1", "c 1"}));
}

TEST_F(Delivery, OfAnUnchangedValueTellsNobody) {
  sut->modeIs(0);
  sut->portDel("p");
  sut->portDelAll();
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Delivery, OfAMemberIsByKey) {
  a = b = nullptr;
  sut->portIs("p", 1);
  sut->portIs("p", 1);
  sut->portIs("p", 2);
  sut->portDel("p");
  EXPECT_EQ(journal->lines(), (Lines{"c p", "c p", "c p"}));
}

TEST_F(Delivery, OfAWholeCollectionIsAtOnceAndThenAsAWhole) {
  a = b = nullptr;
  sut->portIs("p", 1);
  journal->taken();
  sut->portDelAll();
  EXPECT_TRUE(sut->port().empty());
  EXPECT_EQ(journal->lines(), (Lines{"c at once", "c as a whole"}));
}

TEST_F(Delivery, OfADeletionSurvivesAKeyThatGoesWithItsMember) {
  sut->portIs("p", 1);
  journal->taken();
  sut->portDel(sut->port().begin()->first);
  EXPECT_EQ(journal->lines(), (Lines{"a p", "b p", "c p"}));
}

TEST_F(Delivery, TellsANotifieeThatRegisteredTwiceOnce) {
  b->isRegisteredNotifieeIs(true);
  sut->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"a 1", "b 1", "c 1"}));
}

TEST_F(Delivery, SkipsANotifieeThatIsNoLongerRegistered) {
  b->isRegisteredNotifieeIs(false);
  sut->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"a 1", "c 1"}));
}

TEST_F(Delivery, DropsWhatCameWhileNotificationsWereOff) {
  b->hasNotificationActiveIs(false);
  sut->modeIs(1);
  b->hasNotificationActiveIs(true);
  EXPECT_EQ(journal->taken(), (Lines{"a 1", "c 1"}));
  sut->modeIs(2);
  EXPECT_EQ(journal->lines(), (Lines{"a 2", "b 2", "c 2"}));
}

TEST_F(Delivery, SkipsAZombie) {
  b->kelMarkedForDeletionIs(true);
  sut->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"a 1", "c 1"}));
}

TEST_F(Delivery, SkipsANotifieeDestroyedByAnEarlierOne) {
  journal->on("a 1", [&] { b = nullptr; });
  sut->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"a 1", "c 1"}));
  EXPECT_EQ(sut->notifiees(), 2u);
}

TEST_F(Delivery, GoesOnAfterANotifieeThatDestroyedItself) {
  journal->on("b 1", [&] { b = nullptr; });
  sut->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"a 1", "b 1", "c 1"}));
  EXPECT_EQ(sut->notifiees(), 2u);
}

TEST_F(Delivery, GoesOnAfterAnEarlierOneWasDestroyed) {
  journal->on("b 1", [&] { a = nullptr; });
  sut->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"a 1", "b 1", "c 1"}));
}

TEST_F(Delivery, SkipsANotifieeThatMovedAway) {
  auto const other = Kel::make<Config>();
  journal->on("a 1", [&] { b->notifierIs(other); });
  sut->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"a 1", "c 1"}));
}

TEST_F(Delivery, DoesNotTellANotifieeThatRegistersMeanwhile) {
  Ptr<Listener> d;
  journal->on("a 1", [&] { d = listener("d"); });
  sut->modeIs(1);
  EXPECT_EQ(journal->taken(), (Lines{"a 1", "b 1", "c 1"}));
  sut->modeIs(2);
  EXPECT_EQ(journal->lines(), (Lines{"a 2", "b 2", "c 2", "d 2"}));
}

TEST_F(Delivery, TakesANotifieeThatRegistersAgainMeanwhileAsNew) {
  journal->on("a 1", [&] {
    b->isRegisteredNotifieeIs(false);
    b->isRegisteredNotifieeIs(true);
  });
  sut->modeIs(1);
  EXPECT_EQ(journal->taken(), (Lines{"a 1", "c 1"}));
  sut->modeIs(2);
  EXPECT_EQ(journal->lines(), (Lines{"a 2", "c 2", "b 2"}));
}

TEST_F(Delivery, OfManyThatRegisterMeanwhileLosesNone) {
  std::vector<Ptr<Listener>> more;
  journal->on("a 1", [&] {
    for (int i = 0; i < 100; ++i) more.push_back(listener("d"));
  });
  sut->modeIs(1);
  EXPECT_EQ(journal->taken(), (Lines{"a 1", "b 1", "c 1"}));
  EXPECT_EQ(sut->notifiees(), 103u);
}

TEST_F(Delivery, OfAChangeMadeInACallbackIsDoneWithinIt) {
  journal->on("a 1", [&] { sut->modeIs(2); });
  sut->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"a 1", "a 2", "b 2", "c 2", "b 2", "c 2"}));
}

TEST_F(Delivery, SurvivesARemovalInsideANestedOne) {
  journal->on("a 1", [&] { sut->modeIs(2); });
  journal->on("b 2", [&] { c = nullptr; });
  sut->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"a 1", "a 2", "b 2", "b 2"}));
  EXPECT_EQ(sut->notifiees(), 2u);
}

// Most of them gone, those that stay close up; from then on they are found at their new places.
TEST_F(Delivery, FindsThoseThatStayOfManyThatWent) {
  auto d = listener("d");
  auto const e = listener("e");
  a = b = c = nullptr;
  d = nullptr;
  sut->modeIs(1);
  e->isRegisteredNotifieeIs(false);
  auto const f = listener("f");
  sut->modeIs(2);
  EXPECT_EQ(journal->lines(), (Lines{"e 1", "f 2"}));
}

TEST_F(Delivery, KeepsEverybodysPlaceWhileMostOfThemGo) {
  auto const d = listener("d");
  auto e = listener("e");
  journal->on("a 1", [&] {
    b = e = nullptr;
    c = nullptr;
    c = listener("late");
  });
  sut->modeIs(1);
  EXPECT_EQ(journal->taken(), (Lines{"a 1", "d 1"}));
  sut->modeIs(2);
  EXPECT_EQ(journal->lines(), (Lines{"a 2", "d 2", "late 2"}));
}

TEST_F(Delivery, SurvivesTheEndOfTheNotifier) {
  journal->on("a 1", [&] { a = b = c = nullptr, sut = nullptr; });
  sut->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"a 1"}));
}

TEST_F(Delivery, SurvivesTheEndOfTheOwner) {
  auto station = Station::StationIs(journal, "s", 5.0, nullptr);
  station->configIs(sut);
  auto const d = listener("d");
  journal->taken();
  journal->on("handleMode", [&] { station = nullptr; });
  sut->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"a 1", "b 1", "c 1", "handleMode", "zombie config reactor",
                                     "inactive config reactor", "~station", "last member",
                                     "first member", "~config reactor", "d 1"}));
}

// --- Exceptions --------------------------------------------------------------

std::vector<std::string> traced;

class DeliveryException : public Delivery {
 protected:
  DeliveryException() {
    traced.clear();
    Kel::traceSinkIs([](Kel::TraceLine const& line) {
      traced.push_back(std::string(line.handle) + ' ' + std::to_string(line.level) + ' ' +
                       std::string(line.text));
    });
    Kel::frameworkTraceHandle().levelsIs(1u << 1);
    journal->on("b 1", [] { throw std::runtime_error("broken"); });
  }
  ~DeliveryException() override {
    Kel::frameworkTraceHandle().levelsIs(0);
    Kel::traceSinkIs(nullptr);
  }
  std::uint64_t const before = Kel::notificationExceptions();
};

TEST_F(DeliveryException, EndsAtTheDeliveryAndTheOthersAreCalled) {
  EXPECT_NO_THROW(sut->modeIs(1));
  EXPECT_EQ(journal->lines(), (Lines{"a 1", "b 1", "c 1"}));
}

TEST_F(DeliveryException, IsCounted) {
  sut->modeIs(1);
  EXPECT_EQ(Kel::notificationExceptions(), before + 1);
}

TEST_F(DeliveryException, IsTracedWithTheTypeOfTheReactor) {
  sut->modeIs(1);
  ASSERT_EQ(traced.size(), 1u);
  EXPECT_EQ(traced[0], "Kel 1 exception from KelTest::(anonymous namespace)::Listener: broken");
}

TEST_F(DeliveryException, IsNotTracedWhileTheLevelIsOff) {
  Kel::frameworkTraceHandle().levelsIs(~(1u << 1));
  sut->modeIs(1);
  EXPECT_TRUE(traced.empty());
  EXPECT_EQ(Kel::notificationExceptions(), before + 1);
}

TEST_F(DeliveryException, OfAnUnknownTypeEndsThereToo) {
  journal->on("b 1", [] { throw 7; });
  EXPECT_NO_THROW(sut->modeIs(1));
  ASSERT_EQ(traced.size(), 1u);
  EXPECT_EQ(traced[0],
            "Kel 1 exception from KelTest::(anonymous namespace)::Listener: an exception of "
            "unknown type");
}

TEST_F(DeliveryException, LeavesTheListInOrder) {
  journal->on("b 1", [&] {
    a = nullptr;
    throw std::runtime_error("broken");
  });
  sut->modeIs(1);
  EXPECT_EQ(sut->notifiees(), 2u);
  journal->taken();
  sut->modeIs(2);
  EXPECT_EQ(journal->lines(), (Lines{"b 2", "c 2"}));
}

TEST_F(DeliveryException, FromAHandlerEndsAtItsReactor) {
  auto const station = Station::StationIs(journal, "s", 5.0, nullptr);
  station->configIs(sut);
  journal->on("handleMode", [] { throw std::runtime_error("broken"); });
  journal->on("b 1", [] {});
  EXPECT_NO_THROW(sut->modeIs(1));
  ASSERT_EQ(traced.size(), 1u);
  EXPECT_EQ(traced[0], "Kel 1 exception from KelTest::Station::KelConfig: broken");
}

}  // namespace
}  // namespace KelTest
