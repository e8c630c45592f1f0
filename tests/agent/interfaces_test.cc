#include "agent/interfaces.h"

#include "tests/agent/served_interfaces.h"

namespace Agent {
namespace {

using Interface::IntfDescription;
using Interface::OperState;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class InterfacesTest : public ServedInterfaces {
 protected:
  Interfaces& sut = interfaces;
};

TEST_F(InterfacesTest, ANewInterfaceHasStatusAndConfigurationBeforeItIsServed) {
  EXPECT_TRUE(sut.interfaceIs(description("Ethernet7")));
  EXPECT_THAT(log.calls(), ElementsAre("status Ethernet7 there", "config Ethernet7 there",
                                       "intf Ethernet7 served"));
}

TEST_F(InterfacesTest, AnInterfaceThatGoesIsNoLongerServedBeforeItsEntitiesGo) {
  sut.interfaceIs(description("Ethernet7"));
  log.clear();
  sut.interfaceDel("Ethernet7");
  EXPECT_THAT(log.calls(),
              ElementsAre("intf Ethernet7 gone", "config Ethernet7 gone", "status Ethernet7 gone"));
}

TEST_F(InterfacesTest, NewsOfAServedInterfaceTellsNobodyOfAnotherInterface) {
  sut.interfaceIs(description("Ethernet7"));
  log.clear();
  sut.interfaceIs(description("Ethernet7", OperState::down));
  EXPECT_THAT(log.calls(), IsEmpty());
}

// A second handling of the same interface would be an error of the library's.
TEST_F(InterfacesTest, NewsOfAServedInterfaceIsNoneForTheLibrary) {
  sut.interfaceIs(description("Ethernet7"));
  log.clear();
  auto news = description("Ethernet7", OperState::down);
  news.speed = 10'000'000;
  news.alias = std::string_view("to the core");
  news.kernelName = std::string_view("lan0");
  news.adminState = Interface::AdminState::down;
  news.txQueues = 8;
  sut.interfaceIs(news);
  sut.unsupportedIs("Ethernet7", Interface::CounterSet::fromWord(5));
  sut.unsupportedQueueIs("Ethernet7", 0xff);
  EXPECT_THAT(log.calls(), IsEmpty());
  EXPECT_EQ(described("Ethernet7").speed, 10'000'000u);
  EXPECT_EQ(described("Ethernet7").txQueues, 8u);
}

TEST_F(InterfacesTest, NewsReachesTheStatusAndTheDescription) {
  sut.interfaceIs(description("Ethernet7"));
  auto const status = entities.statusDir->intfStatus("Ethernet7");
  sut.interfaceIs(description("Ethernet7", OperState::down));
  EXPECT_EQ(status, entities.statusDir->intfStatus("Ethernet7"));
  EXPECT_EQ(status->operState(), OperState::down);
  EXPECT_EQ(status->speed(), 1'000'000'000u);
  EXPECT_EQ(described("Ethernet7").operState, OperState::down);
  EXPECT_EQ(described("Ethernet7").kernelName.view(), "eth7");
}

TEST_F(InterfacesTest, TheDescriptionGoesWithTheInterface) {
  sut.interfaceIs(description("Ethernet7"));
  sut.interfaceDel("Ethernet7");
  EXPECT_FALSE(isDescribed("Ethernet7"));
}

TEST_F(InterfacesTest, NoFlagIsLeftBehindOfAnInterfaceThatWent) {
  sut.interfaceIs(description("Ethernet7"));
  entities.aclDropConfig->intfIs("Ethernet7", false);  // what the library leaves
  sut.interfaceDel("Ethernet7");
  EXPECT_THAT(entities.aclDropConfig->intf(), IsEmpty());
}

TEST_F(InterfacesTest, NewsIsTakenOnce) {
  sut.interfaceIs(description("Ethernet7"));
  sut.interfaceIs(description("Ethernet8"));
  sut.interfaceIs(description("Ethernet7", OperState::down));
  sut.interfaceDel("Ethernet8");
  EXPECT_THAT(sut.takeNews(), ElementsAre("Ethernet7"));
  EXPECT_THAT(sut.takeNews(), IsEmpty());
}

TEST_F(InterfacesTest, RowsThatAnAgentBeforeLeftOfOtherInterfacesAreRemoved) {
  addRow("Ethernet3");
  addRow("Ethernet7");
  tables.intfDescriptions()->descriptionIs(description("Ethernet3"));
  sut.interfaceIs(description("Ethernet7"));
  sut.removeLeftovers();
  EXPECT_FALSE(tables.intfCounters()->contains("Ethernet3"));
  EXPECT_FALSE(tables.intfClearCounters()->contains("Ethernet3"));
  EXPECT_FALSE(isDescribed("Ethernet3"));
  EXPECT_TRUE(tables.intfCounters()->contains("Ethernet7"));
  EXPECT_TRUE(tables.intfClearCounters()->contains("Ethernet7"));
  EXPECT_TRUE(isDescribed("Ethernet7"));
}

TEST_F(InterfacesTest, AnInterfaceHasItsRowsBeforeItIsServed) {
  EXPECT_TRUE(sut.interfaceIs(description("Ethernet7")));
  EXPECT_TRUE(tables.intfCounters()->contains("Ethernet7"));
  EXPECT_TRUE(tables.intfClearCounters()->contains("Ethernet7"));
}

TEST_F(InterfacesTest, AnInterfaceWithoutRoomInOneTableHasARowInNone) {
  auto const refused = [&](auto const& full) {
    fill(full);
    EXPECT_FALSE(sut.interfaceIs(description("Ethernet7")));
    EXPECT_FALSE(isDescribed("Ethernet7"));
    EXPECT_FALSE(tables.intfCounters()->contains("Ethernet7"));
    EXPECT_FALSE(tables.intfClearCounters()->contains("Ethernet7"));
    EXPECT_THAT(log.calls(), IsEmpty());
    EXPECT_THAT(sut.withoutRoom(), ElementsAre("Ethernet7"));
    full->remove("Ethernet1000");
    sut.forgetWithoutRoom();
    EXPECT_TRUE(sut.interfaceIs(description("Ethernet7")));
    EXPECT_THAT(sut.withoutRoom(), IsEmpty());
    sut.interfaceDel("Ethernet7");
    sut.dropAllRows();
    log.clear();
  };
  refused(tables.intfDescriptions());
  refused(tables.intfCounters());
  refused(tables.intfClearCounters());
}

TEST_F(InterfacesTest, AnInterfaceWithoutRoomForARowOfTheLibraryHasARowInNone) {
  sut.removeLeftovers();
  auto const refused = [&](auto const& full) {
    fill(full);
    EXPECT_FALSE(sut.interfaceIs(description("Ethernet7")));
    EXPECT_FALSE(isDescribed("Ethernet7"));
    EXPECT_FALSE(tables.intfCounters()->contains("Ethernet7"));
    EXPECT_FALSE(tables.intfClearCounters()->contains("Ethernet7"));
    EXPECT_EQ(rowsOfLibrary("Ethernet7"), 0);
    EXPECT_THAT(log.calls(), IsEmpty());
    EXPECT_THAT(sut.withoutRoom(), ElementsAre("Ethernet7"));
    full->remove("Ethernet1000");
    sut.forgetWithoutRoom();
    EXPECT_TRUE(sut.interfaceIs(description("Ethernet7")));
    sut.interfaceDel("Ethernet7");
    sut.dropAllRows();
    log.clear();
  };
  refused(tables.intfQueueCounters());
  refused(tables.intfClearQueueCounters());
  refused(tables.aclDropCounters());
}

TEST_F(InterfacesTest, TheLibraryFindsNoRowsOfItsOwnWhenItIsToldOfANewInterface) {
  sut.removeLeftovers();
  sut.interfaceIs(description("Ethernet7"));
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 0);
}

TEST_F(InterfacesTest, BeforeTheLibraryRunsItsRoomIsKeptForIt) {
  fill(tables.intfQueueCounters(), 1);
  EXPECT_TRUE(sut.interfaceIs(description("Ethernet7")));
  EXPECT_FALSE(sut.interfaceIs(description("Ethernet8")));
  sut.removeLeftovers();
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 0);
  EXPECT_LT(tables.intfQueueCounters()->members(), kRoom);
}

TEST_F(InterfacesTest, RowsOfTheLibraryGoWithTheInterface) {
  sut.removeLeftovers();
  sut.interfaceIs(description("Ethernet7"));
  addRowsOfLibrary("Ethernet7");
  sut.interfaceDel("Ethernet7");
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 0);
}

