#include "agent/intf_descriptions.h"

#include "tests/agent/served_interfaces.h"

namespace Agent {
namespace {

using Interface::OperState;

class IntfDescriptionsTest : public ServedInterfaces {
 protected:
  IntfDescriptions sut{tables.intfDescriptions()};
};

TEST_F(IntfDescriptionsTest, TheLastChangeIsTheTimeOfTheStateOfOperation) {
  sut.interfaceIs(description("Ethernet7"));
  time.nowIs(2000.0);
  sut.interfaceIs(description("Ethernet7", OperState::down));
  EXPECT_EQ(described("Ethernet7").lastChange, 2000.0);
}

TEST_F(IntfDescriptionsTest, OtherNewsIsNoChangeOfState) {
  sut.interfaceIs(description("Ethernet7"));
  time.nowIs(2000.0);
  auto renamed = description("Ethernet7");
  renamed.kernelName = std::string_view("lan0");
  sut.interfaceIs(renamed);
  EXPECT_EQ(described("Ethernet7").lastChange, Support::VirtualTime::kStart);
  EXPECT_EQ(described("Ethernet7").kernelName.view(), "lan0");
}

TEST_F(IntfDescriptionsTest, TheLastChangeSeenByAnAgentBeforeHolds) {
  auto before = description("Ethernet7");
  before.lastChange = 17.0;
  tables.intfDescriptions()->descriptionIs(before);
  sut.interfaceIs(description("Ethernet7"));
  EXPECT_EQ(described("Ethernet7").lastChange, 17.0);
}

TEST_F(IntfDescriptionsTest, WhatIsUnsupportedIsDescribed) {
  sut.interfaceIs(description("Ethernet7"));
  Interface::CounterSet unsupported;
  unsupported.insert("symbolErrors");
  sut.unsupportedIs("Ethernet7", unsupported);
  EXPECT_EQ(described("Ethernet7").unsupported, unsupported.word());
}

TEST_F(IntfDescriptionsTest, WhatIsUnsupportedStaysSoWhenThereIsOtherNews) {
  sut.interfaceIs(description("Ethernet7"));
  Interface::CounterSet unsupported;
  unsupported.insert("symbolErrors");
  sut.unsupportedIs("Ethernet7", unsupported);
  sut.interfaceIs(description("Ethernet7", OperState::down));
  EXPECT_EQ(described("Ethernet7").unsupported, unsupported.word());
}

TEST_F(IntfDescriptionsTest, WhatIsUnsupportedOfNoInterfaceIsNotDescribed) {
  sut.unsupportedIs("Ethernet9", {});
  EXPECT_FALSE(isDescribed("Ethernet9"));
}

TEST_F(IntfDescriptionsTest, WhatIsUnsupportedOfTheQueuesIsDescribedAndStaysSo) {
  sut.interfaceIs(description("Ethernet7"));
  sut.unsupportedQueueIs("Ethernet7", 0x88);
  EXPECT_EQ(described("Ethernet7").unsupportedQueue, 0x88u);
  sut.interfaceIs(description("Ethernet7", OperState::down));
  EXPECT_EQ(described("Ethernet7").unsupportedQueue, 0x88u);
  auto another = description("Ethernet7");
  another.ifIndex = 8;
  sut.interfaceIs(another);
  EXPECT_EQ(described("Ethernet7").unsupportedQueue, 0u);
}

TEST_F(IntfDescriptionsTest, WhatIsUnsupportedStillIsNotWritten) {
  sut.interfaceIs(description("Ethernet7"));
  sut.unsupportedQueueIs("Ethernet7", 0x88);
  auto const writes = tables.intfDescriptions()->map().writer()->writes();
  sut.unsupportedQueueIs("Ethernet7", 0x88);
  EXPECT_EQ(tables.intfDescriptions()->map().writer()->writes(), writes);
}

TEST_F(IntfDescriptionsTest, ADescriptionThatSaysNothingNewIsNotWritten) {
  sut.interfaceIs(description("Ethernet7"));
  auto const writes = tables.intfDescriptions()->map().writer()->writes();
  sut.interfaceIs(description("Ethernet7"));
  EXPECT_EQ(tables.intfDescriptions()->map().writer()->writes(), writes);
}

TEST_F(IntfDescriptionsTest, AnInterfaceThatWentDownFirstIsNotPresentToo) {
  auto down = description("Ethernet7", OperState::down);
  down.adminState = Interface::AdminState::down;
  sut.interfaceIs(down);
  sut.notPresent("Ethernet7");
  EXPECT_EQ(described("Ethernet7").operState, OperState::notPresent);
  EXPECT_EQ(described("Ethernet7").adminState, Interface::AdminState::unknown);
}

TEST_F(IntfDescriptionsTest, WhatWentHasNoSpeedAndChangedWhenItWent) {
  sut.interfaceIs(description("Ethernet7"));
  time.nowIs(2000.0);
  sut.notPresent("Ethernet7");
  time.nowIs(3000.0);
  sut.notPresent("Ethernet7");
  EXPECT_EQ(described("Ethernet7").lastChange, 2000.0);
  EXPECT_EQ(described("Ethernet7").speed, 0u);
  EXPECT_EQ(described("Ethernet7").kernelName.view(), "eth7");
}

TEST_F(IntfDescriptionsTest, ThoseThatWentAloneAreNotPresent) {
  sut.interfaceIs(description("Ethernet7"));
  sut.interfaceIs(description("Ethernet8"));
  sut.notPresentIf([](Pekt::IntfId const& id) { return id == Pekt::IntfId("Ethernet8"); });
  EXPECT_EQ(described("Ethernet7").operState, OperState::up);
  EXPECT_EQ(described("Ethernet8").operState, OperState::notPresent);
}

}  // namespace
}  // namespace Agent
