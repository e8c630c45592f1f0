// Lines of text with styles, which a terminal shows and a pipe does not see.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Show {

enum class Style : std::uint8_t {
  plain,
  bold,     // titles
  dim,      // links that are down
  warning,  // not current
  alert,    // going wrong now
};

struct Span {
  std::string text;
  Style style = Style::plain;
  bool operator==(Span const&) const = default;
};
using Line = std::vector<Span>;

std::string plainText(Line const& line);
// With escape sequences of ECMA-48 (SGR) around what is not plain.
std::string ansiText(Line const& line);
// Each line with its newline.
std::string joined(std::vector<Line> const& lines, bool colours);

}  // namespace Show
