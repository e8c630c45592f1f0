#include "platform/kel/seconds.h"

#include <cmath>

#include "platform/kel/exceptions.h"
#include "platform/kel/strep.h"

namespace Kel {

void requirePeriod(Seconds period) {
  if (!std::isfinite(period) || period < 0.0)
    throwRangeException("a period is 0 or more seconds, not " + numberText(period));
}

void requireTime(Seconds when) {
  if (std::isnan(when)) throwRangeException("a wake-up needs a time");
}

}  // namespace Kel
