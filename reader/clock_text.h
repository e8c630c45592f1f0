// The time of day as people read it.
#pragma once

#include <string>

namespace Show {

// "2026-11-21 11:05:03", local time, of seconds since the epoch.
std::string clockText(double time);
// The same, and of a time on the day of `now`, the time of day alone: "11:05:03".
std::string clockText(double time, double now);

}  // namespace Show
