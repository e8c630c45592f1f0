#include "agent/link_sync.h"

#include "tests/agent/served_interfaces.h"

namespace Agent {
namespace {

using Hardware::Linux::Link;
using Hardware::Linux::LinkEvent;
using Interface::OperState;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class RecordedPorts : public PortLinks {
 public:
  explicit RecordedPorts(Support::CallLog& log) : _log(log) {}
  void linkIs(Pekt::IntfId const& id, Link const& link) override {
    _log("port", id, "is link", link.ifindex);
  }
  void linkDel(Pekt::IntfId const& id) override { _log("port", id, "has no link"); }
  RowsOf rowsOf(Pekt::IntfId const&, Link const&) override { return rows; }
  bool reserve(Pekt::IntfId const& id, Link const&) override {
    if (room) reserved.insert(id);
    return room;
  }
  bool moveTo(Pekt::IntfId const& id, Link const& link) override {
    moved.push_back(std::string(id.view()) + " to " + std::to_string(link.ifindex));
    return movable;
  }
  void forget(Pekt::IntfId const& id) override {
    reserved.erase(id);
    forgotten.push_back(id);
  }

  RowsOf rows = RowsOf::thisLink;
  bool room = true;
  bool movable = true;
  std::vector<std::string> moved;
  std::set<Pekt::IntfId> reserved;
  std::vector<Pekt::IntfId> forgotten;

 private:
  Support::CallLog& _log;
};

class LinkSyncTest : public ServedInterfaces {
 protected:
  explicit LinkSyncTest(LinkNames const& linkNames = {}) : names(linkNames) {}

  static Link link(int ifindex, std::string const& name) {
    Link link;
    link.ifindex = ifindex;
    link.name = name;
    link.alias = "to the core";
    link.adminUp = true;
    link.operState = OperState::up;
    link.speed = 10'000'000'000;
    link.txQueues = 64;
    return link;
  }
  void appear(Link const& link) { sut.handle({LinkEvent::Type::appeared, link, {}}); }
  void vanish(Link const& link) { sut.handle({LinkEvent::Type::vanished, link, {}}); }
  void rename(Link const& link, std::string const& oldName) {
    sut.handle({LinkEvent::Type::renamed, link, oldName});
  }
  void change(Link const& link) { sut.handle({LinkEvent::Type::changed, link, {}}); }
  bool served(Pekt::IntfId const& id) const { return entities.ocsd->intf(id); }
  std::size_t servedInAll() const { return entities.ocsd->intf().size(); }

