// Directories, and the entities that they make.
#include "platform/kel/dir.h"

#include <gtest/gtest.h>

#include "platform/kel/description.h"
#include "platform/kel/exceptions.h"
#include "platform/kel/type_node.h"
#include "tests/platform/kel/machines.h"

namespace KelTest {
namespace {

using Kel::Ptr;

class NamedEntity : public Kel::Typed<NamedEntity, Kel::Entity> {
 public:
  explicit NamedEntity(Kel::Name name) : Typed(std::move(name)) {}

  static constexpr auto kelDescription() {
    return Kel::describe("KelTest::NamedEntity", Kel::key("name", &NamedEntity::name));
  }
  static Kel::TypeNode const _kelType;
};
constinit Kel::TypeNode const NamedEntity::_kelType = Kel::entityTypeNode<NamedEntity>();

class OtherEntity : public Kel::Typed<OtherEntity, Kel::Entity> {
 public:
  explicit OtherEntity(Kel::Name name) : Typed(std::move(name)) {}

  static constexpr auto kelDescription() {
    return Kel::describe("KelTest::OtherEntity", Kel::key("name", &OtherEntity::name));
  }
  static Kel::TypeNode const _kelType;
};
constinit Kel::TypeNode const OtherEntity::_kelType = Kel::entityTypeNode<OtherEntity>();

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

// --- entities that are made in the directory ---

class DirThatMakes : public Dir {
 protected:
  template <class Exception>
  std::string refusal(std::string_view type, Kel::Name const& name) {
    try {
      sut->newEntity(type, name);
    } catch (Exception const& e) {
      return e.what();
    }
    return "not refused";
  }

  Kel::UnitTypes const unit{&NamedEntity::_kelType, &OtherEntity::_kelType, &Child::_kelType};
  Ptr<DirWatcher> watcher = Kel::make<DirWatcher>(Ptr<Kel::Dir const>(sut), journal);
};

TEST_F(DirThatMakes, FilesTheEntityUnderItsName) {
  auto const made = sut->newEntity("KelTest::NamedEntity", "e2");
  EXPECT_EQ(made->name(), Kel::Name("e2"));
  EXPECT_EQ(made->fwkType(), &NamedEntity::_kelType);
  EXPECT_EQ(sut->entry("e2"), made);
  EXPECT_EQ(journal->lines(), (Lines{"e2 is there"}));
}

TEST_F(DirThatMakes, FindsTheEntityThatIsThere) {
  auto const made = sut->newEntity("KelTest::NamedEntity", "e2");
  journal->taken();
  EXPECT_EQ(sut->newEntity("KelTest::NamedEntity", "e2"), made);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST_F(DirThatMakes, RefusesANameThatIsInUseForAnotherType) {
  auto const made = sut->newEntity("KelTest::NamedEntity", "e2");
  EXPECT_EQ(refusal<Kel::NameInUseException>("KelTest::OtherEntity", "e2"),
            "the name e2 is in use for an object of KelTest::NamedEntity, not "
            "KelTest::OtherEntity");
  EXPECT_EQ(sut->entry("e2"), made);
}

TEST_F(DirThatMakes, RefusesTypesThatItCannotMake) {
  EXPECT_EQ(refusal<Kel::OpNotSupportedException>("KelTest::Child", "e2"),
            "a directory cannot make objects of KelTest::Child");
  EXPECT_EQ(refusal<Kel::RangeException>("KelTest::Absent", "e2"),
            "there is no type KelTest::Absent");
  EXPECT_EQ(sut->entityPtr().size(), 0u);
  EXPECT_EQ(journal->lines(), Lines{});
}

TEST(Typed, ObjectsAreCountedUnderTheirTypeWhileTheyLive) {
  auto const before = Kel::AllocTrackTypeInfo::live(NamedEntity::_kelType);
  auto entity = Kel::make<NamedEntity>("e1");
  auto const during = Kel::AllocTrackTypeInfo::live(NamedEntity::_kelType);
  EXPECT_EQ(during.objects, before.objects + 1);
  EXPECT_EQ(during.bytes, before.bytes + sizeof(NamedEntity));
  entity = nullptr;
  EXPECT_EQ(Kel::AllocTrackTypeInfo::live(NamedEntity::_kelType).objects, before.objects);
}

}  // namespace
}  // namespace KelTest
