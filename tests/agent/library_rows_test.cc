#include "agent/library_rows.h"

#include "platform/dov/exception.h"
#include "tests/agent/served_interfaces.h"

namespace Agent {
namespace {

class LibraryRowsTest : public ServedInterfaces {
 protected:
  LibraryRows sut{tables};
};

TEST_F(LibraryRowsTest, RoomIsHeldByRowsAndLeftByTheirRemoval) {
  sut.reserve("Ethernet7");
  sut.reserve("Ethernet8");
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 3);
  sut.release("Ethernet7");
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 0);
  EXPECT_EQ(rowsOfLibrary("Ethernet8"), 3);
}

TEST_F(LibraryRowsTest, AllRoomIsLeftAtOnce) {
  sut.reserve("Ethernet7");
  sut.reserve("Ethernet8");
  sut.releaseAll();
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 0);
  EXPECT_EQ(rowsOfLibrary("Ethernet8"), 0);
}

TEST_F(LibraryRowsTest, RoomThatWasLeftIsNotLeftAgain) {
  sut.reserve("Ethernet7");
  sut.release("Ethernet7");
  addRowsOfLibrary("Ethernet7");
  sut.release("Ethernet7");
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 3);
}

TEST_F(LibraryRowsTest, WhatAnAgentBeforeLeftGoesOn) {
  addRowsOfLibrary("Ethernet7");
  sut.reserve("Ethernet7");
  sut.release("Ethernet7");
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 3);
  EXPECT_EQ(tables.intfQueueCounters()->lookup("Ethernet7").statistics.size(), 4u);
  EXPECT_EQ(tables.aclDropCounters()->lookup("Ethernet7").aclDropPkts, 7u);
}

TEST_F(LibraryRowsTest, RoomThatAnAgentBeforeTookAndNeverUsedIsNoRow) {
  tables.intfQueueCounters()->write({"Ethernet7", {}, {}});
  sut.reserve("Ethernet7");
  sut.release("Ethernet7");
  EXPECT_FALSE(tables.intfQueueCounters()->contains("Ethernet7"));
}

TEST_F(LibraryRowsTest, QueuesThatGoOnKeepTheRowOfTheirLastClearThatWasMissing) {
  addRowsOfLibrary("Ethernet7");
  tables.intfClearQueueCounters()->remove("Ethernet7");
  sut.reserve("Ethernet7");
  sut.release("Ethernet7");
  EXPECT_TRUE(tables.intfClearQueueCounters()->contains("Ethernet7"));
}

TEST_F(LibraryRowsTest, WithoutRoomInOneTableNoneIsTakenInAnother) {
  auto const refused = [&](auto const& full) {
    fill(full);
    EXPECT_THROW(sut.reserve("Ethernet7"), Dov::ResourceException);
    EXPECT_EQ(rowsOfLibrary("Ethernet7"), 0);
    full->remove("Ethernet1000");
    sut.reserve("Ethernet7");
    EXPECT_EQ(rowsOfLibrary("Ethernet7"), 3);
    sut.release("Ethernet7");
  };
  refused(tables.intfQueueCounters());
  refused(tables.intfClearQueueCounters());
  refused(tables.aclDropCounters());
}

TEST_F(LibraryRowsTest, RowsAreRemovedWhoeverMadeThem) {
  addRowsOfLibrary("Ethernet7");
  sut.remove("Ethernet7");
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 0);
}

}  // namespace
}  // namespace Agent
