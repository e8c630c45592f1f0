#include "tests/platform/glim/model/weak_memory.h"

#include <algorithm>
#include <stdexcept>

namespace GlimModel {

namespace {

bool acquires(std::memory_order order) {
  if (order == std::memory_order_acquire) return true;
  if (order == std::memory_order_relaxed) return false;
  throw std::logic_error("a load with an order that this model does not have");
}

}  // namespace

History::History(Program const& program, std::vector<Word> const& initial)
    : _messages(initial.size()), _end(static_cast<Stamp>(program.size())) {
  for (std::size_t at = 0; at < initial.size(); ++at) _messages[at].push_back({0, initial[at], 0});
  Stamp lastFence = 0;
  Stamp stamp = 0;
  for (Step const& step : program) {
    ++stamp;
    switch (step.kind) {
      case Step::Kind::store: {
        bool const release = step.order == std::memory_order_release;
        if (!release && step.order != std::memory_order_relaxed) {
          throw std::logic_error("a store with an order that this model does not have");
        }
        _messages.at(step.at).push_back({stamp, step.value, release ? stamp : lastFence});
        break;
      }
      case Step::Kind::fence:
        lastFence = stamp;
        break;
      case Step::Kind::nextWriter:
        lastFence = 0;
        break;
      case Step::Kind::nothing:
        break;
    }
  }
}

std::size_t History::newestAt(Location at, Stamp stamp) const {
  auto const& messages = of(at);
  std::size_t i = messages.size() - 1;
  while (messages[i].stamp > stamp) --i;
  return i;
}

std::size_t View::oldest(History const& history, Location at) const {
  Stamp stamp = _current;
  for (auto const& [word, seen] : _seen) {
    if (word == at) stamp = std::max(stamp, seen);
  }
  return history.newestAt(at, stamp);
}

void View::load(History const& history, Location at, std::size_t message, std::memory_order order) {
  Message const& read = history.of(at)[message];
  if (read.stamp > _current) {
    auto const place = std::lower_bound(_seen.begin(), _seen.end(), std::pair(at, Stamp{0}));
    if (place != _seen.end() && place->first == at) {
      place->second = read.stamp;
    } else {
      _seen.insert(place, {at, read.stamp});
    }
  }
  _acquired = std::max(_acquired, read.carries);
  if (acquires(order)) makeCurrent(history, read.carries);
}

void View::acquireFence(History const& history) { makeCurrent(history, _acquired); }

void View::makeCurrent(History const& history, Stamp stamp) {
  if (stamp <= _current) return;
  _current = stamp;
  std::erase_if(_seen, [&](auto const& seen) {
    auto const& messages = history.of(seen.first);
    return messages[history.newestAt(seen.first, _current)].stamp >= seen.second;
  });
}

void View::appendTo(std::vector<Word>& key) const {
  key.push_back(Word{_current} << 32 | _acquired);
  key.push_back(_seen.size());
  for (auto const& [at, stamp] : _seen) key.push_back(Word{at} << 32 | stamp);
}

}  // namespace GlimModel
