// An entity whose type derives from one that can be watched by itself.
#include <gtest/gtest.h>

#include "tests/platform/kel/machines.h"

namespace KelTest {
namespace {

using Kel::Ptr;

class Profile : public Config {
 public:
  class NotifieeConst : public Kel::NotifieeOn<Profile, Config::NotifieeConst> {
   public:
    virtual void onTitle() {}
    virtual void onRank(Kel::Name) {}
  };
  class Notifiee : public NotifieeConst {};

  int title() const { return _title; }
  void titleIs(int title) { assign(_title, title, &NotifieeConst::onTitle); }
  void rankIs(Kel::Name const& name, int rank) {
    insert(_rank, name, rank, &NotifieeConst::onRank);
  }

 private:
  int _title = 0;
  Kel::RbTreeMap<int, Kel::Name> _rank;
};

template <class Base>
class Watching : public Base {
 public:
  Watching(Ptr<Kel::PtrInterface const> const& entity, Ptr<Journal> journal, std::string name)
      : _journal(std::move(journal)), _name(std::move(name)) {
    this->notifierIs(entity);
    this->isRegisteredNotifieeIs(true);
    this->hasNotificationActiveIs(true);
  }
  void onMode() override { note("mode"); }

 protected:
  void note(std::string const& what) { (*_journal)(_name + ' ' + what); }

 private:
  Ptr<Journal> _journal;
  std::string _name;
};

class OfAny : public Watching<Config::NotifieeConst> {
 public:
  using Watching::Watching;
};

class OfProfile : public Watching<Profile::NotifieeConst> {
 public:
  using Watching::Watching;
  void onTitle() override { note("title " + std::to_string(notifier()->title())); }
  void onRank(Kel::Name name) override { note("rank " + std::string(name.view())); }
};

class DerivedNotifier : public testing::Test {
 protected:
  Ptr<Kel::PtrInterface const> entity() const { return sut; }

  Ptr<Journal> journal = Kel::make<Journal>();
  Ptr<Profile> sut = Kel::make<Profile>();
  Ptr<OfAny> any = Kel::make<OfAny>(entity(), journal, "any");
  Ptr<OfProfile> profile = Kel::make<OfProfile>(entity(), journal, "profile");
};

TEST_F(DerivedNotifier, TellsAllOfWhatItsBaseHas) {
  sut->modeIs(1);
  EXPECT_EQ(journal->lines(), (Lines{"any mode", "profile mode"}));
}

TEST_F(DerivedNotifier, TellsOfWhatItAddsOnlyThoseWhoKnowIt) {
  sut->titleIs(3);
  sut->rankIs("a", 1);
  EXPECT_EQ(journal->lines(), (Lines{"profile title 3", "profile rank a"}));
}

TEST_F(DerivedNotifier, CannotBeWatchedInAnObjectOfTheBaseAlone) {
  auto const plain = Kel::make<Config>();
  profile->notifierIs(Ptr<Kel::PtrInterface const>(plain));
  EXPECT_EQ(profile->notifier(), nullptr);
  EXPECT_EQ(plain->notifiees(), 0u);
}

}  // namespace
}  // namespace KelTest
