// A check of a table that a writer is changing, or was killed at.
#include <gmock/gmock.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <stdexcept>
#include <utility>

#include "tests/platform/glim/table_check_fixture.h"
#include "tests/support/child_process.h"

namespace Glim {
namespace {

using GlimTest::lines;
using GlimTest::rows;
using GlimTest::Small;
using GlimTest::TableCheck;
using GlimTest::Vandal;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(TableCheck, AStepThatAKilledWriterLeftUndoneIsUnfinished) {
  Vandal vandal(file());
  bucketOf(vandal, 4) = 0;
  vandal.word(Layout::membersOffset) = rows - 1;
  auto const report = check();
  EXPECT_EQ(report.damage, 0u);
  EXPECT_THAT(lines(report.unfinished),
              ElementsAre("the header says 9 rows, and there are 10",
                          "slot 4 (5): no bucket of the index leads to the row"));
}

TEST_F(TableCheck, TwoStepsAreMoreThanAKillLeavesUndone) {
  Vandal vandal(file());
  bucketOf(vandal, 4) = 0;
  bucketOf(vandal, 5) = 0;
  auto const report = check();
  EXPECT_EQ(report.damage, 2u);
  EXPECT_THAT(report.unfinished, IsEmpty());
}

TEST_F(TableCheck, AWriterThatLetGoLeavesNothingUndone) {
  auto const report = checkDamaged([](Vandal& v) { bucketOf(v, 4) = 0; });
  EXPECT_EQ(report.damage, 1u);
}

TEST_F(TableCheck, ADifferenceThatGoesAwayIsNone) {
  Vandal vandal(file());
  Word& bucket = bucketOf(vandal, 4);
  Word const entry = std::exchange(bucket, 0);
  options.writerLives = true;
  options.wait = [&] { bucket = entry; };
  auto const report = check();
  EXPECT_EQ(report.damage, 0u);
  EXPECT_THAT(report.unfinished, IsEmpty());
  EXPECT_FALSE(report.overtaken);
  EXPECT_EQ(report.passes, 2u);
}

TEST_F(TableCheck, ADifferenceThatOutlivesAHeartbeatIsDamage) {
  Vandal vandal(file());
  bucketOf(vandal, 4) = 0;
  options.writerLives = true;
  unsigned waits = 0;
  options.wait = [&] {
    if (++waits == 3) table->heartbeat();
  };
  auto const report = check();
  EXPECT_EQ(waits, 3u);
  EXPECT_EQ(report.damage, 1u);
  EXPECT_THAT(report.unfinished, IsEmpty());
}

TEST_F(TableCheck, AWriterThatStandsStillMayBeInTheMiddleOfAStep) {
  Vandal vandal(file());
  bucketOf(vandal, 4) = 0;
  options.writerLives = true;
  auto const report = check();
  EXPECT_EQ(report.passes, options.passes);
  EXPECT_EQ(report.damage, 0u);
  EXPECT_THAT(report.unfinished, SizeIs(1));
}

TEST_F(TableCheck, RowsThatComeAndGoBetweenPassesAreNotDamage) {
  Vandal vandal(file());
  Word& bucket = bucketOf(vandal, 4);
  Word const entry = std::exchange(bucket, 0);  // makes a second pass
  options.writerLives = true;
  options.wait = [&] {
    bucket = entry;
    table->remove({3});
    for (std::uint64_t key = 100; key < 120; ++key) table->write({{key}, 1});
    table->heartbeat();
  };
  auto const report = check();
  EXPECT_EQ(report.damage, 0u) << testing::PrintToString(lines(report.findings));
  EXPECT_EQ(report.liveRows, rows - 1 + 20);
}

// The same difference again and again, while rows go in between: it may be another each time.
TEST_F(TableCheck, ACountThatDiffersWhileRowsComeAndGoIsNotBelieved) {
  Vandal vandal(file());
  vandal.word(Layout::membersOffset) = rows - 1;
  options.writerLives = true;
  options.wait = [&] {
    vandal.word(Layout::indexVersionOffset) += 2;
    table->heartbeat();
  };
  auto const report = check();
  EXPECT_EQ(report.damage, 0u) << testing::PrintToString(lines(report.findings));
  EXPECT_TRUE(report.overtaken);
}

TEST_F(TableCheck, AnIndexThatNeverRestsIsOvertaken) {
  Vandal vandal(file());
  vandal.word(Layout::indexVersionOffset) = 1;
  options.writerLives = true;
  options.wait = [&] { vandal.word(Layout::indexVersionOffset) += 2; };
  auto const report = check();
  EXPECT_TRUE(report.overtaken);
  EXPECT_EQ(report.damage, 0u);
  EXPECT_EQ(report.passes, options.passes);
}

TEST_F(TableCheck, ATableThatIsReplacedMeanwhileIsToldAsSuch) {
  Vandal vandal(file());
  options.progress = [&](Word, Word) {
    vandal.word(Layout::stateOffset) = static_cast<Word>(Layout::TableState::retired);
  };
  EXPECT_TRUE(check().replaced);
}

// A process that makes rows change, come and go as fast as it can. It rests where nothing is
// unfinished, when that is wanted.
class RestlessWriter {
 public:
  template <class MakeTable>
  explicit RestlessWriter(MakeTable makeTable) {
    _child = ::fork();
    if (_child == 0) work(makeTable);
    await(_shared.begun, true);
  }
  ~RestlessWriter() {
    ::kill(_child, SIGKILL);
    ::waitpid(_child, nullptr, 0);
    ::munmap(&_shared, sizeof _shared);
  }
  RestlessWriter(RestlessWriter const&) = delete;
  RestlessWriter& operator=(RestlessWriter const&) = delete;

