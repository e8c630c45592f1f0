#include "reader/text_table.h"

#include <algorithm>
#include <iterator>

#include "reader/units.h"

namespace Show {

namespace {

constexpr std::size_t kGap = 2;

struct Place {
  std::size_t column;
  std::size_t width;
};

std::size_t widthOf(std::vector<Place> const& places) {
  std::size_t width = 0;
  for (Place const& place : places) width += place.width + kGap;
  return width == 0 ? 0 : width - kGap;
}

void append(Line& line, Span span) {
  if (span.text.empty()) return;
  if (!line.empty() && line.back().style == span.style)
    line.back().text += span.text;
  else
    line.push_back(std::move(span));
}

}  // namespace

TextTable::Text TextTable::text(std::size_t width) const {
  std::vector<Place> places;
  for (std::size_t i = 0; i < _columns.size(); ++i) {
    std::size_t widest = std::max(_columns[i].minWidth, displayWidth(_columns[i].title));
    for (Row const& row : _rows)
      if (i < row.cells.size()) widest = std::max(widest, displayWidth(row.cells[i].text));
    places.push_back({i, widest});
  }
  Text text;
  while (widthOf(places) > width) {
    auto const least =
        std::max_element(places.begin(), places.end(), [this](Place const& a, Place const& b) {
          return _columns[a.column].hideOrder < _columns[b.column].hideOrder;
        });
    int const order = _columns[least->column].hideOrder;
    if (order == 0) break;
    text.hidden += std::erase_if(
        places, [&](Place const& place) { return _columns[place.column].hideOrder == order; });
  }
  if (std::size_t const whole = widthOf(places); whole > width && !places.empty()) {
    std::size_t const excess = whole - width;
    std::size_t& first = places.front().width;
    first = first > excess ? first - excess : 1;
  }

  auto const line = [&](auto const& cellOf) {
    Line cells;
    for (std::size_t n = 0; n < places.size(); ++n) {
      Span cell = cellOf(places[n].column);
      cell.text = shortened(cell.text, places[n].width);
      std::string const fill(places[n].width - displayWidth(cell.text), ' ');
      bool const right = _columns[places[n].column].align == Column::Align::right;
      if (n != 0) append(cells, {std::string(kGap, ' ')});
      if (right) append(cells, {fill});
      append(cells, std::move(cell));
      if (!right && n + 1 != places.size()) append(cells, {fill});
    }
    return cells;
  };
  text.title = line([this](std::size_t i) { return Span{_columns[i].title, Style::bold}; });
  for (Row const& row : _rows) {
    text.rows.push_back(line([&row](std::size_t i) {
      Span cell = i < row.cells.size() ? row.cells[i] : Span();
      if (cell.style == Style::plain) cell.style = row.style;
      return cell;
    }));
  }
  return text;
}

void appendTable(std::vector<Line>& lines, TextTable::Text text) {
  lines.push_back(std::move(text.title));
  std::move(text.rows.begin(), text.rows.end(), std::back_inserter(lines));
  if (text.hidden != 0)
    lines.push_back(
        {{counted(text.hidden, "column") + " hidden: the terminal is too narrow", Style::dim}});
}

}  // namespace Show
