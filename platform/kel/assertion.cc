#include "platform/kel/assertion.h"

#undef NDEBUG  // it would hide __assert_fail
#include <assert.h>

namespace Kel {

void assertionFailed(char const* expression, char const* unit, unsigned line,
                     char const* function) {
  __assert_fail(expression, unit, line, function);
}

}  // namespace Kel
