// Whether the machine that everything else here relies on is the memory model: the classic litmus
// tests that a store-only writer and a load-only reader can make, and a comparison with the
// axioms over all small programs.
#include <gtest/gtest.h>

#include <random>

#include "tests/platform/glim/model/axioms.h"

namespace GlimModel {
namespace {

constexpr auto relaxed = std::memory_order_relaxed;
constexpr auto acquire = std::memory_order_acquire;
constexpr auto release = std::memory_order_release;
constexpr Location x = 0;
constexpr Location y = 1;

Step store(Location at, std::memory_order order) { return Step::store(at, 1, order); }
ReaderStep load(Location at, std::memory_order order) {
  return {ReaderStep::Kind::load, order, at};
}
constexpr ReaderStep acquireFence{ReaderStep::Kind::fence, acquire, 0};

// Message indices of the loads; 0 is the initial value.
bool may(Program const& writer, ReaderProgram const& reader, std::vector<std::size_t> outcome) {
  return outcomesByMachine(writer, reader, 2).contains(outcome);
}

// Message passing: x is the data, y the flag. Is the flag seen without the data?
bool flagWithoutData(Program const& writer, ReaderProgram const& reader) {
  return may(writer, reader, {1, 0});
}

TEST(GlimWeakMemory, RelaxedStoresAreSeenInAnyOrder) {
  EXPECT_TRUE(flagWithoutData({store(x, relaxed), store(y, relaxed)},
                              {load(y, acquire), load(x, relaxed)}));
}

TEST(GlimWeakMemory, RelaxedLoadsSeeReleaseStoresInAnyOrder) {
  EXPECT_TRUE(flagWithoutData({store(x, relaxed), store(y, release)},
                              {load(y, relaxed), load(x, relaxed)}));
}

TEST(GlimWeakMemory, AnAcquireLoadOfAReleaseStoreSeesWhatCameBefore) {
  EXPECT_FALSE(flagWithoutData({store(x, relaxed), store(y, release)},
                               {load(y, acquire), load(x, relaxed)}));
}

TEST(GlimWeakMemory, AReleaseFenceServesTheRelaxedStoresAfterIt) {
  EXPECT_FALSE(flagWithoutData({store(x, relaxed), Step::fence(), store(y, relaxed)},
                               {load(y, acquire), load(x, relaxed)}));
}

TEST(GlimWeakMemory, AReleaseFenceDoesNotServeWhatIsStoredBetweenItAndTheFlag) {
  EXPECT_TRUE(flagWithoutData({Step::fence(), store(x, relaxed), store(y, relaxed)},
                              {load(y, acquire), load(x, relaxed)}));
}

TEST(GlimWeakMemory, AnAcquireFenceServesTheRelaxedLoadsBeforeIt) {
  EXPECT_FALSE(flagWithoutData({store(x, relaxed), store(y, release)},
                               {load(y, relaxed), acquireFence, load(x, relaxed)}));
  EXPECT_FALSE(flagWithoutData({store(x, relaxed), Step::fence(), store(y, relaxed)},
                               {load(y, relaxed), acquireFence, load(x, relaxed)}));
}

TEST(GlimWeakMemory, AnAcquireFenceDoesNotServeLoadsAfterIt) {
  EXPECT_TRUE(flagWithoutData({store(x, relaxed), store(y, release)},
                              {acquireFence, load(y, relaxed), load(x, relaxed)}));
}

// What makes a release store a poor begin mark: later stores may be seen before it.
TEST(GlimWeakMemory, AReleaseStoreDoesNotHoldLaterStoresBack) {
  EXPECT_TRUE(flagWithoutData({store(x, release), store(y, relaxed)},
                              {load(y, acquire), load(x, relaxed)}));
}

// What makes an acquire load a poor re-check: earlier loads may be late.
TEST(GlimWeakMemory, AnAcquireLoadDoesNotHoldEarlierLoadsBack) {
  EXPECT_TRUE(may({store(x, relaxed), Step::fence(), store(y, relaxed)},
                  {load(y, relaxed), load(x, acquire)}, {1, 0}));
}

TEST(GlimWeakMemory, OneWordIsNeverReadBackwards) {
  Program const twice{store(x, relaxed), store(x, relaxed)};
  EXPECT_FALSE(may(twice, {load(x, relaxed), load(x, relaxed)}, {2, 1}));
  EXPECT_TRUE(may(twice, {load(x, relaxed), load(x, relaxed)}, {1, 2}));
}

// Since C++20; until C++17 the relaxed store belonged to the release sequence of the first one.
TEST(GlimWeakMemory, ARelaxedStoreAfterAReleaseStoreReleasesNothing) {
  EXPECT_TRUE(may({store(x, relaxed), store(y, release), store(y, relaxed)},
                  {load(y, acquire), load(x, relaxed)}, {2, 0}));
}

TEST(GlimWeakMemory, ANextWriterReleasesAllThatItsPredecessorStored) {
  EXPECT_FALSE(flagWithoutData({store(x, relaxed), Step::nextWriter(), store(y, release)},
                               {load(y, acquire), load(x, relaxed)}));
}

TEST(GlimWeakMemory, ANextWriterDoesNotHaveThePredecessorsFence) {
  EXPECT_TRUE(
      flagWithoutData({store(x, relaxed), Step::fence(), Step::nextWriter(), store(y, relaxed)},
                      {load(y, acquire), load(x, relaxed)}));
}

TEST(GlimWeakMemory, AgreesWithTheAxiomsOnAllSmallPrograms) {
  std::vector<Step> const writerSteps{store(x, relaxed), store(x, release), store(y, relaxed),
                                      store(y, release), Step::fence(),     Step::nextWriter()};
  std::vector<ReaderStep> const readerSteps{load(x, relaxed), load(x, acquire), load(y, relaxed),
                                            load(y, acquire), acquireFence};
  auto const programs = [](auto const& steps, std::size_t length) {
    std::vector<std::vector<typename std::decay_t<decltype(steps)>::value_type>> all{{}};
    for (std::size_t begin = 0, n = 0; n < length; ++n) {
      std::size_t const end = all.size();
      for (; begin < end; ++begin) {
        for (auto const& step : steps) {
          auto longer = all[begin];
          longer.push_back(step);
          all.push_back(std::move(longer));
        }
      }
    }
    return all;
  };
  for (Program const& writer : programs(writerSteps, 3)) {
    for (ReaderProgram const& reader : programs(readerSteps, 3)) {
      ASSERT_EQ(outcomesByMachine(writer, reader, 2), outcomesByAxioms(writer, reader, 2));
    }
  }
}

TEST(GlimWeakMemory, AgreesWithTheAxiomsOnLongerPrograms) {
  std::mt19937 random(1);
  auto const anyOf = [&](auto... values) {
    std::array const all{values...};
    return all[random() % all.size()];
  };
  for (int i = 0; i < 500; ++i) {
    Program writer;
    for (int n = 0; n < 7; ++n) {
      Location const at = anyOf(0u, 1u, 2u);
      writer.push_back(anyOf(store(at, relaxed), store(at, relaxed), store(at, release),
                             Step::fence(), anyOf(Step::fence(), Step::nextWriter())));
    }
    ReaderProgram reader;
    for (int n = 0; n < 6; ++n) {
      Location const at = anyOf(0u, 1u, 2u);
      reader.push_back(
          anyOf(load(at, relaxed), load(at, relaxed), load(at, acquire), acquireFence));
    }
    ASSERT_EQ(outcomesByMachine(writer, reader, 3), outcomesByAxioms(writer, reader, 3));
  }
}

}  // namespace
}  // namespace GlimModel
