// Lines of the control socket with whatever in them.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "tests/fuzz/targets.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string const broken = Fuzz::tryControl({reinterpret_cast<char const*>(data), size});
  if (broken.empty()) return 0;
  std::fprintf(stderr, "broken: %s\n", broken.c_str());
  std::abort();
}
