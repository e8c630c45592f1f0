#include "agent/host.h"

#include <utility>

#include "agent/kernel_chip.h"
#include "agent/simulated_chip.h"
#include "counters/counters_sm.h"
#include "platform/kel/activity.h"

namespace Agent {
namespace {

constexpr std::string_view kAclDropCounters = "aclDropCounters";
// With the half second that a turn may take to come, readers hear of the agent once a second.
constexpr Kel::Seconds kBeat = 0.4;

std::unique_ptr<Chip> makeChip(Options const& options, LinkNames const& names, Tables& tables,
                               Interfaces& interfaces, Kel::Ptr<Kel::Clock> const& clock) {
  if (options.chip == ChipKind::simulated)
    return std::make_unique<SimulatedChip>(options.ports, options.seed, interfaces);
  return std::make_unique<KernelChip>(names, tables, interfaces, clock);
}

}  // namespace

Host::Host(Options const& options, ClockDriver::Steady steady)
    : _period(options.period),
      _clock(Kel::ActivityManagerConfig::clock()),
      _tables(options.tables),
      _interfaces(_entities, _tables),
      _names(options.interfaces, options.names),
      _chip(makeChip(options, _names, _tables, _interfaces, _clock)),
      _steady(std::move(steady)),
      _clockDriver(
          _clock, [this](Kel::Seconds step) { clockWasSetBy(step); }, _steady) {
  _entities.ocsd->keepIntfCountersIs(options.keepCounters);
  auto const pollConfig = Kel::make<Oru::Counters::CliConfig>();
  pollConfig->periodPollIs(options.period);
  auto const intfConfig = Kel::make<Interface::GlobalIntfConfig>();
  intfConfig->loadIntervalIs(options.loadInterval);
  auto const helper = _chip->helper();
  Kel::Ptr<Glim::Interface::AllDropCounterDir> aclDrops;
  if (helper->aclDropCountersSupported())
    aclDrops = _tables.add<Glim::Interface::AllDropCounterDir>(kAclDropCounters);

  _counters = Oru::Counters::countersSmFactory(
      _entities.ocsd, _entities.configDir, _entities.statusDir, pollConfig, helper, intfConfig,
      Kel::make<Oru::HwCliConfig>(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, aclDrops,
      nullptr, nullptr, _tables.intfCounters(), _tables.intfClearCounters());
  _counters->writerConfigIs(Kel::make<Interface::QueueCounter::WriterConfig>());
  _counters->ethIntfCounterWriterStatusIs(Kel::make<Interface::EthIntfCounterWriterStatus>());
  _counters->aclDropConfigIs(_entities.aclDropConfig);
  _counters->counterPollPeriodIs(_period);
}

Host::~Host() = default;

void Host::start(EventLoop& loop) {
  _clockDriver.turn();  // the clock has its time before anybody reads it
  _chip->start(loop);
  _interfaces.removeLeftovers();
  _counters->initializedIs(true);
}

void Host::clockWasSetBy(Kel::Seconds step) {
  _tables.wallClockSteppedBy(step);
  _clockWasSet = true;
}

Kel::Seconds Host::turn() {
  Kel::Seconds const next = _clockDriver.turn();
  if (std::exchange(_clockWasSet, false)) _tables.noSampleAfter(_clock->time());
  _chip->turn();
  pollNews();
  beat();
  return next;
}

// An interface shows true counts from the start, and not only after a period.
void Host::pollNews() {
  bool const readable = _chip->helper()->firstSyncDelay() == 0.0;
  for (Pekt::IntfId const& intfId : _interfaces.takeNews()) {
    if (readable) _counters->updateCounters(OruTypes::CounterType::port, intfId);
    _interfaces.unsupportedIs(intfId, _chip->unsupported(intfId));
  }
}

void Host::beat() {
  Kel::Seconds const now = _steady();
  if (now - _lastBeat < kBeat) return;
  _lastBeat = now;
  _tables.heartbeat();
}

}  // namespace Agent
