// What readers are told of the interfaces beside their counts: the table of descriptions.
#pragma once

#include <cstdint>

#include "platform/interface/counter_tables.h"

namespace Agent {

// A table that turns out to be damaged is given up by any of these (give_up.h).
class IntfDescriptions {
 public:
  using Table = Kel::Ptr<Interface::AllIntfDescription>;

  explicit IntfDescriptions(Table const& table) : _table(table) {}

  bool contains(Pekt::IntfId const& intfId) const { return _table->contains(intfId); }

  // The interface is there, and is so. `lastChange` is kept here: the time at which its state of
  // operation was last seen to change, by this agent or the one before. So is what cannot be
  // counted of it, for as long as it has the same index. Throws Dov::ResourceException.
  void interfaceIs(Interface::IntfDescription description);
  // It went, and its rows stay.
  void notPresent(Pekt::IntfId const& intfId);
  // Those whose key `isGone` are not present.
  template <class IsGone>
  void notPresentIf(IsGone const& isGone) {
    _table->forEach([&](Interface::IntfDescription const& row) {
      if (isGone(row.intfId)) notPresent(row.intfId);
    });
  }
  void remove(Pekt::IntfId const& intfId);

  // What its chip cannot count of it, and (as bits of kQueueCounterNames) of its queues. Does
  // nothing where it is not described.
  void unsupportedIs(Pekt::IntfId const& intfId, Interface::CounterSet unsupported);
  void unsupportedQueueIs(Pekt::IntfId const& intfId, std::uint32_t unsupported);

 private:
  template <class Change>
  void change(Pekt::IntfId const& intfId, Change const& change);
  void write(Interface::IntfDescription const& description);

  Table const _table;
};

}  // namespace Agent
