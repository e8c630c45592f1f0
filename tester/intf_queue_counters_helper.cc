#include "tester/intf_queue_counters_helper.h"

#include <algorithm>
#include <utility>

#include "counters/pollers/counter_records.h"
#include "platform/interface/counter_tables.h"
#include "tester/unit.h"

namespace Oru::Counters {

using Interface::QueueCounter::QueueIndex;

namespace {

using Record = IntfQueueCountersHelper::Record;

Record emptyRecord(Pekt::IntfId const& intfId) {
  Record record;
  record.intfId = intfId;
  return record;
}

Record recordOf(IntfQueueCountersHelper::Records const& records, Pekt::IntfId const& intfId) {
  auto const it = records.find(intfId);
  return it == records.end() ? emptyRecord(intfId) : it->second.value();
}

void write(IntfQueueCountersHelper::Records& records, Record const& record) {
  auto const [it, added] = records.try_emplace(record.intfId, record);
  if (!added) it->second.valueIs(record);
}

}  // namespace

constinit Kel::TypeNode const IntfQueueCountersHelper::_kelType =
    Kel::entityTypeNode<IntfQueueCountersHelper>();

IntfQueueCountersHelper::IntfQueueCountersHelper(Kel::Name name) : Typed(std::move(name)) {}
IntfQueueCountersHelper::~IntfQueueCountersHelper() = default;

Record IntfQueueCountersHelper::intfExpectedCounters(Pekt::IntfId const& intfId) const {
  return recordOf(_intfExpectedCounters, intfId);
}
void IntfQueueCountersHelper::intfExpectedCountersIs(Record const& record) {
  write(_intfExpectedCounters, record);
  notify<NotifieeConst, Pekt::IntfId>(&NotifieeConst::onIntfExpectedCounters, record.intfId);
}
void IntfQueueCountersHelper::intfExpectedCountersDel(Pekt::IntfId const& intfId) {
  erase(_intfExpectedCounters, intfId, &NotifieeConst::onIntfExpectedCounters);
}
void IntfQueueCountersHelper::intfExpectedCountersDelAll() {
  eraseAll(_intfExpectedCounters, &NotifieeConst::onIntfExpectedCounterskelImmediate,
           &NotifieeConst::onIntfExpectedCounters);
}

Record IntfQueueCountersHelper::intfIncCounters(Pekt::IntfId const& intfId) const {
  return recordOf(_intfIncCounters, intfId);
}
void IntfQueueCountersHelper::intfIncCountersIs(Record const& record) {
  write(_intfIncCounters, record);
  notify<NotifieeConst, Pekt::IntfId>(&NotifieeConst::onIntfIncCounters, record.intfId);
}
void IntfQueueCountersHelper::intfIncCountersDel(Pekt::IntfId const& intfId) {
  erase(_intfIncCounters, intfId, &NotifieeConst::onIntfIncCounters);
}
void IntfQueueCountersHelper::intfIncCountersDelAll() {
  eraseAll(_intfIncCounters, &NotifieeConst::onIntfIncCounterskelImmediate,
           &NotifieeConst::onIntfIncCounters);
}

void IntfQueueCountersHelper::getIntfQueueType(Pekt::IntfId,
                                               Kel::Ptr<OruTypes::IntfQueueType> queueType) {
  auto const queues = static_cast<std::uint8_t>(numUnicastQueues() + numMulticastQueues());
  for (std::uint8_t i = 0; i < queues; ++i)
    queueType->queueTypeIs(
        i, i < numUnicastQueues() ? OruTypes::QueueType::unicast : OruTypes::QueueType::multicast);
}

void IntfQueueCountersHelper::getIntfQueueCounters(Pekt::IntfId intfId,
                                                   Kel::Ptr<OruTypes::IntfQueueCounters> counters) {
  bool const increment = queueCountersIncrement();
  Record const record = increment ? intfIncCounters(intfId) : intfExpectedCounters(intfId);
  if (increment) intfIncCountersIs(emptyRecord(intfId));

  counters->clear();
  counters->intfCountsIs(record.intfCounts);
  for (std::uint32_t i = 0; i < record.statistics.size(); ++i) {
    QueueIndex const index(i);
    counters->queueCountsIs(index, record.statistics[index].counts);
  }
}

void IntfQueueCountersHelper::doClearCounters(Kel::String) {}

Record IntfQueueCountersHelper::computeIntfQueueCounterDiff(Kel::Ptr<Table> const& current,
                                                            Kel::Ptr<Table> const& cleared,
                                                            Pekt::IntfId const& intfId) {
  Record diff;
  bool found = false;
  current->safeLookup(intfId, found, diff);
  if (!found) return emptyRecord(intfId);
  Record const before = cleared->intfQueueCounter(intfId);
  for (Record const* const row : {&std::as_const(diff), &before})
    if (auto const queues = row->statistics.size(); queues != 0) QueueIndex{queues - 1};
  auto const both = std::min(diff.statistics.size(), before.statistics.size());
  for (std::uint32_t number = 0; number < both; ++number) {
    QueueIndex const index(number);
    auto& now = diff.statistics[index];
    auto const& then = before.statistics[index];
    Tester::require(now.queueType == then.queueType, "qs.queueType() == i->queueType()",
                    Tester::Line::sameQueueType);
    now.counts -= then.counts;
  }
  diff.intfCounts -= before.intfCounts;
  return diff;
}

Kel::Ptr<IntfQueueCountersHelper> intfQueueCountersHelperFactory(Kel::Name name) {
  return Kel::make<IntfQueueCountersHelper>(std::move(name));
}

}  // namespace Oru::Counters
