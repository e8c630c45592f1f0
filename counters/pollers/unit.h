// The source unit OruCountersSm: its trace handle and its assertions.
#pragma once

#include <source_location>

#include "platform/kel/trace.h"

namespace Oru::Counters {

extern Kel::TraceHandle defaultTraceHandle;

// The trace handle "OruCountersSm". An agent enables its levels.
inline Kel::TraceHandle& _defaultTraceHandle() {
  return defaultTraceHandle;  // in line: a statement that is off costs one branch and no call
}

// One trace statement: if (auto t = trace(8)) t << "…";
inline Kel::Trace trace(int level, Kel::TracePosition position = std::source_location::current()) {
  return {_defaultTraceHandle(), level, position};
}

[[noreturn]] void requirementFailed(char const* expression, std::source_location here);

// Ends the process with `expression` where `holds` is false.
inline void require(bool holds, char const* expression,
                    std::source_location here = std::source_location::current()) {
  if (!holds) [[unlikely]]
    requirementFailed(expression, here);
}

}  // namespace Oru::Counters
