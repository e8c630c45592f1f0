// How large a table may become. Memory is taken in chunks as rows come; the address space and the
// index are fixed at creation.
#pragma once

#include <cstdint>

namespace Glim {

struct TableLimits {
  std::uint32_t maxRows = 16384;  // 1 to 2^20
};

}  // namespace Glim
