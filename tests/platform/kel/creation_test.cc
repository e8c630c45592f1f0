// How state machines, entities and reactors come to be, and what is left where that fails.
#include <gtest/gtest.h>

#include "platform/kel/exceptions.h"
#include "tests/platform/kel/station_fixture.h"
#include "tests/support/no_memory.h"

namespace KelTest {
namespace {

using Kel::AllocTrackTypeInfo;
using Kel::Ptr;
using Support::NoMemory;
using Support::rangeErrorOf;

bool operator==(AllocTrackTypeInfo::Live const& a, AllocTrackTypeInfo::Live const& b) {
  return a.objects == b.objects && a.bytes == b.bytes;
}

// Its constructor fails once its members are made.
class Fragile : public Kel::StateMachine<Fragile, Kel::ReactorOwner> {
 public:
  class KelClock final : public Kel::Reactor<Fragile, Kel::Clock const> {
   public:
    using Reactor::Reactor;
    void onTime() override { tell(&Fragile::handleTime); }
    bool hasOwner() const { return baseOwner() != nullptr; }
  };

  Fragile(Ptr<Journal> const& journal, Ptr<Kel::Clock const> const& clock)
      : _journal(journal), _member(Kel::make<Tombstone>(journal, "member")), _clock(*this, clock) {
    reactor = Ptr<KelClock>(&*_clock);
    throw std::runtime_error("broken");
  }
  void handleTime() { (*_journal)("handleTime"); }

  static constexpr auto kelDescription() {
    return Kel::describe("KelTest::Fragile", Kel::parameter("journal", &Fragile::_journal),
                         Kel::watchedParameter("clock", &Fragile::_clock));
  }
  static Kel::TypeNode const _kelType;

  inline static Ptr<KelClock> reactor;  // held by somebody else as well

