#include "agent/simulated_chip.h"

namespace Agent {

using Hardware::Simulated::CountersHelper;

SimulatedChip::SimulatedChip(std::uint32_t ports, std::uint64_t seed, Tables& tables,
                             Interfaces& interfaces)
    : _chip(std::make_shared<Hardware::Simulated::Chip const>(
          Hardware::Simulated::Chip::seeded(ports, seed))),
      _helper(Kel::make<CountersHelper>(Kel::Name("simulated"), _chip)),
      _linkOffsets(
          tables.add<Hardware::Linux::GlimOffsetStore::Table>(Hardware::Linux::kLinkOffsets)),
      _queueOffsets(
          tables.add<Hardware::Linux::GlimQueueOffsetStore::Table>(Hardware::Linux::kQueueOffsets)),
      _interfaces(interfaces) {
  _helper->queueClearingIs({tables.intfQueueCounters(), tables.intfClearQueueCounters()});
}

void SimulatedChip::start(EventLoop&) {
  // Before the rows: those without offsets are of no link.
  auto const clear = [](auto& table) {
    table.forEach([&](auto const& row) { table.remove(row.intfId); });
  };
  clear(*_linkOffsets);
  clear(*_queueOffsets);
  _interfaces.dropAllRows();
  retellRefused();
}

// Those that are there are told again too, with the same.
void SimulatedChip::retellRefused() {
  std::uint32_t ifIndex = 0;
  for (Pekt::IntfId const& intfId : _chip->portsAt(_helper->chipTime())) {
    Interface::IntfDescription description;
    description.intfId = intfId;
    description.alias = std::string_view("simulated");
    description.ifIndex = ++ifIndex;
    description.txQueues = Hardware::Simulated::egressQueues;
    description.speed = 100'000'000'000;
    description.adminState = Interface::AdminState::up;
    description.operState = Interface::OperState::up;
    _interfaces.interfaceIs(description);
  }
}

}  // namespace Agent
