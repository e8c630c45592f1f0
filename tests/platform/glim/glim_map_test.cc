#include "platform/glim/glim_map.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sstream>

#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using GlimTest::Said;
using GlimTest::Small;
using GlimTest::TableTest;
using GlimTest::Vandal;

class GlimMapTest : public TableTest {
 protected:
  GlimMapTest() {
    sut.write({{1}, 10});
    sut.write({{2}, 20});
    said.clear();
  }

  void scribbleOnRow(Word slot) { Vandal(file()).rowWord(slot, 1) ^= 1; }
  std::string corruptionFile() const {
    std::ifstream in(path() + ".corruption");
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }
  Small lookup(std::uint64_t key, bool& isThere) {
    Small out{{99}, 99};
    sut.safeLookup({key}, isThere, out);
    return out;
  }

  std::vector<std::string> calls;
  MapOf<Small> sut{root(),
                   TableLimits{},
                   {[this](bool ready) { calls.push_back(ready ? "ready" : "not ready"); },
                    [this] { calls.push_back("changed"); }},
                   Small{{7}, 70}};
  bool found = false;
};

TEST_F(GlimMapTest, InitializeReportsReadiness) {
  EXPECT_TRUE(sut.initialize());
  EXPECT_EQ(calls, (std::vector<std::string>{"ready", "changed"}));
  EXPECT_EQ(said, (std::vector<Said>{{5, "Glim/GlimMap", "collectionReadyIs",
                                      "GlimMap::collectionReadyIs() ready:1 notifying:0"}}));
}

TEST_F(GlimMapTest, ASafeLookupFindsTheRecord) {
  EXPECT_EQ(lookup(2, found), (Small{{2}, 20}));
  EXPECT_TRUE(found);
}

TEST_F(GlimMapTest, ASafeLookupOfAnAbsentKeyGivesTheDefaultRecord) {
  found = true;
  EXPECT_EQ(lookup(3, found), (Small{{7}, 70}));
  EXPECT_FALSE(found);
}

TEST_F(GlimMapTest, DetachSaysSoAndCallsBackInOrder) {
  sut.notifyingIs(true);
  sut.detach();
  EXPECT_EQ(said, (std::vector<Said>{{1, "Glim/GlimMap", "detach", "GlimMap::detach() " + path()},
                                     {5, "Glim/GlimMap", "collectionReadyIs",
                                      "GlimMap::collectionReadyIs() ready:0 notifying:1"}}));
  EXPECT_EQ(calls, (std::vector<std::string>{"not ready", "changed"}));
  EXPECT_FALSE(sut.attached());
}

TEST_F(GlimMapTest, AnEmptyChangeNotificationIsABadFunctionCall) {
  sut.callbacks().changed = {};
  EXPECT_THROW(sut.detach(), std::bad_function_call);
  EXPECT_EQ(calls, (std::vector<std::string>{"not ready"}));
  EXPECT_FALSE(sut.attached());
}

TEST_F(GlimMapTest, ALookupOnADetachedTableFindsNothingAndSaysSoAtLevelFive) {
  sut.detach();
  said.clear();
  found = true;
  EXPECT_EQ(lookup(1, found), (Small{{7}, 70}));
  EXPECT_FALSE(found);
  EXPECT_EQ(texts(5), (std::vector<std::string>{"GlimBaseDummy::lookup() table"}));
  debug.flagsIs(2);
  said.clear();
  lookup(1, found);
  EXPECT_TRUE(said.empty());
}

TEST_F(GlimMapTest, ADetachedTableIsADummyWithoutMembers) {
  sut.detach();
  EXPECT_EQ(sut.implementation().type(), 2);
  EXPECT_EQ(sut.members(), 0u);
}

TEST_F(GlimMapTest, ADirectWriteOnADetachedTableEndsInNoMansLand) {
  sut.detach();
  debug.flagsIs(1);
  said.clear();
  try {
    sut.directWrite({1});
    FAIL() << "no exception";
  } catch (Dov::AssertException const& exception) {
    EXPECT_EQ(exception.message(), "GlimMap::directWrite() in no man's land");
  }
  EXPECT_EQ(said, (std::vector<Said>{{0, "Glim/GlimMap", "directWrite",
                                      "GlimMap::directWrite() in no man's land"}}));
}

TEST_F(GlimMapTest, WritesAndRemovalsOnADetachedTableAreDropped) {
  sut.detach();
  sut.write({{5}, 5});
  sut.remove({1});
  auto const next = makeTable<Small>();
  EXPECT_TRUE(next->contains({1}));
  EXPECT_FALSE(next->contains({5}));
}

TEST_F(GlimMapTest, CorruptionInALookupDetachesTheTable) {
  scribbleOnRow(0);
  found = true;
  EXPECT_EQ(lookup(1, found), (Small{{7}, 70}));
  EXPECT_FALSE(found);
  EXPECT_FALSE(sut.attached());
  EXPECT_EQ(calls, (std::vector<std::string>{"not ready", "changed"}));
}

