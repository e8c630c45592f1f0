#include "reader/queue_json.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "reader/json_view.h"
#include "reader/problems.h"
#include "tests/reader/made_up.h"

namespace Show {
namespace {

using Json = nlohmann::ordered_json;
using Interface::QueueCounter::QueueIndex;
using testing::ElementsAre;

std::vector<std::string> keys(Json const& object) {
  std::vector<std::string> all;
  for (auto const& item : object.items()) all.push_back(item.key());
  return all;
}

class QueueJson : public testing::Test {
 protected:
  QueueJson() { intf().queues = queueRow(intf(), 2); }
  Intf& intf() { return snapshot.interfaces[0]; }
  Json whole(Json (*toJson)(Snapshot const&) = queuesJson) const {
    return Json::parse(jsonText(snapshot, {}, {"interfaces", toJson}, true));
  }
  Json parsed() const { return whole()["interfaces"][0]; }
  Json drops() const { return whole(dropsJson)["interfaces"][0]; }

  Snapshot snapshot = Show::snapshot({Show::intf("Ethernet1", "eth0")});
};

TEST_F(QueueJson, TheKeysAreStable) {
  snapshot.tables[Table::queueCounters] = {.answer = Glim::Answer::ok};
  snapshot.tables[Table::clearQueueCounters] = {.answer = Glim::Answer::missing};
  Json const all = whole();
  EXPECT_THAT(keys(all), ElementsAre("format", "time", "directory", "agent", "tables", "problems",
                                     "interfaces"));
  EXPECT_EQ(all["format"], 1);
  EXPECT_THAT(keys(all["tables"]),
              ElementsAre("intfCounters", "intfClearCounters", "intfDescriptions",
                          "intfQueueCounters", "intfClearQueueCounters"));
  EXPECT_EQ(all["tables"]["intfClearQueueCounters"]["status"], "missing");
  EXPECT_THAT(keys(parsed()), ElementsAre("name", "kernelName", "ifIndex", "alias", "adminState",
                                          "operState", "speed", "lastChange", "stale", "lastUpdate",
                                          "age", "cleared", "txQueues", "queues", "allQueues"));
  EXPECT_THAT(keys(parsed()["queues"][0]),
              ElementsAre("queue", "lastQueue", "type", "counters", "sinceClear"));
  EXPECT_THAT(keys(parsed()["queues"][0]["counters"]),
              ElementsAre("pkts", "octets", "dropPkts", "dropOctets"));
  EXPECT_THAT(keys(parsed()["allQueues"]), ElementsAre("counters", "sinceClear"));
}

TEST_F(QueueJson, CountsAreExactIntegers) {
  intf().queues->statistics[QueueIndex(1)].counts.octets = 18446744073709551615u;
  intf().queues->intfCounts.dropPkts = 18446744073709551614u;
  EXPECT_EQ(parsed()["queues"][1]["counters"]["octets"].get<std::uint64_t>(),
            18446744073709551615u);
  EXPECT_EQ(parsed()["allQueues"]["counters"]["dropPkts"].get<std::uint64_t>(),
            18446744073709551614u);
}

TEST_F(QueueJson, CountsAreThereAsPublishedAndSinceTheClear) {
  intf().atLastClear = intf().counters;
  intf().queuesAtLastClear = intf().queues;
  intf().queues->statistics[QueueIndex(0)].counts.pkts += 3;
  Json const json = parsed();
  EXPECT_EQ(json["queues"][0]["counters"]["pkts"], 103);
  EXPECT_EQ(json["queues"][0]["sinceClear"]["pkts"], 3);
  EXPECT_EQ(json["allQueues"]["counters"]["pkts"], 201);
  EXPECT_EQ(json["allQueues"]["sinceClear"]["pkts"], 0);
  EXPECT_DOUBLE_EQ(json["cleared"].get<double>(), kNow - 0.4);
}

TEST_F(QueueJson, WhatTheChipCannotCountIsNull) {
  intf().description->unsupportedQueue = 0x01 | 0x80;
  Json const json = parsed();
  EXPECT_TRUE(json["queues"][0]["counters"]["pkts"].is_null());
  EXPECT_TRUE(json["queues"][0]["sinceClear"]["pkts"].is_null());
  EXPECT_EQ(json["queues"][0]["counters"]["dropOctets"], 0);
  EXPECT_TRUE(json["allQueues"]["counters"]["dropOctets"].is_null());
  EXPECT_EQ(json["allQueues"]["counters"]["pkts"], 201);
}

TEST_F(QueueJson, WithoutARowTheQueuesAreNull) {
  intf().queues.reset();
  EXPECT_TRUE(parsed()["queues"].is_null());
  EXPECT_TRUE(parsed()["allQueues"]["counters"]["pkts"].is_null());
  EXPECT_TRUE(parsed()["cleared"].is_null());
  intf().queues = queueRow(intf(), 0);
  EXPECT_EQ(parsed()["queues"], Json::array());
}

TEST_F(QueueJson, ASumNamesItsLastQueue) {
  intf().queues = queueRow(intf(), 17);
  intf().description->txQueues = 64;
  Json const json = parsed();
  EXPECT_EQ(json["txQueues"], 64);
  EXPECT_EQ(json["queues"][15]["lastQueue"], 15);
  EXPECT_EQ(json["queues"][16]["queue"], 16);
  EXPECT_EQ(json["queues"][16]["lastQueue"], 63);
}

TEST_F(QueueJson, TypesAreNames) {
  intf().queues->statistics[QueueIndex(0)].queueType = OruTypes::QueueType::multicast;
  intf().queues->statistics[QueueIndex(1)].queueType = static_cast<OruTypes::QueueType>(7);
  EXPECT_EQ(parsed()["queues"][0]["type"], "multicast");
  EXPECT_TRUE(parsed()["queues"][1]["type"].is_null());
}

TEST_F(QueueJson, AnUnknownNumberOfTransmitQueuesIsNull) {
  EXPECT_TRUE(parsed()["txQueues"].is_null());
  intf().description.reset();
  EXPECT_TRUE(parsed()["txQueues"].is_null());
}

TEST_F(QueueJson, DropsAreOneNumberWithoutATime) {
  intf().drops = {intf().intfId, 18446744073709551615u};
  EXPECT_THAT(keys(drops()),
              ElementsAre("name", "kernelName", "ifIndex", "alias", "adminState", "operState",
                          "speed", "lastChange", "stale", "aclDropPkts"));
  EXPECT_EQ(drops()["aclDropPkts"].get<std::uint64_t>(), 18446744073709551615u);
  EXPECT_EQ(drops()["stale"], false);
  killAgent(snapshot);
  EXPECT_EQ(drops()["stale"], true);
}

TEST_F(QueueJson, DropsThatAreNotCountedAreNull) { EXPECT_TRUE(drops()["aclDropPkts"].is_null()); }

}  // namespace
}  // namespace Show
