#include "agent/interfaces.h"

#include "agent/unwanted_rows.h"
#include "platform/dov/exception.h"
#include "platform/glim/give_up.h"

namespace Agent {

using Interface::IntfDescription;

namespace {

bool isVlan(Pekt::IntfId const& intfId) { return Pekt::VlanIntfId::isVlanIntfId(intfId); }

}  // namespace

Interfaces::Interfaces(InterfaceEntities const& entities, Tables const& tables)
    : _entities(entities),
      _tables(tables),
      _descriptions(tables.intfDescriptions()),
      _ethernet(entities, tables),
      _vlans(entities, tables) {}

bool Interfaces::serves(Pekt::IntfId const& intfId) const {
  return isVlan(intfId) ? _entities.ocsd->vlanIntf(intfId) : _entities.ocsd->intf(intfId);
}

bool Interfaces::interfaceIs(IntfDescription const& description) {
  if (!makeRows(description)) return false;
  if (isVlan(description.intfId))
    _vlans.interfaceIs(description.intfId, description.operState);
  else
    _ethernet.interfaceIs(description);
  _news.insert(description.intfId);
  return true;
}

bool Interfaces::makeRows(IntfDescription const& description) {
  Pekt::IntfId const& id = description.intfId;
  bool const described = _descriptions.contains(id);
  try {
    _descriptions.interfaceIs(description);
    if (isVlan(id))
      _vlans.makeRow(id);
    else
      _ethernet.makeRows(id);
    return true;
  } catch (Dov::ResourceException const& exception) {
    if (!described) _descriptions.remove(id);
    hasNoRoom(id, exception.message());
    return false;
  }
}

void Interfaces::hasNoRoom(Pekt::IntfId const& intfId, std::string const& why) {
  if (_withoutRoom.empty()) _whyNoRoom = std::string(intfId.view()) + ": " + why;
  _withoutRoom.insert(intfId);
}

void Interfaces::dropRows(Pekt::IntfId const& intfId) {
  _tables.forEachOfInterfaces([&](auto& table) { Glim::removeOrGiveUp(table, intfId); });
}

void Interfaces::dropAllRows() {
  _tables.forEachOfInterfaces([](auto& table) { removeAllRows(table); });
}

void Interfaces::restartRates(Pekt::IntfId const& intfId) {
  if (isVlan(intfId))
    _vlans.restartRates(intfId);
  else
    _ethernet.restartRates(intfId);
}

void Interfaces::interfaceDel(Pekt::IntfId const& intfId) {
  Pekt::IntfId const id = intfId;  // the caller's may go with what is deleted
  bool const keep = keeps();
  if (isVlan(id))
    _vlans.interfaceDel(id, keep);
  else
    _ethernet.interfaceDel(id, keep);
  if (keep)
    _descriptions.notPresent(id);
  else
    _descriptions.remove(id);
  _news.erase(id);
  _withoutRoom.erase(id);
}

void Interfaces::removeLeftovers() {
  auto const isLeftover = [this](Pekt::IntfId const& id) { return !serves(id); };
  if (keeps())
    _descriptions.notPresentIf(isLeftover);
  else
    _tables.forEachOfInterfaces([&](auto& table) { removeRowsIf(table, isLeftover); });
  _ethernet.libraryRuns();
}

std::vector<Pekt::IntfId> Interfaces::takeNews() {
  std::vector<Pekt::IntfId> const news(_news.begin(), _news.end());
  _news.clear();
  return news;
}

}  // namespace Agent