TEST_F(GlimMapTest, CorruptionLeavesACorruptionFile) {
  scribbleOnRow(0);
  EXPECT_EQ(corruptionFile(), "");
  lookup(1, found);
  EXPECT_NE(corruptionFile().find("row 1 in slot 0: its checksum does not agree"),
            std::string::npos);
  EXPECT_NE(corruptionFile().find("table: " + path()), std::string::npos);
}

TEST_F(GlimMapTest, CorruptionOfAnotherRowIsNotNoticed) {
  scribbleOnRow(1);
  EXPECT_EQ(lookup(1, found), (Small{{1}, 10}));
  EXPECT_TRUE(sut.attached());
}

TEST_F(GlimMapTest, AVersionThatTheWriterDidNotWriteIsCorruption) {
  Vandal(file()).slotWord(0, 0) += 2;
  lookup(1, found);
  EXPECT_FALSE(sut.attached());
}

TEST_F(GlimMapTest, AnOldVersionPutBackIsCorruption) {
  Vandal vandal(file());
  std::vector<Word> old;
  for (std::size_t i = 0; i < 7; ++i) old.push_back(vandal.slotWord(0, i));
  sut.write({{1}, 11});
  sut.write({{1}, 12});
  for (std::size_t i = 0; i < 7; ++i) vandal.slotWord(0, i) = old[i];
  lookup(1, found);
  EXPECT_FALSE(sut.attached());
}

TEST_F(GlimMapTest, CorruptionInADirectWriteDetachesAndEndsInNoMansLand) {
  scribbleOnRow(0);
  EXPECT_THROW(sut.directWrite({1}), Dov::AssertException);
  EXPECT_FALSE(sut.attached());
  EXPECT_EQ(texts(0), (std::vector<std::string>{"GlimMap::directWrite() in no man's land"}));
  EXPECT_EQ(texts(1).size(), 2u);
  EXPECT_THROW(sut.directWrite({2}), Dov::AssertException);
}

TEST_F(GlimMapTest, CorruptionInAWalkEndsTheWalkAndDetaches) {
  scribbleOnRow(1);
  Small out;
  ASSERT_TRUE(sut.first(out));
  EXPECT_FALSE(sut.next({1}, out));
  EXPECT_EQ(out, (Small{{7}, 70}));
  EXPECT_FALSE(sut.attached());
}

TEST_F(GlimMapTest, CorruptionInAWholeRecordWriteIsTheCallersToHandle) {
  Vandal(file()).slotWord(0, 0) += 2;
  EXPECT_THROW(sut.write({{1}, 11}), Dov::CorruptionDetectedException);
  EXPECT_TRUE(sut.attached());
}

TEST_F(GlimMapTest, CorruptionWhileDetachedIsAnException) {
  sut.detach();
  said.clear();
  try {
    sut.corruptionDetected("because");
    FAIL() << "no exception";
  } catch (Dov::CorruptionDetectedException const& exception) {
    EXPECT_EQ(exception.message(), "GlimMap::corruptionDetected() table because");
  }
  EXPECT_EQ(texts(1), (std::vector<std::string>{"GlimMap::corruptionDetected() table because"}));
  EXPECT_EQ(corruptionFile(), "");
}

TEST_F(GlimMapTest, OtherExceptionsPassThroughADirectWrite) {
  MapOf<Small> full(root("full"), TableLimits{.maxRows = 1}, {{}, [] {}});
  full.write({{1}, 1});
  EXPECT_THROW(full.directWrite({2}), Dov::ResourceException);
  EXPECT_TRUE(full.attached());
}

TEST_F(GlimMapTest, TheCallbackMayUseTheTable) {
  Small seen{{1}, 1};
  bool foundInside = true;
  sut.callbacks().collectionReady = [&](bool) { sut.safeLookup({1}, foundInside, seen); };
  sut.detach();
  EXPECT_FALSE(foundInside);
  EXPECT_EQ(seen, (Small{{7}, 70}));
}

TEST_F(GlimMapTest, ASlotHeldAcrossADetachTouchesNothing) {
  auto slot = sut.directWrite({1});
  sut.detach();
  auto const next = makeTable<Small>();
  slot->count = 99;
  sut.directCommit(slot);
  EXPECT_EQ(next->lookup({1}).count, 10u);
}

TEST_F(GlimMapTest, ReadersSeeADetachedTableAsItWas) {
  Reader<Small> reader(path());
  ASSERT_EQ(reader.attach(), Answer::ok);
  sut.detach();
  Small out;
  EXPECT_EQ(reader.lookup({2}, out), Answer::ok);
  EXPECT_EQ(out.count, 20u);
  EXPECT_EQ(reader.status().state, TableStatus::State::detached);
}

}  // namespace
}  // namespace Glim
