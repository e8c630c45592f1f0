#include "agent/clearing.h"

#include <algorithm>
#include <exception>

#include "agent/control_request.h"
#include "counters/counters_sm.h"
#include "platform/kel/strep.h"
#include "platform/kel/type_node.h"

namespace Agent {

Clearing::Clearing(Kel::Ptr<Kel::PtrInterface> const& counters,
                   Kel::Ptr<Oru::HwCliConfig> const& requests, Tables const& tables, Now now)
    : _counters(counters), _requests(requests), _tables(tables), _now(std::move(now)) {}

void Clearing::poll(Pekt::IntfId const& intfId) {
  using OruTypes::CounterType;
  std::string const name(intfId.view());
  auto const failed = [&](std::string const& why) {
    return ControlError(ControlCode::failed,
                        "nothing was cleared: " + name + " could not be " + why);
  };
  try {
    for (CounterType const type : {CounterType::port, CounterType::queue})
      Kel::invoke(*_counters, "updateCounters", {Kel::toStrep(type), name});
  } catch (std::exception const& error) {
    throw failed(std::string("polled: ") + error.what());
  }
  // Interfaces that went have no poller, and count nothing any more.
  bool const counts = bool(Kel::iterObj(*_counters, "portCountersSm", name));
  if (counts && _tables.intfCounters()->counter(intfId).statistics.lastUpdate < _now())
    throw failed("read just now; try again");
}

// What goes wrong while a request is told to the library ends where it is told.
void Clearing::requireCleared(Pekt::IntfId const& intfId) const {
  bool const ports =
      _tables.intfClearCounters()->counter(intfId) == _tables.intfCounters()->counter(intfId);
  bool const queues = _tables.intfClearQueueCounters()->intfQueueCounter(intfId) ==
                      _tables.intfQueueCounters()->intfQueueCounter(intfId);
  if (ports && queues) return;
  throw ControlError(ControlCode::failed, std::string(intfId.view()) +
                                              " could not be cleared; the agent says why on its "
                                              "standard error");
}

std::size_t Clearing::all() {
  std::vector<Pekt::IntfId> there;
  _tables.intfCounters()->forEach(
      [&](Interface::EthIntfCounterGlim const& row) { there.push_back(row.intfId); });
  for (Pekt::IntfId const& intfId : there) poll(intfId);
  _requests->clearCountersRequestIs("all");
  for (Pekt::IntfId const& intfId : there) requireCleared(intfId);
  return there.size();
}

std::vector<std::string> Clearing::these(std::vector<std::string> const& names) {
  std::vector<Pekt::IntfId> there;
  for (std::string const& name : names) {
    bool const isName = Pekt::IntfId::isName(name);
    if (isName && (Pekt::VlanIntfId::isVlanIntfId(name) || Pekt::CpuIntfId::isCpuIntfId(name)))
      throw ControlError(ControlCode::unknownInterface,
                         "only Ethernet interfaces can be cleared, which " + name +
                             " is not, and nothing was cleared");
    bool const known =
        isName && Pekt::EthIntfId::isEthIntfId(name) && _tables.intfCounters()->contains(name);
    if (!known)
      throw ControlError(ControlCode::unknownInterface,
                         "there is no interface " + name + ", and nothing was cleared");
    Pekt::IntfId const intfId(name);
    if (std::find(there.begin(), there.end(), intfId) == there.end()) there.push_back(intfId);
  }
  for (Pekt::IntfId const& intfId : there) poll(intfId);
  std::vector<std::string> cleared;
  for (Pekt::IntfId const& intfId : there) {
    _requests->clearCountersRequestIs(intfId.stringValue());
    requireCleared(intfId);
    cleared.emplace_back(intfId.view());
  }
  return cleared;
}

}  // namespace Agent
