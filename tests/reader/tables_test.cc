// The commands about tables, on tables that a writer published.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "platform/glim/row_slot.h"
#include "platform/kel/system.h"
#include "reader/tables_dump.h"
#include "reader/tables_list.h"
#include "reader/tables_verify.h"
#include "tests/reader/published_tables.h"

namespace Show {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using Json = nlohmann::ordered_json;

class TablesCommands : public testing::Test {
 protected:
  TablesCommands() {
    options.directory = tables.directory();
    options.directoryNamed = true;
  }

  ExitCode list(std::size_t width = kUnlimited) {
    begin();
    return tablesList(options, 1000.0, {.width = width}, out, err);
  }
  ExitCode verify(std::vector<std::string> names = {}) {
    begin();
    options.names = std::move(names);
    return tablesVerify(options,
                        {.now = 1000.0, .progress = {.clock = [] { return 1.0; }}, .wait = wait},
                        out, err);
  }
  ExitCode dump(std::string const& name) {
    begin();
    options.names = {name};
    return tablesDump(options, 1000.0, out, err);
  }
  Json json() { return Json::parse(out.str()); }
  void begin() {
    out.str("");
    err.str("");
  }
  void copyTable(std::string const& from, std::string const& to) {
    std::filesystem::copy_file(tables.file(from), tables.directory() + "/" + to);
  }
  void startWithTwo() {
    tables.start();
    tables.writeTwo();
  }
  // Changes one word of a table's file, as damage does.
  void storeWord(std::string_view table, std::uint64_t offset, std::uint64_t value) {
    int const fd = ::open(tables.file(table).c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::pwrite(fd, &value, sizeof value, static_cast<off_t>(offset)), 8);
    ::close(fd);
  }

