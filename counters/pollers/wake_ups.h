// When pollers are woken.
#pragma once

#include <algorithm>

#include "counters/pollers/helper.h"
#include "platform/kel/system.h"

namespace Oru::Counters {

// The first wake-up of a poller that is started now: not before the chip's first sample is worth
// reading.
inline Kel::Seconds firstWakeUp(OruHelper::OruHelperCountersSm const& helper, Kel::Seconds period) {
  return Kel::System::currentTime() + std::max(period, helper.firstSyncDelay());
}

// The clock of a poller that has none, or no longer, is not set.
template <class ClockInput>
void wakeUpAfter(ClockInput& clock, Kel::Seconds period) {
  if (clock) clock->timeMinIs(Kel::System::currentTime() + period);
}

// Polls, then sets the next wake-up, also after a poll that throws: one that fails is not the last.
template <class Poll, class SetNext>
void pollAndSetNext(Poll const& poll, SetNext const& setNext) {
  try {
    poll();
  } catch (...) {
    setNext();
    throw;
  }
  setNext();
}

}  // namespace Oru::Counters
