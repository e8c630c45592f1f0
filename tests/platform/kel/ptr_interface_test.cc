#include "platform/kel/ptr_interface.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>

#include "platform/kel/exceptions.h"
#include "platform/kel/state_machine.h"
#include "tests/platform/kel/machines.h"
#include "tests/support/virtual_slot.h"

namespace Kel {
namespace {

class Thing : public PtrInterface {
 public:
  Thing() = default;
  explicit Thing(int& destroyed) : _destroyed(&destroyed) {}
  ~Thing() override {
    if (_destroyed) ++*_destroyed;
  }
  int value = 7;

 private:
  int* _destroyed = nullptr;
};
class SpecialThing : public Thing {
  using Thing::Thing;
};

// The word stands behind the pointer to the slots.
std::uint32_t wordOf(PtrInterface const& object) {
  static_assert(sizeof(PtrInterface) == sizeof(void*) + 8);
  std::uint32_t word = 0;
  std::memcpy(&word, reinterpret_cast<char const*>(&object) + sizeof(void*), sizeof word);
  return word;
}

TEST(PtrInterface, SlotsAreInContractOrder) {
  EXPECT_EQ(Support::slot(&PtrInterface::maybeDelete), 0u);
  EXPECT_EQ(Support::slot(&PtrInterface::notifieeList), 1u);
  EXPECT_EQ(Support::slot(&PtrInterface::referenceTrackingEnabled), 2u);
  EXPECT_EQ(Support::slot(&PtrInterface::hasNotificationActiveIs), 3u);
  EXPECT_EQ(Support::slot(&PtrInterface::zeroReferencesIs), 4u);
  EXPECT_EQ(Support::slot(&PtrInterface::fwkType), 5u);
  // The destructor has the next two.
  EXPECT_EQ(Support::slot(&ReactorOwner::kelDoZombieReactors), 8u);
}

TEST(PtrInterface, SlotsOfAReactorFollowThoseOfEveryObject) {
  using N = PtrInterface::NotifieeConst;
  EXPECT_EQ(Support::slot(&N::kelReactor), 8u);
  EXPECT_EQ(Support::slot(&N::isRegisteredNotifieeIs), 9u);
  EXPECT_EQ(Support::slot(&N::notifierIs), 10u);
  EXPECT_EQ(Support::slot(&N::handleNotification), 11u);
  EXPECT_EQ(Support::slot(&N::onNotificationException), 12u);
  EXPECT_EQ(Support::slot(&N::onZeroReferences), 13u);
  EXPECT_EQ(Support::slot(&N::kelFwkActivity), 14u);
  EXPECT_EQ(Support::slot(&N::actsm), 15u);
}

TEST(PtrInterface, SlotsOfTheNotifiersCallbacksComeBeforeZombieMarking) {
  using N = KelTest::Config::NotifieeConst;
  EXPECT_EQ(Support::slot(&N::onMode), 16u);
  EXPECT_EQ(Support::slot(static_cast<void (N::*)(Name)>(&N::onPort)), 17u);
  EXPECT_EQ(Support::slot(&N::onPortkelImmediate), 18u);
  EXPECT_EQ(Support::slot(static_cast<void (N::*)()>(&N::onPort)), 19u);
  EXPECT_EQ(Support::slot(&ReactorOn<KelTest::Config const>::kelDoZombieReactors), 20u);
}

TEST(PtrInterface, ANewObjectHasOneReferenceAndNoFlag) {
  auto const sut = make<Thing>();
  EXPECT_EQ(wordOf(*sut), 1u);
  EXPECT_EQ(sut->references(), 1u);
  EXPECT_FALSE(sut->hasNotificationActive());
  EXPECT_FALSE(sut->kelMarkedForDeletion());
}

TEST(PtrInterface, NotificationActiveIsBit29) {
  auto const sut = make<Thing>();
  sut->hasNotificationActiveIs(true);
  EXPECT_EQ(wordOf(*sut), 0x20000001u);
  EXPECT_TRUE(sut->hasNotificationActive());
  sut->hasNotificationActiveIs(false);
  EXPECT_EQ(wordOf(*sut), 1u);
}

TEST(PtrInterface, AZombieIsANegativeWord) {
  auto const sut = make<Thing>();
  sut->kelMarkedForDeletionIs(true);
  EXPECT_EQ(wordOf(*sut), 0x80000001u);
  EXPECT_LT(static_cast<std::int32_t>(wordOf(*sut)), 0);
  EXPECT_TRUE(sut->kelMarkedForDeletion());
  sut->kelMarkedForDeletionIs(false);
  EXPECT_EQ(wordOf(*sut), 1u);
}

TEST(PtrInterface, TheCountIsTheWordWithoutItsFlags) {
  auto const sut = make<Thing>();
  sut->hasNotificationActiveIs(true);
  sut->kelMarkedForDeletionIs(true);
  Ptr<Thing> const second = sut, third = sut;
  EXPECT_EQ(wordOf(*sut), 0xa0000003u);
  EXPECT_EQ(sut->references(), wordOf(*sut) & 0x5fffffffu);
}

TEST(PtrInterface, TheLastReferenceDestroysWhateverTheFlagsAre) {
  int destroyed = 0;
  auto sut = make<Thing>(destroyed);
  sut->hasNotificationActiveIs(true);
  sut->kelMarkedForDeletionIs(true);
  Ptr<Thing> second = sut;
  sut = nullptr;
  EXPECT_EQ(destroyed, 0);
  second = nullptr;
  EXPECT_EQ(destroyed, 1);
}

TEST(PtrInterface, FlagsDoNotTouchTheCount) {
  auto const sut = make<Thing>();
  Ptr<Thing> const second = sut;
  sut->hasNotificationActiveIs(true);
  sut->kelMarkedForDeletionIs(true);
  EXPECT_EQ(sut->references(), 2u);
  sut->hasNotificationActiveIs(false);
  EXPECT_TRUE(sut->kelMarkedForDeletion());
  EXPECT_EQ(sut->references(), 2u);
}

class HandsItselfOut : public PtrInterface {
 public:
  HandsItselfOut() {
    Ptr<HandsItselfOut> const brief(this);
    kept = Ptr<HandsItselfOut>(this);
  }
  inline static Ptr<HandsItselfOut> kept;
};

TEST(PtrInterface, AConstructorMayHandOutPtrsToTheObject) {
  auto sut = make<HandsItselfOut>();
  EXPECT_EQ(sut->references(), 2u);
  sut = nullptr;
  EXPECT_EQ(HandsItselfOut::kept->references(), 1u);
  HandsItselfOut::kept = nullptr;
}

class TellsItsEnd : public PtrInterface {
 public:
  explicit TellsItsEnd(KelTest::Lines& lines) : _lines(lines) {}
  ~TellsItsEnd() override { _lines.push_back("destroyed"); }
  void zeroReferencesIs(bool zero) override {
    Ptr<TellsItsEnd> const brief(this);  // made and dropped by the teardown itself
    _lines.push_back(zero ? "zero references" : "?");
  }

