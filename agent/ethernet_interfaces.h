// What is different about Ethernet interfaces: they have a row of counters and one of those at the
// last clear, rows of queues and drops that the library makes, and a status that stays with rows
// that are kept.
#pragma once

#include "agent/interface_entities.h"
#include "agent/library_rows.h"

namespace Agent {

class EthernetInterfaces {
 public:
  // The tables must outlive it.
  EthernetInterfaces(InterfaceEntities const& entities, Tables const& tables)
      : _entities(entities), _tables(tables), _libraryRows(tables) {}

  // Zero rows where there are none, and room for those that the library makes. Throws
  // Dov::ResourceException, and has made and taken none then.
  void makeRows(Pekt::IntfId const& intfId);
  // The library hears of the interface, or of its state: status and configuration come first and
  // the entry in ocsd.intf last, so that it is made whole by one notification; the status is the
  // very first, since rows that were kept are those of interfaces with a status.
  // REQUIRES: it has its rows.
  void interfaceIs(Interface::IntfDescription const& description);
  // The library hears that it is gone: its entry in ocsd.intf goes first, so that its pollers and
  // rows are gone before what they were made from. Rows and status go, or stay.
  void interfaceDel(Pekt::IntfId const& intfId, bool keepsRows);
  void restartRates(Pekt::IntfId const& intfId);
  // The library makes its rows now, and from now on those of an interface as it hears of it.
  void libraryRuns();

 private:
  Kel::Ptr<Interface::EthPhyIntfStatus> statusOf(Pekt::IntfId const& intfId);

  InterfaceEntities const _entities;
  Tables const& _tables;
  LibraryRows _libraryRows;
  bool _libraryRuns = false;
};

}  // namespace Agent