 private:
  Ptr<Journal> _journal;
  Ptr<Tombstone> _member;
  Kel::Input<KelClock, Kel::Clock const> _clock;
};
constinit Kel::TypeNode const Fragile::_kelType = Kel::typeNode<Fragile>();

class Creation : public StationTest {
 protected:
  ~Creation() override { Fragile::reactor = nullptr; }
};

TEST_F(Creation, IsTrackedByTypeUntilTheEnd) {
  auto const before = AllocTrackTypeInfo::live(Station::_kelType);
  auto sut = station();
  auto const during = AllocTrackTypeInfo::live(Station::_kelType);
  EXPECT_EQ(during.objects, before.objects + 1);
  EXPECT_EQ(during.bytes, before.bytes + sizeof(Station));
  sut = nullptr;
  EXPECT_TRUE(AllocTrackTypeInfo::live(Station::_kelType) == before);
}

TEST_F(Creation, LeavesOneReferenceToTheCaller) { EXPECT_EQ(station()->references(), 1u); }

TEST_F(Creation, SwitchesNotificationsOnAsItsLastStep) {
  auto const sut = Station::StationIs(journal, "s", 5.0, clock);
  EXPECT_TRUE(sut->hasNotificationActive());
  EXPECT_EQ(journal->lines(), (Lines{"active clock reactor"}));
}

TEST_F(Creation, LeavesNotificationsOffUntilThen) {
  auto const sut =
      Kel::constructed<Station>(journal, Kel::Name("s"), 5.0, Ptr<Kel::Clock const>(clock));
  EXPECT_FALSE(sut->hasNotificationActive());
  EXPECT_FALSE(sut->clockReactor().hasNotificationActive());
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(Creation, OfAMemberFilesItBeforeItsNotificationsAreOn) {
  auto const sut = station();
  bool filed = false;
  journal->on("active child a", [&] { filed = sut->child("a") != nullptr; });
  sut->childIs("a");
  EXPECT_TRUE(filed);
}

TEST_F(Creation, PassesOnWhatTheConstructorThrows) {
  EXPECT_THROW(Kel::instance<Fragile>(journal, Ptr<Kel::Clock const>(clock)), std::runtime_error);
}

TEST_F(Creation, ThatThrowsLeavesNothingTracked) {
  auto const before = AllocTrackTypeInfo::live(Fragile::_kelType);
  EXPECT_THROW(Kel::instance<Fragile>(journal, Ptr<Kel::Clock const>(clock)), std::runtime_error);
  EXPECT_TRUE(AllocTrackTypeInfo::live(Fragile::_kelType) == before);
}

TEST_F(Creation, ThatThrowsReleasesTheMembers) {
  EXPECT_THROW(Kel::instance<Fragile>(journal, Ptr<Kel::Clock const>(clock)), std::runtime_error);
  EXPECT_EQ(journal->lines(), (Lines{"member"}));
}

TEST_F(Creation, ThatThrowsReleasesTheReactors) {
  EXPECT_THROW(Kel::instance<Fragile>(journal, Ptr<Kel::Clock const>(clock)), std::runtime_error);
  EXPECT_EQ(Fragile::reactor->references(), 1u);  // ours
  Fragile::reactor = nullptr;
  EXPECT_EQ(clock->references(), 1u);
  EXPECT_EQ(clock->notifieeList()->size(), 0u);
}

TEST_F(Creation, ThatThrowsLeavesAReactorHeldElsewhereDead) {
  EXPECT_THROW(Kel::instance<Fragile>(journal, Ptr<Kel::Clock const>(clock)), std::runtime_error);
  EXPECT_TRUE(Fragile::reactor->kelMarkedForDeletion());
  EXPECT_FALSE(Fragile::reactor->hasOwner());
  Fragile::reactor->onTime();
  EXPECT_EQ(journal->lines(), (Lines{"member"}));
}

TEST_F(Creation, ThatThrowsFilesNothing) {
  Kel::HashMap<Fragile, Kel::Name> members;
  EXPECT_THROW(members.newMember("a", journal, Ptr<Kel::Clock const>(clock)), std::runtime_error);
  EXPECT_EQ(members.size(), 0u);
}

TEST_F(Creation, WithoutMemoryIsTheRangeErrorOfANullPtr) {
  auto const before = AllocTrackTypeInfo::live(Child::_kelType);
  NoMemory const none;
  EXPECT_EQ(rangeErrorOf([&] { Kel::instance<Child>(journal, Kel::Name("a")); }), "null ValidPtr");
  EXPECT_TRUE(AllocTrackTypeInfo::live(Child::_kelType) == before);
}

TEST_F(Creation, OfAnEntityWithoutMemoryIsTheRangeErrorOfANullPtr) {
  NoMemory const none;
  EXPECT_EQ(rangeErrorOf([] { Kel::make<Config>(); }), "null ValidPtr");
}

TEST_F(Creation, OfAMemberWithoutMemoryFilesNothing) {
  auto const sut = station();
  NoMemory const none;
  EXPECT_EQ(rangeErrorOf([&] { sut->childIs("a"); }), "null ValidPtr");
  EXPECT_EQ(sut->child("a"), nullptr);
}

TEST_F(Creation, OfAReactorWithoutMemoryAttachesNothing) {
  auto const sut = station();
  {
    NoMemory const none;
    EXPECT_EQ(rangeErrorOf([&] { sut->configIs(config); }), "null ValidPtr");
  }
  EXPECT_EQ(sut->config(), nullptr);
  EXPECT_EQ(config->references(), 1u);
  sut->configIs(config);
  EXPECT_EQ(sut->config(), config);
}

TEST_F(Creation, TakesItsMemoryFromTheSystem) {
  static std::size_t asked;
  asked = 0;
  Kel::System::allocator = [](std::size_t size) noexcept {
    asked = size;
    return Kel::System::heap(size);
  };
  auto const sut = Kel::instance<Child>(journal, Kel::Name("a"));
  Kel::System::allocator = &Kel::System::heap;
  EXPECT_EQ(asked, sizeof(Child));
}

}  // namespace
}  // namespace KelTest
