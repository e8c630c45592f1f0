// Numbers as people read them. Pure; the decimal point is always a point.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Show {

// What is shown where there is no value, since a zero would be a lie.
inline constexpr std::string_view kNotAvailable = "n/a";

// Three significant digits with a decimal prefix: "0 b/s", "999 b/s", "1.25 Gb/s", "84.2 kp/s".
// Anything that is not a finite number, or is below zero, is "n/a".
std::string scaled(double value, std::string_view unit);
inline std::string bitsRate(double bitsPerSecond) { return scaled(bitsPerSecond, "b/s"); }
inline std::string pktsRate(double packetsPerSecond) { return scaled(packetsPerSecond, "p/s"); }

// "12.5 %"; "n/a" when the speed (bits per second) is unknown: 0. May be above 100, since rates are
// averages and speeds are nominal.
std::string utilisation(double bitsPerSecond, std::uint64_t speed);

// "0.4 s", "12 s", "3 min 05 s", "2 h 04 min", "5 d 03 h"; "never" without a value.
std::string ageText(std::optional<double> seconds);

std::string count(std::optional<std::uint64_t> value);
// "3 rows", "1 row".
std::string counted(std::uint64_t n, std::string_view noun);

// Text from a table, safe to show: control characters and malformed UTF-8 become '?'.
std::string printable(std::string_view text);
// "a, b, c"
std::string printableList(std::vector<std::string> const& texts);
// Columns that well-formed text takes, one a character.
std::size_t displayWidth(std::string_view text);
// At most `width` columns; what is cut ends in "~".
std::string shortened(std::string_view text, std::size_t width);

}  // namespace Show
