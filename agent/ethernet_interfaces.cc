#include "agent/ethernet_interfaces.h"

#include "platform/dov/exception.h"
#include "platform/glim/give_up.h"

namespace Agent {

using Interface::IntfDescription;
using Interface::OperState;

// The clear row comes before the live one: a live row has both.
void EthernetInterfaces::makeRows(Pekt::IntfId const& intfId) {
  auto const live = _tables.intfCounters();
  auto const clear = _tables.intfClearCounters();
  bool const counted = live->contains(intfId);
  bool const cleared = clear->contains(intfId);
  Interface::EthIntfCounterGlim zero;
  zero.intfId = intfId;
  try {
    if (!counted || !cleared) Glim::writeOrGiveUp(*clear, zero);
    if (!counted) Glim::writeOrGiveUp(*live, zero);
    if (!_entities.ocsd->intf(intfId)) _libraryRows.reserve(intfId);
  } catch (Dov::ResourceException const&) {
    if (!counted) {
      Glim::removeOrGiveUp(*live, intfId);
      Glim::removeOrGiveUp(*clear, intfId);
    }
    throw;
  }
}

void EthernetInterfaces::interfaceIs(IntfDescription const& description) {
  Pekt::IntfId const id = description.intfId;
  auto const status = statusOf(id);
  status->speedIs(description.speed);
  status->operStateIs(description.operState);
  _entities.statusDir->intfStatusIs(id, status);
  if (!_entities.configDir->intfConfig(id))
    _entities.configDir->intfConfigIs(id, Kel::make<Interface::EthPhyIntfConfig>());
  if (_libraryRuns) _libraryRows.release(id);
  _entities.ocsd->intfIs(id, true);
}

void EthernetInterfaces::interfaceDel(Pekt::IntfId const& intfId, bool keepsRows) {
  _entities.ocsd->intfDel(intfId);
  _entities.configDir->intfConfigDel(intfId);
  if (keepsRows) {
    statusOf(intfId)->operStateIs(OperState::notPresent);
  } else {
    _entities.statusDir->intfStatusDel(intfId);
    _libraryRows.remove(intfId);
  }
  _entities.aclDropConfig->intfDel(intfId);  // the library leaves a `false` behind
  _libraryRows.release(intfId);
}

void EthernetInterfaces::restartRates(Pekt::IntfId const& intfId) {
  auto row = _tables.intfCounters()->counter(intfId);
  row.rates = {};
  Glim::writeOrGiveUp(*_tables.intfCounters(), row);
}

void EthernetInterfaces::libraryRuns() {
  _libraryRuns = true;
  _libraryRows.releaseAll();
}

// The entity of an interface whose rows were kept lives on.
Kel::Ptr<Interface::EthPhyIntfStatus> EthernetInterfaces::statusOf(Pekt::IntfId const& intfId) {
  auto const& all = _entities.statusDir->intfStatus();
  auto const at = all.find(intfId);
  return at != all.end() ? at->second : Kel::make<Interface::EthPhyIntfStatus>();
}

}  // namespace Agent
