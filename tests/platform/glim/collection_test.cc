#include "platform/glim/collection.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using GlimTest::Colliding;
using GlimTest::Large;
using GlimTest::largeRow;
using GlimTest::Middle;
using GlimTest::NameKey;
using GlimTest::Small;
using GlimTest::TableTest;
using GlimTest::Vandal;

class GlimCollection : public TableTest {
 protected:
  std::vector<std::uint64_t> keys() {
    std::vector<std::uint64_t> found;
    sut->forEach([&](Small const& row) { found.push_back(row.key.value); });
    return found;
  }
  Table<Small> sut = makeTable<Small>();
};

TEST_F(GlimCollection, WritesAndFindsRecordsOfEverySize) {
  auto const middle = makeTable<Middle>({}, "middle");
  auto const large = makeTable<Large>({}, "large");
  Middle const a{NameKey("Ethernet1"), {1, 2, 3, 4, 5}, 8, 0};
  middle->write(a);
  large->write(largeRow("Ethernet1", 5));
  sut->write({{1}, 10});
  EXPECT_EQ(middle->lookup(NameKey("Ethernet1")), a);
  EXPECT_EQ(large->lookup(NameKey("Ethernet1")), largeRow("Ethernet1", 5));
  EXPECT_EQ(sut->lookup({1}), (Small{{1}, 10}));
}

TEST_F(GlimCollection, OverwritesTheRecordThere) {
  sut->write({{1}, 10});
  sut->write({{1}, 11});
  EXPECT_EQ(sut->lookup({1}).count, 11u);
  EXPECT_EQ(sut->members(), 1u);
}

TEST_F(GlimCollection, RemovesRecordsAndIgnoresAbsentKeys) {
  sut->write({{1}, 10});
  sut->remove({2});
  sut->remove({1});
  sut->remove({1});
  EXPECT_FALSE(sut->contains({1}));
  EXPECT_EQ(sut->members(), 0u);
}

TEST_F(GlimCollection, KeysMayComeBack) {
  for (std::uint64_t i = 0; i < 10; ++i) {
    sut->write({{1}, i});
    EXPECT_EQ(sut->lookup({1}).count, i);
    sut->remove({1});
    EXPECT_FALSE(sut->contains({1}));
  }
}

TEST_F(GlimCollection, DoesWhatAMapDoesEvenWhenAllKeysCollide) {
  auto const table = makeTable<Colliding>({.maxRows = 64}, "colliding");
  Reader<Colliding> reader(path("colliding"));
  ASSERT_EQ(reader.attach(), Answer::ok);
  std::map<std::uint64_t, std::uint64_t> model;
  std::mt19937_64 random(3);
  for (int i = 0; i < 3000; ++i) {
    std::uint64_t const key = random() % 40;
    if (random() % 3 == 0) {
      table->remove({key});
      model.erase(key);
    } else {
      table->write({{key}, static_cast<std::uint64_t>(i)});
      model[key] = static_cast<std::uint64_t>(i);
    }
    std::uint64_t const probe = random() % 40;
    auto const expected = model.find(probe);
    Colliding out;
    bool found = false;
    table->safeLookup({probe}, found, out);
    ASSERT_EQ(found, expected != model.end());
    ASSERT_EQ(reader.lookup({probe}, out) == Answer::ok, found);
    if (found) {
      ASSERT_EQ(out.count, expected->second);
    }
  }
  EXPECT_EQ(table->members(), model.size());
  EXPECT_TRUE(table->map().implementation().validate());
}

TEST_F(GlimCollection, WalksInTheOrderOfKeys) {
  for (std::uint64_t const key : {5u, 1u, 3u}) sut->write({{key}, 0});
  EXPECT_EQ(keys(), (std::vector<std::uint64_t>{1, 3, 5}));
}

TEST_F(GlimCollection, AWalkSurvivesTheRemovalOfEveryRecord) {
  for (std::uint64_t key = 1; key <= 5; ++key) sut->write({{key}, 0});
  std::vector<std::uint64_t> seen;
  sut->forEach([&](Small const& row) {
    seen.push_back(row.key.value);
    sut->remove(row.key);
    sut->remove({row.key.value + 1});
  });
  EXPECT_EQ(seen, (std::vector<std::uint64_t>{1, 3, 5}));
}

