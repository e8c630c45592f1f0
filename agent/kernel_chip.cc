#include "agent/kernel_chip.h"

#include <system_error>

#include "agent/clock_driver.h"
#include "agent/control_plane.h"
#include "agent/log.h"
#include "hardware/linux/glim_offset_store.h"

namespace Agent {
namespace {

// In the hope of a ruleset that is loaded later.
constexpr Kel::Seconds kLookForClasses = 5.0;

using Hardware::Linux::GlimOffsetStore;
using Hardware::Linux::GlimQueueOffsetStore;
using Hardware::Linux::LinuxCountersHelper;

template <class Table>
auto published(Kel::Ptr<Table> const& rows) {
  return [rows](Pekt::IntfId const& intfId) -> std::optional<typename Table::Record> {
    typename Table::Record row;
    bool found = false;
    rows->safeLookup(intfId, found, row);
    return found ? std::optional(row) : std::nullopt;
  };
}

// Of either kind of interface.
LinuxCountersHelper::PublishedRow publishedRows(Tables const& tables) {
  return [ethernet = published(tables.intfCounters()),
          vlan = published(tables.vlanIntfCounters())](Pekt::IntfId const& intfId) {
    if (!Pekt::VlanIntfId::isVlanIntfId(intfId)) return ethernet(intfId);
    auto const row = vlan(intfId);
    return row ? std::optional(Hardware::Linux::asPort(*row)) : std::nullopt;
  };
}

Kel::Ptr<LinuxCountersHelper> makeHelper(AclDropMap const& aclDrops, bool keepCounters,
                                         Tables& tables, Kel::Ptr<Kel::Clock> const& clock) {
  auto const drops = tables.aclDropCounters();
  return Kel::make<LinuxCountersHelper>(
      Kel::Name("linux"),
      LinuxCountersHelper::kernelParts(
          {.offsets = std::make_unique<GlimOffsetStore>(
               tables.add<GlimOffsetStore::Table>(Hardware::Linux::kLinkOffsets)),
           .publishedRow = publishedRows(tables),
           .queueOffsets = std::make_unique<GlimQueueOffsetStore>(
               tables.add<GlimQueueOffsetStore::Table>(Hardware::Linux::kQueueOffsets)),
           .publishedQueues = published(tables.intfQueueCounters()),
           .publishedDrops =
               [drops](Pekt::IntfId const& intfId) { return drops->lookup(intfId).aclDropPkts; },
           .now = [clock] { return clock->time(); },
           .aclDrops = aclDrops,
           .say = &say,
           .queueClearing = {tables.intfQueueCounters(), tables.intfClearQueueCounters()},
           .copp = {.rows = tables.coppCounters(),
                    .offsets = tables.add<Hardware::Linux::CoppOffsetTable>(
                        Hardware::Linux::kCoppOffsets, kMaxCoppClasses),
                    .policyMap = std::string(kCoppPolicyMap),
                    .keepsRows = keepCounters,
                    .steady = &ClockDriver::sinceBoot}}));
}

}  // namespace

KernelChip::KernelChip(LinkNames const& names, AclDropMap const& aclDrops, bool keepCounters,
                       VlanOptions const& vlanOptions, Tables& tables, Interfaces& interfaces,
                       Vlans& vlans, Kel::Ptr<Kel::Clock> const& clock)
    : _clock(clock),
      _vlanRows(tables.vlanIntfCounters()),
      _helper(makeHelper(aclDrops, keepCounters, tables, clock)),
      _monitor([this](int ifindex) { return _speed.of(ifindex); }),
      _sync(names, interfaces, *this),
      _kernelVlans(vlanOptions, KernelVlans::kernelParts(vlanOptions, tables, clock), vlans) {}

void KernelChip::start(EventLoop& loop) {
  Hardware::Linux::LinkMonitor::Events events;
  if (auto const error = _monitor.start(events))
    throw std::system_error(error, "cannot list the links of this machine");
  handle(events);
  _sync.listed();
  lookForClasses();
  loop.readableIs(_monitor.fd(), [this] { takeNews(); });
  _kernelVlans.start(loop);
}

std::optional<Interface::CounterSet> KernelChip::unsupported(Pekt::IntfId const& intfId) {
  return _helper->unsupportedCounters(intfId);
}

std::optional<std::uint32_t> KernelChip::unsupportedQueue(Pekt::IntfId const& intfId) {
  return _helper->unsupportedQueueCounters(intfId);
}

// While there is a CPU port, its poller reads them.
void KernelChip::lookForClasses() {
  Kel::Seconds const now = _clock->time();
  bool const isDue = !_lastLook || now < *_lastLook || now - *_lastLook >= kLookForClasses;
  if (_helper->coppClasses() || !isDue) return;
  _lastLook = now;
  _helper->getCoppCounters();
}

CoppClassNames const* KernelChip::coppClasses() const {
  auto const& classes = _helper->coppClasses();
  return classes ? &*classes : nullptr;
}

void KernelChip::turn() {
  if (_newsIsDue) takeNews();
  lookForClasses();
  _kernelVlans.turn();
  bool const offsetsFail = _helper->offsetsNotSaved() != 0;
  if (offsetsFail && !_offsetsFail)
    say("the offsets of reset counters could not be kept; should the agent end now, counts may "
        "double. Is the tmpfs of the tables full?");
  _offsetsFail = offsetsFail;
}

void KernelChip::takeNews() {
  Hardware::Linux::LinkMonitor::Events events;
  auto const error = _monitor.poll(events);
  handle(events);
  if (error && !_newsIsDue) say("cannot read news of the links, trying on: " + error.message());
  _newsIsDue = static_cast<bool>(error);
}

void KernelChip::handle(Hardware::Linux::LinkMonitor::Events const& events) {
  for (auto const& event : events) _sync.handle(event);
}

KernelChip::RowsOf KernelChip::rowsOf(Pekt::IntfId const& intfId, Link const& link) {
  return _helper->rowsOf(intfId, link.ifindex);
}

bool KernelChip::reserve(Pekt::IntfId const& intfId, Link const& link) {
  return _helper->reserve(intfId, link.ifindex);
}

bool KernelChip::moveTo(Pekt::IntfId const& intfId, Link const& link) {
  return _helper->moveTo(intfId, link.ifindex);
}

void KernelChip::linkIs(Pekt::IntfId const& intfId, Link const& link) {
  _helper->linkIs(intfId, link);
}

void KernelChip::linkDel(Pekt::IntfId const& intfId) {
  _helper->linkDel(intfId);
  // The library removed the row after the helper's part was over.
  if (Pekt::VlanIntfId::isVlanIntfId(intfId) && !_vlanRows->contains(intfId))
    _helper->forget(intfId);
}

}  // namespace Agent
