// What the framework takes from the machine, directories and texts.
#include "platform/kel/system.h"

#include <gtest/gtest.h>

#include <chrono>

#include "platform/kel/dir.h"
#include "tests/platform/kel/machines.h"

namespace KelTest {
namespace {

using Kel::Ptr;

TEST(System, CurrentTimeIsThatOfItsSource) {
  Kel::System::timeSource = [] { return 1234.5; };
  EXPECT_EQ(Kel::System::currentTime(), 1234.5);
  Kel::System::timeSource = &Kel::System::wallClock;
}

TEST(System, CurrentTimeIsTheWallClockUnlessReplaced) {
  auto const wall = [] {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
  };
  double const before = wall();
  double const seen = Kel::System::currentTime();
  EXPECT_LE(before, seen);
  EXPECT_LE(seen, wall());
}

class NamedEntity : public Kel::Entity {
 public:
  explicit NamedEntity(Kel::Name name) : Entity(std::move(name)) {}
};

class DirWatcher : public Kel::Dir::NotifieeConst {
 public:
  DirWatcher(Ptr<Kel::Dir const> const& dir, Ptr<Journal> journal) : _journal(std::move(journal)) {
    notifierIs(dir);
    isRegisteredNotifieeIs(true);
    hasNotificationActiveIs(true);
  }
  using Kel::Dir::NotifieeConst::onEntityPtr;
  void onEntityPtr(Kel::Name name) override {
    bool const there = notifier()->entry(name) != nullptr;
    (*_journal)(std::string(name.view()) + (there ? " is there" : " is gone"));
  }

 private:
  Ptr<Journal> _journal;
};

class Dir : public testing::Test {
 protected:
  Ptr<Journal> journal = Kel::make<Journal>();
  Ptr<Kel::Dir> sut = Kel::make<Kel::Dir>("interface");
  Ptr<Kel::Entity> entity = Kel::make<NamedEntity>("e1");
};

TEST_F(Dir, HasAName) {
  EXPECT_EQ(sut->name(), Kel::Name("interface"));
  EXPECT_EQ(entity->name().view(), "e1");
}

TEST_F(Dir, FindsAnEntityUnderItsName) {
  sut->entityPtrIs("e1", entity);
  EXPECT_EQ(sut->entry("e1"), entity);
  EXPECT_EQ(sut->entityPtr().size(), 1u);
}

TEST_F(Dir, HasNullUnderANameThatIsNotThere) {
  EXPECT_EQ(sut->entry("e1"), nullptr);
  sut->entityPtrIs("e1", entity);
  sut->entityPtrDel("e1");
  EXPECT_EQ(sut->entry("e1"), nullptr);
  EXPECT_EQ(entity->references(), 1u);
}

TEST_F(Dir, TellsOfEachEntityThatComesChangesAndGoes) {
  auto const watcher = Kel::make<DirWatcher>(Ptr<Kel::Dir const>(sut), journal);
  sut->entityPtrIs("e1", entity);
  sut->entityPtrIs("e1", entity);
  sut->entityPtrIs("e1", Kel::make<NamedEntity>("e1"));
  sut->entityPtrDel("e1");
  sut->entityPtrDel("e1");
  EXPECT_EQ(journal->lines(), (Lines{"e1 is there", "e1 is there", "e1 is gone"}));
}

TEST(String, AddsCharactersOnEitherSide) {
  Kel::String const sut("Ethernet");
  EXPECT_EQ(sut + "1", Kel::String("Ethernet1"));
  EXPECT_EQ("Not " + sut, Kel::String("Not Ethernet"));
  EXPECT_EQ(sut + Kel::String("2"), Kel::String("Ethernet2"));
  EXPECT_EQ(sut, Kel::String("Ethernet"));
}

TEST(String, EmptyHoweverMadeIsEqual) {
  EXPECT_EQ(Kel::String(), Kel::String(""));
  EXPECT_TRUE(Kel::String("").empty());
  EXPECT_STREQ(Kel::String().c_str(), "");
  EXPECT_LT(Kel::String(), Kel::String("a"));
}

TEST(String, ACopySharesTheCharacters) {
  Kel::String const sut("text");
  Kel::String const copy = sut;
  EXPECT_EQ(copy.c_str(), sut.c_str());
}

TEST(Name, HashesByItsText) {
  // 32-bit FNV-1a, as published for these texts.
  EXPECT_EQ(Kel::Name("").hash(), 0x811c9dc5u);
  EXPECT_EQ(Kel::Name("a").hash(), 0xe40c292cu);
  EXPECT_EQ(Kel::Name("foobar").hash(), 0xbf9cf968u);
}

TEST(Name, OrdersByItsText) {
  EXPECT_LT(Kel::Name("a"), Kel::Name("b"));
  EXPECT_EQ(Kel::Name("a"), Kel::Name(Kel::String("a")));
}

}  // namespace
}  // namespace KelTest
