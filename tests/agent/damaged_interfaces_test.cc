// Tables of interfaces that turn out to be damaged: what the agent has to do goes on all the same.
#include "agent/unwanted_rows.h"
#include "tests/agent/damaged_tables.h"
#include "tests/agent/served_interfaces.h"

namespace Agent {
namespace {

using ::testing::ElementsAre;

class DamagedInterfaces : public ServedInterfaces,
                          public ::testing::WithParamInterface<std::string_view> {
 protected:
  // Of every table, whatever its kind.
  void addAllRows(Pekt::IntfId const& id) {
    addRow(id);
    addRowsOfLibrary(id);
    tables.vlanIntfCounters()->counterIs(tables.vlanIntfCounters()->counter(id));
    tables.intfDescriptions()->descriptionIs(description(id));
  }
  void damage(std::string_view table) { damageFirstRow(place.directory(), table); }
  void expectLost(std::string_view table) { Agent::expectLost(tables, table); }
  Interfaces& sut = interfaces;
};

using DamagedTableOfInterfaces = DamagedInterfaces;
INSTANTIATE_TEST_SUITE_P(Interfaces, DamagedTableOfInterfaces,
                         ::testing::Values(Interface::kIntfCounters, Interface::kIntfClearCounters,
                                           Interface::kIntfQueueCounters,
                                           Interface::kIntfClearQueueCounters,
                                           Interface::kAclDropCounters,
                                           Interface::kVlanIntfCounters,
                                           Interface::kIntfDescriptions));

TEST_P(DamagedTableOfInterfaces, IsGivenUpByRowsThatAreDropped) {
  addAllRows("Ethernet7");
  damage(GetParam());
  EXPECT_NO_THROW(sut.dropRows("Ethernet7"));
  expectLost(GetParam());
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 0);
  EXPECT_FALSE(tables.intfCounters()->contains("Ethernet7"));
  EXPECT_FALSE(isDescribed("Ethernet7"));
}

// Those that nothing looks into before the row is removed.
using DamagedTableOfAnInterface = DamagedInterfaces;
INSTANTIATE_TEST_SUITE_P(Interfaces, DamagedTableOfAnInterface,
                         ::testing::Values(Interface::kIntfQueueCounters,
                                           Interface::kIntfClearQueueCounters,
                                           Interface::kAclDropCounters,
                                           Interface::kIntfDescriptions));

TEST_P(DamagedTableOfAnInterface, IsGivenUpByTheInterfaceThatGoes) {
  sut.removeLeftovers();
  sut.interfaceIs(description("Ethernet7"));
  addRowsOfLibrary("Ethernet7");
  log.clear();
  damage(GetParam());
  EXPECT_NO_THROW(sut.interfaceDel("Ethernet7"));
  expectLost(GetParam());
  EXPECT_THAT(log.calls(),
              ElementsAre("intf Ethernet7 gone", "config Ethernet7 gone", "status Ethernet7 gone"));
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 0);
  EXPECT_FALSE(isDescribed("Ethernet7"));
}

using DamagedRoom = DamagedInterfaces;
INSTANTIATE_TEST_SUITE_P(Interfaces, DamagedRoom,
                         ::testing::Values(Interface::kIntfQueueCounters,
                                           Interface::kIntfClearQueueCounters,
                                           Interface::kAclDropCounters));

TEST_P(DamagedRoom, IsGivenUpWhenItIsLeftToTheLibrary) {
  entities.ocsd->keepIntfCountersIs(true);  // where leftovers go, their rows are looked at before
  sut.interfaceIs(description("Ethernet7"));
  damage(GetParam());
  EXPECT_NO_THROW(sut.removeLeftovers());
  expectLost(GetParam());
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 0);
}

TEST_P(DamagedRoom, IsGivenUpByAnInterfaceThatGoesBeforeTheLibraryRuns) {
  entities.ocsd->keepIntfCountersIs(true);
  sut.interfaceIs(description("Ethernet7"));
  damage(GetParam());
  EXPECT_NO_THROW(sut.interfaceDel("Ethernet7"));
  expectLost(GetParam());
  EXPECT_EQ(rowsOfLibrary("Ethernet7"), 0);
}

TEST_F(ServedInterfaces, ATableThatIsDamagedWhileRowsAreChosenIsGivenUp) {
  addRow("Ethernet7");
  EXPECT_NO_THROW(removeRowsIf(*tables.intfCounters(), [this](Pekt::IntfId const&) {
    damageFirstRow(place.directory(), Interface::kIntfCounters);
    return true;
  }));
  expectLost(tables, Interface::kIntfCounters);
}

// Damages the table of VLAN interfaces while the library is told that one went.
class Meanwhile : public Oru::OruCommonSmData::Notifiee {
 public:
  explicit Meanwhile(std::filesystem::path directory) : _directory(std::move(directory)) {}
  using Notifiee::onVlanIntf;
  void onVlanIntf(Pekt::IntfId id) override {
    if (!notifier()->vlanIntf(id)) damageFirstRow(_directory, Interface::kVlanIntfCounters);
  }

 private:
  std::filesystem::path _directory;
};

class DamagedVlanInterfaces : public ServedInterfaces,
                              public ::testing::WithParamInterface<bool> {};
INSTANTIATE_TEST_SUITE_P(Interfaces, DamagedVlanInterfaces, ::testing::Bool(),
                         [](auto const& each) { return each.param ? "Kept" : "NotKept"; });

TEST_P(DamagedVlanInterfaces, AreGivenUpByOneThatGoes) {
  entities.ocsd->keepIntfCountersIs(GetParam());
  interfaces.interfaceIs(description("Vlan10"));
  auto const meanwhile = Kel::make<Meanwhile>(place.directory());
  meanwhile->notifierIs(entities.ocsd);
  meanwhile->isRegisteredNotifieeIs(true);
  meanwhile->hasNotificationActiveIs(true);
  EXPECT_NO_THROW(interfaces.interfaceDel("Vlan10"));
  expectLost(tables, Interface::kVlanIntfCounters);
  EXPECT_FALSE(entities.vlanStatusDir->intfStatus("Vlan10"));
  EXPECT_EQ(isDescribed("Vlan10"), GetParam());
}

}  // namespace
}  // namespace Agent
