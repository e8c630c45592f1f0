#include "tests/platform/glim/crash/held_up_reader.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <utility>

namespace GlimCrash {

using Glim::Answer;
using Glim::Word;

namespace {

// At one of the loads something else happens first.
class HeldUp final : public PlainMemory {
 public:
  HeldUp(std::uint64_t at, std::function<void()> meanwhile)
      : _at(at), _meanwhile(std::move(meanwhile)) {
    Glim::Words::memory = this;
  }
  ~HeldUp() { Glim::Words::memory = nullptr; }
  HeldUp(HeldUp const&) = delete;
  HeldUp& operator=(HeldUp const&) = delete;

  bool happened() const { return _loads >= _at; }

  Word load(Word const* at, std::memory_order order) override {
    if (++_loads == _at) {
      Glim::Words::memory = nullptr;
      _meanwhile();
      Glim::Words::memory = this;
    }
    return PlainMemory::load(at, order);
  }

 private:
  std::uint64_t _at;
  std::function<void()> _meanwhile;
  std::uint64_t _loads = 0;
};

std::set<std::uint64_t> keysOf(Scenario const& scenario) {
  std::set<std::uint64_t> keys;
  for (State const& state : scenario.states) {
    for (auto const& [key, value] : state.rows) keys.insert(key);
  }
  return keys;
}

// Whether some state has this of the key: its value, or no row.
bool mayBe(Scenario const& scenario, Rows const& seen, std::uint64_t key) {
  return std::any_of(scenario.states.begin(), scenario.states.end(), [&](State const& state) {
    auto const was = state.rows.find(key);
    auto const is = seen.find(key);
    if (is == seen.end()) return was == state.rows.end() || state.unlinked.contains(key);
    return was != state.rows.end() && is->second == was->second;
  });
}

bool good(Scenario const& scenario, View const& view) {
  if (!view.trouble.empty() || view.corruptSlots != 0 || !view.corruptKeys.empty()) return false;
  if (view.answer == Answer::retired) return true;
  auto const keys = keysOf(scenario);
  return std::all_of(keys.begin(), keys.end(), [&](std::uint64_t key) {
    return mayBe(scenario, view.byKey, key) && mayBe(scenario, view.bySlot, key);
  });
}

End letAWriterDie(Scenario const& scenario, Place const& place, std::uint64_t step) {
  WriterPtr kept;
  return killAt(
      step, [&] { return scenario.act ? scenario.open(place) : nullptr; },
      [&](WriterPtr const& writer) {
        if (scenario.act) {
          scenario.act(*writer);
        } else {
          kept = scenario.open(place);
        }
      });
}

// Not every load at every step: those of one step lie between those of the step before.
constexpr std::uint64_t stride = 5;

}  // namespace

Enumeration holdReadersUp(Scenario const& scenario) {
  Enumeration all;
  Place const place;
  auto const keys = keysOf(scenario);
  bool finished = false;
  for (std::uint64_t step = 1; !finished; ++step) {
    bool happened = true;
    for (std::uint64_t load = 1 + step % stride; happened; load += stride) {
      place.clear();
      scenario.prepare(place);
      Glim::TableReader reader(place.path());
      Answer const answer = reader.attach();
      View view;
      {
        HeldUp const memory(load, [&] {
          End const end = letAWriterDie(scenario, place, step);
          finished = end.finished || !end.killed;
          scenario.open(place);
        });
        view = look(reader, answer, keys);
        happened = memory.happened();
      }
      ++all.trials;
      if (!good(scenario, view)) {
        all.trouble = "held up at load " + std::to_string(load) + ", writer killed at step " +
                      std::to_string(step) + ": " + text(view);
        return all;
      }
    }
    all.steps = step;
  }
  return all;
}

}  // namespace GlimCrash
