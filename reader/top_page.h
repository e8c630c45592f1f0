// The live table on a screen of a given size, and what its keys do. Knows no terminal.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "reader/live_rates.h"
#include "reader/snapshot.h"
#include "reader/styled_text.h"
#include "reader/top_table.h"

namespace Show {

enum class Key { quit, sort, rates, sinceClear, up, down, pageUp, pageDown, home, end };

class TopPage {
 public:
  explicit TopPage(TopOptions const& options) : _options(options) {}

  TopOptions const& options() const { return _options; }

  // The next snapshot, with the interfaces in the order of their names.
  void show(Snapshot snapshot, std::vector<std::string> problems);
  // False when it is the key to quit.
  bool press(Key key);

  // As many lines as fit, each within the width. Scrolling stays within the table.
  std::vector<Line> lines(std::size_t width, std::size_t height);

 private:
  Line footer(std::size_t width, std::size_t shown, std::size_t hidden) const;

  TopOptions _options;
  Snapshot _snapshot;
  std::vector<std::string> _problems;
  ErrorWatch _errors;
  LiveRates _rates;
  std::size_t _first = 0;  // row at the top
  std::size_t _page = 1;   // rows that fitted last
};

}  // namespace Show
