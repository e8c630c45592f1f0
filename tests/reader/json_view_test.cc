#include "reader/json_view.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "reader/problems.h"
#include "tests/reader/made_up.h"

namespace Show {
namespace {

using Json = nlohmann::ordered_json;
using testing::ElementsAre;

std::vector<std::string> keys(Json const& object) {
  std::vector<std::string> all;
  for (auto const& item : object.items()) all.push_back(item.key());
  return all;
}

class JsonView : public testing::Test {
 protected:
  Intf& first() { return snapshot.interfaces[0]; }
  // As a program that reads our output sees it.
  Json parsed(std::vector<Problem> const& problems = {}) const {
    return Json::parse(jsonText(snapshot, problems, kInterfacesArray, true));
  }
  Json parsedIntf() const { return parsed()["interfaces"][0]; }

  Snapshot snapshot = Show::snapshot({intf("Ethernet1", "eth0")});
};

TEST_F(JsonView, TheKeysAreStable) {
  Json const all = parsed();
  EXPECT_THAT(keys(all), ElementsAre("format", "time", "directory", "agent", "tables", "problems",
                                     "interfaces"));
  EXPECT_THAT(keys(all["agent"]), ElementsAre("state", "pid", "heartbeatAge"));
  EXPECT_THAT(keys(all["tables"]),
              ElementsAre("intfCounters", "intfClearCounters", "intfDescriptions"));
  EXPECT_THAT(keys(all["tables"]["intfCounters"]),
              ElementsAre("status", "rows", "corruptRows", "busyRows"));
  EXPECT_THAT(keys(all["interfaces"][0]),
              ElementsAre("name", "kernelName", "ifIndex", "alias", "adminState", "operState",
                          "speed", "lastChange", "stale", "lastUpdate", "age", "rates",
                          "measuredRates", "cleared", "counters", "sinceClear"));
  EXPECT_THAT(keys(all["interfaces"][0]["rates"]),
              ElementsAre("inBitsRate", "inPktsRate", "outBitsRate", "outPktsRate", "lastUpdate"));
}

TEST_F(JsonView, EveryCounterIsThereByItsName) {
  std::vector<std::string> const names(Interface::kCounterNames.begin(),
                                       Interface::kCounterNames.end());
  EXPECT_EQ(keys(parsedIntf()["counters"]), names);
  EXPECT_EQ(keys(parsedIntf()["sinceClear"]), names);
}

TEST_F(JsonView, CountsAreExactIntegers) {
  first().counters->statistics.inOctets = 18446744073709551615u;
  EXPECT_NE(
      jsonText(snapshot, {}, kInterfacesArray, false).find("\"inOctets\": 18446744073709551615,"),
      std::string::npos);
  EXPECT_EQ(parsedIntf()["counters"]["inOctets"].get<std::uint64_t>(), 18446744073709551615u);
}

TEST_F(JsonView, WhatHasNoValueIsNull) {
  first().counters->statistics.inUnknownProtos = Wib::MaybeU63::none();
  Interface::CounterSet unsupported;
  unsupported.insert("fcsErrors");
  unsupported.insert("inPfcFrames");
  first().description->unsupported = unsupported.word();
  Json const counters = parsedIntf()["counters"];
  EXPECT_TRUE(counters["inUnknownProtos"].is_null());
  EXPECT_TRUE(counters["fcsErrors"].is_null());
  EXPECT_TRUE(counters["inPfcFrames"].is_null());
  EXPECT_EQ(counters["alignmentErrors"], 0);
}

TEST_F(JsonView, ArraysHoldTheirValidEntries) {
  auto& eth = first().counters->ethStatistics;
  eth.inPfcFrames.entries[0] = Wib::MaybeU63(5);
  eth.inPfcFrames.entries[1] = Wib::MaybeU63::none();
  eth.inPfcFrames.count = 2;
  Json const counters = parsedIntf()["counters"];
  EXPECT_EQ(counters["inPfcFrames"], (Json{5, nullptr}));
  EXPECT_EQ(counters["outPfcFrames"], Json::array());
}

TEST_F(JsonView, CountsAreThereAsPublishedAndSinceTheClear) {
  first().counters->statistics.inOctets = 100;
  first().atLastClear = first().counters;
  first().counters->statistics.inOctets = 130;
  EXPECT_EQ(parsedIntf()["counters"]["inOctets"], 130);
  EXPECT_EQ(parsedIntf()["sinceClear"]["inOctets"], 30);
}

TEST_F(JsonView, TheTimeOfTheClearIsThatOfTheClearRow) {
  EXPECT_TRUE(parsedIntf()["cleared"].is_null());
  first().atLastClear.emplace();
  EXPECT_TRUE(parsedIntf()["cleared"].is_null()) << "a row that no clear wrote";
  first().atLastClear->statistics.lastUpdate = 12.5;
  EXPECT_EQ(parsedIntf()["cleared"], 12.5);
}

TEST_F(JsonView, TheDescriptionIsThereWhole) {
  auto& description = *first().description;
  description.alias = std::string_view("to \"core\"");
  description.ifIndex = 7;
  description.speed = 400'000'000'000;
  description.lastChange = 12.5;
  description.operState = Interface::OperState::lowerLayerDown;
  Json const intf = parsedIntf();
  EXPECT_EQ(intf["name"], "Ethernet1");
  EXPECT_EQ(intf["kernelName"], "eth0");
  EXPECT_EQ(intf["alias"], "to \"core\"");
  EXPECT_EQ(intf["ifIndex"], 7);
  EXPECT_EQ(intf["speed"], 400'000'000'000);
  EXPECT_EQ(intf["lastChange"], 12.5);
  EXPECT_EQ(intf["adminState"], "up");
  EXPECT_EQ(intf["operState"], "lowerLayerDown");
}

TEST_F(JsonView, WithoutADescriptionItsMembersAreNull) {
  first().description.reset();
  Json const intf = parsedIntf();
  for (auto const key :
       {"kernelName", "ifIndex", "alias", "adminState", "operState", "speed", "lastChange"})
    EXPECT_TRUE(intf[key].is_null()) << key;
}

TEST_F(JsonView, AnUnknownSpeedIsNull) { EXPECT_TRUE(parsedIntf()["speed"].is_null()); }

TEST_F(JsonView, RatesAreNullUntilThereAreTwoSamples) {
  EXPECT_TRUE(parsedIntf()["rates"]["inBitsRate"].is_null());
  giveRates(first(), 1.5, 2.5, 3.5);
  EXPECT_EQ(parsedIntf()["rates"]["inBitsRate"], 1.5);
  EXPECT_EQ(parsedIntf()["rates"]["outPktsRate"], 3.5);
}

TEST_F(JsonView, MeasuredRatesStandBesideThoseOfTheRow) {
  giveRates(first(), 1.5, 2.5, 3.5);
  EXPECT_TRUE(parsedIntf()["measuredRates"]["inBitsRate"].is_null());
  first().measuredRates = {.inBitsRate = 800.0};
  EXPECT_EQ(parsedIntf()["measuredRates"]["inBitsRate"], 800.0);
  EXPECT_EQ(parsedIntf()["rates"]["inBitsRate"], 1.5);
}

TEST_F(JsonView, AgesAreSeconds) {
  EXPECT_NEAR(parsedIntf()["age"].get<double>(), 0.4, 1e-6);
  first().counters->statistics.lastUpdate = 0.0;
  EXPECT_TRUE(parsedIntf()["age"].is_null());
  EXPECT_TRUE(parsedIntf()["lastUpdate"].is_null());
}

TEST_F(JsonView, ADeadAgentMakesTheRowsStale) {
  EXPECT_EQ(parsed()["agent"]["state"], "running");
  EXPECT_EQ(parsed()["agent"]["pid"], 4711);
  EXPECT_EQ(parsedIntf()["stale"], false);
  killAgent(snapshot);
  EXPECT_EQ(parsed()["agent"]["state"], "notRunning");
  EXPECT_EQ(parsedIntf()["stale"], true);
}

TEST_F(JsonView, TheRowOfALinkThatIsGoneIsStaleAndHasNoRates) {
  giveRates(first(), 1.5, 2.5, 3.5);
  first().description->operState = Interface::OperState::notPresent;
  EXPECT_EQ(parsed()["agent"]["state"], "running");
  EXPECT_EQ(parsedIntf()["stale"], true);
  EXPECT_TRUE(parsedIntf()["rates"]["inBitsRate"].is_null());
  EXPECT_EQ(parsedIntf()["counters"]["inOctets"], 0) << "what was counted stays";
}

TEST_F(JsonView, AnUnknownAgentHasNoProcess) {
  snapshot.agent = {};
  EXPECT_EQ(parsed()["agent"]["state"], "unknown");
  EXPECT_TRUE(parsed()["agent"]["pid"].is_null());
}

TEST_F(JsonView, ProblemsComeWithTheirExitCode) {
  Json const problem = parsed({{ExitCode::unknownName, "no such"}})["problems"][0];
  EXPECT_EQ(problem["exitCode"], 3);
  EXPECT_EQ(problem["text"], "no such");
}

TEST_F(JsonView, TheStatusOfATableIsThere) {
  snapshot.tables[Table::clearCounters].answer = Glim::Answer::missing;
  EXPECT_EQ(parsed()["tables"]["intfCounters"]["status"], "ok");
  EXPECT_EQ(parsed()["tables"]["intfClearCounters"]["status"], "missing");
}

TEST_F(JsonView, MalformedTextIsReplaced) {
  first().description->alias = std::string_view(
      "a\xff"
      "b");
  EXPECT_EQ(parsedIntf()["alias"],
            "a\xef\xbf\xbd"
            "b");
}

TEST_F(JsonView, OneLineIsOneLine) {
  std::string const text = jsonText(snapshot, {}, kInterfacesArray, true);
  EXPECT_EQ(text.find('\n'), text.size() - 1);
}

}  // namespace
}  // namespace Show
