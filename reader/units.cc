#include "reader/units.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace Show {

namespace {

template <class... Arguments>
std::string formatted(char const* format, Arguments... arguments) {
  std::array<char, 64> text;
  int const n = std::snprintf(text.data(), text.size(), format, arguments...);
  return {text.data(), static_cast<std::size_t>(n)};
}

bool continuation(char c) { return (static_cast<unsigned char>(c) & 0xc0u) == 0x80u; }

// The length of the well-formed UTF-8 character at the start of the text; 0 when there is none, or
// when it is a control character.
std::size_t characterLength(std::string_view text) {
  auto const byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  unsigned char const lead = byte(0);
  if (lead < 0x80) return lead >= 0x20 && lead != 0x7f ? 1 : 0;
  std::size_t const length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  if (lead < 0xc2 || lead > 0xf4 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i)
    if (!continuation(text[i])) return 0;
  bool const overlong = (lead == 0xe0 && byte(1) < 0xa0) || (lead == 0xf0 && byte(1) < 0x90);
  bool const surrogate = lead == 0xed && byte(1) > 0x9f;
  bool const beyond = lead == 0xf4 && byte(1) > 0x8f;
  bool const control = lead == 0xc2 && byte(1) < 0xa0;
  return overlong || surrogate || beyond || control ? 0 : length;
}

}  // namespace

std::string scaled(double value, std::string_view unit) {
  static constexpr std::array prefixes{"", "k", "M", "G", "T", "P", "E"};
  if (!std::isfinite(value) || value < 0.0) return std::string(kNotAvailable);
  std::size_t prefix = 0;
  // 999.5 would be rounded to a fourth digit.
  while (value >= 999.5 && prefix + 1 < prefixes.size()) {
    value /= 1000.0;
    ++prefix;
  }
  int digits = value >= 99.95 ? 0 : value >= 9.995 ? 1 : 2;
  if (prefix == 0) digits = value == 0.0 || value >= 9.95 ? 0 : 1;
  return formatted("%.*f ", digits, value) + prefixes[prefix] + std::string(unit);
}

std::string utilisation(double bitsPerSecond, std::uint64_t speed) {
  if (speed == 0 || !std::isfinite(bitsPerSecond) || bitsPerSecond < 0.0)
    return std::string(kNotAvailable);
  return formatted("%.1f %%", 100.0 * bitsPerSecond / static_cast<double>(speed));
}

std::string ageText(std::optional<double> seconds) {
  if (!seconds) return "never";
  if (!std::isfinite(*seconds)) return std::string(kNotAvailable);
  if (*seconds < 9.95) return formatted("%.1f s", *seconds);
  if (*seconds >= 1e12) return std::string(kNotAvailable);
  auto const whole = static_cast<unsigned long long>(std::llround(*seconds));
  if (whole < 60) return formatted("%llu s", whole);
  if (whole < 3600) return formatted("%llu min %02llu s", whole / 60, whole % 60);
  if (whole < 86400) return formatted("%llu h %02llu min", whole / 3600, whole / 60 % 60);
  return formatted("%llu d %02llu h", whole / 86400, whole / 3600 % 24);
}

std::string count(std::optional<std::uint64_t> value) {
  return value ? std::to_string(*value) : std::string(kNotAvailable);
}

std::string counted(std::uint64_t n, std::string_view noun) {
  return std::to_string(n) + " " + std::string(noun) + (n == 1 ? "" : "s");
}

std::string printable(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    std::size_t const length = characterLength(text);
    if (length == 0)
      shown += '?';
    else
      shown += text.substr(0, length);
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return shown;
}

std::string printableList(std::vector<std::string> const& texts) {
  std::string list;
  for (std::string const& text : texts) list += (list.empty() ? "" : ", ") + printable(text);
  return list;
}

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  for (char const c : text)
    if (!continuation(c)) ++width;
  return width;
}

std::string shortened(std::string_view text, std::size_t width) {
  if (displayWidth(text) <= width) return std::string(text);
  if (width == 0) return {};
  std::size_t end = 0;
  for (std::size_t columns = 0; end < text.size(); ++end) {
    if (!continuation(text[end]) && ++columns == width) break;
  }
  return std::string(text.substr(0, end)) + "~";
}

}  // namespace Show
