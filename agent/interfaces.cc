#include "agent/interfaces.h"

#include "agent/unwanted_rows.h"
#include "platform/dov/exception.h"
#include "platform/glim/give_up.h"
#include "platform/kel/system.h"

namespace Agent {

using Interface::IntfDescription;
using Interface::OperState;

namespace {

bool isVlan(Pekt::IntfId const& intfId) { return Pekt::VlanIntfId::isVlanIntfId(intfId); }

}  // namespace

Interfaces::Interfaces(InterfaceEntities const& entities, Tables const& tables)
    : _entities(entities), _tables(tables), _vlans(entities, tables) {}

bool Interfaces::serves(Pekt::IntfId const& intfId) const {
  return isVlan(intfId) ? _entities.ocsd->vlanIntf(intfId) : _entities.ocsd->intf(intfId);
}

bool Interfaces::interfaceIs(IntfDescription description) {
  Pekt::IntfId const id = description.intfId;
  IntfDescription const before = _tables.intfDescriptions()->lookup(id);
  bool const sameState =
      before.ifIndex == description.ifIndex && before.operState == description.operState;
  description.lastChange = sameState ? before.lastChange : Kel::System::currentTime();
  // Until its chip says so anew: no reader is to take a counter for a zero meanwhile.
  if (before.ifIndex == description.ifIndex) {
    description.unsupported = before.unsupported;
    description.unsupportedQueue = before.unsupportedQueue;
  }
  if (isVlan(id)) {
    if (!makeVlanRow(description)) return false;
    _vlans.interfaceIs(id, description.operState);
  } else {
    if (!makeRows(description)) return false;
    tellEthernet(description);
  }
  _news.insert(id);
  return true;
}

void Interfaces::tellEthernet(IntfDescription const& description) {
  Pekt::IntfId const id = description.intfId;
  auto const status = statusOf(id);
  status->speedIs(description.speed);
  status->operStateIs(description.operState);
  _entities.statusDir->intfStatusIs(id, status);
  if (!_entities.configDir->intfConfig(id))
    _entities.configDir->intfConfigIs(id, Kel::make<Interface::EthPhyIntfConfig>());
  if (_libraryRuns) leaveRoom(id);
  _entities.ocsd->intfIs(id, true);
}

bool Interfaces::makeVlanRow(IntfDescription const& description) {
  Pekt::IntfId const id = description.intfId;
  bool const described = _tables.intfDescriptions()->contains(id);
  try {
    describe(description);
    _vlans.makeRow(id);
    return true;
  } catch (Dov::ResourceException const& exception) {
    if (!described) Glim::removeOrGiveUp(*_tables.intfDescriptions(), id);
    hasNoRoom(id, exception.message());
    return false;
  }
}

// The clear row comes before the live one: a live row has both.
bool Interfaces::makeRows(IntfDescription const& description) {
  Pekt::IntfId const id = description.intfId;
  auto const live = _tables.intfCounters();
  auto const clear = _tables.intfClearCounters();
  bool const described = _tables.intfDescriptions()->contains(id);
  bool const counted = live->contains(id);
  bool const cleared = clear->contains(id);
  Interface::EthIntfCounterGlim zero;
  zero.intfId = id;
  try {
    describe(description);
    if (!counted || !cleared) Glim::writeOrGiveUp(*clear, zero);
    if (!counted) Glim::writeOrGiveUp(*live, zero);
    if (!_entities.ocsd->intf(id)) takeRoom(id);
    return true;
  } catch (Dov::ResourceException const& exception) {
    leaveRoom(id);
    if (!counted) Glim::removeOrGiveUp(*live, id);
    if (!described) Glim::removeOrGiveUp(*_tables.intfDescriptions(), id);
    if (!counted) Glim::removeOrGiveUp(*clear, id);
    hasNoRoom(id, exception.message());
    return false;
  }
}

// A row of the queues without any is what an agent that was killed meanwhile left of its own.
void Interfaces::takeRoom(Pekt::IntfId const& intfId) {
  Interface::QueueCounter::IntfQueueCounter queues;
  queues.intfId = intfId;
  auto const live = _tables.intfQueueCounters();
  auto const clear = _tables.intfClearQueueCounters();
  Room& room = _room[intfId];
  bool const counted = live->contains(intfId) && live->lookup(intfId) != queues;
  if (!clear->contains(intfId)) {
    Glim::writeOrGiveUp(*clear, queues);
    room.clearQueues = !counted;  // beside a row that stays, the library makes none
  }
  if (!counted) {
    Glim::writeOrGiveUp(*live, queues);
    room.queues = true;
  }
  if (!_tables.aclDropCounters()->contains(intfId)) {
    Glim::writeOrGiveUp(*_tables.aclDropCounters(), {intfId, 0});
    room.drops = true;
  }
}

void Interfaces::leaveRoom(Pekt::IntfId const& intfId) {
  auto const at = _room.find(intfId);
  if (at == _room.end()) return;
  Pekt::IntfId const id = intfId;
  Room const room = at->second;
  _room.erase(at);
  if (room.queues) Glim::removeOrGiveUp(*_tables.intfQueueCounters(), id);
  if (room.clearQueues) Glim::removeOrGiveUp(*_tables.intfClearQueueCounters(), id);
  if (room.drops) Glim::removeOrGiveUp(*_tables.aclDropCounters(), id);
}

void Interfaces::hasNoRoom(Pekt::IntfId const& intfId, std::string const& why) {
  if (_withoutRoom.empty()) _whyNoRoom = std::string(intfId.view()) + ": " + why;
  _withoutRoom.insert(intfId);
}

void Interfaces::dropRows(Pekt::IntfId const& intfId) {
  Glim::removeOrGiveUp(*_tables.intfCounters(), intfId);
  Glim::removeOrGiveUp(*_tables.intfClearCounters(), intfId);
  dropRowsOfLibrary(intfId);
  Glim::removeOrGiveUp(*_tables.vlanIntfCounters(), intfId);
  Glim::removeOrGiveUp(*_tables.intfDescriptions(), intfId);
}

// Those that the library makes and never removes.
void Interfaces::dropRowsOfLibrary(Pekt::IntfId const& intfId) {
  Glim::removeOrGiveUp(*_tables.intfQueueCounters(), intfId);
  Glim::removeOrGiveUp(*_tables.intfClearQueueCounters(), intfId);
  Glim::removeOrGiveUp(*_tables.aclDropCounters(), intfId);
}

void Interfaces::dropAllRows() {
  removeAllRows(*_tables.intfCounters());
  removeAllRows(*_tables.intfClearCounters());
  removeAllRows(*_tables.intfQueueCounters());
  removeAllRows(*_tables.intfClearQueueCounters());
  removeAllRows(*_tables.aclDropCounters());
  removeAllRows(*_tables.vlanIntfCounters());
  removeAllRows(*_tables.intfDescriptions());
}

void Interfaces::restartRates(Pekt::IntfId const& intfId) {
  if (isVlan(intfId)) return _vlans.restartRates(intfId);
  auto row = _tables.intfCounters()->counter(intfId);
  row.rates = {};
  Glim::writeOrGiveUp(*_tables.intfCounters(), row);
}

void Interfaces::interfaceDel(Pekt::IntfId const& intfId) {
  Pekt::IntfId const id = intfId;  // the caller's may go with what is deleted
  bool const keep = keeps();
  if (isVlan(id))
    _vlans.interfaceDel(id, keep);
  else
    tellEthernetGone(id);
  if (keep)
    notPresent(id);
  else
    Glim::removeOrGiveUp(*_tables.intfDescriptions(), id);
  _news.erase(id);
  _withoutRoom.erase(id);
}

void Interfaces::tellEthernetGone(Pekt::IntfId const& id) {
  _entities.ocsd->intfDel(id);
  _entities.configDir->intfConfigDel(id);
  if (keeps()) {
    statusOf(id)->operStateIs(OperState::notPresent);
  } else {
    _entities.statusDir->intfStatusDel(id);
    dropRowsOfLibrary(id);
  }
  _entities.aclDropConfig->intfDel(id);  // the library leaves a `false` behind
  leaveRoom(id);
}

void Interfaces::unsupportedIs(Pekt::IntfId const& intfId, Interface::CounterSet unsupported) {
  redescribe(intfId, [&](IntfDescription& row) { row.unsupported = unsupported.word(); });
}

void Interfaces::unsupportedQueueIs(Pekt::IntfId const& intfId, std::uint32_t unsupported) {
  redescribe(intfId, [&](IntfDescription& row) { row.unsupportedQueue = unsupported; });
}

template <class Change>
void Interfaces::redescribe(Pekt::IntfId const& intfId, Change const& change) {
  IntfDescription before;
  bool found = false;
  _tables.intfDescriptions()->safeLookup(intfId, found, before);
  if (!found) return;
  IntfDescription after = before;
  change(after);
  if (after != before) Glim::writeOrGiveUp(*_tables.intfDescriptions(), after);
}

void Interfaces::removeLeftovers() {
  auto const leftover = [this](Pekt::IntfId const& id) { return !serves(id); };
  if (keeps()) {
    _tables.intfDescriptions()->forEach([&](IntfDescription const& row) {
      if (leftover(row.intfId)) notPresent(row.intfId);
    });
  } else {
    removeRowsIf(*_tables.intfCounters(), leftover);
    removeRowsIf(*_tables.intfClearCounters(), leftover);
    removeRowsIf(*_tables.intfQueueCounters(), leftover);
    removeRowsIf(*_tables.intfClearQueueCounters(), leftover);
    removeRowsIf(*_tables.aclDropCounters(), leftover);
    removeRowsIf(*_tables.vlanIntfCounters(), leftover);
    removeRowsIf(*_tables.intfDescriptions(), leftover);
  }
  _libraryRuns = true;
  while (!_room.empty()) leaveRoom(_room.begin()->first);
}

std::vector<Pekt::IntfId> Interfaces::takeNews() {
  std::vector<Pekt::IntfId> const news(_news.begin(), _news.end());
  _news.clear();
  return news;
}

// The entity of an interface whose rows were kept lives on.
Kel::Ptr<Interface::EthPhyIntfStatus> Interfaces::statusOf(Pekt::IntfId const& intfId) {
  auto const& all = _entities.statusDir->intfStatus();
  auto const at = all.find(intfId);
  return at != all.end() ? at->second : Kel::make<Interface::EthPhyIntfStatus>();
}

// A row that stays as it is costs its readers nothing.
void Interfaces::describe(IntfDescription const& description) {
  auto const table = _tables.intfDescriptions();
  if (table->lookup(description.intfId) != description) Glim::writeOrGiveUp(*table, description);
}

void Interfaces::notPresent(Pekt::IntfId const& intfId) {
  IntfDescription description = _tables.intfDescriptions()->lookup(intfId);
  description.intfId = intfId;
  if (description.operState != OperState::notPresent)
    description.lastChange = Kel::System::currentTime();
  description.adminState = Interface::AdminState::unknown;
  description.operState = OperState::notPresent;
  description.speed = 0;
  describe(description);
}

}  // namespace Agent
