// A full check of one table, and what came of it.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/glim/table_check.h"
#include "reader/progress.h"
#include "reader/table_files.h"

namespace Show {

enum class Verdict {
  good,
  unfinished,  // a killed writer left a step undone; the next one mends it
  overtaken,   // it changed too fast for all of the check
  damaged,
  notChecked,  // it cannot be read
};
// As JSON has it.
std::string_view name(Verdict verdict);

struct Checked {
  OpenTable table;
  Verdict verdict = Verdict::notChecked;
  Glim::CheckReport report;
  double seconds = 0.0;
  std::vector<Problem> wrong;

  // As the user would name it.
  std::string name() const;
};

// What the check needs of the world around it.
struct VerifyWorld {
  double now = 0.0;  // seconds since the epoch
  Progress::Place progress;
  std::function<void()> wait;  // 1/20 of a second, for a writer that is at work
};

// One that is replaced meanwhile is checked once more, from its new file.
Checked check(TableDirectory const& directory, FileSeen const& seen, VerifyWorld const& world,
              Progress& progress);

}  // namespace Show
