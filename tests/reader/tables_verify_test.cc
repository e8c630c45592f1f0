// tables verify.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "platform/glim/table_file.h"
#include "tests/reader/tables_commands.h"

namespace Show {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TEST_F(TablesCommands, VerifyFindsNothingWrongWithALivingTable) {
  startWithTwo();
  EXPECT_EQ(verify(), ExitCode::ok);
  EXPECT_EQ(out.str(),
            "intfClearCounters: good; 0 rows in 64 slots\n"
            "intfCounters: good; 2 rows in 64 slots\n"
            "intfDescriptions: good; 2 rows in 64 slots\n"
            "3 tables checked: 3 good, 0 damaged\n");
  EXPECT_THAT(err.str(), IsEmpty());
}

TEST_F(TablesCommands, VerifyTellsEachProblemOnALineOfItsOwn) {
  startWithTwo();
  tables.stop();
  tables.damageRow("intfCounters", 1);
  storeWord("intfCounters", Glim::Layout::membersOffset, 7);
  EXPECT_EQ(verify({"intfCounters"}), ExitCode::damageFound);
  EXPECT_EQ(out.str(),
            "intfCounters: slot 1: the checksum of the row fails\n"
            "intfCounters: the header says 7 rows, and there are 1\n"
            "intfCounters: DAMAGED, 2 problems; 1 row in 64 slots\n");
  EXPECT_EQ(err.str(),
            "oru-counters: " + tables.file("intfCounters") + " is damaged: 2 problems\n");
}

TEST_F(TablesCommands, VerifyTellsOneDamagedTableAmongGoodOnes) {
  startWithTwo();
  tables.stop();
  tables.damageRow("intfDescriptions", 0);
  EXPECT_EQ(verify(), ExitCode::damageFound);
  EXPECT_THAT(out.str(), HasSubstr("\n3 tables checked: 2 good, 1 damaged\n"));
  EXPECT_THAT(out.str(), HasSubstr("intfCounters: good"));
}

TEST_F(TablesCommands, VerifyKnowsTheHashesOfInterfaceNames) {
  startWithTwo();
  tables.stop();
  Glim::TableFile file;
  ASSERT_EQ(file.open(tables.file("intfCounters"), {}), Glim::Answer::ok);
  auto const& geometry = file.header().geometry;
  std::uint64_t at = 0;
  while (file.mapping().index()[at] == 0) ++at;
  storeWord("intfCounters", geometry.indexOffset + at * 8,
            file.mapping().index()[at] ^ (std::uint64_t{1} << 50));
  EXPECT_EQ(verify({"intfCounters"}), ExitCode::damageFound);
  EXPECT_THAT(out.str(), ContainsRegex("leads to slot [01] \\(Ethernet[12]\\) under a hash"));
}

TEST_F(TablesCommands, VerifyTellsADamagedHeaderInWords) {
  startWithTwo();
  tables.stop();
  tables.damageByte("intfCounters", Glim::Layout::fixedCreated * 8);
  EXPECT_EQ(verify({"intfCounters"}), ExitCode::notATable);
  EXPECT_EQ(out.str(),
            "intfCounters: the header's checksum fails\n"
            "intfCounters: DAMAGED, 1 problem\n");
  EXPECT_THAT(err.str(), HasSubstr("is not a table, or its header is damaged"));
}

TEST_F(TablesCommands, VerifyTellsASparseCopy) {
  startWithTwo();
  tables.stop();
  std::string const file = tables.file("intfCounters");
  auto const size = std::filesystem::file_size(file);
  std::filesystem::resize_file(file, size - 8192);
  std::filesystem::resize_file(file, size);
  EXPECT_EQ(verify({"intfCounters"}), ExitCode::damageFound);
  EXPECT_THAT(out.str(), HasSubstr("intfCounters: the file has holes"));
}

TEST_F(TablesCommands, VerifyOfATableThatIsCutShortSaysWhere) {
  startWithTwo();
  tables.stop();
  std::filesystem::resize_file(tables.file("intfCounters"), 4096);
  EXPECT_EQ(verify({"intfCounters"}), ExitCode::notATable);
  EXPECT_THAT(out.str(), HasSubstr("the file has 4096 bytes, and its slots would begin at"));
}

TEST_F(TablesCommands, VerifyDoesNotCheckWhatItMayNotRead) {
  startWithTwo();
  ::chmod(tables.file("intfCounters").c_str(), 0666);
  EXPECT_EQ(verify(), ExitCode::unsafeTable);
  EXPECT_THAT(out.str(), HasSubstr("intfCounters: not checked: unsafe file\n"));
  EXPECT_THAT(out.str(), HasSubstr("2 good, 0 damaged, 1 not at all\n"));
}

TEST_F(TablesCommands, VerifyTellsAStepThatAKilledWriterLeftUndone) {
  startWithTwo();
  tables.stop();
  storeWord("intfCounters", Glim::Layout::stateOffset, 1);
  storeWord("intfCounters", Glim::Layout::heartbeatOffset, 1);
  storeWord("intfCounters", Glim::Layout::writerPidOffset, 4194304);
  storeWord("intfCounters", Glim::Layout::membersOffset, 1);
  EXPECT_EQ(verify({"intfCounters"}), ExitCode::ok);
  EXPECT_EQ(out.str(),
            "intfCounters: unfinished, the next writer mends it: the header says 1 rows, and there "
            "are 2\n"
            "intfCounters: good but for a step that a killed writer left undone; 2 rows in 64 "
            "slots\n");
}

TEST_F(TablesCommands, VerifySaysWhenATableChangedTooFast) {
  startWithTwo();
  std::uint64_t version = 1;
  storeWord("intfCounters", Glim::Layout::indexVersionOffset, version);
  wait = [&] { storeWord("intfCounters", Glim::Layout::indexVersionOffset, version += 2); };
  EXPECT_EQ(verify({"intfCounters"}), ExitCode::rowsLeftOut);
  EXPECT_THAT(out.str(), HasSubstr("intfCounters: not checked in full: it kept changing"));
  EXPECT_THAT(err.str(), HasSubstr("kept changing, and was not checked in full: try again"));
}

TEST_F(TablesCommands, VerifyTakesPatternsAndFilesThatWereSetAside) {
  startWithTwo();
  tables.stop();
  copyTable("intfDescriptions", "intfCounters.glim.aside-1");
  EXPECT_EQ(verify({"intfC*", "intfCounters.glim.aside-1", "intfCounters"}), ExitCode::ok);
  EXPECT_THAT(out.str(), AllOf(HasSubstr("intfClearCounters: "), HasSubstr("intfCounters: "),
                               HasSubstr("intfCounters.glim.aside-1: good; 2 rows"),
                               HasSubstr("3 tables checked")));
}

TEST_F(TablesCommands, VerifyNamesAnUnknownTableAndChecksTheOthers) {
  startWithTwo();
  EXPECT_EQ(verify({"nope", "intfCounters"}), ExitCode::unknownName);
  EXPECT_EQ(err.str(), "oru-counters: there is no table nope in " + tables.directory() +
                           "; there are: intfClearCounters, intfCounters, intfDescriptions\n");
  EXPECT_EQ(out.str(), "intfCounters: good; 2 rows in 64 slots\n");
}

TEST_F(TablesCommands, VerifyListsManyProblemsUpToAHundred) {
  tables.start(256);
  for (int n = 1; n <= 150; ++n) {
    Interface::EthIntfCounterGlim row;
    row.intfId = Pekt::IntfId("Ethernet" + std::to_string(n));
    tables.write(row);
  }
  tables.stop();
  for (std::uint64_t slot = 0; slot < 150; ++slot) tables.damageRow("intfCounters", slot);
  EXPECT_EQ(verify({"intfCounters"}), ExitCode::damageFound);
  EXPECT_THAT(out.str(), HasSubstr("slot 99: the checksum"));
  EXPECT_THAT(out.str(), Not(HasSubstr("slot 100: ")));
  EXPECT_THAT(out.str(), HasSubstr("intfCounters: and 50 more problems\n"));
}

TEST_F(TablesCommands, VerifyInJsonHasVerdictFindingsAndCounts) {
  startWithTwo();
  tables.stop();
  tables.damageRow("intfCounters", 1);
  options.json = true;
  EXPECT_EQ(verify({"intfCounters"}), ExitCode::damageFound);
  Json const table = json()["tables"][0];
  EXPECT_EQ(table["verdict"], "damaged");
  EXPECT_EQ(table["damage"], 1);
  EXPECT_EQ(
      table["findings"],
      (Json::array(
          {{{"part", "slot"}, {"slot", 1}, {"text", "slot 1: the checksum of the row fails"}}})));
  EXPECT_EQ(table["liveRows"], 1);
  EXPECT_EQ(table["corruptRows"], 1);
  EXPECT_EQ(table["neverUsedSlots"], 62);
  EXPECT_EQ(json()["problems"][0]["exitCode"], 10);
}

}  // namespace
}  // namespace Show
