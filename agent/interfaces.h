// The interfaces that the agent serves, as the library sees them (entities) and as readers do (the
// table of descriptions). Whoever knows a chip's ports says here which there are.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "agent/vlan_interfaces.h"

namespace Agent {

class Interfaces {
 public:
  // The tables must outlive it.
  Interfaces(InterfaceEntities const& entities, Tables const& tables);

  // Whether the library was told of it.
  bool serves(Pekt::IntfId const& intfId) const;

  // The interface, Ethernet or VLAN as its name says, is there, and is so. `lastChange` is kept
  // here: the time at which its state of operation was last seen to change, by this agent or the
  // one before.
  //
  // An interface is served only when all its rows have room, before the library hears of it. Those
  // of its own counters are made here; room for those that the library makes, of its queues and its
  // drops, is taken here and left to the library when it is told of the interface. Answers false,
  // and has made and taken none, when there is no room in the tables.
  //
  // A new interface's status and configuration come first and its entry in ocsd.intf last, so that
  // it is made whole by one notification; the status is the very first, since rows that were kept
  // are those of interfaces with a status.
  bool interfaceIs(Interface::IntfDescription description);

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

  // The interface is gone. Its entry in ocsd.intf goes first, so that its pollers and rows are gone
  // before what they were made from. With ocsd.keepIntfCounters the rows and the status stay, and
  // its state of operation is notPresent.
  void interfaceDel(Pekt::IntfId const& intfId);

  // Its chip says which counters it cannot count, of itself and (as bits of kQueueCounterNames) of
  // its queues.
  void unsupportedIs(Pekt::IntfId const& intfId, Interface::CounterSet unsupported);
  void unsupportedQueueIs(Pekt::IntfId const& intfId, std::uint32_t unsupported);

  // Removes the rows that an agent before left of interfaces that are not there any more; with
  // ocsd.keepIntfCounters they stay, and are shown as not present. Room that was taken for rows of
  // the library is the library's from now on.
  // REQUIRES: every interface that is there was told; the library is not initialized yet.
  void removeLeftovers();

  // The interfaces of which there was news since it was last asked.
  std::vector<Pekt::IntfId> takeNews();

 private:
  Kel::Ptr<Interface::EthPhyIntfStatus> statusOf(Pekt::IntfId const& intfId);
  bool makeRows(Interface::IntfDescription const& description);
  bool makeVlanRow(Interface::IntfDescription const& description);
  void tellEthernet(Interface::IntfDescription const& description);
  void tellEthernetGone(Pekt::IntfId const& id);
  void dropRowsOfLibrary(Pekt::IntfId const& intfId);
  void takeRoom(Pekt::IntfId const& intfId);
  void leaveRoom(Pekt::IntfId const& intfId);
  template <class Change>
  void redescribe(Pekt::IntfId const& intfId, Change const& change);
  void describe(Interface::IntfDescription const& description);
  void notPresent(Pekt::IntfId const& intfId);

  InterfaceEntities const _entities;
  Tables const& _tables;
  VlanInterfaces _vlans;
  std::set<Pekt::IntfId> _news;
  std::set<Pekt::IntfId> _withoutRoom;
  std::string _whyNoRoom;
  // What of them stands only for rows that the library is to make.
  struct Room {
    bool queues = false, clearQueues = false, drops = false;
  };
  std::map<Pekt::IntfId, Room> _room;
  bool _libraryRuns = false;
};

}  // namespace Agent
