#include "agent/simulated_chip.h"

#include <algorithm>
#include <utility>

#include "agent/control_plane.h"
#include "agent/log.h"
#include "agent/unwanted_rows.h"

namespace Agent {

using Hardware::Simulated::CountersHelper;

SimulatedChip::SimulatedChip(std::shared_ptr<Hardware::Simulated::Chip const> chip, Tables& tables,
                             Interfaces& interfaces, Vlans& vlans)
    : _chip(std::move(chip)),
      _helper(Kel::make<CountersHelper>(Kel::Name("simulated"), _chip)),
      _vlanHelper(
          Kel::make<Hardware::Simulated::VlanCountersHelper>(Kel::Name("simulated"), _chip)),
      _linkOffsets(
          tables.add<Hardware::Linux::GlimOffsetStore::Table>(Hardware::Linux::kLinkOffsets)),
      _queueOffsets(
          tables.add<Hardware::Linux::GlimQueueOffsetStore::Table>(Hardware::Linux::kQueueOffsets)),
      _coppOffsets(tables.add<Hardware::Linux::CoppOffsetTable>(Hardware::Linux::kCoppOffsets,
                                                                kMaxCoppClasses)),
      _vlanOffsets(tables.add<Hardware::Linux::GlimVlanOffsetStore::Table>(
          Hardware::Linux::kVlanOffsets, kMaxVlans)),
      _coppRows(tables.coppCounters()),
      _interfaces(interfaces),
      _vlans(vlans) {
  _helper->coppTableIs(_coppRows, kCoppPolicyMap);
  _helper->queueClearingIs({tables.intfQueueCounters(), tables.intfClearQueueCounters()});
}

void SimulatedChip::start(EventLoop&) {
  // Before the rows: those without offsets are of no link.
  removeAllRows(*_linkOffsets);
  removeAllRows(*_queueOffsets);
  removeAllRows(*_vlanOffsets);
  removeAllRows(*_coppOffsets);
  removeAllRows(*_coppRows);
  _interfaces.dropAllRows();
  _vlans.dropAllRows();
  retellRefused();
  _helper->getCoppCounters();
}

void SimulatedChip::turn() {
  auto const now = _helper->chipTime();
  if (now < _toldAt || now >= _nextChange) tellPorts();  // the wall clock may be set back
  auto const& refused = _helper->coppWithoutRoom();
  if (!std::exchange(_refusedClassesTold, !refused.empty()) && !refused.empty())
    say(std::to_string(refused.size()) +
        " policing classes are not counted for want of room, the first is " +
        std::string(refused.begin()->first.view()) + ": " + refused.begin()->second);
}

// Those that are there are told again too, with the same.
void SimulatedChip::retellRefused() {
  tellPorts();
  for (auto const& [vlanId, port] : _chip->vlans())
    _vlans.vlanIs(
        {.vlanId = vlanId, .bridge = std::string_view("simulated"), .name = {}, .unsupported = 0});
}

// As of a link: the same for as long as the port has its name.
std::uint32_t SimulatedChip::indexOf(Pekt::IntfId const& intfId) {
  auto const next = static_cast<std::uint32_t>(_indices.size() + 1);
  return _indices.emplace(intfId, next).first->second;
}

void SimulatedChip::tellPorts() {
  _toldAt = _helper->chipTime();
  _nextChange = _chip->nextChangeAfter(_toldAt);
  auto const before = std::exchange(_there, _chip->portsAt(_toldAt));
  for (Pekt::IntfId const& intfId : before)
    if (std::find(_there.begin(), _there.end(), intfId) == _there.end() &&
        _interfaces.serves(intfId))
      _interfaces.interfaceDel(intfId);
  for (Pekt::IntfId const& intfId : _there) {
    Interface::IntfDescription description;
    description.intfId = intfId;
    description.alias = std::string_view("simulated");
    description.ifIndex = indexOf(intfId);
    if (Pekt::EthIntfId::isEthIntfId(intfId))
      description.txQueues = Hardware::Simulated::egressQueues;
    description.speed = 100'000'000'000;
    description.adminState = Interface::AdminState::up;
    description.operState = Interface::OperState::up;
    _interfaces.interfaceIs(description);
  }
}

}  // namespace Agent
