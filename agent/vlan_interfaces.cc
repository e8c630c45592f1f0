#include "agent/vlan_interfaces.h"

#include "platform/glim/give_up.h"

namespace Agent {

void VlanInterfaces::makeRow(Pekt::IntfId const& intfId) {
  auto const rows = _tables.vlanIntfCounters();
  if (!rows->contains(intfId)) Glim::writeOrGiveUp(*rows, rows->counter(intfId));
}

// Its entry in ocsd.vlanIntf comes last, so that it is made whole by one notification.
void VlanInterfaces::interfaceIs(Pekt::IntfId const& intfId, Interface::OperState state) {
  auto const& statuses = _entities.vlanStatusDir->intfStatus();
  auto const at = statuses.find(intfId);
  auto const status = at != statuses.end() ? at->second : Kel::make<Interface::VlanIntfStatus>();
  status->operStateIs(state);
  _entities.vlanStatusDir->intfStatusIs(intfId, status);
  if (!_entities.vlanConfigDir->intfConfig(intfId))
    _entities.vlanConfigDir->intfConfigIs(intfId, Kel::make<Interface::VlanIntfConfig>());
  _entities.ocsd->vlanIntfIs(intfId, true);
}

void VlanInterfaces::interfaceDel(Pekt::IntfId const& intfId, bool keepsRow) {
  auto const rows = _tables.vlanIntfCounters();
  auto const row = rows->counter(intfId);
  bool const kept = keepsRow && rows->contains(intfId);
  _entities.ocsd->vlanIntfDel(intfId);
  _entities.vlanConfigDir->intfConfigDel(intfId);
  _entities.vlanStatusDir->intfStatusDel(intfId);
  if (kept)
    Glim::writeOrGiveUp(*rows, row);
  else
    Glim::removeOrGiveUp(*rows, intfId);  // should the library not have had it
}

void VlanInterfaces::restartRates(Pekt::IntfId const& intfId) {
  auto row = _tables.vlanIntfCounters()->counter(intfId);
  row.rates = {};
  Glim::writeOrGiveUp(*_tables.vlanIntfCounters(), row);
}

}  // namespace Agent
