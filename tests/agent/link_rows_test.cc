// Which rows go on when a link becomes an interface, and with which of its counts.
#include "tests/agent/link_sync_fixture.h"

namespace Agent {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Rows as an agent before left them.
class LinkSyncAfterAnAgent : public LinkSyncTest {
 protected:
  using RowsOf = PortLinks::RowsOf;
  explicit LinkSyncAfterAnAgent(LinkNames const& linkNames = {}) : LinkSyncTest(linkNames) {}

  void addRows(Pekt::IntfId const& id, RowsOf rows) {
    ports.rows = rows;
    Interface::EthIntfCounterGlim row;
    row.intfId = id;
    row.statistics.inOctets = 500;
    row.rates = {1.0, 2.0, 3.0, 4.0, 100.0, 50.0};
    tables.intfCounters()->counterIs(row);
    tables.intfClearCounters()->counterIs(row);
  }
  std::uint64_t octets(Pekt::IntfId const& id) {
    return tables.intfCounters()->counter(id).statistics.inOctets;
  }
  std::uint64_t clearedOctets(Pekt::IntfId const& id) {
    return tables.intfClearCounters()->counter(id).statistics.inOctets;
  }
};

TEST_F(LinkSyncAfterAnAgent, RowsOfThisVeryLinkGoOn) {
  addRows("Ethernet7", RowsOf::thisLink);
  appear(link(7, "eth0"));
  EXPECT_EQ(octets("Ethernet7"), 500u);
  EXPECT_EQ(clearedOctets("Ethernet7"), 500u);
  EXPECT_EQ(tables.intfCounters()->counter("Ethernet7").rates.lastUpdate, 100.0);
  EXPECT_THAT(ports.forgotten, IsEmpty());
}

TEST_F(LinkSyncAfterAnAgent, RowsOfAnotherLinkBeginAnew) {
  addRows("Ethernet7", RowsOf::another);
  appear(link(7, "eth0"));
  EXPECT_EQ(octets("Ethernet7"), 0u);
  EXPECT_EQ(clearedOctets("Ethernet7"), 0u);
  EXPECT_THAT(ports.forgotten, ElementsAre("Ethernet7"));
  EXPECT_TRUE(ports.reserved.contains("Ethernet7"));
}

TEST_F(LinkSyncAfterAnAgent, RowsOfNoLinkBeginAnew) {
  addRows("Ethernet7", RowsOf::nobody);
  appear(link(7, "eth0"));
  EXPECT_EQ(octets("Ethernet7"), 0u);
}

TEST_F(LinkSyncAfterAnAgent, KeptRowsOfAnotherLinkWithoutAChosenNameBeginAnew) {
  entities.ocsd->keepIntfCountersIs(true);
  addRows("Ethernet7", RowsOf::another);
  appear(link(7, "eth0"));
  EXPECT_EQ(octets("Ethernet7"), 0u);
}

class LinkSyncNamedAfterAnAgent : public LinkSyncAfterAnAgent {
 protected:
  LinkSyncNamedAfterAnAgent() : LinkSyncAfterAnAgent(LinkNames({}, {{"eth0", "Ethernet1"}})) {}
};

TEST_F(LinkSyncNamedAfterAnAgent, KeptRowsGoOnWithAnotherLinkAndTheirRatesStartAgain) {
  entities.ocsd->keepIntfCountersIs(true);
  addRows("Ethernet1", RowsOf::another);
  appear(link(7, "eth0"));
  EXPECT_EQ(octets("Ethernet1"), 500u);
  EXPECT_EQ(clearedOctets("Ethernet1"), 500u);
  EXPECT_EQ(tables.intfCounters()->counter("Ethernet1").rates, Interface::IntfRates());
}

TEST_F(LinkSyncNamedAfterAnAgent, RowsThatAreNotKeptBeginAnewWithAnotherLink) {
  addRows("Ethernet1", RowsOf::another);
  appear(link(7, "eth0"));
  EXPECT_EQ(octets("Ethernet1"), 0u);
}

TEST_F(LinkSyncNamedAfterAnAgent, KeptRowsOfNoLinkBeginAnew) {
  entities.ocsd->keepIntfCountersIs(true);
  addRows("Ethernet1", RowsOf::nobody);
  appear(link(7, "eth0"));
  EXPECT_EQ(octets("Ethernet1"), 0u);
}

TEST_F(LinkSyncNamedAfterAnAgent, ALinkThatWasAnotherInterfaceBringsNoCountsToKeptRows) {
  entities.ocsd->keepIntfCountersIs(true);
  ports.rows = RowsOf::nobody;
  appear(link(7, "lan0"));
  addRows("Ethernet1", RowsOf::another);
  rename(link(7, "eth0"), "lan0");
  EXPECT_THAT(ports.moved, ElementsAre("Ethernet1 to 7"));
  EXPECT_EQ(octets("Ethernet1"), 500u);
  EXPECT_EQ(tables.intfCounters()->counter("Ethernet1").rates, Interface::IntfRates());
}

TEST_F(LinkSyncNamedAfterAnAgent, ALinkThatReturnsToItsInterfaceBringsNoCountsOfAnother) {
  entities.ocsd->keepIntfCountersIs(true);
  appear(link(7, "eth0"));
  rename(link(7, "lan0"), "eth0");
  ports.moved.clear();
  rename(link(7, "eth0"), "lan0");
  EXPECT_THAT(ports.moved, ElementsAre("Ethernet1 to 7"));
}

TEST_F(LinkSyncNamedAfterAnAgent, KeptRowsBeginAnewWhenItCannotBeToldWhatALinkBrings) {
  entities.ocsd->keepIntfCountersIs(true);
  ports.movable = false;
  ports.rows = RowsOf::nobody;
  appear(link(7, "lan0"));
  addRows("Ethernet1", RowsOf::another);
  rename(link(7, "eth0"), "lan0");
  EXPECT_EQ(octets("Ethernet1"), 0u);
}

TEST_F(LinkSyncNamedAfterAnAgent, ALinkThatIsNewMovesFromNowhere) {
  entities.ocsd->keepIntfCountersIs(true);
  addRows("Ethernet1", RowsOf::another);
  sut.listed();
  appear(link(7, "eth0"));
  EXPECT_THAT(ports.moved, IsEmpty());
  EXPECT_EQ(octets("Ethernet1"), 500u);
}

TEST_F(LinkSyncNamedAfterAnAgent, ALinkThatWasThereBeforeTheAgentBringsNoCountsToKeptRows) {
  entities.ocsd->keepIntfCountersIs(true);
  addRows("Ethernet1", RowsOf::another);
  appear(link(7, "eth0"));
  EXPECT_THAT(ports.moved, ElementsAre("Ethernet1 to 7"));
  EXPECT_EQ(octets("Ethernet1"), 500u);
}

TEST_F(LinkSyncNamedAfterAnAgent, TheVeryLinkOfKeptRowsDoesNotMove) {
  entities.ocsd->keepIntfCountersIs(true);
  addRows("Ethernet1", RowsOf::thisLink);
  appear(link(7, "eth0"));
  EXPECT_THAT(ports.moved, IsEmpty());
}

TEST_F(LinkSyncNamedAfterAnAgent, ALinkThatWaitedForTheInterfaceBringsNoCountsToKeptRows) {
  entities.ocsd->keepIntfCountersIs(true);
  sut.listed();
  appear(link(7, "eth0"));
  testing::internal::CaptureStderr();
  appear(link(9, "eth0"));
  testing::internal::GetCapturedStderr();
  addRows("Ethernet1", RowsOf::another);
  vanish(link(7, "eth0"));
  EXPECT_THAT(ports.moved, ElementsAre("Ethernet1 to 9"));
}

}  // namespace
}  // namespace Agent
