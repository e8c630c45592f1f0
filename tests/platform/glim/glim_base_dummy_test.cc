#include "platform/glim/glim_base_dummy.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using GlimTest::NumberKey;
using GlimTest::Said;
using GlimTest::Small;
using GlimTest::TableTest;

using SmallDummy = MapOf<Small>::Dummy;
using SmallBase = SmallDummy::Base;

Small const kDefault{{7}, 70};

// An operation, and whether its answer is the neutral one.
struct Operation {
  std::string name;
  std::function<bool(SmallBase&)> isNeutral;
};

// Whether nothing was found, and the default record is given.
template <class Step>
bool givesTheDefault(Step step) {
  Small out;
  return !step(&out) && out == kDefault;
}

bool findsNothing(SmallBase& sut) {
  bool found = true;
  Small out;
  sut.lookup({1}, found, out);
  return !found && out == kDefault;
}

std::vector<Operation> operations() {
  using D = SmallBase;
  return {
      {"initialize", [](D& d) { return d.initialize(); }},
      {"detach", [](D& d) { return d.detach(), true; }},
      {"cleanup", [](D& d) { return d.cleanup(), true; }},
      {"lookup", findsNothing},
      {"first", [](D& d) { return givesTheDefault([&](Small* out) { return d.first(out); }); }},
      {"first", [](D& d) { return !d.first(nullptr); }},
      {"next", [](D& d) { return givesTheDefault([&](Small* out) { return d.next({1}, out); }); }},
      {"next", [](D& d) { return !d.next({1}, nullptr); }},
      {"members", [](D& d) { return d.members() == 0; }},
      {"minSize", [](D& d) { return d.minSize() == 0; }},
      {"maxSize", [](D& d) { return d.maxSize() == 0; }},
      {"capacity", [](D& d) { return d.capacity() == 0; }},
      {"type", [](D& d) { return d.type() == 2; }},
      {"readerCounters", [](D& d) { return d.readerCounters() == ReaderCounters(); }},
      {"writerCounters", [](D& d) { return d.writerCounters() == WriterCounters(); }},
      {"validate", [](D& d) { return d.validate(); }},
      {"validateFiles", [](D& d) { return d.validateFiles(); }},
      {"mountStatus", [](D& d) { return d.mountStatus() == 0; }},
      {"glimName", [](D& d) { return d.glimName() == "table"; }},
      {"rootPath", [](D& d) { return d.rootPath().glimName() == "table"; }},
      {"write",
       [](D& d) {
         return d.write({{1}, 1}), true;
       }},
      {"remove", [](D& d) { return d.remove({1}, nullptr), true; }},
      {"directWrite", [](D& d) { return !d.directWrite({1}); }},
      {"directUpdate", [](D& d) { return !d.directUpdate({1}); }},
      {"directCommit", [](D& d) { return d.directCommit(), true; }},
      {"directCommit", [](D& d) { return d.directCommit(SmallBase::Slot()), true; }},
      {"getCacheVersionAnchor", [](D& d) { return d.getCacheVersionAnchor() == 0; }},
      {"validateVersionAnchor", [](D& d) { return d.validateVersionAnchor(); }},
      {"clientQuiesced", [](D& d) { return d.clientQuiesced("x"), true; }},
      {"notifying", [](D& d) { return d.notifying(true), true; }},
      {"yieldTimeIs", [](D& d) { return d.yieldTimeIs(1.0), true; }},
      {"sampleIs", [](D& d) { return d.sampleIs(3), true; }},
      {"sequence", [](D& d) { return d.sequence() == 0; }},
  };
}

class GlimDummy : public TableTest {
 protected:
  SmallDummy sut{{}, kDefault, root()};
};

TEST_F(GlimDummy, AnswersEveryCallNeutrallyAndSaysItAtLevelFive) {
  debug.flagsIs(32);
  for (Operation const& operation : operations()) {
    SCOPED_TRACE(operation.name);
    said.clear();
    EXPECT_TRUE(operation.isNeutral(sut));
    EXPECT_EQ(said, (std::vector<Said>{{5, "Glim/GlimBase", operation.name,
                                        "GlimBaseDummy::" + operation.name + "() table"}}));
  }
}

TEST_F(GlimDummy, AnswersTheSameInSilenceWhenLevelFiveIsOff) {
  debug.flagsIs(static_cast<std::uint8_t>(~32u));
  for (Operation const& operation : operations()) {
    SCOPED_TRACE(operation.name);
    EXPECT_TRUE(operation.isNeutral(sut));
    EXPECT_TRUE(said.empty());
  }
}

TEST_F(GlimDummy, DirectLookupIsALookup) {
  bool found = true;
  Small out;
  sut.directLookup({1}, found, out);
  EXPECT_FALSE(found);
  EXPECT_EQ(out, kDefault);
  EXPECT_EQ(texts(5), (std::vector<std::string>{"GlimBaseDummy::lookup() table"}));
}

TEST_F(GlimDummy, HasTheRootPathThatItWasMadeWith) { EXPECT_EQ(sut.rootPath().path(), path()); }

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

}  // namespace
}  // namespace Glim
