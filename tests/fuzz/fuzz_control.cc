// Lines of the control socket with whatever in them: each is a request, or is refused.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "agent/control_request.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  try {
    Agent::readControlRequest({reinterpret_cast<char const*>(data), size});
  } catch (Agent::ControlError const&) {
  }
  return 0;
}
