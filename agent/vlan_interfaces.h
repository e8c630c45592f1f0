// What is different about VLAN interfaces: they have one row of counters, which the library removes
// whenever it is told that they went, and no queues, drops or clears.
#pragma once

#include "agent/interface_entities.h"
#include "agent/tables.h"

namespace Agent {

class VlanInterfaces {
 public:
  // The tables must outlive it.
  VlanInterfaces(InterfaceEntities const& entities, Tables const& tables)
      : _entities(entities), _tables(tables) {}

  // A zero row where there is none. Throws Dov::ResourceException.
  void makeRow(Pekt::IntfId const& intfId);
  // The library hears of the interface, or of its state.
  // REQUIRES: it has its row.
  void interfaceIs(Pekt::IntfId const& intfId, Interface::OperState state);
  // The library hears that it is gone. Its row goes, or is put back as it was.
  void interfaceDel(Pekt::IntfId const& intfId, bool keepsRow);
  void restartRates(Pekt::IntfId const& intfId);

 private:
  InterfaceEntities const _entities;
  Tables const& _tables;
};

}  // namespace Agent
