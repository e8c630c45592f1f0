// Which links are which interfaces, and when.
#include "tests/agent/link_sync_fixture.h"

namespace Agent {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

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
