#include "tests/platform/glim/model/axioms.h"

#include <optional>

#include "tests/platform/glim/model/choices.h"

namespace GlimModel {

namespace {

// All steps of an execution: the initial stores, those of the writers, those of the reader.
class Execution {
 public:
  Execution(Program const& writer, ReaderProgram const& reader, std::size_t words) {
    for (Location at = 0; at < words; ++at) {
      _events.push_back({.thread = 0, .isStore = true, .at = at});
    }
    int thread = 1;
    for (Step const& step : writer) {
      if (step.kind == Step::Kind::nextWriter) {
        ++thread;
      } else if (step.kind == Step::Kind::fence) {
        _events.push_back({.thread = thread, .isFence = true});
      } else {
        _events.push_back({.thread = thread,
                           .isStore = true,
                           .ordered = step.order == std::memory_order_release,
                           .at = step.at});
      }
    }
    for (ReaderStep const& step : reader) {
      if (step.kind == ReaderStep::Kind::fence) {
        _events.push_back({.thread = readerThread, .isFence = true});
      } else {
        _events.push_back({.thread = readerThread,
                           .ordered = step.order == std::memory_order_acquire,
                           .at = step.at});
      }
    }
  }

  // The stores to a word, in modification order: that of happens-before, since no two stores are
  // concurrent (write-write coherence).
  std::vector<std::size_t> storesTo(Location at) const {
    std::vector<std::size_t> stores;
    for (std::size_t i = 0; i < _events.size(); ++i) {
      if (_events[i].isStore && _events[i].at == at) stores.push_back(i);
    }
    return stores;
  }
  std::vector<std::size_t> loads() const {
    std::vector<std::size_t> loads;
    for (std::size_t i = 0; i < _events.size(); ++i) {
      if (isLoad(i)) loads.push_back(i);
    }
    return loads;
  }
  Location word(std::size_t event) const { return _events[event].at; }
  void readsFrom(std::size_t load, std::size_t store) { _events[load].from = store; }

  bool allowed() {
    findHappensBefore();
    for (std::size_t load : loads()) {
      std::size_t const from = *_events[load].from;
      for (std::size_t other : storesTo(word(load))) {
        // Write-read coherence: nothing newer may happen before the load.
        if (other > from && _before[other][load]) return false;
      }
      for (std::size_t other : loads()) {
        // Read-read coherence: a later load of the word reads nothing older.
        if (word(other) == word(load) && _before[load][other] && *_events[other].from < from) {
          return false;
        }
      }
    }
    return true;
  }

 private:
  static constexpr int readerThread = 1000;

  struct Event {
    int thread = 0;
    bool isStore = false;
    bool isFence = false;
    bool ordered = false;  // a release store or an acquire load
    Location at = 0;
    std::optional<std::size_t> from{};
  };

  bool isLoad(std::size_t i) const { return !_events[i].isStore && !_events[i].isFence; }
  bool sequencedBefore(std::size_t a, std::size_t b) const {
    return _events[a].thread == _events[b].thread && a < b;
  }

  // A is a release operation or fence, B an acquire operation or fence: is there a store X and a
  // load Y that reads it, such that A is X or a fence before X, and B is Y or a fence after Y?
  bool synchronizesWith(std::size_t a, std::size_t b) const {
    if (_events[a].thread == readerThread || _events[b].thread != readerThread) return false;
    for (std::size_t y : loads()) {
      std::size_t const x = *_events[y].from;
      bool const releases =
          a == x ? _events[a].ordered : _events[a].isFence && sequencedBefore(a, x);
      bool const acquires =
          b == y ? _events[b].ordered : _events[b].isFence && sequencedBefore(y, b);
      if (releases && acquires) return true;
    }
    return false;
  }

  void findHappensBefore() {
    std::size_t const n = _events.size();
    _before.assign(n, std::vector<bool>(n, false));
    for (std::size_t a = 0; a < n; ++a) {
      for (std::size_t b = 0; b < n; ++b) {
        // Initialization, and the lock that a writer hands over to the next.
        bool const after = _events[a].thread < _events[b].thread &&
                           (_events[a].thread == 0 || _events[b].thread != readerThread);
        _before[a][b] = after || sequencedBefore(a, b) || synchronizesWith(a, b);
      }
    }
    for (std::size_t k = 0; k < n; ++k) {
      for (std::size_t a = 0; a < n; ++a) {
        if (!_before[a][k]) continue;
        for (std::size_t b = 0; b < n; ++b) {
          if (_before[k][b]) _before[a][b] = true;
        }
      }
    }
  }

  std::vector<Event> _events;
  std::vector<std::vector<bool>> _before;
};

}  // namespace

Outcomes outcomesByAxioms(Program const& writer, ReaderProgram const& reader, std::size_t words) {
  Outcomes outcomes;
  Execution execution(writer, reader, words);
  Choices choices;
  do {
    std::vector<std::size_t> outcome;
    for (std::size_t const load : execution.loads()) {
      auto const stores = execution.storesTo(execution.word(load));
      outcome.push_back(choices.below(stores.size()));
      execution.readsFrom(load, stores[outcome.back()]);
    }
    if (execution.allowed()) outcomes.insert(outcome);
  } while (choices.next());
  return outcomes;
}

Outcomes outcomesByMachine(Program const& writer, ReaderProgram const& reader, std::size_t words) {
  Outcomes outcomes;
  History const history(writer, std::vector<Word>(words));
  Choices choices;
  do {
    std::vector<std::size_t> outcome;
    View view;
    for (ReaderStep const& step : reader) {
      if (step.kind == ReaderStep::Kind::fence) {
        view.acquireFence(history);
        continue;
      }
      std::size_t const oldest = view.oldest(history, step.at);
      outcome.push_back(oldest + choices.below(history.of(step.at).size() - oldest));
      view.load(history, step.at, outcome.back(), step.order);
    }
    outcomes.insert(outcome);
  } while (choices.next());
  return outcomes;
}

}  // namespace GlimModel