 private:
  KelTest::Lines& _lines;
};

TEST(PtrInterface, ZeroReferencesComesOnceWhileTheObjectIsWhole) {
  KelTest::Lines lines;
  make<TellsItsEnd>(lines);
  EXPECT_EQ(lines, (KelTest::Lines{"zero references", "destroyed"}));
}

class KeepsItself : public PtrInterface {
 public:
  void maybeDelete() const override { ++asked; }
  mutable int asked = 0;
};

TEST(PtrInterface, MaybeDeleteDecidesOnTheObjectsEnd) {
  auto sut = make<KeepsItself>();
  KeepsItself* const object = sut.get();
  sut = nullptr;
  EXPECT_EQ(object->asked, 1);
  delete object;
}

class ThrowsInItsDestructor : public PtrInterface {
 public:
  ~ThrowsInItsDestructor() override { fail(); }

 private:
  static void fail() { throw RangeException("out of a destructor"); }
};
class ThrowsInItsTeardown : public PtrInterface {
 public:
  void zeroReferencesIs(bool) override { throw RangeException("out of a teardown"); }
};

TEST(PtrInterfaceDeathTest, AnExceptionOutOfADestructorEndsTheProcess) {
  EXPECT_DEATH(make<ThrowsInItsDestructor>(), "out of a destructor");
}

TEST(PtrInterfaceDeathTest, AnExceptionOutOfTheTeardownEndsTheProcess) {
  EXPECT_DEATH(make<ThrowsInItsTeardown>(), "out of a teardown");
}

TEST(Ptr, FollowingANullOneIsARangeError) {
  Ptr<Thing> const sut;
  try {
    (void)sut->value;
    FAIL() << "followed a null pointer";
  } catch (RangeException const& e) {
    EXPECT_STREQ(e.what(), "null ValidPtr");
  }
  EXPECT_THROW((void)*sut, RangeException);
}

TEST(Ptr, ACopyCountsAndAMoveDoesNot) {
  auto sut = make<Thing>();
  Ptr<Thing> copy = sut;
  EXPECT_EQ(sut->references(), 2u);
  Ptr<Thing> const moved = std::move(copy);
  EXPECT_EQ(sut->references(), 2u);
  EXPECT_FALSE(copy);  // NOLINT: a moved-from Ptr is null by contract
}

TEST(Ptr, AdoptTakesOverTheReferenceOfANewObject) {
  auto const sut = Ptr<Thing>::adopt(new Thing);
  EXPECT_EQ(sut->references(), 1u);
}

TEST(Ptr, AssignmentDropsTheOldAndKeepsTheNew) {
  int destroyed = 0;
  auto sut = make<Thing>(destroyed);
  auto const other = make<Thing>();
  sut = other;
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(other->references(), 2u);
}

TEST(Ptr, AssignmentToItselfChangesNothing) {
  int destroyed = 0;
  auto sut = make<Thing>(destroyed);
  auto const& same = sut;
  sut = same;
  EXPECT_EQ(destroyed, 0);
  EXPECT_EQ(sut->references(), 1u);
}

TEST(Ptr, ConvertsToTheBaseAndToConstAndComparesByIdentity) {
  auto const sut = make<SpecialThing>();
  Ptr<Thing const> const base = sut;
  EXPECT_TRUE(base == sut);
  EXPECT_EQ(sut->references(), 2u);
  EXPECT_FALSE(base == make<Thing>());
  EXPECT_TRUE(Ptr<Thing>() == nullptr);
  static_assert(!std::is_convertible_v<Ptr<Thing const>, Ptr<Thing>>);
}

}  // namespace
}  // namespace Kel
