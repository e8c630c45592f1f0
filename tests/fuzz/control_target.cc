#include <algorithm>

#include "agent/control_request.h"
#include "tests/fuzz/targets.h"

namespace Fuzz {

std::string tryControl(std::string_view bytes) {
  using Operation = Agent::ControlRequest::Operation;
  try {
    Agent::ControlRequest const request = Agent::readControlRequest(bytes);
    auto const holdsNul = [](std::string const& text) {
      return text.find('\0') != std::string::npos;
    };
    using Texts = std::vector<std::string>;
    for (auto const& texts :
         {request.names, request.arguments, Texts{request.path, request.attribute, request.value}})
      if (std::any_of(texts.begin(), texts.end(), holdsNul)) return "no text holds a NUL";
    bool const clears = request.operation == Operation::clear;
    if (!clears && (!request.names.empty() || request.ofVlans)) return "clear alone has names";
    if (clears && request.names.empty() && bytes.find("true") == std::string_view::npos)
      return "all is cleared only where that is said";
  } catch (Agent::ControlError const& error) {
    if (*error.what() == '\0') return "a refusal says why";
  }
  return {};
}

}  // namespace Fuzz
