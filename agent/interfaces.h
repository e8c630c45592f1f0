// The interfaces that the agent serves, as the library sees them (entities) and as readers do (rows
// and descriptions). Whoever knows a chip's ports says here which there are.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "agent/ethernet_interfaces.h"
#include "agent/intf_descriptions.h"
#include "agent/vlan_interfaces.h"

namespace Agent {

// A table that turns out to be damaged is given up by any of these, and the next heartbeat of the
// tables says so.
class Interfaces {
 public:
  // The tables must outlive it.
  Interfaces(InterfaceEntities const& entities, Tables const& tables);

  // Whether the library was told of it.
  bool serves(Pekt::IntfId const& intfId) const;

  // The interface, Ethernet or VLAN as its name says, is there, and is so; what is kept of an older
  // description is told in intf_descriptions.h.
  //
  // An interface is served only when all its rows have room, before the library hears of it.
  // Answers false, and has made and taken none, when there is no room in the tables.
  bool interfaceIs(Interface::IntfDescription const& description);

  // Interfaces that could not be served for want of room, and why the first of them could not.
  std::set<Pekt::IntfId> const& withoutRoom() const { return _withoutRoom; }
  std::string const& whyNoRoom() const { return _whyNoRoom; }
  void hasNoRoom(Pekt::IntfId const& intfId, std::string const& why);
  // Whoever told the interfaces tells them once more.
  void forgetWithoutRoom() { _withoutRoom.clear(); }

  // What is left of an interface that is to begin anew.
  // REQUIRES: it is not served.
  void dropRows(Pekt::IntfId const& intfId);
  // All interfaces' rows are of nothing that goes on. REQUIRES: none is served.
  void dropAllRows();
  // The row goes on with the counts of another link: what that counted before is no traffic of now.
  void restartRates(Pekt::IntfId const& intfId);
  // Rows of interfaces that went stay.
  bool keeps() const { return _entities.ocsd->keepIntfCounters(); }

  // The interface is gone. With ocsd.keepIntfCounters the rows stay, an Ethernet interface's status
  // too, and its state of operation is notPresent.
  void interfaceDel(Pekt::IntfId const& intfId);

  // Its chip says which counters it cannot count, of itself and (as bits of kQueueCounterNames) of
  // its queues.
  void unsupportedIs(Pekt::IntfId const& intfId, Interface::CounterSet unsupported) {
    _descriptions.unsupportedIs(intfId, unsupported);
  }
  void unsupportedQueueIs(Pekt::IntfId const& intfId, std::uint32_t unsupported) {
    _descriptions.unsupportedQueueIs(intfId, unsupported);
  }

  // Removes the rows that an agent before left of interfaces that are not there any more; with
  // ocsd.keepIntfCounters they stay, and are shown as not present. Room that was taken for rows of
  // the library is the library's from now on.
  // REQUIRES: every interface that is there was told; the library is not initialized yet.
  void removeLeftovers();

  // The interfaces of which there was news since it was last asked.
  std::vector<Pekt::IntfId> takeNews();

 private:
  bool makeRows(Interface::IntfDescription const& description);

  InterfaceEntities const _entities;
  Tables const& _tables;
  IntfDescriptions _descriptions;
  EthernetInterfaces _ethernet;
  VlanInterfaces _vlans;
  std::set<Pekt::IntfId> _news;
  std::set<Pekt::IntfId> _withoutRoom;
  std::string _whyNoRoom;
};

}  // namespace Agent
