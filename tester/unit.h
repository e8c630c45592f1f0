// The source unit OruIntfQueueTester: its assertions.
#pragma once

#include <source_location>

namespace Oru::Counters::Tester {

// The positions that the unit's assertions report. Testers match on them, so they do not follow the
// lines of the sources.
enum class Line : unsigned { sameQueueType = 30, commonData = 79, helper = 80 };

// Reports the position of `line` or, without one, that of `here`; ends the process.
[[noreturn]] void requirementFailed(char const* expression, Line line, std::source_location here);
[[noreturn]] void requirementFailed(char const* expression, std::source_location here);

// Ends the process with `expression` where `holds` is false.
inline void require(bool holds, char const* expression, Line line,
                    std::source_location here = std::source_location::current()) {
  if (!holds) [[unlikely]]
    requirementFailed(expression, line, here);
}
inline void require(bool holds, char const* expression,
                    std::source_location here = std::source_location::current()) {
  if (!holds) [[unlikely]]
    requirementFailed(expression, here);
}

}  // namespace Oru::Counters::Tester
