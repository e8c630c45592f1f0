// When pollers are woken.
#pragma once

#include <algorithm>

#include "counters/pollers/helper.h"

namespace Oru::Counters {

// The first wake-up of a poller that is started now: not before the chip's first sample is worth
// reading.
inline Kel::Seconds firstWakeUp(OruHelper::OruHelperCountersSm const& helper, Kel::Seconds period) {
  return Kel::System::currentTime() + std::max(period, helper.firstSyncDelay());
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
