// Where the output goes.
#pragma once

#include <cstddef>

#include "reader/text_table.h"

namespace Show {

struct Place {
  std::size_t width = kUnlimited;
  bool colours = false;
};

}  // namespace Show
