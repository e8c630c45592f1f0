#include "reader/styled_text.h"

#include <string_view>

namespace Show {

namespace {

std::string_view sgr(Style style) {
  switch (style) {
    case Style::plain:
      return "";
    case Style::bold:
      return "\033[1m";
    case Style::dim:
      return "\033[2m";
    case Style::warning:
      return "\033[33m";
    case Style::alert:
      return "\033[1;31m";
  }
  return "";
}

}  // namespace

std::string plainText(Line const& line) {
  std::string text;
  for (Span const& span : line) text += span.text;
  return text;
}

std::string ansiText(Line const& line) {
  std::string text;
  for (Span const& span : line) {
    if (span.style == Style::plain || span.text.empty()) {
      text += span.text;
      continue;
    }
    text.append(sgr(span.style)).append(span.text).append("\033[0m");
  }
  return text;
}

std::string joined(std::vector<Line> const& lines, bool colours) {
  std::string text;
  for (Line const& line : lines) text += (colours ? ansiText(line) : plainText(line)) + "\n";
  return text;
}

}  // namespace Show
