// What a table says and whom it calls when it is detached, in which order; and what passes through
// it untouched.
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <stdexcept>

#include "platform/interface/queue_counter.h"
#include "tests/platform/glim/table_fixture.h"

namespace Glim {
namespace {

using GlimTest::NumberKey;
using GlimTest::Said;
using GlimTest::Small;
using GlimTest::TableTest;
using GlimTest::Vandal;
using Events = std::vector<std::string>;

// Messages and callbacks of one table as they come. A callback is noted with what it can see: the
// kind of the implementation, and whether the corruption file is there.
class GlimMapEvents : public TableTest {
 protected:
  GlimMapEvents() {
    sut.write({{1}, 10});
    sut.write({{2}, 20});
    debug.sinkIs([this](Dov::Platform::DebugHandler::Message const& message) {
      events.push_back(std::to_string(message.level) + " " + std::string(message.source) + " " +
                       std::string(message.function) + ": " + std::string(message.text));
    });
  }

  bool corruptionFileExists() const { return std::filesystem::exists(path() + ".corruption"); }
  void callback(std::string text) {
    // Not by type(): a dummy would say that it was asked.
    bool const dummy = dynamic_cast<MapOf<Small>::Dummy*>(&sut.implementation()) != nullptr;
    text += dummy ? " of a dummy" : " of a table";
    if (corruptionFileExists()) text += " after its corruption file";
    events.push_back(text);
  }
  // Corrupts a row and meets it in a lookup.
  void meetCorruption() {
    Vandal(file()).rowWord(0, 1) ^= 1;
    bool found = true;
    Small out;
    sut.safeLookup({1}, found, out);
    EXPECT_FALSE(found);
  }

  std::string corruptionMessage() const {
    return "1 Glim/GlimMap corruptionDetected: GlimMap::corruptionDetected() table "
           "Dov::CorruptionDetectedException(\"row 1 in slot 0: its checksum does not agree\")";
  }
  std::string detachMessage() const { return "1 Glim/GlimMap detach: GlimMap::detach() " + path(); }
  std::string const readyMessage =
      "5 Glim/GlimMap collectionReadyIs: GlimMap::collectionReadyIs() ready:0 notifying:0";
  std::string const notReady = "collectionReady(false) of a dummy";
  std::string const changed = "changed() of a dummy";

