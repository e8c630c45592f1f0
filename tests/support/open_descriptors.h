// How many descriptors this process has open.
#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace Support {

inline std::size_t openDescriptors() {
  std::filesystem::directory_iterator const open("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(open), end(open)));
}

}  // namespace Support
