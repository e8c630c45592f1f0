// Where counters come from, and which interfaces there are: the part of the agent that differs from
// machine to machine.
#pragma once

#include <limits>

#include "agent/event_loop.h"
#include "agent/interfaces.h"
#include "counters/pollers/helper.h"

namespace Agent {

class Chip {
 public:
  virtual ~Chip() = default;

  virtual Kel::Ptr<OruHelper::OruHelperCountersSm> helper() const = 0;

  // Tells which interfaces there are, and from now on whenever that changes. Throws
  // std::system_error when the machine does not say.
  virtual void start(EventLoop& loop) = 0;

  // The counters that this interface's hardware cannot count.
  virtual Interface::CounterSet unsupported(Pekt::IntfId const&) { return {}; }

  // Called in every turn of the loop, before the interfaces of which there was news are polled.
  virtual void turn() {}
};

}  // namespace Agent
