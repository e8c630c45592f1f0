// The checks find what they are there for: writers that are made defective are found out.
#include <gtest/gtest.h>

#include <string_view>

#include "tests/platform/glim/crash/held_up_reader.h"
#include "tests/platform/glim/crash/placed_row.h"

namespace GlimCrash {
namespace {

using Glim::Word;

constexpr auto release = std::memory_order_release;
constexpr std::ptrdiff_t halfWords = 1 + sizeof(Narrow) / sizeof(Word);

bool isBeginMark(Word const* at, Word value, std::memory_order order) {
  return order == release && value % 2 == 1 && *at + 1 == value;
}

class Saboteur : public PlainMemory {
 public:
  Saboteur() { saboteurIs(this); }

  Saboteur(Saboteur const&) = delete;
  Saboteur& operator=(Saboteur const&) = delete;

 protected:
  ~Saboteur() { saboteurIs(nullptr); }
};

class PublishesBeforeTheRowIsWritten final : public Saboteur {
  void store(Word* at, Word value, std::memory_order order) override {
    PlainMemory::store(at, isBeginMark(at, value, order) ? value + 1 : value, order);
  }
};

class WritesOverTheHalfThatReadersSee final : public Saboteur {
  void store(Word* at, Word value, std::memory_order order) override {
    if (isBeginMark(at, value, order)) {
      _slot = at;
      _toOther = value / 2 % 2 == 0 ? -halfWords : halfWords;
    }
    bool const inRow = _slot != nullptr && at > _slot && at <= _slot + 2 * halfWords;
    PlainMemory::store(inRow ? at + _toOther : at, value, order);
  }
  Word* _slot = nullptr;
  std::ptrdiff_t _toOther = 0;
};

// The first entry that moves back is stored when its old place is already overwritten.
class ClearsBeforeItCopies final : public Saboteur {
  void store(Word* at, Word value, std::memory_order order) override {
    if (_held != nullptr && _overtaken) {
      PlainMemory::store(_held, _value, release);
      _held = nullptr;
    }
    bool const isEntry = order == release && (value == 0 || value >> 32 != 0);
    if (isEntry && !_used) {
      _used = true;
      _held = at;
      _value = value;
      return;
    }
    _overtaken = _overtaken || (isEntry && _held != nullptr);
    PlainMemory::store(at, value, order);
  }
  Word* _held = nullptr;
  Word _value = 0;
  bool _used = false;
  bool _overtaken = false;
};

class DoesNotRetireTheOldFile final : public Saboteur {
  void store(Word* at, Word value, std::memory_order order) override {
    using Glim::Layout::TableState;
    if (value == Word{static_cast<Word>(TableState::retired)} &&
        *at == static_cast<Word>(TableState::detached)) {
      return;
    }
    PlainMemory::store(at, value, order);
  }
};

class LeavesOutTheBeginMark final : public Saboteur {
  void store(Word* at, Word value, std::memory_order order) override {
    if (!isBeginMark(at, value, order)) PlainMemory::store(at, value, order);
  }
};

class MovesEntriesWithoutRaisingTheIndexVersion final : public Saboteur {
  void store(Word* at, Word value, std::memory_order order) override {
    if (order == release && value % 2 == 0 && *at + 2 == value) _version = at;
    if (at != _version) PlainMemory::store(at, value, order);
  }
  Word* _version = nullptr;
};

// It must be this fault that is found, and not that something else went wrong.
testing::AssertionResult isFound(Enumeration const& all, std::string_view as) {
  std::string const first = all.trouble.substr(0, 1000);
  if (first.find(as) != std::string::npos) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "found, if anything: " << first;
}

TEST(GlimSaboteur, APublishedRowThatIsNotYetWrittenIsFound) {
  PublishesBeforeTheRowIsWritten const saboteur;
  EXPECT_TRUE(isFound(killAtEachStep(scenario("Overwrite")), "corrupt: 1 keys, 1 slots"));
}

TEST(GlimSaboteur, AWriteOverTheVisibleHalfIsFound) {
  WritesOverTheHalfThatReadersSee const saboteur;
  EXPECT_TRUE(isFound(killAtEachStep(scenario("Overwrite")), "corrupt: 1 keys, 1 slots"));
}

TEST(GlimSaboteur, AnIndexEntryThatIsClearedBeforeItIsCopiedIsFound) {
  ClearsBeforeItCopies const saboteur;
  EXPECT_TRUE(isFound(killAtEachStep(scenario("DeleteAtTheHeadOfAChain")),
                      "corrupt: 0 keys, 0 slots, none of the states"));
}

TEST(GlimSaboteur, AFileThatIsReplacedAndNotRetiredIsFound) {
  DoesNotRetireTheOldFile const saboteur;
  EXPECT_TRUE(isFound(killAtEachStep(scenario("MoveThatTheNextWriterDoesNotWant")),
                      "a reader is not told that its file was replaced"));
}

// A kill alone does not show these two: a reader that looks meanwhile does.
TEST(GlimSaboteur, AMissingBeginMarkIsFoundByAReaderThatIsHeldUp) {
  LeavesOutTheBeginMark const saboteur;
  EXPECT_TRUE(
      isFound(holdReadersUp(scenario("OverwriteAgainAndAgain")), "corrupt: 1 keys, 0 slots"));
}

TEST(GlimSaboteur, AnIndexVersionThatIsNotRaisedIsFoundByAReaderThatIsHeldUp) {
  MovesEntriesWithoutRaisingTheIndexVersion const saboteur;
  EXPECT_TRUE(
      isFound(holdReadersUp(scenario("DeleteAtTheHeadOfAChain")), "corrupt: 0 keys, 0 slots"));
}

}  // namespace
}  // namespace GlimCrash