  Events events;
  MapOf<Small> sut{root(),
                   TableLimits{},
                   {[this](bool ready) {
                      callback(std::string("collectionReady(") + (ready ? "true)" : "false)"));
                    },
                    [this] { callback("changed()"); }},
                   Small{{7}, 70}};
};

TEST_F(GlimMapEvents, OfInitializeAreReadinessAndItsCallbacks) {
  sut.initialize();
  EXPECT_EQ(events,
            (Events{"5 Glim/GlimMap collectionReadyIs: GlimMap::collectionReadyIs() ready:1 "
                    "notifying:0",
                    "collectionReady(true) of a table", "changed() of a table"}));
}

TEST_F(GlimMapEvents, OfADetachAreItsMessageReadinessAndTheCallbacksOverADummy) {
  sut.detach();
  EXPECT_EQ(events, (Events{detachMessage(), readyMessage, notReady, changed}));
  EXPECT_FALSE(corruptionFileExists());
}

TEST_F(GlimMapEvents, OfADetachWithFlag2AloneLackReadiness) {
  debug.flagsIs(2);
  sut.detach();
  EXPECT_EQ(events, (Events{detachMessage(), notReady, changed}));
}

TEST_F(GlimMapEvents, OfADetachWithFlag32AloneLackTheDetach) {
  debug.flagsIs(32);
  sut.detach();
  EXPECT_EQ(events, (Events{readyMessage, notReady, changed}));
}

TEST_F(GlimMapEvents, OfADetachWithAllOtherFlagsAreTheCallbacksAlone) {
  debug.flagsIs(static_cast<std::uint8_t>(~(2u | 32u)));
  sut.detach();
  EXPECT_EQ(events, (Events{notReady, changed}));
}

TEST_F(GlimMapEvents, OfACorruptionBeginWithItAndEndBeforeTheCorruptionFile) {
  meetCorruption();
  EXPECT_EQ(events,
            (Events{corruptionMessage(), detachMessage(), readyMessage, notReady, changed}));
  EXPECT_TRUE(corruptionFileExists());
}

TEST_F(GlimMapEvents, OfACorruptionInADirectWriteEndInNoMansLand) {
  Vandal(file()).rowWord(0, 1) ^= 1;
  EXPECT_THROW(sut.directWrite({1}), Dov::AssertException);
  EXPECT_EQ(events,
            (Events{corruptionMessage(), detachMessage(), readyMessage, notReady, changed,
                    "0 Glim/GlimMap directWrite: GlimMap::directWrite() in no man's land"}));
  EXPECT_TRUE(corruptionFileExists());
}

TEST_F(GlimMapEvents, OfACorruptionWithFlag2AloneLackReadiness) {
  debug.flagsIs(2);
  meetCorruption();
  EXPECT_EQ(events, (Events{corruptionMessage(), detachMessage(), notReady, changed}));
  EXPECT_TRUE(corruptionFileExists());
}

TEST_F(GlimMapEvents, OfACorruptionWithFlag32AloneAreReadinessAndTheCallbacks) {
  debug.flagsIs(32);
  meetCorruption();
  EXPECT_EQ(events, (Events{readyMessage, notReady, changed}));
  EXPECT_TRUE(corruptionFileExists());
}

TEST_F(GlimMapEvents, OfACorruptionWithAllOtherFlagsAreTheCallbacksAlone) {
  debug.flagsIs(static_cast<std::uint8_t>(~(2u | 32u)));
  meetCorruption();
  EXPECT_EQ(events, (Events{notReady, changed}));
  EXPECT_TRUE(corruptionFileExists());
}

TEST_F(GlimMapEvents, OfACorruptionWhileDetachedAreItsMessageAlone) {
  sut.detach();
  events.clear();
  EXPECT_THROW(sut.corruptionDetected("because"), Dov::CorruptionDetectedException);
  EXPECT_EQ(events, (Events{"1 Glim/GlimMap corruptionDetected: GlimMap::corruptionDetected() "
                            "table because"}));
  EXPECT_FALSE(corruptionFileExists());
}

// --- what reaches the writer, and what comes from it ---

// A writer that counts its cleanups, and whose lookups and openings fail as the test wants.
struct Seam : ConquerWriter {
  using ConquerWriter::ConquerWriter;

  void cleanup() {
    ++cleanups;
    ConquerWriter::cleanup();
  }
  bool lookup(void const* key, void* row) const {
    if (fail) fail();
    return ConquerWriter::lookup(key, row);
  }
  bool first(void* row) const {
    if (fail) fail();
    return ConquerWriter::first(row);
  }
  OpenRow open(void const* key) {
    if (fail) fail();
    return ConquerWriter::open(key);
  }

  inline static int cleanups = 0;
  inline static std::function<void()> fail;
};

class GlimMapOverASeam : public TableTest {
 protected:
  using Map = GlimMap<NumberKey, ValueOf<Small>, OpsOf<Small>,
                      SlotAllocator<NumberKey, ValueOf<Small>>, Seam>;

  GlimMapOverASeam() {
    sut.write({{1}, 10});
    said.clear();
    Seam::cleanups = 0;
  }
  ~GlimMapOverASeam() override { Seam::fail = {}; }

