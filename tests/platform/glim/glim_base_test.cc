#include <gtest/gtest.h>

#include "platform/glim/glim_view.h"
#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using Dov::NoPermissionException;
using Dov::UnimplementedException;
using GlimTest::NumberKey;
using GlimTest::Small;
using GlimTest::TableTest;

using SmallMap = MapOf<Small>;
using SmallBase = SmallMap::Base;
using SmallDummy = SmallMap::Dummy;
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

// --- the dummy ---

class GlimDummy : public TableTest {
 protected:
  SmallDummy sut{{}, Small{{7}, 70}, root()};
};

TEST_F(GlimDummy, GivesNeutralAnswers) {
  EXPECT_TRUE(sut.initialize());
  sut.detach();
  sut.cleanup();
  EXPECT_EQ(sut.members(), 0u);
  EXPECT_EQ(sut.minSize(), 0u);
  EXPECT_EQ(sut.maxSize(), 0u);
  EXPECT_EQ(sut.capacity(), 0u);
  EXPECT_EQ(sut.type(), 2);
  EXPECT_EQ(sut.readerCounters(), ReaderCounters());
  EXPECT_TRUE(sut.validate());
  EXPECT_TRUE(sut.validateFiles());
  EXPECT_EQ(sut.mountStatus(), 0);
  EXPECT_EQ(sut.glimName(), "table");
  EXPECT_EQ(sut.rootPath().path(), path());
}

TEST_F(GlimDummy, LookupsAndWalksGiveTheDefaultRecord) {
  bool found = true;
  Small out;
  sut.lookup({1}, found, out);
  EXPECT_FALSE(found);
  EXPECT_EQ(out, (Small{{7}, 70}));
  out = Small();
  EXPECT_FALSE(sut.first(&out));
  EXPECT_EQ(out, (Small{{7}, 70}));
  out = Small();
  EXPECT_FALSE(sut.next({1}, &out));
  EXPECT_EQ(out, (Small{{7}, 70}));
  EXPECT_FALSE(sut.first(nullptr));
  EXPECT_FALSE(sut.next({1}, nullptr));
}

TEST_F(GlimDummy, SaysEachCallAtLevelFive) {
  bool found = true;
  Small out;
  sut.lookup({1}, found, out);
  sut.members();
  ASSERT_EQ(said.size(), 2u);
  EXPECT_EQ(said[0],
            (GlimTest::Said{5, "Glim/GlimBase", "lookup", "GlimBaseDummy::lookup() table"}));
  EXPECT_EQ(said[1],
            (GlimTest::Said{5, "Glim/GlimBase", "members", "GlimBaseDummy::members() table"}));
}

TEST_F(GlimDummy, SaysNothingWhenLevelFiveIsOff) {
  debug.flagsIs(static_cast<std::uint8_t>(~32u));
  bool found = true;
  Small out;
  sut.lookup({1}, found, out);
  sut.initialize();
  sut.type();
  sut.glimName();
  EXPECT_TRUE(said.empty());
}

TEST_F(GlimDummy, PassesCleanupOnToWhatItReplaced) {
  SmallDummy outer(
      {}, Small(), root("outer"),
      std::make_unique<SmallDummy>(SmallDummy::KeyAllocator(), Small(), root("inner")));
  outer.cleanup();
  EXPECT_EQ(texts(5), (std::vector<std::string>{"GlimBaseDummy::cleanup() outer",
                                                "GlimBaseDummy::cleanup() inner"}));
}

TEST_F(GlimDummy, ANextOfADerivedDummyIsUsed) {
  struct Endless : SmallDummy {
    using SmallDummy::SmallDummy;
    bool next(NumberKey const&, Small* out) override {
      *out = {{9}, 9};
      return true;
    }
  } derived{{}, Small(), root()};
  SmallBase& base = derived;
  Small out;
  EXPECT_TRUE(base.next({1}, &out));
  EXPECT_EQ(out.count, 9u);
}

// --- root paths ---

class GlimRootPath : public TableTest {};

TEST_F(GlimRootPath, IsADirectoryAndAName) {
  RootPath const sut(debug, "/dev/shm/oru/intfCounters/", true);
  EXPECT_EQ(sut.path(), "/dev/shm/oru/intfCounters");
  EXPECT_EQ(sut.directory(), "/dev/shm/oru");
  EXPECT_EQ(sut.glimName(), "intfCounters");
  EXPECT_TRUE(sut.makeDirectory());
  EXPECT_EQ(&sut.debugHandler(), &debug);
  EXPECT_EQ(RootPath(debug, "name", false).directory(), ".");
  EXPECT_EQ(RootPath(debug, "/name", false).directory(), "/");
}

TEST_F(GlimRootPath, PrefixesTellTablesFromPlainSharedMemory) {
  EXPECT_EQ(RootPath(debug, "/a/b", false).socknamePrefix(), "glim");
  EXPECT_EQ(Mem::RootPath(debug, "/a/b", false).socknamePrefix(), "shmem");
  Mem::RootPath const& base = root();
  EXPECT_EQ(base.socknamePrefix(), "glim");
}

}  // namespace
}  // namespace Glim
