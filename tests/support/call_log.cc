#include "tests/support/call_log.h"

#include <algorithm>

namespace Support {

std::size_t CallLog::count(std::string const& call) const {
  return static_cast<std::size_t>(std::count(_calls.begin(), _calls.end(), call));
}

}  // namespace Support