  // Returns when it does.
  void rests(bool wanted) {
    _shared.restWanted = wanted;
    await(_shared.resting, wanted);
  }

 private:
  struct Shared {
    std::atomic<bool> begun, restWanted, resting;
  };

  void await(std::atomic<bool> const& flag, bool value) const {
    while (flag != value) {
      if (!Support::isRunning(_child)) throw std::runtime_error("the writer has ended");
      ::sched_yield();
    }
  }

  template <class MakeTable>
  [[noreturn]] void work(MakeTable makeTable) noexcept {  // what is thrown ends the process here
    auto const table = makeTable();
    for (std::uint64_t n = 0;; ++n) {
      for (std::uint64_t key = 1; key <= 40; ++key) table->write({{key}, n});
      for (std::uint64_t key = 50; key < 90; ++key) table->write({{key + n % 7}, n});
      for (std::uint64_t key = 50; key < 100; ++key) table->remove({key});
      table->heartbeat();
      _shared.begun = true;
      while (_shared.restWanted) {
        _shared.resting = true;
        ::sched_yield();
      }
      _shared.resting = false;
    }
  }

  Shared& _shared = *static_cast<Shared*>(
      ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  pid_t _child = -1;
};

// Whether a check comes to an end, and what it finds unfinished, is up to who gets a processor
// when.
TEST_F(TableCheck, AWriterThatNeverRestsIsNoDamage) {
  table = nullptr;
  RestlessWriter const writer([this] { return makeTable<Small>({.maxRows = 4096}); });
  options.writerLives = true;
  options.passes = 1000;
  Word passes = 0;
  for (unsigned i = 0; i < 500 && passes < 1000; ++i) {
    auto const report = check();
    EXPECT_EQ(report.damage, 0u) << testing::PrintToString(lines(report.findings));
    passes += report.passes;
  }
}

TEST_F(TableCheck, AWriterThatRestsDuringTheCheckLetsItComeToAnEnd) {
  table = nullptr;
  RestlessWriter writer([this] { return makeTable<Small>({.maxRows = 4096}); });
  options.writerLives = true;
  unsigned waits = 0;
  options.wait = [&] {
    if (++waits == 10) writer.rests(true);
  };
  for (unsigned i = 0; i < 50; ++i) {
    waits = 0;
    auto const report = check();
    EXPECT_FALSE(report.overtaken);
    EXPECT_EQ(report.damage, 0u) << testing::PrintToString(lines(report.findings));
    EXPECT_THAT(report.unfinished, IsEmpty());
    writer.rests(false);
  }
}

TEST_F(TableCheck, WhereverAWriterIsKilledThereIsNoDamage) {
  for (unsigned round = 0; round < 40; ++round) {
    table = nullptr;
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    pid_t const writer = ::fork();
    if (writer == 0) {
      auto const mine = makeTable<Small>({.maxRows = 64});
      for (std::uint64_t n = 0;; ++n) {
        for (std::uint64_t key = 20; key < 50; ++key) mine->write({{key}, n});
        if (n == 0 && ::write(ends[1], "!", 1) != 1) ::_exit(1);
        for (std::uint64_t key = 20; key < 50; ++key) mine->remove({key});
      }
    }
    char begun;
    ASSERT_EQ(::read(ends[0], &begun, 1), 1);
    ::kill(writer, SIGKILL);
    ::waitpid(writer, nullptr, 0);
    for (int const end : ends) ::close(end);
    auto const report = check();
    EXPECT_EQ(report.damage, 0u) << testing::PrintToString(lines(report.findings));
  }
}

}  // namespace
}  // namespace Glim
