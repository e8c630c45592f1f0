// Assertions: a failed one is a defect of ours and ends the process. They are
// never compiled out.
#pragma once

namespace Kel {

// Reports as the standard library's assert does, with the source unit in place
// of the file, and aborts.
[[noreturn]] void assertionFailed(char const* expression, char const* unit, unsigned line,
                                  char const* function);

}  // namespace Kel
