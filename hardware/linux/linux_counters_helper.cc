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
  links_.insert_or_assign(intfId, LinkOf{ifindex, std::string(kind)});
}

void LinuxCountersHelper::linkDel(Pekt::IntfId const& intfId) {
  auto const at = links_.find(intfId);
  if (at == links_.end()) return;
  // A driver may count more after a change than it did before.
  parts_.macs->forget(at->second.ifindex);
  links_.erase(at);
}

Interface::CounterSet LinuxCountersHelper::unsupportedCounters(Pekt::IntfId const& intfId) {
  auto const counts = read(intfId);
  if (!counts) return {};
  return Linux::unsupportedCounters(counts->known, links_.at(intfId).kind);
}

void LinuxCountersHelper::hwInit() {
  parts_.offsets->forEach([this](Pekt::IntfId const& intfId) {
    if (!parts_.publishedRow(intfId)) parts_.offsets->erase(intfId);
  });
}

void LinuxCountersHelper::initialize(Pekt::IntfId intfId) {
  ports_.erase(intfId);
  port(intfId);
}

void LinuxCountersHelper::deinitialize(Pekt::IntfId intfId) {
  ports_.erase(intfId);
  // A row that stays is continued when the interface comes back.
  if (!parts_.publishedRow(intfId)) parts_.offsets->erase(intfId);
}

LinuxCountersHelper::Port& LinuxCountersHelper::port(Pekt::IntfId const& intfId) {
  auto const at = ports_.find(intfId);
  if (at != ports_.end()) return at->second;
  PortAccount account(parts_.publishedRow(intfId), parts_.offsets->load(intfId));
  return ports_.emplace(intfId, Port{std::move(account)}).first->second;
}

std::optional<KernelCounts> LinuxCountersHelper::read(Pekt::IntfId const& intfId) {
  auto const link = links_.find(intfId);
  if (link == links_.end()) return std::nullopt;
  Kel::Seconds const now = parts_.now();
  if (parts_.links->refresh(now)) return std::nullopt;
  auto const* stats = parts_.links->find(link->second.ifindex);
  if (!stats) return std::nullopt;
  return kernelCounts(*stats, parts_.macs->read(now, link->second.ifindex));
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
  Port& reading = port(intfId);
  if (auto const counts = read(intfId)) {
    reading.account.advance({parts_.generation, links_.at(intfId).ifindex}, *counts);
    if (reading.account.mustSave()) save(intfId, reading.account);
    reading.lastReading = parts_.now();
  }
  reading.account.sample(newCounters->intfStats(), newCounters->ethStats());
  newCounters->intfStats().lastUpdate = reading.lastReading;
}

}  // namespace Hardware::Linux
