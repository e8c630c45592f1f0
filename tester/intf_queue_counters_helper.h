// A platform helper without a chip: it delivers the queue counters that a test writes into it.
#pragma once

#include <cstdint>

#include "counters/pollers/helper.h"
#include "platform/interface/queue_counter.h"
#include "platform/kel/description.h"
#include "tester/record_entry.h"

namespace Interface::QueueCounter {
class AllIntfQueueCounters;
}

namespace Oru::Counters {

// Serves the pollers of queue counters as a chip does, from records by interface:
//
//   auto const helper = Oru::Counters::intfQueueCountersHelperFactory("helper");
//   helper->queueCountersIncrementIs(true);
//   helper->intfIncCountersIs(record);       // delivered by the next poll, once
//
// While queueCountersIncrement() is clear, polls deliver intfExpectedCounters, absolute counts that
// stand until they are written again; while it is set, intfIncCounters, each increment once. An
// interface without a record delivers an empty one: no queues, and zero for all of them together.
// Of a record, the counts count; its queue
// types are of no matter, since all interfaces have the same queues: numUnicastQueues of them,
// numbered from 0, then numMulticastQueues.
//
// What the contract asks for besides queues is as on a machine without a chip. Clearing is not the
// helper's either: a test compares the live table with the clear table
// (computeIntfQueueCounterDiff).
class IntfQueueCountersHelper
    : public Kel::Typed<IntfQueueCountersHelper, OruHelper::OruHelperCountersSm> {
 public:
  using Record = Interface::QueueCounter::IntfQueueCounter;
  using Records = Kel::RbTreeMap<Tester::RecordEntry, Pekt::IntfId>;
  using Table = Interface::QueueCounter::AllIntfQueueCounters;

  class NotifieeConst : public Kel::NotifieeOn<IntfQueueCountersHelper,
                                               OruHelper::OruHelperCountersSm::NotifieeConst> {
   public:
    virtual void onIntfExpectedCounters(Pekt::IntfId) {}
    virtual void onIntfExpectedCounterskelImmediate() {}
    virtual void onIntfExpectedCounters() {}
    virtual void onIntfIncCounters(Pekt::IntfId) {}
    virtual void onIntfIncCounterskelImmediate() {}
    virtual void onIntfIncCounters() {}
    virtual void onNumUnicastQueues() {}
    virtual void onNumMulticastQueues() {}
  };
  class Notifiee : public NotifieeConst {};

  explicit IntfQueueCountersHelper(Kel::Name name);
  ~IntfQueueCountersHelper() override;

  // The absolute counts of each interface.
  Records const& intfExpectedCounters() const { return _intfExpectedCounters; }
  // Without a record: one of the interface without queues, all zero.
  Record intfExpectedCounters(Pekt::IntfId const& intfId) const;
  // Every write is told, that of an equal record too.
  void intfExpectedCountersIs(Record const& record);
  void intfExpectedCountersDel(Pekt::IntfId const& intfId);
  void intfExpectedCountersDelAll();

  // The increments that the next poll of each interface is to deliver: the same orders.
  Records const& intfIncCounters() const { return _intfIncCounters; }
  Record intfIncCounters(Pekt::IntfId const& intfId) const;
  void intfIncCountersIs(Record const& record);
  void intfIncCountersDel(Pekt::IntfId const& intfId);
  void intfIncCountersDelAll();

  // The queues of every interface; together 17 by default, which is what a row can hold. They are
  // added in 8 bits. With more than 17, the start of a poller ends in Kel::RangeException.
  std::uint8_t numUnicastQueues() const { return _numUnicastQueues; }
  void numUnicastQueuesIs(std::uint8_t queues) {
    assign(_numUnicastQueues, queues, &NotifieeConst::onNumUnicastQueues);
  }
  std::uint8_t numMulticastQueues() const { return _numMulticastQueues; }
  void numMulticastQueuesIs(std::uint8_t queues) {
    assign(_numMulticastQueues, queues, &NotifieeConst::onNumMulticastQueues);
  }

  void getIntfQueueType(Pekt::IntfId intfId, Kel::Ptr<OruTypes::IntfQueueType> queueType) override;
  // Throws Kel::RangeException for a record that says it has more than 17 queues.
  void getIntfQueueCounters(Pekt::IntfId intfId,
                            Kel::Ptr<OruTypes::IntfQueueCounters> counters) override;
  void doClearCounters(Kel::String reason) override;

  // The counters of an interface as seen since the last clear: its current row less its row in the
  // clear table, each queue by itself and all of them together, modulo 2^64. What only the current
  // row has is returned as it is; without a current row, a record of the interface without queues.
  // A table that turns out to be corrupt is detached, and then has no row. Throws
  // Kel::RangeException for a row that says it has more than 17 queues. REQUIRES: queues of one
  // number are of one type in both.
  static Record computeIntfQueueCounterDiff(Kel::Ptr<Table> const& current,
                                            Kel::Ptr<Table> const& cleared,
                                            Pekt::IntfId const& intfId);

  static constexpr auto kelDescription() {
    using X = IntfQueueCountersHelper;
    return Kel::describe(
        "Oru::Counters::IntfQueueCountersHelper", Kel::key("name", &X::name),
        Kel::value("queueCountersIncrement", &X::queueCountersIncrement,
                   &X::queueCountersIncrementIs),
        Kel::records("intfExpectedCounters", &X::_intfExpectedCounters,
                     &X::intfExpectedCountersDel),
        Kel::records("intfIncCounters", &X::_intfIncCounters, &X::intfIncCountersDel),
        Kel::value("numUnicastQueues", &X::numUnicastQueues, &X::numUnicastQueuesIs),
        Kel::value("numMulticastQueues", &X::numMulticastQueues, &X::numMulticastQueuesIs),
        Kel::operation("intfExpectedCountersDel", &X::intfExpectedCountersDel),
        Kel::operation("intfExpectedCountersDelAll", &X::intfExpectedCountersDelAll),
        Kel::operation("intfIncCountersDel", &X::intfIncCountersDel),
        Kel::operation("intfIncCountersDelAll", &X::intfIncCountersDelAll));
  }
  static Kel::TypeNode const _kelType;

 private:
  Records _intfExpectedCounters;
  Records _intfIncCounters;
  std::uint8_t _numUnicastQueues = 9;
  std::uint8_t _numMulticastQueues = 8;
};

// Makes one. The name is that of the entity in its directory, if it has one. Throws
// Kel::RangeException "null ValidPtr" when there is no memory.
Kel::Ptr<IntfQueueCountersHelper> intfQueueCountersHelperFactory(Kel::Name name);

}  // namespace Oru::Counters
