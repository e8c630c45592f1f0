// Times and spans of time.
#pragma once

namespace Kel {

// Seconds; an absolute time counts from the epoch.
using Seconds = double;

// Throws RangeException where `period` is no span of time: negative, or not a finite number.
void requirePeriod(Seconds period);
// Throws RangeException where `when` is not a number: such a time has no place in order.
void requireTime(Seconds when);

}  // namespace Kel
