// The contract between the VLAN counters and a chip platform.
#pragma once

#include "counters/vlan/counter_records.h"
#include "platform/kel/seconds.h"
#include "platform/oru/base_helper.h"

namespace OruHelper {

// What a chip does for the counters of VLANs. Each platform derives from it; the defaults are those
// of a machine without a chip. Everything is called on the agent's thread.
//
// What a poll's operation throws ends the poll of all VLANs, and the next one is made as usual.
// What initializeVlanCounters throws ends the start, or leaves the VLAN of a notification with its
// rows and unprepared until it is told again.
class OruVlanCountersHelper : public Oru::OruBaseHelper {
 public:
  explicit OruVlanCountersHelper(Kel::Name name) : OruBaseHelper(std::move(name)) {}

  // Slots, in contract order.

  // Prepares the counters of a VLAN, which has its rows by then. Called again with each
  // notification of a VLAN that is there, also for one that was prepared before.
  virtual void initializeVlanCounters(Bridging::VlanId) {}
  // The least time between the start and the first poll that the chip can serve, seconds (0 or
  // more, finite). Asked once, at the start; an agent that polls of its own accord does not wait
  // for it.
  virtual Kel::Seconds minimumPollInterval() { return 0.0; }
  // Fills in the absolute counts of now, and those of the sample before: the difference is what is
  // added to the row. Both come zeroed, so the platform itself keeps the previous sample.
  virtual void getVlanCounters(Bridging::VlanId, Kel::Ptr<OruTypes::VlanCounters> /*newCounters*/,
                               Kel::Ptr<OruTypes::VlanCounters> /*prevCounters*/) {}
};

}  // namespace OruHelper
