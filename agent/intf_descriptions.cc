#include "agent/intf_descriptions.h"

#include "platform/glim/give_up.h"
#include "platform/kel/system.h"

namespace Agent {

using Interface::IntfDescription;
using Interface::OperState;

void IntfDescriptions::interfaceIs(IntfDescription description) {
  IntfDescription const before = _table->lookup(description.intfId);
  bool const sameIndex = before.ifIndex == description.ifIndex;
  bool const sameState = sameIndex && before.operState == description.operState;
  description.lastChange = sameState ? before.lastChange : Kel::System::currentTime();
  // Until its chip says so anew: no reader is to take a counter for a zero meanwhile.
  if (sameIndex) {
    description.unsupported = before.unsupported;
    description.unsupportedQueue = before.unsupportedQueue;
  }
  write(description);
}

void IntfDescriptions::notPresent(Pekt::IntfId const& intfId) {
  IntfDescription description = _table->lookup(intfId);
  description.intfId = intfId;
  if (description.operState != OperState::notPresent)
    description.lastChange = Kel::System::currentTime();
  description.adminState = Interface::AdminState::unknown;
  description.operState = OperState::notPresent;
  description.speed = 0;
  write(description);
}

void IntfDescriptions::remove(Pekt::IntfId const& intfId) { Glim::removeOrGiveUp(*_table, intfId); }

void IntfDescriptions::unsupportedIs(Pekt::IntfId const& intfId,
                                     Interface::CounterSet unsupported) {
  change(intfId, [&](IntfDescription& row) { row.unsupported = unsupported.word(); });
}

void IntfDescriptions::unsupportedQueueIs(Pekt::IntfId const& intfId, std::uint32_t unsupported) {
  change(intfId, [&](IntfDescription& row) { row.unsupportedQueue = unsupported; });
}

template <class Change>
void IntfDescriptions::change(Pekt::IntfId const& intfId, Change const& change) {
  IntfDescription row;
  bool found = false;
  _table->safeLookup(intfId, found, row);
  if (!found) return;
  change(row);
  write(row);
}

// A row that stays as it is costs its readers nothing.
void IntfDescriptions::write(IntfDescription const& description) {
  if (_table->lookup(description.intfId) != description) Glim::writeOrGiveUp(*_table, description);
}

}  // namespace Agent
