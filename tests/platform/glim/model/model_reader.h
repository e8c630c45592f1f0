// Readers of a recorded table: the real code of TableReader and readSlot, whose loads and fences
// are answered by the weak memory of weak_memory.h, with every possible answer, one run after the
// other.
//
// Of runs that have come to the same state, the first is followed and the others are given up: they
// end by way of the newest values, which is quicker than by an exception, and do not count. The
// state of a reader is its view, where it is in its code, and its variables. The latter two follow
// from what it was answered since it last came to the head of a loop that keeps
// nothing but counts of what was done: at the first load of a slot's version (readSlot) or of the
// index's (TableReader::find). Passes of that loop are told apart; the other counts have budgets
// that no run comes near, see most(). So the states that are compared are views with lists of
// answers; they are compared whole, not by hash.
//
// Within TableReader, a call of readSlot is one step: all its outcomes from a view are found once,
// by running it, and then chosen from.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "platform/glim/answer.h"
#include "tests/platform/glim/model/choices.h"
#include "tests/platform/glim/model/recording.h"

namespace Glim {

// row_slot.cc is compiled so that its readSlot has this name. Calls of readSlot, by the rest of the
// tables' code, arrive at ModelReader::readSlot.
Answer readSlotAlone(Word const* at, Word rowWords, Word number, void* row, unsigned attempts);

}  // namespace Glim

namespace GlimModel {

// What a reader may be made to do without.
struct ReaderLacks {
  bool acquireOfSlotVersion = false;  // the first load of a row's reading is relaxed
  bool fenceBeforeSlotCheck = false;
  bool slotCheck = false;  // the second load of the version answers what the first one did
  bool acquireOfIndexVersion = false;
  bool acquireOfBuckets = false;
  bool fenceBeforeIndexCheck = false;
  bool indexCheck = false;
  bool fences = false;  // the form for the thread sanitizer: no fences, row words with acquire
};

struct Read {
  Location at;
  Message message;
  std::memory_order order;
};

class ModelReader final : private Glim::Words::Memory {
 public:
  ModelReader(RecordedTable const& table, History const& history, ReaderLacks lacks = {});

  // Stamps of one class need not be told apart; classes grow with the stamps. Unless set, there is
  // one class.
  void classesAre(std::vector<Word> classes) { _classes = std::move(classes); }

  // The first word of the rows that `run` looks for, by TableReader: it is given rows of zeros in
  // the place of others. REQUIRES: not 0
  void wantedIs(Word key) { _wanted = key; }

  // Gives no run up: for small programs, to see that nothing is lost by it.
  void followAll() { _followsAll = true; }

  // Runs `run` from a view with all possible answers; `ended` at the end of each run that did not
  // come to the state of an earlier one. What `ended` needs to know of the past goes into
  // `context`: only runs of the same context are compared. Earlier explorations count as well.
  void explore(View const& from, Word context, std::function<void()> const& run,
               std::function<void()> const& ended);
  // Runs it once, in the memory as it was at a stamp.
  void runAt(Stamp stamp, std::function<void()> const& run);

  // At the end of a run:
  View const& view() const { return _view; }
  std::vector<Read> const& reads() const { return _reads; }
  Word newestClass() const { return _newestClass; }  // of what the run began with or has read
  std::string trace() const;

  // The most that any run did.
  struct Most {
    Word heads = 0;    // passes of a loop
    Word buckets = 0;  // in one pass
    Word rows = 0;     // copied in one pass
  };
  Most const& most() const { return _most; }

  std::size_t runs() const;
  std::size_t states() const;  // told apart

  // What the rest of the tables' code calls as readSlot.
  static Glim::Answer readSlot(Word const* at, Word rowWords, Word number, void* row,
                               unsigned attempts);

 private:
  struct HashOfWords {
    std::size_t operator()(std::vector<Word> const& words) const {
      std::size_t hash = words.size();
      for (Word const word : words) hash = (hash ^ word) * 0x9e3779b97f4a7c15u ^ hash >> 29;
      return hash;
    }
  };
  struct RowOutcome {
    Glim::Answer answer;
    std::vector<Word> row;
    View view;
    Word newestClass;
    std::vector<Read> reads;
  };

  void store(Word* at, Word value, std::memory_order order) override;
  Word load(Word const* at, std::memory_order order) override;
  void fence(std::memory_order order) override;

  void begin(View const& from, Word context);
  void answered(Word what) { _answers.push_back(what); }
  std::size_t choose(std::size_t options, Location at);
  Glim::Answer row(Word const* at, Word rowWords, Word number, void* row, unsigned attempts);
  std::vector<RowOutcome> const& rowOutcomes(Word const* at, Word rowWords, Word number,
                                             unsigned attempts);

  RecordedTable const& _table;
  History const& _history;
  ReaderLacks _lacks;
  std::vector<Word> _classes;
  Word _wanted = 0;
  bool _followsAll = false;
  Choices _choices;
  std::unordered_set<std::vector<Word>, HashOfWords> _states;
  std::size_t _runs = 0;
  Most _most;
  std::size_t _rowStates = 0;
  std::unique_ptr<ModelReader> _rowReader;
  std::map<std::pair<Word, View>, std::vector<RowOutcome>> _rowOutcomes;

  // Of one run.
  View _view;
  Stamp _until = 0;
  Word _context = 0;
  Word _newestClass = 0;
  Word _heads = 0;               // loop heads that were passed
  Word _buckets = 0, _rows = 0;  // since the last one
  Place::Kind _version{};        // the one that was loaded there
  bool _checkComes = false;      // the next load of a version is a check, not a loop head
  Word _headValue = 0;
  bool _givenUp = false;
  std::vector<Word> _answers;  // since the last loop head
  std::vector<Read> _reads;
};

}  // namespace GlimModel
