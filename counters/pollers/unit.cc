#include "counters/pollers/unit.h"

#include "platform/kel/assertion.h"

namespace Oru::Counters {

constinit Kel::TraceHandle defaultTraceHandle("OruCountersSm");

void requirementFailed(char const* expression, std::source_location here) {
  Kel::assertionFailed(expression, "OruCountersSm", here.line(), here.function_name());
}

}  // namespace Oru::Counters