TEST_F(GlimCollection, AWalkVisitsWhatIsAddedAheadOfIt) {
  sut->write({{1}, 0});
  std::vector<std::uint64_t> seen;
  sut->forEach([&](Small const& row) {
    seen.push_back(row.key.value);
    if (row.key.value < 4) sut->write({{row.key.value + 1}, 0});
  });
  EXPECT_EQ(seen, (std::vector<std::uint64_t>{1, 2, 3, 4}));
}

TEST_F(GlimCollection, TellsThoseWhoWatchItThatItIsLost) {
  class Watcher : public Collection<Small>::NotifieeConst {
   public:
    explicit Watcher(Kel::Ptr<Collection<Small> const> const& table) {
      notifierIs(table);
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
    }
    void onAttached() override { attached.push_back(notifier()->attached()); }
    std::vector<bool> attached;
  };
  Table<Small> const other = makeTable<Small>({}, "other");
  auto const watcher = Kel::make<Watcher>(Kel::Ptr<Collection<Small> const>(sut));
  sut->write({{1}, 10});
  other->detach();
  EXPECT_EQ(watcher->attached, std::vector<bool>{});
  sut->detach();
  EXPECT_EQ(watcher->attached, std::vector<bool>{false});
}

TEST_F(GlimCollection, MayBeLetGoOfByWhoeverIsToldOfItsLoss) {
  class LastHolder : public Collection<Small>::NotifieeConst {
   public:
    explicit LastHolder(Table<Small>& table) : _table(table) {
      notifierIs(table);
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
    }
    void onAttached() override {
      _table = nullptr;
      notifierIs(nullptr);
    }

   private:
    Table<Small>& _table;
  };
  sut->write({{1}, 10});
  auto last = Kel::make<LastHolder>(sut);
  sut->detach();
  EXPECT_EQ(sut, nullptr);

  sut = makeTable<Small>({}, "damaged");
  sut->write({{1}, 10});
  last = Kel::make<LastHolder>(sut);
  Vandal(this->file("damaged")).rowWord(0, 1) ^= 1;
  EXPECT_FALSE(sut->contains({1}));
  EXPECT_EQ(sut, nullptr);
}

TEST_F(GlimCollection, AWalkEndsAtADetach) {
  for (std::uint64_t key = 1; key <= 3; ++key) sut->write({{key}, 0});
  int visits = 0;
  sut->forEach([&](Small const&) {
    ++visits;
    sut->detach();
  });
  EXPECT_EQ(visits, 1);
}

TEST_F(GlimCollection, ASlotStaysWhereItIsWhileItsKeyLives) {
  for (std::uint64_t key = 1; key <= 8; ++key) sut->write({{key}, key});
  Vandal file(this->file());
  for (std::uint64_t key = 1; key <= 8; key += 2) sut->remove({key});
  for (std::uint64_t key = 20; key <= 23; ++key) sut->write({{key}, key});
  for (std::uint64_t key = 2; key <= 8; key += 2) {
    EXPECT_EQ(file.rowWord(key - 1, 0), key);
  }
  EXPECT_EQ(file.rowWord(0, 0), 20u);  // the lowest free slot first
}

// --- direct writes ---

TEST_F(GlimCollection, ADirectWriteShowsAtItsCommit) {
  sut->write({{1}, 10});
  auto const slot = sut->directWrite({1});
  EXPECT_EQ(slot->count, 10u);
  slot->count = 11;
  EXPECT_EQ(sut->lookup({1}).count, 10u);
  sut->commit(slot);
  EXPECT_EQ(sut->lookup({1}).count, 11u);
}

TEST_F(GlimCollection, ADirectWriteMakesAnAbsentRecordAtItsCommit) {
  auto const slot = sut->directWrite({1});
  EXPECT_EQ(*slot, (Small{{1}, 0}));
  slot->count = 5;
  EXPECT_FALSE(sut->contains({1}));
  EXPECT_EQ(sut->members(), 0u);
  sut->commit(slot);
  EXPECT_EQ(sut->lookup({1}).count, 5u);
  EXPECT_EQ(keys(), (std::vector<std::uint64_t>{1}));
}

TEST_F(GlimCollection, AnAbandonedDirectWriteChangesNothingAndCanBeOpenedAgain) {
  sut->write({{1}, 10});
  for (int i = 0; i < 3; ++i) {
    sut->directWrite({1})->count = 99;
    sut->directWrite({2})->count = 99;
  }
  EXPECT_EQ(sut->lookup({1}).count, 10u);
  EXPECT_FALSE(sut->contains({2}));
  auto const again = sut->directWrite({2});
  EXPECT_EQ(again->count, 0u);
  again->count = 7;
  sut->commit(again);
  EXPECT_EQ(sut->lookup({2}).count, 7u);
  EXPECT_EQ(sut->directWrite({1})->count, 10u);
}

