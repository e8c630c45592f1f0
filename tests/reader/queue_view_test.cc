#include "reader/queue_view.h"

#include <gmock/gmock.h>

#include <cstdlib>

#include "reader/text_table.h"
#include "tests/reader/made_up.h"

namespace Show {
namespace {

using Interface::QueueCounter::QueueIndex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class QueuesView : public testing::Test {
 protected:
  QueuesView() { ::setenv("TZ", "UTC", 1); }  // times of clears are local

  Intf& first() { return snapshot.interfaces[0]; }
  Intf& second() { return snapshot.interfaces[1]; }
  std::string view(std::size_t width = kUnlimited, Basis basis = Basis::total) const {
    return "\n" + plain(queuesView(snapshot, basis, width));
  }
  Snapshot snapshot = Show::snapshot(
      {intf("Ethernet1", "eth0"), intf("Ethernet2", "wan0", Interface::OperState::down)});
};

TEST_F(QueuesView, AQueueIsALineAndAllTogetherAreOne) {
  first().queues = queueRow(first(), 2);
  first().queues->statistics[QueueIndex(1)].queueType = OruTypes::QueueType::multicast;
  second().queues = queueRow(second(), 1);
  second().queues->intfCounts.octets = 18446744073709551615u;
  EXPECT_EQ(view(), R"(
Interface  Device  Queue  Type       Packets                Octets  Dropped packets  Dropped octets    Age
Ethernet1  eth0        0  unicast        100                  6400                0               0  0.4 s
Ethernet1  eth0        1  multicast      101                  6464                1              64  0.4 s
Ethernet1  eth0      all  all            201                 12864                1              64  0.4 s
Ethernet2  wan0        0  unicast        100                  6400                0               0  0.4 s
Ethernet2  wan0      all  all            100  18446744073709551615                0               0  0.4 s
)");
}

TEST_F(QueuesView, WhereTheChipDoesNotCountThemTogetherThereIsNoLineOfThat) {
  snapshot.interfaces.resize(1);
  first().queues = queueRow(first(), 1);
  first().description->unsupportedQueue = Interface::kNoQueuesTogether;
  EXPECT_EQ(view(), R"(
Interface  Device  Queue  Type     Packets  Octets  Dropped packets  Dropped octets    Age
Ethernet1  eth0        0  unicast      100    6400                0               0  0.4 s
)");
}

TEST_F(QueuesView, WhatTheChipCannotCountIsNotAvailable) {
  first().queues = queueRow(first(), 1);
  first().description->unsupportedQueue = 0x08 | 0x10;  // dropOctets; pkts of all
  second().queues = queueRow(second(), 1);
  second().description->unsupportedQueue = Interface::kNoSingleQueues;
  EXPECT_EQ(view(), R"(
Interface  Device  Queue  Type     Packets  Octets  Dropped packets  Dropped octets    Age
Ethernet1  eth0        0  unicast      100    6400                0             n/a  0.4 s
Ethernet1  eth0      all  all          n/a    6400                0               0  0.4 s
Ethernet2  wan0        0  unicast      n/a     n/a              n/a             n/a  0.4 s
Ethernet2  wan0      all  all          100    6400                0               0  0.4 s
)");
}

TEST_F(QueuesView, AnIntfWithoutQueuesSaysSo) {
  second().queues = queueRow(second(), 0);
  second().description->unsupportedQueue = Interface::kNoQueuesTogether;
  EXPECT_EQ(view(), R"(
Interface  Device  Queue  Type  Packets  Octets  Dropped packets  Dropped octets    Age
Ethernet1  eth0     none  n/a       n/a     n/a              n/a             n/a    n/a
Ethernet2  wan0     none  n/a       n/a     n/a              n/a             n/a  0.4 s
)");
}

TEST_F(QueuesView, ARowWithoutQueuesMayHaveTheCountsOfAll) {
  snapshot.interfaces.resize(1);
  first().queues = queueRow(first(), 0);
  first().queues->intfCounts.pkts = 9;
  EXPECT_THAT(view(), HasSubstr("Ethernet1  eth0      all  all         9"));
  EXPECT_THAT(view(), Not(HasSubstr("none")));
}

TEST_F(QueuesView, MoreQueuesThanLinesAreTold) {
  first().queues = queueRow(first(), 17);
  first().description->txQueues = 64;
  second().queues = queueRow(second(), 17);
  second().description->txQueues = 17;
  std::string const text = view();
  EXPECT_THAT(text, HasSubstr("Ethernet1  eth0       15  unicast"));
  EXPECT_THAT(text, HasSubstr("Ethernet1  eth0      16+  unicast"));
  EXPECT_THAT(text, HasSubstr("Ethernet2  wan0       16  unicast"));
  EXPECT_THAT(text, EndsWith("\nEthernet1 has 64 queues; 16+ is the sum of queues 16 to 63\n"));
}

TEST_F(QueuesView, ATypeThatIsNoneIsNotAvailable) {
  first().queues = queueRow(first(), 1);
  first().queues->statistics[QueueIndex(0)].queueType = static_cast<OruTypes::QueueType>(7);
  EXPECT_THAT(view(), HasSubstr("Ethernet1  eth0        0  n/a "));
}

TEST_F(QueuesView, RowsOfADeadAgentAreStale) {
  first().queues = queueRow(first(), 1);
  killAgent(snapshot);
  snapshot.now += 11.6;
  EXPECT_THAT(view(), HasSubstr("  stale 12 s\n"));
  EXPECT_THAT(view(), HasSubstr("  100    6400 "));
}

TEST_F(QueuesView, TheQueuesOfALinkThatIsGoneAreStale) {
  first().queues = queueRow(first(), 1);
  first().description->operState = Interface::OperState::notPresent;
  EXPECT_THAT(view(), HasSubstr("  stale 0.4 s\n"));
}

TEST_F(QueuesView, BeforeTheFirstSampleTheAgeIsNever) {
  snapshot.interfaces.resize(1);
  first().queues = queueRow(first(), 1);
  first().counters->statistics.lastUpdate = 0.0;
  EXPECT_THAT(view(), HasSubstr("Ethernet1  eth0        0  unicast      n/a     n/a"));
  EXPECT_THAT(view(), EndsWith("  never\n"));
}

TEST_F(QueuesView, WithoutTheIntfsRowTheAgeIsNotAvailable) {
  snapshot.interfaces.resize(1);
  first().queues = queueRow(first(), 1);
  first().counters.reset();
  EXPECT_THAT(view(), HasSubstr("  100    6400 "));
  EXPECT_THAT(view(), EndsWith("  n/a\n"));
}

TEST_F(QueuesView, CountsSinceTheClearTellTheClearOfEachIntf) {
  first().queues = queueRow(first(), 1);
  first().queuesAtLastClear = first().queues;
  first().atLastClear = first().counters;
  first().queues->statistics[QueueIndex(0)].counts.dropPkts += 3;
  second().queues = queueRow(second(), 1);
  second().queuesAtLastClear.emplace();
  EXPECT_EQ(view(kUnlimited, Basis::sinceClear), R"(
Interface  Device  Queue  Type     Packets  Octets  Dropped packets  Dropped octets    Age   Cleared
Ethernet1  eth0        0  unicast        0       0                3               0  0.4 s  13:46:39
Ethernet1  eth0      all  all            0       0                0               0  0.4 s  13:46:39
Ethernet2  wan0        0  unicast      100    6400                0               0  0.4 s     never
Ethernet2  wan0      all  all          100    6400                0               0  0.4 s     never
)");
  EXPECT_THAT(view(), HasSubstr("  100    6400                3 "));
}

TEST_F(QueuesView, ANarrowTerminalKeepsThePacketsThatWereSentAndDropped) {
  first().queues = queueRow(first(), 1);
  first().queues->intfCounts.octets = first().queues->intfCounts.dropOctets = 18446744073709551615u;
  EXPECT_EQ(view(80), R"(
Interface  Device  Queue  Packets                Octets  Dropped packets    Age
Ethernet1  eth0        0      100                  6400                0  0.4 s
Ethernet1  eth0      all      100  18446744073709551615                0  0.4 s
Ethernet2  wan0     none      n/a                   n/a              n/a    n/a
2 columns hidden: the terminal is too narrow
)");
  EXPECT_EQ(view(45), R"(
Interface  Queue  Packets  Dropped packets
Ethernet1      0      100                0
Ethernet1    all      100                0
Ethernet2   none      n/a              n/a
5 columns hidden: the terminal is too narrow
)");
}

TEST_F(QueuesView, QueuesOfALinkThatIsDownAreDim) {
  first().queues = queueRow(first(), 1);
  second().queues = queueRow(second(), 1);
  auto const lines = queuesView(snapshot, Basis::total, kUnlimited);
  EXPECT_EQ(lines[1][0].style, Style::plain);
  EXPECT_EQ(lines[3][0].style, Style::dim);
}

}  // namespace
}  // namespace Show
