#include "platform/interface/load_interval.h"

#include "platform/kel/exceptions.h"
#include "platform/kel/strep.h"

namespace Interface {

LoadInterval::LoadInterval(double seconds) : _seconds(seconds) {
  if (!(seconds >= kMin && seconds <= kMax))
    Kel::throwRangeException("a load interval is " + Kel::numberText(kMin) + " to " +
                             Kel::numberText(kMax) + " seconds, not " + Kel::numberText(seconds));
}

}  // namespace Interface
