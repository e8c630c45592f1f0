#include "agent/tables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/dov/exception.h"
#include "tests/support/temporary_tables.h"

namespace Agent {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

std::string refusal(std::string const& directory) {
  try {
    Tables const sut(directory);
  } catch (Dov::Exception const& exception) {
    return exception.message();
  }
  return "taken";
}

TEST(Tables, MakeTheirDirectory) {
  Support::TemporaryTables const place;
  auto const directory = place.directory() / "new";
  Tables const sut(directory.string());
  for (char const* const name : {"intfCounters", "intfClearCounters", "intfQueueCounters",
                                 "intfClearQueueCounters", "aclDropCounters", "intfDescriptions"})
    EXPECT_TRUE(std::filesystem::exists(directory / (std::string(name) + ".glim"))) << name;
}

TEST(Tables, OfAnotherAgentAreRefusedWithItsProcess) {
  Support::TemporaryTables const place;
  Tables const other(place.directory().string());
  EXPECT_THAT(refusal(place.directory().string()),
              AllOf(HasSubstr("already has a writer"), HasSubstr(std::to_string(::getpid()))));
}

TEST(Tables, OutsideOfATmpfsAreRefused) {
  EXPECT_THAT(refusal("/proc"), HasSubstr("tables live on tmpfs, and this directory does not"));
}

TEST(Tables, InADirectoryThatCannotBeMadeAreRefusedWithTheReason) {
  EXPECT_THAT(refusal("/nonexistent/a/b"), HasSubstr("No such file or directory"));
}

TEST(Tables, RowsSurviveTheirWriter) {
  Support::TemporaryTables const place;
  Interface::EthIntfCounterGlim row;
  row.intfId = "Ethernet7";
  row.statistics.inOctets = 42;
  { Tables(place.directory().string()).intfCounters()->counterIs(row); }
  Tables sut(place.directory().string());
  EXPECT_EQ(sut.intfCounters()->counter("Ethernet7").statistics.inOctets, 42u);
}

TEST(Tables, AStepOfTheWallClockMovesTheTimesThatRatesAreMeasuredFrom) {
  Support::TemporaryTables const place;
  Tables sut(place.directory().string());
  Interface::EthIntfCounterGlim row;
  row.intfId = "Ethernet7";
  row.statistics.lastUpdate = 1000.0;
  row.rates.lastUpdate = 1000.0;
  row.rates.seeded = 900.0;
  sut.intfCounters()->counterIs(row);
  sut.wallClockSteppedBy(-600.0);
  auto const moved = sut.intfCounters()->counter("Ethernet7");
  EXPECT_EQ(moved.rates.lastUpdate, 400.0);
  EXPECT_EQ(moved.rates.seeded, 300.0);
  EXPECT_EQ(moved.statistics.lastUpdate, 1000.0);
}

TEST(Tables, RatesThatWereNeverMeasuredDoNotMove) {
  Support::TemporaryTables const place;
  Tables sut(place.directory().string());
  Interface::EthIntfCounterGlim row;
  row.intfId = "Ethernet7";
  sut.intfCounters()->counterIs(row);
  sut.wallClockSteppedBy(600.0);
  EXPECT_EQ(sut.intfCounters()->counter("Ethernet7").rates.lastUpdate, 0.0);
}

TEST(Tables, ASampleOfTheFutureWasTakenNow) {
  Support::TemporaryTables const place;
  Tables sut(place.directory().string());
  Interface::EthIntfCounterGlim row;
  row.statistics.lastUpdate = 1000.0;
  for (char const* const id : {"Ethernet7", "Ethernet8"}) {
    row.intfId = id;
    sut.intfCounters()->counterIs(row);
    row.statistics.lastUpdate = 400.0;
  }
  sut.noSampleAfter(500.0);
  EXPECT_EQ(sut.intfCounters()->counter("Ethernet7").statistics.lastUpdate, 500.0);
  EXPECT_EQ(sut.intfCounters()->counter("Ethernet8").statistics.lastUpdate, 400.0);
}

TEST(Tables, AHeartbeatOfALostTableNamesIt) {
  Support::TemporaryTables const place;
  Tables sut(place.directory().string());
  sut.heartbeat();
  sut.intfCounters()->detach();
  try {
    sut.heartbeat();
    FAIL() << "it went unnoticed";
  } catch (TableLost const& lost) {
    EXPECT_THAT(lost.what(), HasSubstr("/intfCounters was damaged"));
  }
}

TEST(Tables, WhoseFilesStandAreValid) {
  Support::TemporaryTables const place;
  Tables const sut(place.directory().string());
  EXPECT_NO_THROW(sut.validateFiles());
}

TEST(Tables, WhoseDirectoryIsRemovedAreLost) {
  Support::TemporaryTables const place;
  Tables const sut(place.directory().string());
  std::filesystem::remove_all(place.directory());
  EXPECT_THROW(sut.validateFiles(), TableLost);
}

TEST(Tables, OneOfWhichIsReplacedAreLost) {
  Support::TemporaryTables const place;
  Tables const sut(place.directory().string());
  auto const file = place.directory() / "intfClearCounters.glim";
  std::filesystem::copy_file(file, place.directory() / "copy");
  std::filesystem::rename(place.directory() / "copy", file);
  try {
    sut.validateFiles();
    FAIL();
  } catch (TableLost const& lost) {
    EXPECT_THAT(lost.what(), HasSubstr("/intfClearCounters was removed, replaced"));
  }
}

}  // namespace
}  // namespace Agent
