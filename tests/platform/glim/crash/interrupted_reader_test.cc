// A reader is held up in the middle of looking, for as long as it takes a writer to work, to be
// killed, and the next one to take the table. What it finds then is of one of the states, never
// damage.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <iostream>

#include "tests/platform/glim/crash/trial.h"

namespace GlimCrash {
namespace {

using Glim::Word;

// This machine's memory; but at one of the loads something else happens first.
class HeldUp final : public Glim::Words::Memory {
 public:
  HeldUp(std::uint64_t at, std::function<void()> meanwhile)
      : _at(at), _meanwhile(std::move(meanwhile)) {
    Glim::Words::memory = this;
  }
  ~HeldUp() { Glim::Words::memory = nullptr; }
  HeldUp(HeldUp const&) = delete;
  HeldUp& operator=(HeldUp const&) = delete;

  bool happened() const { return _loads >= _at; }

  void store(Word* at, Word value, std::memory_order order) override {
    std::atomic_ref<Word>(*at).store(value, order);
  }
  Word load(Word const* at, std::memory_order order) override {
    if (++_loads == _at) {
      Glim::Words::memory = nullptr;
      _meanwhile();
      Glim::Words::memory = this;
    }
    return std::atomic_ref<Word>(*const_cast<Word*>(at)).load(order);
  }
  void fence(std::memory_order order) override { std::atomic_thread_fence(order); }

 private:
  std::uint64_t _at;
  std::function<void()> _meanwhile;
  std::uint64_t _loads = 0;
};

class GlimInterruptedReader : public testing::TestWithParam<Scenario> {
 protected:
  std::set<std::uint64_t> keys() const {
    std::set<std::uint64_t> keys;
    for (State const& state : GetParam().states) {
      for (auto const& [key, value] : state.rows) keys.insert(key);
    }
    return keys;
  }
  // Whether some state has this of the key: a value, or no row.
  bool mayBe(Rows const& seen, std::uint64_t key) const {
    auto const& states = GetParam().states;
    return std::any_of(states.begin(), states.end(), [&](State const& state) {
      auto const was = state.rows.find(key);
      auto const is = seen.find(key);
      bool const none = was == state.rows.end() || state.unlinked.contains(key);
      if (is == seen.end()) return none;
      return was != state.rows.end() && is->second == was->second;
    });
  }
  std::string judge(View const& view) const {
    if (!view.trouble.empty() || view.corruptSlots != 0 || !view.corruptKeys.empty()) return "sees";
    if (view.answer == Glim::Answer::retired) return "";
    for (std::uint64_t const key : keys()) {
      if (!mayBe(view.byKey, key) || !mayBe(view.bySlot, key))
        return "misses " + std::to_string(key);
    }
    return "";
  }

  Place place;
};

TEST_P(GlimInterruptedReader, SeesNoDamageWhenAWriterDiesAndTheNextOneComesMeanwhile) {
  Scenario const& scenario = GetParam();
  std::uint64_t trials = 0;
  bool finished = false;
  for (std::uint64_t step = 1; !finished; ++step) {
    bool happened = true;
    // Each fifth load, others for each step of the writer.
    for (std::uint64_t load = 1 + step % 5; happened; load += 5) {
      place.clear();
      scenario.prepare(place);
      Glim::TableReader reader(place.path());
      ASSERT_EQ(reader.attach(), Glim::Answer::ok);
      View view;
      {
        HeldUp const memory(load, [&] {
          auto const before = [&] { return scenario.act ? scenario.open(place) : nullptr; };
          WriterPtr kept;
          End const end = killAt(step, before, [&](WriterPtr const& writer) {
            if (scenario.act) {
              scenario.act(*writer);
            } else {
              kept = scenario.open(place);
            }
          });
          finished = end.finished || !end.killed;
          scenario.open(place);
        });
        view = look(reader, Glim::Answer::ok, keys());
        happened = memory.happened();
      }
      std::string const wrong = judge(view);
      ASSERT_EQ(wrong, "") << "held up at load " << load << ", writer killed at step " << step
                           << ": " << text(view);
      ++trials;
    }
  }
  std::cout << scenario.name << ": " << trials << " interrupted looks\n";
  EXPECT_GT(trials, 10 * scenario.atLeast);
}

std::vector<Scenario> some() {
  std::vector<Scenario> chosen;
  for (Scenario const& scenario : scenarios()) {
    for (char const* const name :
         {"OverwriteAgainAndAgain", "DirectWritesAfterAbandonedOnes", "DeleteAtTheHeadOfAChain",
          "InsertIntoAFreedSlot", "AdoptionOfHalfWrittenRows"}) {
      if (scenario.name == name) chosen.push_back(scenario);
    }
  }
  return chosen;
}

INSTANTIATE_TEST_SUITE_P(Each, GlimInterruptedReader, testing::ValuesIn(some()),
                         [](auto const& scenario) { return scenario.param.name; });

}  // namespace
}  // namespace GlimCrash
