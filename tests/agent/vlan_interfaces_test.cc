// VLAN interfaces beside the Ethernet ones: what the library hears, and which rows there are.
#include "agent/vlan_interfaces.h"

#include "tests/agent/link_sync_fixture.h"

namespace Agent {
namespace {

using Hardware::Linux::Link;
using Hardware::Linux::LinkEvent;
using Interface::OperState;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class VlanInterfacesTest : public ServedInterfaces {
 protected:
  VlanInterfacesTest() { ports.rows = PortLinks::RowsOf::nobody; }

  static Link vlan(int ifindex, std::string const& name, std::uint16_t id = 10) {
    Link link;
    link.ifindex = ifindex;
    link.name = name;
    link.kind = "vlan";
    link.vlanId = id;
    link.operState = OperState::up;
    return link;
  }
  void appear(Link const& link) { sut.handle({LinkEvent::Type::appeared, link, {}}); }
  void vanish(Link const& link) { sut.handle({LinkEvent::Type::vanished, link, {}}); }
  bool counted(Pekt::IntfId const& id) { return tables.vlanIntfCounters()->contains(id); }
  void rowIs(Pekt::IntfId const& id, std::uint64_t pkts) {
    Interface::VlanIntfCounterGlim row;
    row.intfId = id;
    row.statistics.inUcastPkts = pkts;
    row.rates.inPktsRate = 7.0;
    tables.vlanIntfCounters()->counterIs(row);
  }
  Interface::VlanIntfCounterGlim row(Pekt::IntfId const& id) {
    return tables.vlanIntfCounters()->lookup(id);
  }

  RecordedPorts ports{log};
  LinkNames names;
  LinkSync sut{names, interfaces, ports};
};

TEST_F(VlanInterfacesTest, LinkOfAVlanIsTheInterfaceOfThatVlan) {
  appear(vlan(7, "eth0.10"));
  EXPECT_THAT(log.calls(), ElementsAre("port Vlan10 is link 7", "vlan status Vlan10 there",
                                       "vlan config Vlan10 there", "vlan Vlan10 served"));
  EXPECT_TRUE(entities.ocsd->intf().empty());
}

TEST_F(VlanInterfacesTest, HasOneRowOfCountersAndADescription) {
  appear(vlan(7, "eth0.10"));
  EXPECT_TRUE(counted("Vlan10"));
  EXPECT_FALSE(tables.intfCounters()->contains("Vlan10"));
  EXPECT_FALSE(tables.intfClearCounters()->contains("Vlan10"));
  EXPECT_EQ(rowsOfLibrary("Vlan10"), 0);
  EXPECT_EQ(described("Vlan10").kernelName.view(), "eth0.10");
  EXPECT_EQ(described("Vlan10").operState, OperState::up);
}

TEST_F(VlanInterfacesTest, IsNewsForTheNextPoll) {
  appear(vlan(7, "eth0.10"));
  EXPECT_THAT(interfaces.takeNews(), ElementsAre(Pekt::IntfId("Vlan10")));
}

TEST_F(VlanInterfacesTest, NewsOfItIsNoneForTheLibrary) {
  appear(vlan(7, "eth0.10"));
  log.clear();
  Link down = vlan(7, "eth0.10");
  down.operState = OperState::down;
  sut.handle({LinkEvent::Type::changed, down, {}});
  EXPECT_THAT(log.calls(), ElementsAre("port Vlan10 is link 7"));
  EXPECT_EQ(described("Vlan10").operState, OperState::down);
  EXPECT_EQ(entities.vlanStatusDir->intfStatus("Vlan10")->operState(), OperState::down);
}

TEST_F(VlanInterfacesTest, RenameChangesTheKernelNameAndTheInterfaceStays) {
  appear(vlan(7, "eth0.10"));
  log.clear();
  sut.handle({LinkEvent::Type::renamed, vlan(7, "office"), "eth0.10"});
  EXPECT_THAT(log.calls(), ElementsAre("port Vlan10 is link 7"));
  EXPECT_EQ(described("Vlan10").kernelName.view(), "office");
}

TEST_F(VlanInterfacesTest, ThatGoesIsNotServedBeforeItsEntitiesGo) {
  appear(vlan(7, "eth0.10"));
  log.clear();
  vanish(vlan(7, "eth0.10"));
  EXPECT_THAT(log.calls(), ElementsAre("vlan Vlan10 gone", "vlan config Vlan10 gone",
                                       "vlan status Vlan10 gone", "port Vlan10 has no link"));
  EXPECT_FALSE(counted("Vlan10"));
  EXPECT_FALSE(isDescribed("Vlan10"));
}

TEST_F(VlanInterfacesTest, OfTwoLinksOfOneVlanTheFirstHasItAndTheOtherGetsItNext) {
  appear(vlan(7, "eth0.10"));
  testing::internal::CaptureStderr();
  appear(vlan(8, "eth1.10"));
  sut.handle({LinkEvent::Type::changed, vlan(8, "eth1.10"), {}});
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "oru-agentd: link eth1.10 is not counted while link eth0.10 is Vlan10\n");
  EXPECT_EQ(described("Vlan10").kernelName.view(), "eth0.10");
  vanish(vlan(7, "eth0.10"));
  EXPECT_EQ(described("Vlan10").kernelName.view(), "eth1.10");
  EXPECT_TRUE(entities.ocsd->vlanIntf("Vlan10"));
}

TEST_F(VlanInterfacesTest, RowOfAnotherLinkIsNotContinued) {
  rowIs("Vlan10", 5);
  ports.rows = PortLinks::RowsOf::another;
  appear(vlan(7, "eth0.10"));
  EXPECT_EQ(row("Vlan10").statistics.inUcastPkts, 0u);
}

TEST_F(VlanInterfacesTest, RowOfThisLinkGoesOn) {
  rowIs("Vlan10", 5);
  ports.rows = PortLinks::RowsOf::thisLink;
  appear(vlan(7, "eth0.10"));
  EXPECT_EQ(row("Vlan10").statistics.inUcastPkts, 5u);
  EXPECT_EQ(row("Vlan10").rates.inPktsRate, 7.0);
}

TEST_F(VlanInterfacesTest, LeftoverRowsAreRemoved) {
  appear(vlan(7, "eth0.10"));
  rowIs("Vlan11", 5);
  interfaces.removeLeftovers();
  EXPECT_TRUE(counted("Vlan10"));
  EXPECT_FALSE(counted("Vlan11"));
}

TEST_F(VlanInterfacesTest, WithoutRoomItIsNotServedAndLeavesNothing) {
  for (std::uint32_t i = 0; tables.vlanIntfCounters()->members() < kRoom; ++i)
    rowIs(Pekt::IntfId("Vlan" + std::to_string(100 + i)), 1);
  appear(vlan(7, "eth0.10"));
  EXPECT_FALSE(entities.ocsd->vlanIntf("Vlan10"));
  EXPECT_FALSE(isDescribed("Vlan10"));
  EXPECT_THAT(interfaces.withoutRoom(), ElementsAre(Pekt::IntfId("Vlan10")));
  tables.vlanIntfCounters()->counterDel("Vlan100");
  interfaces.forgetWithoutRoom();
  sut.serveRefused();
  EXPECT_TRUE(entities.ocsd->vlanIntf("Vlan10"));
}

TEST_F(VlanInterfacesTest, LinkThatTheConfigurationNamesIsThatEthernetInterface) {
  LinkNames const named({}, {{"eth0.10", "Ethernet1/10"}});
  LinkSync other(named, interfaces, ports);
  other.handle({LinkEvent::Type::appeared, vlan(7, "eth0.10"), {}});
  EXPECT_TRUE(entities.ocsd->intf("Ethernet1/10"));
  EXPECT_TRUE(entities.ocsd->vlanIntf().empty());
}

class KeptVlanInterfaces : public VlanInterfacesTest {
 protected:
  KeptVlanInterfaces() { entities.ocsd->keepIntfCountersIs(true); }
};

TEST_F(KeptVlanInterfaces, RowOfOneThatWentStays) {
  appear(vlan(7, "eth0.10"));
  rowIs("Vlan10", 5);
  vanish(vlan(7, "eth0.10"));
  EXPECT_FALSE(entities.ocsd->vlanIntf("Vlan10"));
  EXPECT_EQ(row("Vlan10").statistics.inUcastPkts, 5u);
  EXPECT_EQ(described("Vlan10").operState, OperState::notPresent);
}

TEST_F(KeptVlanInterfaces, RowGoesOnWithAnotherLinkOfTheVlanAndItsRatesBeginAnew) {
  rowIs("Vlan10", 5);
  ports.rows = PortLinks::RowsOf::another;
  appear(vlan(8, "eth0.10"));
  EXPECT_EQ(row("Vlan10").statistics.inUcastPkts, 5u);
  EXPECT_EQ(row("Vlan10").rates.inPktsRate, 0.0);
}

TEST_F(KeptVlanInterfaces, RowGoesOnWithoutWhatAnotherLinkOfTheVlanHadCounted) {
  rowIs("Vlan10", 5);
  ports.rows = PortLinks::RowsOf::another;
  appear(vlan(8, "eth0.10"));
  EXPECT_THAT(ports.moved, ElementsAre("Vlan10 to 8"));
}

TEST_F(KeptVlanInterfaces, LeftoverRowsStay) {
  rowIs("Vlan11", 5);
  interfaces.removeLeftovers();
  EXPECT_TRUE(counted("Vlan11"));
}

}  // namespace
}  // namespace Agent
