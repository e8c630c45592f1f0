#include "agent/host.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

#include "agent/kernel_chip.h"
#include "agent/log.h"
#include "agent/simulated_chip.h"
#include "counters/counters_sm.h"
#include "platform/kel/activity.h"
#include "platform/kel/strep.h"

namespace Agent {
namespace {

// With the half second that a turn may take to come, readers hear of the agent once a second.
constexpr Kel::Seconds kBeat = 0.4;
constexpr Kel::Seconds kRetry = 5.0;
constexpr Kel::Seconds kValidation = 2.0;
// Queueing disciplines change without news of the link.
constexpr Kel::Seconds kAskForQueues = 5.0;

std::unique_ptr<Chip> makeChip(Options const& options, Host::ChipMaker const& other,
                               LinkNames const& names, Tables& tables, Interfaces& interfaces,
                               Vlans& vlans, Kel::Ptr<Kel::Clock> const& clock) {
  if (other) return other(tables, interfaces, vlans);
  if (options.chip == ChipKind::simulated) {
    using Hardware::Simulated::Chip;
    auto const chip = options.scripted ? options.scripted
                                       : std::make_shared<Chip const>(Chip::seeded(
                                             options.ports, options.seed, options.vlanInterfaces));
    return std::make_unique<SimulatedChip>(chip, tables, interfaces, vlans);
  }
  return std::make_unique<KernelChip>(names, options.aclDrops, options.keepCounters, options.vlans,
                                      tables, interfaces, vlans, clock);
}

// Once, until there is room for all of its kind.
void tellRefused(std::size_t count, std::string const& kind, std::string const& first,
                 bool& isTold) {
  if (count != 0 && !isTold)
    say(std::to_string(count) + ' ' + kind + (count == 1 ? " is" : "s are") +
        " not counted for want of room, the first is " + first +
        "; they are tried again every few seconds");
  isTold = count != 0;
}

// What the chip throws is no answer; `failure` becomes the first of it.
template <class Ask>
auto answerOf(Ask const& ask, Pekt::IntfId const& intfId, std::string const& counters,
              std::string& failure) -> decltype(ask()) {
  try {
    return ask();
  } catch (std::exception const& exception) {
    if (failure.empty())
      failure = std::string(intfId.view()) + " could not be asked which " + counters +
                " it lacks, trying on: " + exception.what();
    return std::nullopt;
  }
}

}  // namespace

Host::Host(Options const& options, ClockDriver::Steady steady, Glim::TableLimits const& limits,
           ChipMaker const& chipMaker)
    : _directory(options.tables),
      _period(options.period),
      _clock(Kel::ActivityManagerConfig::clock()),
      _controlPlane(_entities.ocsd),
      _tables(options.tables, limits),
      _interfaces(_entities, _tables),
      _vlans(_tables, _clock, options.period),
      _names(options.interfaces, options.names),
      _chip(makeChip(options, chipMaker, _names, _tables, _interfaces, _vlans, _clock)),
      _steady(std::move(steady)),
      _clockDriver(
          _clock, [this](Kel::Seconds step) { clockWasSetBy(step); }, _steady) {
  _entities.ocsd->keepIntfCountersIs(options.keepCounters);
  auto const pollConfig = Kel::make<Oru::Counters::CliConfig>();
  pollConfig->periodPollIs(options.period);
  auto const intfConfig = Kel::make<Interface::GlobalIntfConfig>();
  intfConfig->loadIntervalIs(options.loadInterval);

  _counters = Oru::Counters::countersSmFactory(
      _entities.ocsd, _entities.configDir, _entities.statusDir, pollConfig, _chip->helper(),
      intfConfig, _cliRequests, _controlPlane.sliceStatus(), _controlPlane.sliceStatusDir(),
      _controlPlane.aclSliceStatus(), _controlPlane.aclSliceStatusDir(), _entities.vlanConfigDir,
      _entities.vlanStatusDir, _tables.aclDropCounters(), _tables.intfQueueCounters(),
      _tables.intfClearQueueCounters(), _tables.intfCounters(), _tables.intfClearCounters());
  _counters->writerConfigIs(Kel::make<Interface::QueueCounter::WriterConfig>());
  _counters->ethIntfCounterWriterStatusIs(Kel::make<Interface::EthIntfCounterWriterStatus>());
  _counters->aclDropConfigIs(_entities.aclDropConfig);
  _counters->allVlanIntfCountersIs(_tables.vlanIntfCounters());
  _counters->vlanIntfCounterWriterStatusIs(Kel::make<Interface::VlanIntfCounterWriterStatus>());
  _counters->counterPollPeriodIs(_period);
  _controlPlane.countersIs(_counters);
}

Host::~Host() = default;

std::string Host::counting() const {
  auto const interfaces = _entities.ocsd->intf().size() + _entities.ocsd->vlanIntf().size();
  return std::to_string(interfaces) + (interfaces == 1 ? " interface" : " interfaces") + " into " +
         _directory + ", every " + Kel::numberText(_period) + " s";
}

bool Host::countsNothing() const {
  return _entities.ocsd->intf().empty() && _entities.ocsd->vlanIntf().empty() &&
         _interfaces.withoutRoom().empty();
}

void Host::start(EventLoop& loop) {
  _clockDriver.turn();  // the clock has its time before anybody reads it
  _chip->start(loop);
  _interfaces.removeLeftovers();
  _controlPlane.classesAre(_chip->coppClasses());
  _counters->initializedIs(true);
  startVlans();
  _loop = &loop;
  keepControl();
}

void Host::startVlans() {
  if (_vlans.counters() || !_chip->vlansAreTold()) return;
  _vlans.start(_chip->vlanHelper());
  if (_control && _vlans.counters()) _control->requestsAre(controlRequests());
}

// Without it the agent counts all the same. Somebody may have removed it, and it is made anew.
void Host::keepControl() {
  if (_control && _control->isThere()) return;
  _control.reset();
  try {
    _control = std::make_unique<ControlServer>(*_loop, _directory, controlRequests(), _steady);
    _controlFails = false;
  } catch (std::runtime_error const& error) {
    if (!std::exchange(_controlFails, true))
      say(std::string(error.what()) + "; counters cannot be cleared, nor the agent be asked");
  }
}

ControlDispatcher Host::controlRequests() {
  ObjectTree tree;
  tree.rootIs("countersSm", _counters);
  if (_vlans.counters()) tree.rootIs("vlanCountersSm", _vlans.counters());
  return {std::move(tree),
          Clearing(_counters, _cliRequests, _tables, [this] { return _clock->time(); }),
          VlanClearing(_vlans.counters(), _vlans.requests(),
                       [this](Bridging::VlanId vlanId) { return _chip->couldRead(vlanId); })};
}

void Host::clockWasSetBy(Kel::Seconds step) {
  _tables.wallClockSteppedBy(step);
  _clockWasSet = true;
}

Kel::Seconds Host::turn() {
  Kel::Seconds next = _clockDriver.turn();
  if (std::exchange(_clockWasSet, false)) _tables.noSampleAfter(_clock->time());
  _chip->turn();
  startVlans();
  _controlPlane.classesAre(_chip->coppClasses());
  retryRefused();
  pollNews();
  next = std::min(next, _vlans.pollNews());
  beat();
  // After the clock: what a request reads from the chip was not read before the request came.
  return _control ? std::min(next, _control->turn()) : next;
}

void Host::retryRefused() {
  auto const& interfaces = _interfaces.withoutRoom();
  if (interfaces.empty()) _refusedIntfsTold = false;
  if (_vlans.withoutRoom() == 0) _refusedVlansTold = false;
  if (interfaces.empty() && !_vlans.areRefused()) return;
  Kel::Seconds const now = _steady();
  if (_lastRetry && now - *_lastRetry < kRetry) return;
  _lastRetry = now;
  _interfaces.forgetWithoutRoom();
  _chip->retellRefused();
  tellRefused(interfaces.size(), "interface", _interfaces.whyNoRoom(), _refusedIntfsTold);
  tellRefused(_vlans.withoutRoom(), "VLAN", _vlans.whyNoRoom(), _refusedVlansTold);
}

// An interface shows true counts from the start, and not only after a period.
void Host::pollNews() {
  bool const readable = _chip->helper()->firstSyncDelay() == 0.0;
  for (Pekt::IntfId const& intfId : _interfaces.takeNews()) {
    if (readable) pollNow(intfId);
    _unsupportedDue.insert(intfId);
    _lastAsked.reset();
    std::string toldByTheNextRound;
    askForQueues(intfId, toldByTheNextRound);
  }
  askForUnsupported();
  askForQueues();
}

// Pollers that there are not, as those of another kind of interface, do nothing. A poll that fails
// is told, and the next is that of the period.
void Host::pollNow(Pekt::IntfId const& intfId) {
  using OruTypes::CounterType;
  try {
    for (CounterType const type : {CounterType::port, CounterType::queue, CounterType::vlanIntf})
      _counters->updateCounters(type, intfId);
  } catch (std::exception const& exception) {
    say(std::string(intfId.view()) + " could not be polled: " + exception.what());
  }
}

// Whoever cannot answer is asked again with the next polls.
void Host::askForUnsupported() {
  if (_unsupportedDue.empty()) return;
  Kel::Seconds const now = _steady();
  if (_lastAsked && now - *_lastAsked < _period) return;
  _lastAsked = now;
  std::string failure;
  std::erase_if(_unsupportedDue, [&](Pekt::IntfId const& intfId) {
    if (!_interfaces.serves(intfId)) return true;  // gone meanwhile
    auto const unsupported =
        answerOf([&] { return _chip->unsupported(intfId); }, intfId, "counters", failure);
    if (unsupported) _interfaces.unsupportedIs(intfId, *unsupported);
    return unsupported.has_value();
  });
  _sayUnanswered(failure);
}

// Which queues are counted may change at any time, and what cannot be told now comes later.
void Host::askForQueues() {
  Kel::Seconds const now = _steady();
  if (_queuesLastAsked && now - *_queuesLastAsked < std::max(_period, kAskForQueues)) return;
  _queuesLastAsked = now;
  std::string failure;
  for (auto const& [intfId, served] : _entities.ocsd->intf()) askForQueues(intfId, failure);
  _sayQueuesUnanswered(failure);
}

void Host::askForQueues(Pekt::IntfId const& intfId, std::string& failure) {
  if (auto const unsupported = answerOf([&] { return _chip->unsupportedQueue(intfId); }, intfId,
                                        "counters of its queues", failure))
    _interfaces.unsupportedQueueIs(intfId, *unsupported);
}

void Host::beat() {
  Kel::Seconds const now = _steady();
  if (now - _lastBeat < kBeat) return;
  _lastBeat = now;
  // The files first: what somebody cut off cannot be touched.
  if (now - _lastValidation >= kValidation) {
    _lastValidation = now;
    _tables.validateFiles();
    if (_loop != nullptr) keepControl();
  }
  _tables.heartbeat();
}

}  // namespace Agent