TEST_F(InterfacesTest, RowsOfTheLibraryThatAnAgentBeforeLeftOfOthersAreRemoved) {
  addRowsOfLibrary("Ethernet3");
  sut.removeLeftovers();
  EXPECT_EQ(rowsOfLibrary("Ethernet3"), 0);
}

TEST_F(InterfacesTest, RowsOfTheLibraryAreDroppedWithTheOthers) {
  addRowsOfLibrary("Ethernet3");
  addRowsOfLibrary("Ethernet4");
  sut.dropRows("Ethernet3");
  EXPECT_EQ(rowsOfLibrary("Ethernet3"), 0);
  EXPECT_EQ(rowsOfLibrary("Ethernet4"), 3);
  sut.dropAllRows();
  EXPECT_EQ(rowsOfLibrary("Ethernet4"), 0);
}

TEST_F(InterfacesTest, ServedInterfacesStayWhenThereIsNoRoomForAnother) {
  sut.interfaceIs(description("Ethernet7"));
  fill(tables.intfCounters());
  EXPECT_FALSE(sut.interfaceIs(description("Ethernet8")));
  EXPECT_TRUE(sut.interfaceIs(description("Ethernet7", OperState::down)));
  EXPECT_EQ(described("Ethernet7").operState, OperState::down);
}

