#include "reader/top_page.h"

#include <algorithm>
#include <utility>

#include "reader/agent_line.h"
#include "reader/clock_text.h"
#include "reader/units.h"

namespace Show {

namespace {

// Around the rows: two lines above the title, the title, and the footer.
constexpr std::size_t kFrame = 4;

Line cut(Line line, std::size_t width) {
  for (Span& span : line) {
    span.text = shortened(span.text, width);
    width -= displayWidth(span.text);
  }
  return line;
}

}  // namespace

void TopPage::show(Snapshot snapshot, std::vector<std::string> problems) {
  _snapshot = std::move(snapshot);
  _problems = std::move(problems);
  _errors.see(_snapshot);
  _rates.see(_snapshot);
}

bool TopPage::press(Key key) {
  switch (key) {
    case Key::quit:
      return false;
    case Key::sort:
      _options.sort = nextKey(_options.sort);
      _first = 0;
      break;
    case Key::rates:
      _options.totals = !_options.totals;
      break;
    case Key::sinceClear:
      _options.basis = _options.basis == Basis::total ? Basis::sinceClear : Basis::total;
      break;
    case Key::up:
      _first -= std::min<std::size_t>(_first, 1);
      break;
    case Key::down:
      ++_first;
      break;
    case Key::pageUp:
      _first -= std::min(_first, _page);
      break;
    case Key::pageDown:
      _first += _page;
      break;
    case Key::home:
      _first = 0;
      break;
    case Key::end:
      _first = _snapshot.interfaces.size();
      break;
  }
  return true;
}

std::vector<Line> TopPage::lines(std::size_t width, std::size_t height) {
  Snapshot sorted = _snapshot;
  sort(sorted, _options);
  auto table = topTable(sorted, _errors, _options).text(width);

  std::size_t const around = kFrame + _problems.size();
  _page = height > around ? height - around : 1;
  std::size_t const rows = table.rows.size();
  _first = std::min(_first, rows > _page ? rows - _page : 0);
  std::size_t const shown = std::min(_page, rows - _first);

  std::vector<Line> lines;
  lines.push_back({{"oru-counters  " + clockText(_snapshot.now) + "  ", Style::bold},
                   {summary(_snapshot, _errors)}});
  lines.push_back(agentLine(_snapshot));
  lines.back().push_back({topNote(_snapshot, _options)});
  for (std::string const& problem : _problems) lines.push_back({{problem, Style::warning}});
  lines.push_back(std::move(table.title));
  for (std::size_t i = 0; i < shown; ++i) lines.push_back(std::move(table.rows[_first + i]));
  for (std::size_t i = shown; i < _page; ++i) lines.emplace_back();
  lines.push_back(footer(width, shown, table.hidden));
  if (lines.size() > height) lines.resize(height);
  for (Line& line : lines) line = cut(std::move(line), width);
  return lines;
}

Line TopPage::footer(std::size_t width, std::size_t shown, std::size_t hidden) const {
  std::string text = "q quit  s sort: " + std::string(name(_options.sort)) + "  r " +
                     (_options.totals ? "rates" : "totals") + "  c " +
                     (_options.basis == Basis::total ? "since clear" : "as published");
  std::size_t const rows = _snapshot.interfaces.size();
  if (shown < rows)
    text += "  arrows scroll: " + std::to_string(_first + 1) + "-" +
            std::to_string(_first + shown) + " of " + std::to_string(rows);
  if (hidden != 0) text += "  " + counted(hidden, "column") + " hidden";
  return {{shortened(text, width), Style::dim}};
}

}  // namespace Show