TEST_F(GlimCollection, ACommitWithoutASlotIsThatOfTheSlotOpenedLast) {
  auto& table = sut->map().implementation();
  table.directWrite({1})->count = 5;
  table.directWrite({2})->count = 6;
  table.directCommit();
  EXPECT_FALSE(sut->contains({1}));
  EXPECT_EQ(sut->lookup({2}).count, 6u);
  table.directUpdate({2})->count = 7;
  table.directCommit();
  EXPECT_EQ(sut->lookup({2}).count, 7u);
}

TEST_F(GlimCollection, ACommitWithoutASlotNeedsAnOpenOne) {
  auto& table = sut->map().implementation();
  EXPECT_THROW(table.directCommit(), Dov::AssertException);
  EXPECT_EQ(texts(0),
            (std::vector<std::string>{"GlimMap::directCommit() of a slot that is not open"}));
  table.directWrite({1});
  table.directCommit();
  EXPECT_THROW(table.directCommit(), Dov::AssertException);
}

TEST_F(GlimCollection, ACommitWithoutASlotIsNotThatOfAnEarlierOneWhenTheLastOpenedNone) {
  auto const full = makeTable<Small>({.maxRows = 1}, "full");
  auto& table = full->map().implementation();
  full->write({{1}, 10});
  table.directWrite({1})->count = 11;
  EXPECT_FALSE(table.directUpdate({2}));
  EXPECT_THROW(table.directCommit(), Dov::AssertException);
  table.directWrite({1})->count = 11;
  EXPECT_THROW(table.directWrite({2}), Dov::ResourceException);
  EXPECT_THROW(table.directCommit(), Dov::AssertException);
  EXPECT_EQ(full->lookup({1}).count, 10u);
}

TEST_F(GlimCollection, AWholeWriteAfterAnAbandonedDirectWriteTakesItsSlot) {
  sut->directWrite({2})->count = 99;
  sut->write({{2}, 5});
  EXPECT_EQ(sut->lookup({2}).count, 5u);
  EXPECT_EQ(sut->members(), 1u);
}

TEST_F(GlimCollection, AnotherWriteOfTheKeyMakesTheSlotStale) {
  auto const slot = sut->directWrite({1});
  sut->write({{1}, 5});
  EXPECT_THROW(sut->commit(slot), Dov::AssertException);
  EXPECT_EQ(sut->lookup({1}).count, 5u);
}

TEST_F(GlimCollection, ARemovalMakesTheSlotOfAnAbsentKeyStaleAlsoWhenAnotherKeyTakesIt) {
  auto const stale = sut->directWrite({1});
  sut->remove({1});
  auto const slot = sut->directWrite({2});
  slot->count = 22;
  EXPECT_THROW(sut->commit(stale), Dov::AssertException);
  EXPECT_FALSE(sut->contains({2}));
  sut->commit(slot);
  EXPECT_EQ(sut->lookup({2}).count, 22u);
}

TEST_F(GlimCollection, AFullTableThatTakesAnAbandonedSlotBackMakesItsHandleStale) {
  sut = nullptr;
  sut = makeTable<Small>({.maxRows = 1});
  auto const stale = sut->directWrite({1});
  auto const slot = sut->directWrite({2});
  EXPECT_THROW(sut->commit(stale), Dov::AssertException);
  sut->commit(slot);
  EXPECT_TRUE(sut->contains({2}));
  EXPECT_FALSE(sut->contains({1}));
}

TEST_F(GlimCollection, AnotherOpeningMakesTheFirstOneStale) {
  auto const stale = sut->directWrite({1});
  auto const slot = sut->directWrite({1});
  EXPECT_THROW(sut->commit(stale), Dov::AssertException);
  sut->commit(slot);
  EXPECT_TRUE(sut->contains({1}));
}

TEST_F(GlimCollection, WhatSomebodyStoredInAFreeSlotIsWrittenOver) {
  GlimTest::Vandal(file()).slotWord(0, 0) = 77;
  sut->write({{1}, 10});
  EXPECT_EQ(sut->lookup({1}).count, 10u);
  sut->remove({1});
  GlimTest::Vandal(file()).slotWord(0, 0) = ~Word{0};
  auto const slot = sut->directWrite({2});
  slot->count = 20;
  sut->commit(slot);
  EXPECT_EQ(sut->lookup({2}).count, 20u);
  EXPECT_TRUE(sut->map().implementation().validate());
}

