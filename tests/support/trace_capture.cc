#include "tests/support/trace_capture.h"

namespace Support {
namespace {
std::vector<std::string> captured;
}

TraceCapture::TraceCapture(Kel::TraceHandle& handle) : _handle(handle), _levels(handle.levels()) {
  captured.clear();
  handle.levelsIs(~0u);
  Kel::traceSinkIs([](Kel::TraceLine const& line) {
    captured.push_back(std::to_string(line.level) + ' ' + std::string(line.text));
  });
}

TraceCapture::~TraceCapture() {
  _handle.levelsIs(_levels);
  Kel::traceSinkIs(nullptr);
}

std::vector<std::string> const& TraceCapture::lines() const { return captured; }
void TraceCapture::clear() { captured.clear(); }

}  // namespace Support