class InterfacesKept : public InterfacesTest {
 protected:
  InterfacesKept() { entities.ocsd->keepIntfCountersIs(true); }
};

TEST_F(InterfacesKept, TheStatusStaysAndSaysThatTheInterfaceIsNotPresent) {
  sut.interfaceIs(description("Ethernet7"));
  auto const status = entities.statusDir->intfStatus("Ethernet7");
  sut.interfaceDel("Ethernet7");
  EXPECT_EQ(entities.statusDir->intfStatus("Ethernet7"), status);
  EXPECT_EQ(status->operState(), OperState::notPresent);
  EXPECT_EQ(described("Ethernet7").operState, OperState::notPresent);
  EXPECT_EQ(described("Ethernet7").adminState, Interface::AdminState::unknown);
  EXPECT_FALSE(entities.configDir->intfConfig("Ethernet7"));
  EXPECT_FALSE(entities.ocsd->intf("Ethernet7"));
}

TEST_F(InterfacesKept, AnInterfaceThatComesBackHasItsStatusFirst) {
  // Rows are kept while there is a status: none may be missing at any of these notifications.
  sut.interfaceIs(description("Ethernet7"));
  sut.interfaceDel("Ethernet7");
  log.clear();
  sut.interfaceIs(description("Ethernet7"));
  EXPECT_THAT(log.calls(), ElementsAre("config Ethernet7 there", "intf Ethernet7 served"));
  EXPECT_EQ(described("Ethernet7").operState, OperState::up);
}

TEST_F(InterfacesKept, RowsThatAnAgentBeforeLeftStayAndAreNotPresent) {
  addRow("Ethernet3");
  tables.intfDescriptions()->descriptionIs(description("Ethernet3"));
  sut.removeLeftovers();
  EXPECT_TRUE(tables.intfCounters()->contains("Ethernet3"));
  EXPECT_EQ(described("Ethernet3").operState, OperState::notPresent);
}

TEST_F(InterfacesKept, RowsOfTheLibraryStay) {
  addRowsOfLibrary("Ethernet3");
  sut.interfaceIs(description("Ethernet7"));
  sut.removeLeftovers();
  addRowsOfLibrary("Ethernet7");
  sut.interfaceDel("Ethernet7");
  EXPECT_EQ(rowsOfLibrary("Ethernet3"), 3);
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 3);
}

}  // namespace
}  // namespace Agent