  int callbacks = 0;
  Map sut{root(), TableLimits{}, {[this](bool) { ++callbacks; }, [this] { ++callbacks; }}};
  bool found = false;
  Small out;
};

TEST_F(GlimMapOverASeam, ACleanupAfterADetachReachesTheReplacedTable) {
  sut.directWrite({5});  // abandoned
  sut.detach();
  auto const next = makeTable<Small>();
  said.clear();
  sut.implementation().cleanup();
  EXPECT_EQ(Seam::cleanups, 1);
  EXPECT_EQ(texts(5), (std::vector<std::string>{"GlimBaseDummy::cleanup() table"}));
  EXPECT_TRUE(next->map().implementation().validate());
}

TEST_F(GlimMapOverASeam, ACleanupOfADetachedTableIsNotPassedOnToItsSuccessor) {
  sut.detach();
  auto const next = makeTable<Small>();
  auto const slot = next->directWrite({5});
  slot->count = 50;
  sut.implementation().cleanup();
  next->commit(slot);
  EXPECT_EQ(next->lookup({5}).count, 50u);
}

// Everything but CorruptionDetectedException, of the family and not.
std::vector<std::function<void()>> otherFailures() {
  return {[] { Dov::NoPermissionException::throwException("no"); },
          [] { Dov::ResourceException::throwException("no"); },
          [] { Dov::InvalidSizeException::throwException("no"); },
          [] { Dov::UnimplementedException::throwException("no"); },
          [] { Dov::AssertException::throwException("no"); },
          [] { throw std::runtime_error("no"); }};
}

template <class Call>
std::string whatOf(Call call) {
  try {
    call();
  } catch (std::exception const& exception) {
    return exception.what();
  }
  return "nothing thrown";
}

TEST_F(GlimMapOverASeam, OtherExceptionsPassThroughLookupsWalksAndDirectWrites) {
  for (auto const& failure : otherFailures()) {
    std::string const what = whatOf(failure);
    SCOPED_TRACE(what);
    Seam::fail = failure;
    EXPECT_EQ(whatOf([&] { sut.safeLookup({1}, found, out); }), what);
    EXPECT_EQ(whatOf([&] { sut.first(out); }), what);
    EXPECT_EQ(whatOf([&] { sut.directWrite({1}); }), what);
  }
  Seam::fail = {};
  EXPECT_TRUE(sut.attached());
  EXPECT_TRUE(said.empty());
  EXPECT_EQ(callbacks, 0);
  EXPECT_FALSE(std::filesystem::exists(path() + ".corruption"));
  sut.safeLookup({1}, found, out);
  EXPECT_TRUE(found);
}

TEST_F(GlimMapOverASeam, TheReasonOfACorruptionIsTheExceptionsMsg) {
  Seam::fail = [] { Dov::CorruptionDetectedException::throwException("a reason"); };
  found = true;
  sut.safeLookup({1}, found, out);
  EXPECT_FALSE(found);
  EXPECT_EQ(texts(1), (std::vector<std::string>{"GlimMap::corruptionDetected() table "
                                                "Dov::CorruptionDetectedException(\"a reason\")",
                                                "GlimMap::detach() " + path()}));
}

// --- a default record with an array ---

class GlimMapOfQueues : public TableTest {
 protected:
  using Row = ::Interface::QueueCounter::IntfQueueCounter;
  using Index = ::Interface::QueueCounter::QueueIndex;

  static Row defaultRow() {
    Row row;
    row.intfId = "default";
    std::array<::Interface::QueueCounter::IntfQueueStat, 3> queues{};
    for (std::size_t i = 0; i < queues.size(); ++i) queues[i].counts.pkts = 100 + i;
    row.statistics.set(queues.size(), queues.data());
    return row;
  }

  MapOf<Row> sut{root(), TableLimits{}, {{}, [] {}}, defaultRow()};
};

TEST_F(GlimMapOfQueues, ADetachedTableAnswersTheDefaultRecordWithItsArray) {
  sut.detach();
  bool found = true;
  Row out;
  sut.safeLookup("Ethernet1", found, out);
  EXPECT_FALSE(found);
  EXPECT_EQ(out, defaultRow());
  EXPECT_EQ(out.statistics.size(), 3u);
  EXPECT_EQ(out.statistics[Index(2)].counts.pkts, 102u);
  out = Row();
  EXPECT_FALSE(sut.first(out));
  EXPECT_EQ(out, defaultRow());
}

TEST_F(GlimMapOfQueues, ACorruptTableAnswersTheDefaultRecordWithItsArray) {
  sut.write({.intfId = "Ethernet1", .statistics = {}, .intfCounts = {}});
  Vandal(file()).rowWord(0, 7) ^= 1;
  bool found = true;
  Row out;
  sut.safeLookup("Ethernet1", found, out);
  EXPECT_FALSE(found);
  EXPECT_EQ(out, defaultRow());
}

}  // namespace
}  // namespace Glim
