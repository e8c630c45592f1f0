// The contract between the counters and a chip platform.
#pragma once

#include <cstdint>

#include "platform/kel/seconds.h"
#include "platform/kel/text.h"
#include "platform/oru/base_helper.h"
#include "platform/pekt/intf_id.h"

namespace OruTypes {
class IntfCounters;
class IntfQueueCounters;
class IntfQueueType;
class VlanIntfCounters;
}  // namespace OruTypes

namespace OruHelper {

// What a chip does for the counters. Each platform derives from it and
// overrides what its chip supports; the defaults are those of a machine without
// a chip: nothing is counted and nothing is supported. Everything is called on
// the agent's thread, and no operation has to report an error: what the chip
// cannot tell stays as the record was given. What an operation throws all the
// same ends the poll, and the next one is made as usual.
class OruHelperCountersSm : public Oru::OruBaseHelper {
 public:
  class NotifieeConst : public Kel::NotifieeOn<OruHelperCountersSm> {
   public:
    virtual void onQueueCountersIncrement() {}
  };
  class Notifiee : public NotifieeConst {};

  explicit OruHelperCountersSm(Kel::Name name) : OruBaseHelper(std::move(name)) {}

  // Slots, in contract order.

  // Prepares the chip; before any poller exists.
  virtual void hwInit() {}
  // Prepares one port; before its first poll.
  virtual void initialize(Pekt::IntfId) {}
  // Releases one port; after its last poll.
  virtual void deinitialize(Pekt::IntfId) {}
  // Says which interface is the CPU port; before its first poll.
  virtual void initializeCpuPort(Kel::String /*intfName*/) {}
  // Refreshes the control-plane policing counters.
  virtual void getCoppCounters() {}
  // Resets the CPU queue counters of one class of the control-plane policy map.
  virtual void resetCpuQueueCounters(Kel::Name /*className*/) {}
  // How long the chip needs before its first sample is worth reading, seconds.
  virtual Kel::Seconds firstSyncDelay() const { return 0.0; }
  // Fills newCounters with the absolute counts of now; prevCounters is the
  // previous sample, for reference.
  virtual void getCounters(Pekt::IntfId, Kel::Ptr<OruTypes::IntfCounters> /*newCounters*/,
                           Kel::Ptr<OruTypes::IntfCounters> /*prevCounters*/) {}
  // Tells the queues of an interface.
  virtual void getIntfQueueType(Pekt::IntfId, Kel::Ptr<OruTypes::IntfQueueType>) {}
  // Fills the queue counters: increments since the previous call while
  // queueCountersIncrement() is set, in a record that comes empty; otherwise
  // absolute counts, in the record as it was filled before. What is not set
  // leaves the interface's row as it is.
  virtual void getIntfQueueCounters(Pekt::IntfId, Kel::Ptr<OruTypes::IntfQueueCounters>) {}
  // As getCounters, for a VLAN interface.
  virtual void getVlanIntfCounters(Pekt::IntfId,
                                   Kel::Ptr<OruTypes::VlanIntfCounters> /*newCounters*/,
                                   Kel::Ptr<OruTypes::VlanIntfCounters> /*prevCounters*/) {}
  // Sets up the counters of a VLAN interface, vlanId 1 to 4094; false: it cannot be counted. Asked
  // at each notification of the interface while it is there, also of one that has its counters:
  // those are to go on.
  virtual bool initializeVlanIntfCounters(Pekt::IntfId, std::uint16_t /*vlanId*/) { return false; }
  // Releases them; once, when the interface's poller goes.
  virtual void deleteVlanIntfCounters(Pekt::IntfId) {}
  // Clears what the chip keeps itself; "all" or the name of one interface.
  virtual void doClearCounters(Kel::String /*request*/) {}
  virtual bool aclDropCountersSupported() { return false; }
  // Packets that access lists dropped on an interface, absolute.
  virtual std::uint64_t getIntfAclDropCounters(Pekt::IntfId) { return 0; }

  // Says what getIntfQueueCounters delivers.
  bool queueCountersIncrement() const { return _queueCountersIncrement; }
  void queueCountersIncrementIs(bool increment) {
    assign(_queueCountersIncrement, increment, &NotifieeConst::onQueueCountersIncrement);
  }

 private:
  bool _queueCountersIncrement = false;
};

}  // namespace OruHelper
