// A writer is killed again and again at any moment, in whatever it does: taking the table, making
// it, moving it into a larger file, setting a file aside, inserting, overwriting, removing, writing
// directly, growing. Bounded by counts; ORU_GLIM_KILLS says how many kills.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>

#include "tests/platform/glim/crash/kill_reader.h"
#include "tests/platform/glim/crash/kill_writer.h"
#include "tests/platform/glim/table_fixture.h"

namespace GlimCrash {
namespace {

using GlimTest::exitedWith;
using GlimTest::killed;

constexpr std::uint64_t roundsOfGeneration = 25;
constexpr std::uint64_t roundsUntilMove = 5;

std::uint64_t wantedKills() {
  char const* const wanted = std::getenv("ORU_GLIM_KILLS");
  std::uint64_t const kills = wanted != nullptr ? std::strtoull(wanted, nullptr, 10) : 300;
  return std::clamp<std::uint64_t>(kills, 1, generations * roundsOfGeneration);
}

class GlimKill : public GlimTest::TableTest {
 protected:
  static constexpr char const* foreign = "no table";

  GlimKill() {
    for (std::size_t i = 0; i < readers.size(); ++i) {
      readers[i] = ::fork();
      if (readers[i] == 0) ::_exit(readUntilStopped(log, directory, i));
    }
  }
  ~GlimKill() override {
    log.stop = true;
    for (pid_t const reader : readers) ::waitpid(reader, nullptr, 0);
    ::munmap(&log, sizeof log);
  }

  void beginGeneration(std::uint64_t number) {
    log.now = number;  // first: readers then know why the table goes
    if (number > 0) {
      for (char const* const end : {".glim", ".glim.new", ".lock"}) {
        std::filesystem::remove(killTable(directory, number - 1) + end);
      }
    }
  }

  void placeForeignFile() {
    for (char const* const end : {".glim", ".glim.new", ".glim.aside-1"}) {
      std::filesystem::remove(path("foreign") + end);
    }
    std::ofstream(file("foreign")) << foreign;
  }
  bool foreignFileIsKept() const {
    for (char const* const end : {".glim", ".glim.aside-1"}) {
      std::string const name = path("foreign") + end;
      std::ifstream in(name);
      std::string text(std::size(std::string(foreign)), ' ');
      if (in.read(text.data(), static_cast<std::streamsize>(text.size())) && text == foreign) {
        return true;
      }
    }
    return false;
  }

  // Answers how the writer ended.
  int killOne(std::uint64_t round) {
    auto const maxRows =
        static_cast<std::uint32_t>(killKeys + round % roundsOfGeneration / roundsUntilMove);
    std::uint64_t const conquests = log.conquests;
    pid_t const writer = ::fork();
    if (writer == 0) {
      int wrong = 9;
      try {
        wrong = writeUntilKilled(log, directory, maxRows, round);
      } catch (...) {
      }
      ::_exit(wrong);
    }
    int status = 0;
    ::waitpid(writer, &status, 0);
    killsBeforeConquest += log.conquests == conquests;
    return status;
  }

  KillLog& log = KillLog::make();
  std::array<pid_t, 2> readers{};
  std::uint64_t killsBeforeConquest = 0;
};

TEST_F(GlimKill, NoKillTearsOrLosesARowOrTakesOneBack) {
  std::uint64_t const kills = wantedKills();
  for (std::uint64_t round = 0; round < kills; ++round) {
    if (round % roundsOfGeneration == 0) beginGeneration(round / roundsOfGeneration);
    placeForeignFile();
    int const status = killOne(round);
    ASSERT_TRUE(killed(status)) << "round " << round << ": the writer found "
                                << WEXITSTATUS(status);
    ASSERT_EQ(examine(log, directory), "") << "round " << round;
    ASSERT_TRUE(foreignFileIsKept()) << "round " << round;
    if ((round + 1) % std::max<std::uint64_t>(kills / 10, 1) == 0) {
      std::cout << round + 1 << " kills, " << killsBeforeConquest << " before the table was taken, "
                << log.resolved << " in an operation; " << log.operations << " operations, "
                << log.growths << " growths, " << log.moves << " moves; " << log.lookups
                << " lookups, " << log.walks << " walks, " << log.busy << " busy, " << log.retired
                << " retired\n";
    }
  }
  log.stop = true;
  for (pid_t& reader : readers) {
    int status = 0;
    ::waitpid(reader, &status, 0);
    reader = -1;
    EXPECT_TRUE(exitedWith(status, 0)) << "a reader found " << WEXITSTATUS(status);
  }
  // All of it has happened, and readers have hardly ever been put off. How often it happened is up
  // to the machine, which shares its time out between kills, writers and readers; a slow one may
  // never come to let the file grow, which is killed at each of its steps elsewhere.
  EXPECT_LT(log.busy + log.retired, log.lookups / 10);
  EXPECT_GT(log.resolved, 0u);
  EXPECT_GT(killsBeforeConquest, 0u);
  EXPECT_GT(log.operations, 0u);
  EXPECT_GE(log.moves, kills / roundsOfGeneration);
  EXPECT_GT(log.lookups, 0u);
  EXPECT_GT(log.walks, 0u);
}

}  // namespace
}  // namespace GlimCrash
