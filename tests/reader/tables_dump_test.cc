// tables dump.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <limits>
#include <string>

#include "tests/reader/tables_commands.h"

namespace Show {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

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

}  // namespace
}  // namespace Show
