// The agent's activity: the one thread on which everything here runs, and its
// clock.
#pragma once

#include "platform/kel/clock.h"
#include "platform/kel/ptr_interface.h"

namespace Kel {

struct ActivityManagerConfig {
  // The clock of the activity thread, which its event loop (or a test) advances.
  // Made on first use.
  static Ptr<Clock> clock();
  // Puts another clock in its place, for what is made from now on; null makes a
  // new one on the next use.
  static void clockIs(Ptr<Clock> const& clock);
};

}  // namespace Kel
