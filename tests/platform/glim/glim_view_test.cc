#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "platform/glim/glim_view.h"
#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using Dov::NoPermissionException;
using Dov::UnimplementedException;
using GlimTest::NumberKey;
using GlimTest::Small;
using GlimTest::TableTest;
using GlimTest::Vandal;
using GlimTest::WiderSmall;

using SmallMap = MapOf<Small>;
using SmallBase = SmallMap::Base;
using SmallView =
    GlimView<NumberKey, ValueOf<Small>, OpsOf<Small>, SlotAllocator<NumberKey, ValueOf<Small>>>;

template <class Thrown, class Call>
std::string messageOf(Call call) {
  try {
    call();
  } catch (Thrown const& exception) {
    return exception.message();
  }
  return "nothing thrown";
}

// --- the read-only view ---

class GlimReadOnlyView : public TableTest {
 protected:
  SmallView sut{root()};
};

TEST_F(GlimReadOnlyView, DoesNotSupportCountersAnchorsAndClients) {
  auto const message = [](auto call) { return messageOf<UnimplementedException>(call); };
  EXPECT_EQ(message([&] { sut.readerCounters(); }), "readerCounters() not implemented");
  EXPECT_EQ(message([&] { sut.writerCounters(); }), "writerCounters() not implemented");
  EXPECT_EQ(message([&] { sut.getCacheVersionAnchor(); }),
            "getCacheVersionAnchor() not implemented");
  EXPECT_EQ(message([&] { sut.validateVersionAnchor(); }),
            "validateVersionAnchor() not implemented");
  EXPECT_EQ(message([&] { sut.clientQuiesced("x"); }), "clientQuiesced() not implemented");
}

TEST_F(GlimReadOnlyView, RefusesEverythingThatWouldChangeTheTable) {
  auto const message = [](auto call) { return messageOf<NoPermissionException>(call); };
  SmallBase& base = sut;
  EXPECT_EQ(message([&] { base.directCommit(); }), "write to read-only Glim table");
  EXPECT_EQ(message([&] { base.directCommit(SmallBase::Slot()); }),
            "write to read-only Glim table");
  EXPECT_EQ(message([&] { base.directUpdate({1}); }), "write to read-only Glim table");
  EXPECT_EQ(message([&] { base.directWrite({1}); }), "write to read-only Glim table");
  EXPECT_EQ(message([&] { base.write({{1}, 1}); }), "write to read-only Glim table");
  EXPECT_EQ(message([&] { base.remove({1}, nullptr); }), "remove to read-only Glim table");
  EXPECT_EQ(message([&] { base.cleanup(); }), "cleanup to read-only Glim table");
  EXPECT_EQ(message([&] { base.validateFiles(); }), "validateFiles to read-only Glim table");
  EXPECT_EQ(message([&] { base.validate(); }), "validate to read-only Glim table");
}

TEST_F(GlimReadOnlyView, IgnoresNotifyingYieldTimeAndSamples) {
  sut.notifying(true);
  sut.yieldTimeIs(1.0);
  sut.sampleIs(3);
  EXPECT_EQ(sut.sequence(), 0u);
  EXPECT_TRUE(said.empty());
}

TEST_F(GlimReadOnlyView, FindsNothingBeforeThereIsATable) {
  EXPECT_FALSE(sut.initialize());
  bool found = true;
  Small out{{1}, 1};
  sut.lookup({1}, found, out);
  EXPECT_FALSE(found);
  EXPECT_EQ(out, Small());
  EXPECT_EQ(sut.members(), 0u);
  EXPECT_FALSE(sut.first(&out));
}

TEST_F(GlimReadOnlyView, FindsATableThatIsMadeAfterItWasLookedFor) {
  ASSERT_FALSE(sut.initialize());
  auto const table = makeTable<Small>();
  table->write({{1}, 11});
  EXPECT_EQ(sut.members(), 1u);
}

TEST_F(GlimReadOnlyView, LooksForNoTableBeforeItIsInitialized) {
  auto const table = makeTable<Small>();
  table->write({{1}, 11});
  EXPECT_EQ(sut.members(), 0u);
}

TEST_F(GlimReadOnlyView, DirectLookupIsALookup) {
  auto const table = makeTable<Small>();
  table->write({{1}, 11});
  ASSERT_TRUE(sut.initialize());
  bool found = false;
  Small out;
  sut.directLookup({1}, found, out);
  EXPECT_TRUE(found);
  EXPECT_EQ(out.count, 11u);
}

TEST_F(GlimReadOnlyView, WalksInTheOrderOfKeys) {
  auto const table = makeTable<Small>();
  for (std::uint64_t const key : {3u, 1u, 2u}) table->write({{key}, key * 10});
  ASSERT_TRUE(sut.initialize());
  Small out;
  ASSERT_TRUE(sut.first(&out));
  EXPECT_EQ(out.key.value, 1u);
  ASSERT_TRUE(sut.next({1}, &out));
  EXPECT_EQ(out.key.value, 2u);
  ASSERT_TRUE(sut.next({2}, nullptr));
  EXPECT_FALSE(sut.next({3}, &out));
  EXPECT_EQ(sut.members(), 3u);
}

