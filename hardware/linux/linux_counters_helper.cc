#include "hardware/linux/linux_counters_helper.h"

#include "counters/pollers/counter_records.h"
#include "hardware/linux/network_generation.h"

namespace Hardware::Linux {

LinuxCountersHelper::Parts LinuxCountersHelper::kernelParts(std::unique_ptr<OffsetStore> offsets,
                                                            PublishedRow publishedRow,
                                                            std::function<Kel::Seconds()> now) {
  return {.links = std::make_unique<LinkStats>(),
          .macs = std::make_unique<EthtoolStats>(),
          .offsets = std::move(offsets),
          .publishedRow = std::move(publishedRow),
          .now = std::move(now),
          .generation = networkGeneration()};
}

LinuxCountersHelper::LinuxCountersHelper(Kel::Name name, Parts parts)
    : OruHelperCountersSm(std::move(name)), parts_(std::move(parts)) {}

LinuxCountersHelper::~LinuxCountersHelper() = default;

void LinuxCountersHelper::linkIs(Pekt::IntfId const& intfId, int ifindex, std::string_view kind) {
  linkDel(intfId);
  ports_[intfId].link = LinkOf{ifindex, std::string(kind)};
}

void LinuxCountersHelper::linkDel(Pekt::IntfId const& intfId) {
  auto const at = ports_.find(intfId);
  if (at == ports_.end() || !at->second.link) return;
  // A driver may count more after a change than it did before.
  parts_.macs->forget(at->second.link->ifindex);
  at->second.link.reset();
  if (!at->second.account) ports_.erase(at);
}

LinuxCountersHelper::RowsOf LinuxCountersHelper::rowsOf(Pekt::IntfId const& intfId,
                                                        int ifindex) const {
  auto const stored = parts_.offsets->load(intfId);
  if (!stored || !parts_.publishedRow(intfId)) return RowsOf::nobody;
  bool const same = stored->identity == LinkIdentity{parts_.generation, ifindex};
  return same ? RowsOf::thisLink : RowsOf::another;
}

bool LinuxCountersHelper::reserve(Pekt::IntfId const& intfId, int ifindex) {
  return parts_.offsets->load(intfId) ||
         parts_.offsets->save(intfId, {{parts_.generation, ifindex}, {}});
}

bool LinuxCountersHelper::moveTo(Pekt::IntfId const& intfId, int ifindex) {
  auto const counts = read({ifindex, {}});
  if (!counts) return false;
  PortAccount account(parts_.publishedRow(intfId), parts_.offsets->load(intfId));
  account.moveTo({parts_.generation, ifindex}, *counts);
  return parts_.offsets->save(intfId, *account.stored());
}

std::optional<Interface::CounterSet> LinuxCountersHelper::unsupportedCounters(
    Pekt::IntfId const& intfId) {
  auto const at = ports_.find(intfId);
  if (at == ports_.end() || !at->second.link) return std::nullopt;
  auto const counts = read(*at->second.link);
  if (!counts) return std::nullopt;
  // What such a MAC counts is unknown in this reading, not uncounted.
  if (parts_.macs->read(parts_.now(), at->second.link->ifindex).unavailable) return std::nullopt;
  return Linux::unsupportedCounters(counts->known, at->second.link->kind);
}

void LinuxCountersHelper::hwInit() {
  parts_.offsets->forEach([this](Pekt::IntfId const& intfId) {
    if (!parts_.publishedRow(intfId)) parts_.offsets->erase(intfId);
  });
}

void LinuxCountersHelper::initialize(Pekt::IntfId intfId) { open(intfId, ports_[intfId]); }

void LinuxCountersHelper::deinitialize(Pekt::IntfId intfId) {
  auto const at = ports_.find(intfId);
  if (at != ports_.end()) {
    at->second.account.reset();
    if (!at->second.link) ports_.erase(at);
  }
  // A row that stays is continued when the interface comes back.
  if (!parts_.publishedRow(intfId)) parts_.offsets->erase(intfId);
}

void LinuxCountersHelper::open(Pekt::IntfId const& intfId, Port& port) {
  port.account.emplace(parts_.publishedRow(intfId), parts_.offsets->load(intfId));
  port.lastReading = 0.0;
}

std::optional<KernelCounts> LinuxCountersHelper::read(LinkOf const& link) {
  Kel::Seconds const now = parts_.now();
  if (parts_.links->refresh(now)) return std::nullopt;
  auto const* stats = parts_.links->find(link.ifindex);
  if (!stats) return std::nullopt;
  return kernelCounts(*stats, parts_.macs->read(now, link.ifindex));
}

void LinuxCountersHelper::save(Pekt::IntfId const& intfId, PortAccount& account) {
  if (parts_.offsets->save(intfId, *account.stored()))
    account.saved();
  else
    ++offsetsNotSaved_;  // tried again at the next reading
}

void LinuxCountersHelper::getCounters(Pekt::IntfId intfId,
                                      Kel::Ptr<OruTypes::IntfCounters> newCounters,
                                      Kel::Ptr<OruTypes::IntfCounters>) {
  Port& port = ports_[intfId];
  if (!port.account) open(intfId, port);
  if (port.link) {
    if (auto const counts = read(*port.link)) {
      port.account->advance({parts_.generation, port.link->ifindex}, *counts);
      if (port.account->mustSave()) save(intfId, *port.account);
      port.lastReading = parts_.now();
    }
  }
  port.account->sample(newCounters->intfStats(), newCounters->ethStats());
  newCounters->intfStats().lastUpdate = port.lastReading;
}

}  // namespace Hardware::Linux
