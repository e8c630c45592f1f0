#include "tests/platform/glim/model/model_reader.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <sstream>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace Glim {

Answer readSlot(Word const* at, Word rowWords, Word number, void* row, unsigned attempts) {
  return GlimModel::ModelReader::readSlot(at, rowWords, number, row, attempts);
}

}  // namespace Glim

namespace GlimModel {

using Glim::Answer;

namespace {

ModelReader* running = nullptr;

}  // namespace

ModelReader::ModelReader(RecordedTable const& table, History const& history, ReaderLacks lacks)
    : _table(table), _history(history), _lacks(lacks) {}

void ModelReader::begin(View const& from, Word context) {
  _view = from;
  _context = context;
  _newestClass = _classes.empty() ? 0 : _classes[from.current()];
  _heads = _buckets = _rows = 0;
  _checkComes = false;
  _givenUp = false;
  _answers.clear();
  _reads.clear();
  ++_runs;
}

void ModelReader::explore(View const& from, Word context, std::function<void()> const& run,
                          std::function<void()> const& ended) {
  auto* const outer = std::exchange(running, this);
  auto* const outerMemory =
      std::exchange(Glim::Words::memory, static_cast<Glim::Words::Memory*>(this));
  _until = _history.end();
  _choices = Choices();
  do {
    begin(from, context);
    run();
    if (_givenUp) continue;
    Glim::Words::memory = nullptr;
    ended();
    Glim::Words::memory = this;
  } while (_choices.next());
  running = outer;
  Glim::Words::memory = outerMemory;
}

void ModelReader::runAt(Stamp stamp, std::function<void()> const& run) {
  auto* const outer = std::exchange(running, nullptr);
  auto* const outerMemory =
      std::exchange(Glim::Words::memory, static_cast<Glim::Words::Memory*>(this));
  _until = stamp;
  begin(View(stamp), 0);
  run();
  running = outer;
  Glim::Words::memory = outerMemory;
}

// A number below `options`, for a step at a word. States without a choice are not worth comparing.
std::size_t ModelReader::choose(std::size_t options, Location at) {
  if (options == 1) return 0;
  if (!_choices.repeating() && !_followsAll) {
    std::vector<Word> state{_context, at, _newestClass};
    _view.appendTo(state);
    state.insert(state.end(), _answers.begin(), _answers.end());
    if (!_states.insert(std::move(state)).second) {
      _givenUp = true;
      return 0;
    }
  }
  return _choices.below(options);
}

Word ModelReader::load(Word const* address, std::memory_order order) {
  if (_lacks.fences) order = std::memory_order_acquire;
  Location const at = _table.locationOf(address);
  if (_givenUp) return _history.of(at).back().value;
  Place const place = placeOf(_table.geometry(), at);
  bool const isSlotVersion = place.kind == Place::Kind::slotVersion;
  if (isSlotVersion || place.kind == Place::Kind::indexVersion) {
    // What begins with the one load of a version is checked with the next.
    _checkComes = !_checkComes;
    if (_checkComes) {
      _version = place.kind;
      if (isSlotVersion ? _lacks.acquireOfSlotVersion : _lacks.acquireOfIndexVersion) {
        order = std::memory_order_relaxed;
      }
      ++_heads;
      _buckets = _rows = 0;
      _answers.assign(1, _heads);
      _most.heads = std::max(_most.heads, _heads);
    } else if (isSlotVersion ? _lacks.slotCheck : _lacks.indexCheck) {
      return _headValue;
    }
  }
  if (place.kind == Place::Kind::bucket && _lacks.acquireOfBuckets) {
    order = std::memory_order_relaxed;
  }

  if (place.kind == Place::Kind::bucket) _most.buckets = std::max(_most.buckets, ++_buckets);
  std::size_t const oldest = _view.oldest(_history, at);
  std::size_t const newest = _history.newestAt(at, _until);
  std::size_t const taken = oldest + choose(newest - oldest + 1, at);
  Message const& message = _history.of(at)[taken];
  _view.load(_history, at, taken, order);
  if (!_classes.empty()) _newestClass = std::max(_newestClass, _classes[message.stamp]);
  _reads.push_back({at, message, order});
  // Two publications may store the same value, and checks want to know whose it was.
  answered(place.isRow() ? message.stamp : message.value);
  if (_checkComes && (isSlotVersion || place.kind == Place::Kind::indexVersion)) {
    _headValue = message.value;
  }
  return message.value;
}

void ModelReader::fence(std::memory_order order) {
  if (order != std::memory_order_acquire) throw std::logic_error("a reader's fence is an acquire");
  bool const lacks = _version == Place::Kind::slotVersion ? _lacks.fenceBeforeSlotCheck
                                                          : _lacks.fenceBeforeIndexCheck;
  if (lacks || _lacks.fences) return;
  _view.acquireFence(_history);
}

void ModelReader::store(Word*, Word, std::memory_order) {
  throw std::logic_error("a reader must not store: its mapping is read-only");
}

Answer ModelReader::readSlot(Word const* at, Word rowWords, Word number, void* row,
                             unsigned attempts) {
  if (running == nullptr) {
    return Glim::readSlotAlone(at, rowWords, number, row, attempts);
  }
  return running->row(at, rowWords, number, row, attempts);
}

Answer ModelReader::row(Word const* at, Word rowWords, Word number, void* row, unsigned attempts) {
  if (_givenUp) return Answer::absent;
  auto const& outcomes = rowOutcomes(at, rowWords, number, attempts);
  RowOutcome const& taken = outcomes[choose(outcomes.size(), _table.locationOf(at))];
  _view = taken.view;
  _newestClass = std::max(_newestClass, taken.newestClass);
  _reads.insert(_reads.end(), taken.reads.begin(), taken.reads.end());
  bool const another = taken.answer == Answer::ok && taken.row[0] != _wanted;
  answered(static_cast<Word>(another ? Answer::absent : taken.answer));
  _most.rows = std::max(_most.rows, ++_rows);
  std::memcpy(row, taken.row.data(), rowWords * sizeof(Word));
  return taken.answer;
}

std::vector<ModelReader::RowOutcome> const& ModelReader::rowOutcomes(Word const* at, Word rowWords,
                                                                     Word number,
                                                                     unsigned attempts) {
  auto const [place, isNew] = _rowOutcomes.try_emplace({number, _view});
  if (!isNew) return place->second;
  if (!_rowReader) {
    _rowReader = std::make_unique<ModelReader>(_table, _history, _lacks);
    _rowReader->classesAre(_classes);
    _rowReader->_followsAll = _followsAll;
  }
  ModelReader& reader = *_rowReader;
  std::vector<Word> row(rowWords);
  Answer answer{};
  std::set<std::tuple<Answer, std::vector<Word>, View, Word>> found;
  _rowStates += reader._states.size();
  reader._states.clear();  // other outcomes may come from the same states
  reader.explore(
      _view, 0, [&] { answer = Glim::readSlotAlone(at, rowWords, number, row.data(), attempts); },
      [&] {
        // To TableReader, another row is as none.
        if (answer != Answer::ok || row[0] != _wanted) row.assign(rowWords, 0);
        if (found.emplace(answer, row, reader._view, reader._newestClass).second) {
          place->second.push_back({answer, row, reader._view, reader._newestClass, reader._reads});
        }
      });
  return place->second;
}

std::size_t ModelReader::runs() const { return _runs + (_rowReader ? _rowReader->runs() : 0); }

std::size_t ModelReader::states() const {
  return _states.size() + _rowStates + (_rowReader ? _rowReader->states() : 0);
}

std::string ModelReader::trace() const {
  std::ostringstream out;
  for (Read const& read : _reads) {
    Place const place = placeOf(_table.geometry(), read.at);
    auto const& messages = _history.of(read.at);
    out << "  " << text(place) << " = " << std::hex << read.message.value << std::dec
        << (read.order == std::memory_order_acquire ? " (acquire)" : "");
    if (read.message.stamp == 0) {
      out << ", the initial value";
    } else {
      out << ", step " << read.message.stamp << ": " << _table.operationAt(read.message.stamp);
    }
    if (read.message.stamp != messages.back().stamp) out << "; there are newer ones";
    out << '\n';
  }
  return out.str();
}

}  // namespace GlimModel
