// A table in columns that are two spaces apart; no cell holds two spaces in a row. Where the place
// is narrow it hides columns, the least important first, and at last cuts its first column.
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "reader/styled_text.h"

namespace Show {

inline constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

struct Column {
  enum class Align { left, right };

  std::string title;
  Align align = Align::right;
  // 0: always shown. The largest are hidden first; those of one order go together, so that a
  // direction is not shown without the other.
  int hideOrder = 0;
  std::size_t minWidth = 0;  // so that a live table does not shiver
};

class TextTable {
 public:
  struct Row {
    std::vector<Span> cells;     // one a column; missing ones are empty
    Style style = Style::plain;  // of cells that have none of their own
  };
  struct Text {
    Line title;
    std::vector<Line> rows;
    std::size_t hidden = 0;  // columns
  };

  explicit TextTable(std::vector<Column> columns) : _columns(std::move(columns)) {}

  void add(Row row) { _rows.push_back(std::move(row)); }
  Text text(std::size_t width = kUnlimited) const;

 private:
  std::vector<Column> _columns;
  std::vector<Row> _rows;
};

// A table below what is there; with a line that tells how many columns had no room, if any.
void appendTable(std::vector<Line>& lines, TextTable::Text text);

}  // namespace Show