TEST_F(GlimCollection, ASlotIsCommittedOnce) {
  auto const slot = sut->directWrite({1});
  sut->commit(slot);
  EXPECT_THROW(sut->commit(slot), Dov::AssertException);
}

TEST_F(GlimCollection, ASlotOfAnotherTableIsRefused) {
  auto const other = makeTable<Small>({}, "other");
  auto const slot = other->directWrite({1});
  sut->directWrite({1});
  EXPECT_THROW(sut->commit(slot), Dov::AssertException);
}

TEST_F(GlimCollection, ADirectWriteMustKeepTheKey) {
  sut->write({{1}, 10});
  auto const slot = sut->directWrite({1});
  slot->key.value = 2;
  EXPECT_THROW(sut->commit(slot), Dov::AssertException);
  EXPECT_EQ(sut->lookup({1}).count, 10u);
}

TEST_F(GlimCollection, TheSlotOfAnAbandonedDirectWriteIsUsableAfterwards) {
  sut->directWrite({2});
  sut->map().implementation().cleanup();
  sut->write({{3}, 30});
  EXPECT_EQ(sut->lookup({3}).count, 30u);
  EXPECT_TRUE(sut->attached());
}

// --- room ---

TEST_F(GlimCollection, GrowsFarBeyondItsFirstChunk) {
  auto const large = makeTable<Large>({.maxRows = 2000}, "large");
  auto const before = large->map().implementation().capacity();
  Reader<Large> reader(path("large"));
  ASSERT_EQ(reader.attach(), Answer::ok);
  for (std::uint64_t i = 0; i < 2000; ++i) large->write(largeRow(std::to_string(i), i));
  EXPECT_LT(before, 200u);
  EXPECT_EQ(large->map().implementation().capacity(), 2000u);
  for (std::uint64_t i = 0; i < 2000; ++i) {
    Large out;
    ASSERT_EQ(reader.lookup(NameKey(std::to_string(i)), out), Answer::ok);
    ASSERT_EQ(out.counts[121], i);
  }
}

TEST_F(GlimCollection, AFullTableIsACleanErrorThatNamesTableAndLimit) {
  auto const table = makeTable<Small>({.maxRows = 3}, "full");
  for (std::uint64_t key = 1; key <= 3; ++key) table->write({{key}, key});
  try {
    table->write({{4}, 4});
    FAIL() << "no exception";
  } catch (Dov::ResourceException const& exception) {
    EXPECT_EQ(exception.message(), "table " + path("full") + " is full: 3 rows");
  }
  EXPECT_TRUE(table->attached());
  table->write({{2}, 22});
  EXPECT_EQ(table->lookup({2}).count, 22u);
  table->remove({1});
  table->write({{4}, 4});
  EXPECT_EQ(table->members(), 3u);
}

TEST_F(GlimCollection, AbandonedDirectWritesDoNotFillATable) {
  auto const table = makeTable<Small>({.maxRows = 3}, "full");
  for (std::uint64_t key = 1; key <= 3; ++key) table->directWrite({key});
  for (std::uint64_t key = 4; key <= 6; ++key) table->write({{key}, key});
  EXPECT_EQ(table->members(), 3u);
  EXPECT_TRUE(table->map().implementation().validate());
}

TEST_F(GlimCollection, LimitsBeyondBoundsAreRefused) {
  EXPECT_THROW(makeTable<Small>({.maxRows = 0}, "none"), Dov::InvalidSizeException);
  EXPECT_THROW(makeTable<Small>({.maxRows = (1u << 20) + 1}, "many"), Dov::InvalidSizeException);
}

TEST_F(GlimCollection, ARecorderMayDerive) {
  struct Recorder : Collection<Small> {
    using Collection::Collection;
    void write(Small const& row) override {
      ++writes;
      Collection::write(row);
    }
    int writes = 0;
  };
  auto const recorder = Kel::Ptr<Recorder>::adopt(new Recorder(debug, root("recorder")));
  Kel::Ptr<Collection<Small>> const table = recorder;
  table->write({{1}, 1});
  EXPECT_EQ(recorder->writes, 1);
  EXPECT_TRUE(table->contains({1}));
}

}  // namespace
}  // namespace Glim
