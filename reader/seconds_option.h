// A span of time on the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <charconv>
#include <sstream>
#include <string>

namespace Show {

// CLI11's form of a check: the answer is what is wrong, or nothing. It comes before CLI11's own
// conversion, which lets through more than a user means ("nan", "0x10").
inline CLI::Validator secondsWithin(double min, double max) {
  return CLI::Validator(
      [=](std::string const& text) {
        double value = 0.0;
        auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        bool const whole = error == std::errc() && end == text.data() + text.size();
        if (whole && value >= min && value <= max) return std::string();
        std::ostringstream why;
        why.precision(10);  // large bounds in full
        why << "'" << text << "' is not a number of seconds from " << min << " to " << max;
        return why.str();
      },
      "");
}

}  // namespace Show
