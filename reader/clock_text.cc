#include "reader/clock_text.h"

#include <ctime>

#include "reader/units.h"

namespace Show {

namespace {

// Of a time that no calendar has, what stands where there is no value.
std::string formatted(double time, char const* format) {
  auto const whole = static_cast<std::time_t>(time);
  std::tm parts{};
  char text[64];
  if (!(time >= 0.0 && time < 1e12) || ::localtime_r(&whole, &parts) == nullptr)
    return std::string(kNotAvailable);
  return {text, std::strftime(text, sizeof text, format, &parts)};
}

std::string dayOf(double time) { return formatted(time, "%Y-%m-%d"); }

}  // namespace

std::string clockText(double time) { return formatted(time, "%Y-%m-%d %H:%M:%S"); }

std::string clockText(double time, double now) {
  return dayOf(time) == dayOf(now) ? formatted(time, "%H:%M:%S") : clockText(time);
}

}  // namespace Show
