// Ethernet interfaces as they come and go: their rows, writer status and
// pollers.
#include "counters/counters_sm.h"
#include "counters/pollers/intf_acl_drop_counters_sm.h"
#include "counters/pollers/intf_queue_counters_sm.h"
#include "counters/pollers/port_counters_sm.h"
#include "counters/pollers/unit.h"
#include "platform/interface/counter_tables.h"
#include "platform/kel/activity.h"

namespace Oru::Counters {

void CountersSm::handleIntf() {
  if (!started() || !ocsd()) return;
  auto const data = ocsd();  // a handler may be the end of it
  for (auto const& [id, served] : Kel::walk(data->intf())) handleIntf(id);
}

void CountersSm::handleIntf(Pekt::IntfId intfId) {
  if (!started()) return;
  if (auto t = trace(8)) t << "CountersSm::handleIntf(" << intfId << ')';
  EthIntf const now = ethIntf(intfId);
  if (now.present())
    intfPresent(intfId);
  else
    intfAbsent(intfId, bool(now.status));
}

CountersSm::EthIntf CountersSm::ethIntf(Pekt::IntfId const& intfId) const {
  auto const statuses = ethPhyIntfStatusDir();
  auto const configs = ethPhyIntfConfigDir();
  return {.served = ocsd() && ocsd()->intf(intfId),
          .status = statuses ? statuses->intfStatus(intfId) : nullptr,
          .config = configs ? configs->intfConfig(intfId) : nullptr};
}

// The order of the steps is part of the contract, here and in intfAbsent.
void CountersSm::intfPresent(Pekt::IntfId const& intfId) {
  if (writerConfig()) writerConfig()->intfIs(intfId, true);
  if (aclDropConfig()) aclDropConfig()->intfIs(intfId, true);
  if (allIntfCounters()) {
    addRows(intfId);
    ethIntfCounterWriterStatus()->intfIs(intfId, true);
  }
  // Whoever was told may have ended the interface meanwhile.
  EthIntf const now = ethIntf(intfId);
  if (!now.present()) return intfAbsent(intfId, bool(now.status));

  auto const clock = Kel::ActivityManagerConfig::clock();
  auto const poller = portCountersSmIs(ocsd(), intfId, cliCounterConfig(), clock, now.config,
                                       now.status, platformHelper(), globalIntfConfig(),
                                       allIntfCounters(), allIntfClearCounters());
  poller->counterPollPeriodIs(counterPollPeriod());
  poller->initializedIs(true);
  if (portCountersSm(intfId) != poller) return;  // ended by what that set off, in part or whole

  if (allIntfQueueCounters()) {
    auto const queues =
        intfQueueCountersSmIs(ocsd(), intfId, counterPollPeriod(), clock, platformHelper(),
                              allIntfQueueCounters(), allIntfClearQueueCounters());
    queues->initializedIs(true);
    if (intfQueueCountersSm(intfId) != queues) return;
  }
  if (platformHelper()->aclDropCountersSupported()) {
    auto const before = addDropRow(intfId);
    intfAclDropCountersSmIs(intfId, clock, before, intfAclDropCountersDir(), platformHelper());
    // Its construction polls, which may have ended the interface as well.
    if (portCountersSm(intfId) != poller) intfAclDropCountersSmDel(intfId);
  }
}

// Zero rows in both tables; an interface that has its row keeps it, and the
// clear table is then not touched.
void CountersSm::addRows(Pekt::IntfId const& intfId) {
  if (allIntfCounters()->contains(intfId)) return;
  Interface::EthIntfCounterGlim row;
  row.intfId = intfId;
  allIntfCounters()->counterIs(row);
  allIntfClearCounters()->counterIs(row);
}

// Answers the row as it stood before: the default one where there was none.
Glim::Interface::DropCounter CountersSm::addDropRow(Pekt::IntfId const& intfId) {
  auto const found = intfAclDropCountersDir()->counter(intfId);
  if (found == Glim::Interface::DropCounter()) {
    if (auto t = trace(6)) t << " Adding Glim entry acldrop for " << intfId;
    intfAclDropCountersDir()->counterIs({.intfId = intfId});
  }
  return found;
}

void CountersSm::intfAbsent(Pekt::IntfId const& intfId, bool statusExists) {
  if (writerConfig() && writerConfig()->intf().contains(intfId)) writerConfig()->intfDel(intfId);
  if (aclDropConfig()) aclDropConfig()->intfIs(intfId, false);
  bool const keep = statusExists && ocsd() && ocsd()->keepIntfCounters();
  if (allIntfCounters() && !keep) {
    ethIntfCounterWriterStatus()->intfDel(intfId);
    allIntfCounters()->counterDel(intfId);
    allIntfClearCounters()->counterDel(intfId);
  }
  if (auto const poller = portCountersSm(intfId)) {
    poller->handleExit();
    portCountersSmDel(intfId);
  }
  _intfQueueCountersSm.endMember(intfId);
  _intfAclDropCountersSm.endMember(intfId);
}

}  // namespace Oru::Counters