  PublishedTables tables;
  Options options;
  std::function<void()> wait = [] {};
  std::ostringstream out, err;
};

// --- list ---

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

TEST_F(TablesCommands, WithoutTablesOrDirectoryEachSaysHowToStartTheAgent) {
  for (int i = 0; i < 2; ++i) {
    std::string const text = "oru-counters: there are no tables in " + options.directory +
                             "; start the agent with: oru-agentd --tables " + options.directory +
                             "\n";
    EXPECT_EQ(list(), ExitCode::tableMissing);
    EXPECT_EQ(err.str(), text);
    EXPECT_EQ(verify(), ExitCode::tableMissing);
    EXPECT_EQ(err.str(), text);
    EXPECT_EQ(dump("intfCounters"), ExitCode::tableMissing);
    EXPECT_EQ(err.str(), text);
    options.directory += "/nowhere";
  }
}

// --- verify ---

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

// --- dump ---

TEST_F(TablesCommands, DumpDecodesByTheSchemaInTheFile) {
  startWithTwo();
  options.json = true;
  EXPECT_EQ(dump("intfDescriptions"), ExitCode::ok);
  Json const dumped = json();
  EXPECT_EQ(dumped["format"], 1);
  EXPECT_EQ(dumped["table"]["record"], "IntfDescription");
  EXPECT_EQ(dumped["table"]["key"], Json::array({"intfId"}));
  EXPECT_EQ(dumped["table"]["fields"][2],
            (Json{{"name", "alias"}, {"type", "text"}, {"offset", 64}, {"count", 256}}));
  ASSERT_EQ(dumped["rows"].size(), 2u);
  EXPECT_EQ(dumped["rows"][0], (Json{{"intfId", "Ethernet1"},
                                     {"kernelName", "eth0"},
                                     {"alias", ""},
                                     {"speed", 0},
                                     {"unsupported", 0},
                                     {"lastChange", 0.0},
                                     {"ifIndex", 0},
                                     {"adminState", 1},
                                     {"operState", 1},
                                     {"reserved", 0},
                                     {"txQueues", 0},
                                     {"unsupportedQueue", 0}}));
}

TEST_F(TablesCommands, DumpHasTheTableInFrontAndARowOnALine) {
  startWithTwo();
  options.json = true;
  dump("intfDescriptions");
  EXPECT_THAT(out.str(), StartsWith("{\n  \"format\": 1,\n"));
  EXPECT_LT(out.str().find("\"epoch\""), out.str().find("\"rows\": [\n    {\"intfId\""));
  EXPECT_THAT(out.str(), HasSubstr("},\n    {\"intfId\":\"Ethernet2\""));
}

TEST_F(TablesCommands, DumpOfAnEmptyTableIsWhole) {
  startWithTwo();
  options.json = true;
  EXPECT_EQ(dump("intfClearCounters"), ExitCode::ok);
  EXPECT_EQ(json()["rows"], Json::array());
}

TEST_F(TablesCommands, DumpKeepsCountersExactAndShowsWhatHasNoValue) {
  tables.start();
  Interface::EthIntfCounterGlim row;
  row.intfId = "Ethernet1";
  row.statistics.inOctets = ~std::uint64_t{0};
  row.statistics.outBroadcastPkts = Wib::MaybeU63::none();
  row.statistics.lastUpdate = std::numeric_limits<double>::quiet_NaN();
  tables.write(row);
  options.json = true;
  EXPECT_EQ(dump("intfCounters"), ExitCode::ok);
  Json const shown = json()["rows"][0];
  EXPECT_EQ(shown["inOctets"].dump(), "18446744073709551615");
  EXPECT_TRUE(shown["outBroadcastPkts"].is_null());
  EXPECT_TRUE(shown["lastUpdate"].is_null());
  EXPECT_EQ(shown["inPfcFrames"].size(), 8u);
}

TEST_F(TablesCommands, DumpComesInNaturalOrderOfTheKeys) {
  tables.start();
  for (auto const name : {"Ethernet10", "Ethernet2"}) {
    Interface::EthIntfCounterGlim row;
    row.intfId = name;
    tables.write(row);
  }
  options.json = true;
  dump("intfCounters");
  EXPECT_EQ(json()["rows"][0]["intfId"], "Ethernet2");
}

TEST_F(TablesCommands, DumpAsTextHasAFieldOnALine) {
  startWithTwo();
  EXPECT_EQ(dump("intfDescriptions"), ExitCode::ok);
  EXPECT_THAT(out.str(), StartsWith("intfDescriptions.glim: 2 rows of IntfDescription, epoch 1, "
                                    "ready, writer running, process "));
  EXPECT_THAT(out.str(),
              HasSubstr("\n\nEthernet2\n  kernelName        eth1\n  alias             \"\"\n"));
}

TEST_F(TablesCommands, DumpLeavesACorruptRowOutAndSaysSo) {
  startWithTwo();
  tables.stop();
  tables.damageRow("intfCounters", 0);
  options.json = true;
  EXPECT_EQ(dump("intfCounters"), ExitCode::rowsLeftOut);
  EXPECT_EQ(err.str(),
            "oru-counters: 1 corrupt row of " + tables.file("intfCounters") + " was left out\n");
  EXPECT_EQ(json()["table"]["corruptRows"], 1);
  EXPECT_EQ(json()["rows"].size(), 1u);
  EXPECT_EQ(json()["problems"][0]["exitCode"], 9);
}

TEST_F(TablesCommands, DumpReadsARetiredTableAndOneThatWasSetAside) {
  startWithTwo();
  tables.stop();
  storeWord("intfCounters", Glim::Layout::stateOffset, 2);
  copyTable("intfCounters", "intfDescriptions.glim.aside-1");
  options.json = true;
  for (auto const name : {"intfCounters", "intfDescriptions.glim.aside-1", "intfCounters.glim"}) {
    EXPECT_EQ(dump(name), ExitCode::ok) << name;
    EXPECT_EQ(json()["table"]["state"], "retired");
    EXPECT_EQ(json()["rows"].size(), 2u);
  }
}

TEST_F(TablesCommands, DumpNamesTheTablesThatThereAre) {
  startWithTwo();
  EXPECT_EQ(dump("intf*"), ExitCode::unknownName) << "no pattern: it takes one table";
  EXPECT_THAT(err.str(), HasSubstr("there is no table intf* in "));
  EXPECT_THAT(out.str(), IsEmpty());
  options.json = true;
  EXPECT_EQ(dump("nope"), ExitCode::unknownName);
  EXPECT_TRUE(json()["table"].is_null());
  EXPECT_EQ(json()["rows"], Json::array());
}

TEST_F(TablesCommands, DumpSaysWhatIsWrongWithADamagedHeader) {
  startWithTwo();
  tables.stop();
  tables.damageByte("intfCounters", Glim::Layout::fixedStride * 8);
  EXPECT_EQ(dump("intfCounters"), ExitCode::notATable);
  EXPECT_THAT(err.str(), ContainsRegex("intfCounters.glim: the header says stride [0-9]+, and"));
}

TEST_F(TablesCommands, DumpTellsAnotherLayoutVersionAndAnUnsafeFileApart) {
  startWithTwo();
  tables.stop();
  tables.damageByte("intfCounters", Glim::Layout::fixedLayoutVersion * 8);
  EXPECT_EQ(dump("intfCounters"), ExitCode::otherVersion);
  EXPECT_THAT(err.str(), HasSubstr("another layout version"));
  ::chmod(tables.file("intfDescriptions").c_str(), 0666);
  EXPECT_EQ(dump("intfDescriptions"), ExitCode::unsafeTable);
}

// A schema of types that came later: the header is sound, and no row can be shown.
TEST_F(TablesCommands, DumpSaysThatASchemaIsNotUnderstood) {
  startWithTwo();
  tables.stop();
  std::string const file = tables.file("intfCounters");
  int const fd = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
  Glim::HeaderCopy header;
  ASSERT_EQ(Glim::readHeader(fd, header), Glim::Answer::ok);
  auto const at = header.schema.find(":f64:");
  header.schema[at + 1] = 'g';
  auto const fixed = Glim::Layout::makeFixedWords(header.geometry, header.schema,
                                                  Glim::schemaHashOf(header.schema),
                                                  header.fixed[Glim::Layout::fixedCreated]);
  ASSERT_EQ(::pwrite(fd, fixed.data(), sizeof fixed, 0), static_cast<ssize_t>(sizeof fixed));
  ASSERT_EQ(::pwrite(fd, header.schema.data(), header.schema.size(), Glim::Layout::schemaOffset),
            static_cast<ssize_t>(header.schema.size()));
  ::close(fd);
  EXPECT_EQ(dump("intfCounters"), ExitCode::otherVersion);
  EXPECT_THAT(err.str(), HasSubstr("its schema text is not understood"));
  EXPECT_EQ(verify({"intfCounters"}), ExitCode::damageFound);
  EXPECT_THAT(out.str(), HasSubstr("the schema text is none of a row's fields"));
}

// --- whose tables ---

TEST_F(TablesCommands, OfADirectoryThatNobodyNamedOnlyTrustedTablesAreRead) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can give files away";
  startWithTwo();
  tables.stop();
  constexpr uid_t stranger = 54321;
  ASSERT_EQ(::chown(tables.file("intfCounters").c_str(), stranger, stranger), 0);
  ASSERT_EQ(::chown(tables.directory().c_str(), stranger, stranger), 0);
  EXPECT_EQ(dump("intfCounters"), ExitCode::ok);
  options.directoryNamed = false;
  EXPECT_EQ(dump("intfCounters"), ExitCode::unsafeTable);
  EXPECT_THAT(err.str(), HasSubstr("belongs to user 54321, who is neither you nor the superuser"));
  EXPECT_EQ(list(), ExitCode::unsafeTable);
  EXPECT_EQ(verify({"intfCounters"}), ExitCode::unsafeTable);
}

}  // namespace
}  // namespace Show