  LinkNames const names;
  RecordedPorts ports{log};
  LinkSync sut{names, interfaces, ports};
};

TEST_F(LinkSyncTest, ALinkThatAppearsIsKnownToTheChipBeforeItIsServed) {
  appear(link(7, "eth0"));
  EXPECT_THAT(log.calls(), ElementsAre("port Ethernet7 is link 7", "status Ethernet7 there",
                                       "config Ethernet7 there", "intf Ethernet7 served"));
}

TEST_F(LinkSyncTest, ALinkThatVanishesIsForgottenByTheChipLast) {
  appear(link(7, "eth0"));
  log.clear();
  vanish(link(7, "eth0"));
  EXPECT_THAT(log.calls(), ElementsAre("intf Ethernet7 gone", "config Ethernet7 gone",
                                       "status Ethernet7 gone", "port Ethernet7 has no link"));
  EXPECT_FALSE(isDescribed("Ethernet7"));
}

TEST_F(LinkSyncTest, ALinkIsDescribed) {
  appear(link(7, "eth0"));
  auto const row = described("Ethernet7");
  EXPECT_EQ(row.kernelName.view(), "eth0");
  EXPECT_EQ(row.alias.view(), "to the core");
  EXPECT_EQ(row.ifIndex, 7u);
  EXPECT_EQ(row.txQueues, 64u);
  EXPECT_EQ(row.speed, 10'000'000'000u);
  EXPECT_EQ(row.adminState, Interface::AdminState::up);
  EXPECT_EQ(row.operState, OperState::up);
}

TEST_F(LinkSyncTest, ARenameChangesTheKernelNameAndTheInterfaceStays) {
  appear(link(7, "eth0"));
  log.clear();
  rename(link(7, "lan0"), "eth0");
  EXPECT_THAT(log.calls(), ElementsAre("port Ethernet7 is link 7"));
  EXPECT_EQ(described("Ethernet7").kernelName.view(), "lan0");
}

TEST_F(LinkSyncTest, AChangeReachesTheDescription) {
  appear(link(7, "eth0"));
  Link down = link(7, "eth0");
  down.adminUp = false;
  down.operState = OperState::down;
  down.speed.reset();
  change(down);
  auto const row = described("Ethernet7");
  EXPECT_EQ(row.adminState, Interface::AdminState::down);
  EXPECT_EQ(row.operState, OperState::down);
  EXPECT_EQ(row.speed, 0u);
}

TEST_F(LinkSyncTest, ALinkThatWasNeverToldMayVanish) {
  vanish(link(7, "eth0"));
  EXPECT_THAT(log.calls(), IsEmpty());
}

TEST_F(LinkSyncTest, NewsOfALinkThatWasNeverToldMakesItAppear) {
  change(link(7, "eth0"));
  EXPECT_TRUE(served("Ethernet7"));
}

class LinkSyncWithPatterns : public LinkSyncTest {
 protected:
  LinkSyncWithPatterns() : LinkSyncTest(LinkNames({"eth*"}, {})) {}
};

TEST_F(LinkSyncWithPatterns, OtherLinksAreNotServed) {
  appear(link(8, "swp1"));
  EXPECT_THAT(log.calls(), IsEmpty());
}

TEST_F(LinkSyncWithPatterns, ARenameOutOfThePatternsEndsTheInterface) {
  appear(link(7, "eth0"));
  rename(link(7, "lan0"), "eth0");
  EXPECT_FALSE(served("Ethernet7"));
  EXPECT_FALSE(isDescribed("Ethernet7"));
}

TEST_F(LinkSyncWithPatterns, ARenameIntoThePatternsBeginsOne) {
  appear(link(7, "lan0"));
  rename(link(7, "eth0"), "lan0");
  EXPECT_TRUE(served("Ethernet7"));
}

class LinkSyncWithNames : public LinkSyncTest {
 protected:
  LinkSyncWithNames()
      : LinkSyncTest(LinkNames({}, {{"eth0", "Ethernet1"}, {"eth1", "Ethernet2"}})) {}
};

TEST_F(LinkSyncWithNames, ALinkIsServedUnderItsConfiguredName) {
  appear(link(7, "eth0"));
  EXPECT_TRUE(served("Ethernet1"));
  EXPECT_EQ(servedInAll(), 1u);
}

TEST_F(LinkSyncWithNames, ALinkThatIsRenamedToAConfiguredNameBecomesThatInterface) {
  appear(link(7, "rename7"));
  log.clear();
  rename(link(7, "eth0"), "rename7");
  EXPECT_THAT(log.calls(), ElementsAre("intf Ethernet7 gone", "config Ethernet7 gone",
                                       "status Ethernet7 gone", "port Ethernet7 has no link",
                                       "port Ethernet1 is link 7", "status Ethernet1 there",
                                       "config Ethernet1 there", "intf Ethernet1 served"));
}

TEST_F(LinkSyncWithNames, TwoLinksMaySwapTheirNames) {
  appear(link(7, "eth0"));
  appear(link(8, "eth1"));
  rename(link(7, "spare"), "eth0");
  rename(link(8, "eth0"), "eth1");
  rename(link(7, "eth1"), "spare");
  EXPECT_EQ(described("Ethernet1").ifIndex, 8u);
  EXPECT_EQ(described("Ethernet2").ifIndex, 7u);
  EXPECT_EQ(servedInAll(), 2u);
}

TEST_F(LinkSyncWithNames, AnotherLinkOfThatNameTakesTheInterfaceOver) {
  appear(link(7, "eth0"));
  vanish(link(7, "eth0"));
  log.clear();
  appear(link(9, "eth0"));
  EXPECT_THAT(log.calls(), ElementsAre("port Ethernet1 is link 9", "status Ethernet1 there",
                                       "config Ethernet1 there", "intf Ethernet1 served"));
}

TEST_F(LinkSyncWithNames, ALinkWaitsForTheInterfaceThatAnotherStillHas) {
  appear(link(7, "eth0"));
  ::testing::internal::CaptureStderr();
  appear(link(9, "eth0"));  // its news came before that of the other one's end
  EXPECT_THAT(::testing::internal::GetCapturedStderr(),
              HasSubstr("link eth0 is not counted while link eth0 is Ethernet1"));
  EXPECT_EQ(described("Ethernet1").ifIndex, 7u);
  vanish(link(7, "eth0"));
  EXPECT_TRUE(served("Ethernet1"));
  EXPECT_EQ(described("Ethernet1").ifIndex, 9u);
}

TEST_F(LinkSyncWithNames, ALinkWhoseIndexIsAGivenNameIsNotCountedAndThatIsToldOnce) {
  ::testing::internal::CaptureStderr();
  appear(link(2, "wan"));
  change(link(2, "wan"));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "oru-agentd: link wan is not counted: the configuration gives Ethernet2 to another "
            "link; give this one a name too\n");
  EXPECT_EQ(servedInAll(), 0u);
}

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

TEST_F(LinkSyncTest, ALinkWithoutRoomForItsOffsetsIsRefusedUntilThereIs) {
  ports.room = false;
  appear(link(7, "eth0"));
  EXPECT_FALSE(served("Ethernet7"));
  EXPECT_FALSE(isDescribed("Ethernet7"));
  EXPECT_THAT(interfaces.withoutRoom(), ElementsAre("Ethernet7"));
  ports.room = true;
  sut.serveRefused();
  EXPECT_TRUE(served("Ethernet7"));
}

TEST_F(LinkSyncTest, ALinkWithoutRoomForItsRowsKeepsNoOffsets) {
  ports.rows = PortLinks::RowsOf::nobody;
  fill(tables.intfClearCounters());
  appear(link(7, "eth0"));
  EXPECT_FALSE(served("Ethernet7"));
  EXPECT_THAT(ports.reserved, IsEmpty());
  tables.intfClearCounters()->remove("Ethernet1000");
  sut.serveRefused();
  EXPECT_TRUE(served("Ethernet7"));
  EXPECT_TRUE(ports.reserved.contains("Ethernet7"));
}

}  // namespace
}  // namespace Agent
