// tables list.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "tests/reader/tables_commands.h"

namespace Show {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

TEST_F(TablesCommands, ListTellsEachTableAndItsLivingWriter) {
  startWithTwo();
  EXPECT_EQ(list(), ExitCode::ok);
  EXPECT_THAT(out.str(), ContainsRegex("\nintfCounters +EthIntfCounterGlim +2 +64 +64 +[0-9]+ +1  "
                                       "ready  running +" +
                                       std::to_string(::getpid()) + "  +[0-9.]+ s ago\n"));
  EXPECT_THAT(out.str(), ContainsRegex("\nintfDescriptions +IntfDescription +2 "));
  EXPECT_THAT(out.str(), Not(HasSubstr(".lock"))) << "a lock beside its table is no news";
  EXPECT_THAT(err.str(), IsEmpty());
}

TEST_F(TablesCommands, ListOnANarrowTerminalKeepsRowsAndWriterAndSaysWhatIsHidden) {
  startWithTwo();
  list(60);
  EXPECT_THAT(out.str(),
              StartsWith("Table              Rows  State  Writer   Process  Heartbeat\n"));
  EXPECT_THAT(out.str(), HasSubstr("\n5 columns hidden: the terminal is too narrow\n"));
}

TEST_F(TablesCommands, ListTellsThatAWriterLetGo) {
  startWithTwo();
  tables.stop();
  EXPECT_EQ(list(), ExitCode::ok);
  EXPECT_THAT(out.str(), ContainsRegex("\nintfCounters .*detached  none "));
}

TEST_F(TablesCommands, ListTellsThatAWriterIsDead) {
  startWithTwo();
  tables.stop();
  storeWord("intfCounters", Glim::Layout::stateOffset, 1);
  storeWord("intfCounters", Glim::Layout::writerPidOffset, 4194304);
  storeWord("intfCounters", Glim::Layout::heartbeatOffset, 1);
  EXPECT_EQ(list(), ExitCode::ok);
  EXPECT_THAT(out.str(), ContainsRegex("\nintfCounters .*ready +dead +4194304 "));
}

TEST_F(TablesCommands, ListTellsEveryOtherFileForWhatItIs) {
  startWithTwo();
  tables.stop();
  copyTable("intfDescriptions", "intfCounters.glim.aside-1");
  auto const write = [&](std::string const& file, std::string_view content) {
    std::filesystem::rename(
        [&] {
          tables.write("scratch", content);
          return tables.file("scratch");
        }(),
        tables.directory() + "/" + file);
  };
  write("intfCounters.glim.aside-2", "nothing");
  write("intfCounters.corruption",
        "table: x\ntime: 2026-11-21T10:00:00Z\nreason: row\033 3 fails\n");
  write("intfCounters.glim.new", "");
  write("gone.lock", "");
  write("notes.txt", "hello");
  EXPECT_EQ(list(), ExitCode::ok) << "nothing of that is a table that cannot be read";
  EXPECT_THAT(out.str(), ContainsRegex("\nintfCounters.glim.aside-1  what had the name .*: a table "
                                       "of IntfDescription, 2 rows\n"));
  EXPECT_THAT(out.str(), ContainsRegex("\nintfCounters.glim.aside-2 .*: not a table\n"));
  EXPECT_THAT(out.str(), ContainsRegex("\nintfCounters.corruption .*found it damaged, 2026-11-21T"
                                       "10:00:00Z: row\\? 3 fails\n"));
  EXPECT_THAT(out.str(), ContainsRegex("\nintfCounters.glim.new .*being made, or was left"));
  EXPECT_THAT(out.str(), ContainsRegex("\ngone.lock +the lock of the writer of gone\n"));
  EXPECT_THAT(out.str(), ContainsRegex("\nnotes.txt +none of the files of a table\n"));
}

TEST_F(TablesCommands, ListTellsATableThatCannotBeReadAndShowsTheOthers) {
  startWithTwo();
  tables.write("broken", "not a table at all\n");
  EXPECT_EQ(list(), ExitCode::notATable);
  EXPECT_THAT(out.str(), HasSubstr("\nbroken.glim  cannot be read: not a table\n"));
  EXPECT_THAT(out.str(), HasSubstr("\nintfCounters"));
  EXPECT_THAT(err.str(), HasSubstr("/broken.glim is not a table"));
}

// As where --tables was mistyped.
TEST_F(TablesCommands, ListOfADirectoryWithoutTablesTellsNoFilesOfOthers) {
  tables.write("notes", "hello");
  std::filesystem::rename(tables.file("notes"), tables.directory() + "/notes.txt");
  EXPECT_EQ(list(), ExitCode::tableMissing);
  EXPECT_THAT(out.str(), IsEmpty());
  EXPECT_THAT(err.str(), HasSubstr("no tables"));
  options.json = true;
  list();
  EXPECT_EQ(json()["files"], Json::array());
  tables.write("gone", "");
  std::filesystem::rename(tables.file("gone"), tables.directory() + "/gone.lock");
  list();
  EXPECT_EQ(json()["files"][0]["file"], "gone.lock");
}

TEST_F(TablesCommands, ListInJsonHasTablesAndFiles) {
  startWithTwo();
  tables.write("broken", "not a table at all\n");
  options.json = true;
  EXPECT_EQ(list(), ExitCode::notATable);
  Json const listed = json();
  EXPECT_EQ(listed["format"], 1);
  EXPECT_EQ(listed["problems"][0]["exitCode"], 6);
  ASSERT_EQ(listed["tables"].size(), 4u);
  EXPECT_EQ(listed["tables"][0],
            (Json{{"name", "broken"}, {"file", "broken.glim"}, {"status", "not a table"}}));
  Json const& counters = listed["tables"][2];
  EXPECT_EQ(counters["name"], "intfCounters");
  EXPECT_EQ(counters["record"], "EthIntfCounterGlim");
  EXPECT_EQ(counters["rows"], 2);
  EXPECT_EQ(counters["maxRows"], 64);
  EXPECT_EQ(counters["epoch"], 1);
  EXPECT_EQ(counters["state"], "ready");
  EXPECT_EQ(counters["writer"]["state"], "running");
  EXPECT_EQ(counters["bytes"], std::filesystem::file_size(tables.file("intfCounters")));
  EXPECT_EQ(listed["files"][0]["kind"], "lock");
  EXPECT_EQ(listed["files"][0]["table"], "intfClearCounters");
}

}  // namespace
}  // namespace Show