// A view of a table that is replaced under it: its former file was too small for the next writer's
// limit.
class GlimViewOfAMovedTable : public TableTest {
 protected:
  GlimViewOfAMovedTable() {
    table = makeTable<Small>({.maxRows = 10});
    table->write({{1}, 10});
    table->write({{2}, 20});
    EXPECT_TRUE(sut.initialize());
  }
  void move() {
    table = {};
    table = makeTable<Small>({.maxRows = 1000});
    ASSERT_EQ(table->conquest()->kind, Conquest::Kind::moved);
    table->write({{1}, 11});
    table->write({{3}, 30});
  }
  bool finds(std::uint64_t key) {
    bool found = false;
    sut.lookup({key}, found, out);
    return found;
  }

  Table<Small> table;
  SmallView sut{root()};
  Small out;
};

TEST_F(GlimViewOfAMovedTable, LooksUpInTheSuccessor) {
  move();
  EXPECT_TRUE(finds(1));
  EXPECT_EQ(out.count, 11u);
  EXPECT_TRUE(finds(3));
}

TEST_F(GlimViewOfAMovedTable, StillFindsNothingUnderAnAbsentKey) {
  move();
  EXPECT_FALSE(finds(4));
  EXPECT_EQ(out, Small());
}

TEST_F(GlimViewOfAMovedTable, BeginsAWalkInTheSuccessor) {
  move();
  ASSERT_TRUE(sut.first(&out));
  EXPECT_EQ(out.count, 11u);
}

TEST_F(GlimViewOfAMovedTable, GoesOnWithAWalkInTheSuccessor) {
  ASSERT_TRUE(sut.first(&out));
  EXPECT_EQ(out.count, 10u);
  move();
  ASSERT_TRUE(sut.next({2}, &out));
  EXPECT_EQ(out, (Small{{3}, 30}));
  EXPECT_FALSE(sut.next({3}, &out));
  EXPECT_EQ(out, Small());
}

TEST_F(GlimViewOfAMovedTable, CountsTheMembersOfTheSuccessor) {
  move();
  EXPECT_EQ(sut.members(), 3u);
}

TEST_F(GlimViewOfAMovedTable, TellsTheSizeOfTheSuccessor) {
  EXPECT_EQ(sut.maxSize(), 10u);
  move();
  EXPECT_EQ(sut.maxSize(), 1000u);
}

TEST_F(GlimViewOfAMovedTable, TellsTheCapacityOfTheSuccessor) {
  EXPECT_EQ(sut.capacity(), table->map().implementation().capacity());
  move();
  EXPECT_EQ(sut.capacity(), table->map().implementation().capacity());
}

TEST_F(GlimViewOfAMovedTable, ReadsTheRetiredFileUntilTheSuccessorIsThere) {
  table = {};
  Vandal(file()).word(Layout::stateOffset) = static_cast<Word>(Layout::TableState::retired);
  EXPECT_TRUE(finds(1));
  EXPECT_EQ(out.count, 10u);
  ASSERT_TRUE(sut.first(&out));
  EXPECT_EQ(sut.members(), 2u);
  move();
  EXPECT_TRUE(finds(1));
  EXPECT_EQ(out.count, 11u);
  EXPECT_EQ(sut.members(), 3u);
}

// An order of keys that calls the test at its first comparison.
struct InterruptedOps : OpsOf<Small> {
  static bool less(NumberKey const& a, NumberKey const& b) {
    if (auto const call = std::exchange(interrupt, {})) call();
    return OpsOf<Small>::less(a, b);
  }
  inline static std::function<void()> interrupt;
};

TEST_F(GlimViewOfAMovedTable, BeginsAStepAnewThatItsFileDidNotLast) {
  GlimView<NumberKey, ValueOf<Small>, InterruptedOps, SlotAllocator<NumberKey, ValueOf<Small>>>
      interrupted{root()};
  ASSERT_TRUE(interrupted.initialize());
  InterruptedOps::interrupt = [this] { move(); };
  ASSERT_TRUE(interrupted.next({1}, &out));
  EXPECT_EQ(out, (Small{{2}, 20}));
  EXPECT_EQ(interrupted.maxSize(), 1000u);
  ASSERT_TRUE(interrupted.next({2}, &out));
  EXPECT_EQ(out, (Small{{3}, 30}));
}

TEST_F(GlimViewOfAMovedTable, DoesNotTakeRowsOfAnotherRecordForItsOwn) {
  table = {};
  auto const other = makeTable<WiderSmall>();
  other->write({{1}, 11, 12});
  EXPECT_FALSE(finds(1));
  EXPECT_EQ(sut.members(), 0u);
}

TEST_F(GlimViewOfAMovedTable, StaysDetachedOnceItWasDetached) {
  move();
  sut.detach();
  EXPECT_FALSE(finds(1));
  EXPECT_FALSE(sut.first(&out));
  EXPECT_EQ(sut.members(), 0u);
}

}  // namespace
}  // namespace Glim
