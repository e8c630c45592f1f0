#include "reader/clock_text.h"

#include <array>
#include <ctime>

namespace Show {

std::string clockText(double time) {
  auto const whole = static_cast<std::time_t>(time);
  std::tm parts{};
  std::array<char, 64> text;
  if (::localtime_r(&whole, &parts) == nullptr) return {};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts)};
}

}  // namespace Show
