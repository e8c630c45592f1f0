// Virtual time: the system's time and the activity's clock stand still until the
// test moves them.
#pragma once

#include "platform/kel/clock.h"
#include "platform/kel/system.h"

namespace Support {

class VirtualTime {
 public:
  static constexpr Kel::Seconds kStart = 1000.0;

  VirtualTime();
  ~VirtualTime();
  VirtualTime(VirtualTime const&) = delete;
  VirtualTime& operator=(VirtualTime const&) = delete;

  Kel::Ptr<Kel::Clock> const& clock() const { return _clock; }
  Kel::Seconds now() const;
  // Moves to `time` and runs the clock at each wake-up on the way.
  void runTo(Kel::Seconds time);
  void runFor(Kel::Seconds span) { runTo(now() + span); }
  // Moves without running the clock.
  void nowIs(Kel::Seconds time);

 private:
  Kel::Ptr<Kel::Clock> _clock;
};

}  // namespace Support
