// Where counters come from, and which interfaces there are: the part of the agent that differs from
// machine to machine.
#pragma once

#include <cstdint>
#include <optional>
#include <set>

#include "agent/event_loop.h"
#include "agent/interfaces.h"
#include "counters/pollers/helper.h"
#include "counters/vlan/helper.h"
#include "platform/qos/copp_class_name.h"

namespace Agent {

using CoppClassNames = std::set<Qos::CoppClassName>;

class Chip {
 public:
  virtual ~Chip() = default;

  virtual Kel::Ptr<OruHelper::OruHelperCountersSm> helper() const = 0;

  // The chip as the counters of VLANs see it.
  virtual Kel::Ptr<OruHelper::OruVlanCountersHelper> vlanHelper() const = 0;

  // Tells which interfaces and VLANs there are, and from now on whenever that changes. Throws
  // std::system_error when the machine does not say.
  virtual void start(EventLoop& loop) = 0;

  // Tells the interfaces and VLANs again that were refused for want of room.
  virtual void retellRefused() = 0;

  // Whether the VLANs that there are were told, so that rows of others may go. Where not, the
  // machine could not say yet, and is asked on.
  virtual bool vlansAreTold() const { return true; }

  // Whether the VLAN's counts were read when it was last polled.
  virtual bool couldRead(Bridging::VlanId) const { return true; }

  // The counters that this interface's hardware cannot count. No value: that cannot be told just
  // now.
  virtual std::optional<Interface::CounterSet> unsupported(Pekt::IntfId const&) {
    return Interface::CounterSet();
  }

  // The same of its queues: bits of Interface::kQueueCounterNames.
  virtual std::optional<std::uint32_t> unsupportedQueue(Pekt::IntfId const&) { return 0; }

  // The classes of control-plane policing, as they were read last. Null: the chip has no CPU port.
  virtual CoppClassNames const* coppClasses() const { return nullptr; }

  // Called in every turn of the loop, before the interfaces of which there was news are polled.
  virtual void turn() {}
};

}  // namespace Agent
